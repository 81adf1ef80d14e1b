// libmodbus: the same words, as many reads as there are blocks.
#include "operations.h"
#include "server.h"

#include <memory>
#include <modbus/modbus.h>

namespace bench
{

namespace
{

struct Client {
    explicit Client(bool serial)
        : server(QStringLiteral("modbus_server"), {QLatin1String(serial ? "pty" : "tcp")}),
          context(serial ? terminal(server.address()) : tcp(server.address()))
    {
        require(context && modbus_set_slave(context, 1) == 0 && modbus_connect(context) == 0,
                "libmodbus cannot connect");
    }
    ~Client()
    {
        modbus_close(context);
        modbus_free(context);
    }

    static modbus_t *terminal(const QString &path)
    {
        return modbus_new_rtu(path.toLocal8Bit().constData(), 115200, 'N', 8, 1);
    }
    static modbus_t *tcp(const QString &port) { return modbus_new_tcp("127.0.0.1", port.toInt()); }

    Server server;
    modbus_t *context;
};

template <bool Serial, int Reads, int Words>
Run read()
{
    const auto client = std::make_shared<Client>(Serial);
    return repeat([client] {
        uint16_t words[Words];
        for (int i = 0; i < Reads; ++i)
            require(modbus_read_registers(client->context, i * (Words + 1), Words, words) == Words,
                    "libmodbus got no answer");
    });
}

} // namespace

Operations libmodbusOperations()
{
    return {{"libmodbus-pty-6x10", 200, read<true, 6, 10>},
            {"libmodbus-pty-1x100", 200, read<true, 1, 100>},
            {"libmodbus-tcp-6x10", 200, read<false, 6, 10>},
            {"libmodbus-tcp-1x100", 200, read<false, 1, 100>}};
}

} // namespace bench
