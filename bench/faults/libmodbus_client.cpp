// libmodbus with both recovery modes on. Its caller flushes before every request and repeats it: it does neither
// itself.
#include "clients.h"

#include <modbus/modbus.h>
#include <stdexcept>

namespace bench
{

namespace
{

class LibmodbusClient : public Client
{
public:
    LibmodbusClient(StruckLine &line, int most)
        : attempts(most), context(modbus_new_rtu(line.path().toLocal8Bit().constData(), 115200, 'N', 8, 1))
    {
        const auto recovery =
            static_cast<modbus_error_recovery_mode>(MODBUS_ERROR_RECOVERY_LINK | MODBUS_ERROR_RECOVERY_PROTOCOL);
        const auto limit = uint32_t(Limit / std::chrono::microseconds(1));
        if (!context || modbus_set_slave(context, 1) != 0 || modbus_connect(context) != 0 ||
            modbus_set_error_recovery(context, recovery) != 0 ||
            modbus_set_response_timeout(context, 0, limit) != 0 ||
            modbus_set_byte_timeout(context, 0, limit / 2) != 0)
            throw std::runtime_error(std::string("libmodbus: ") + modbus_strerror(errno));
    }
    ~LibmodbusClient() override
    {
        modbus_close(context);
        modbus_free(context);
    }

    bool ask(int question, Values &values) override
    {
        uint16_t words[WordsPerQuestion];
        for (int i = 0; i < attempts; ++i) {
            modbus_flush(context);
            if (modbus_read_registers(context, 100 * question, WordsPerQuestion, words) == WordsPerQuestion) {
                values.assign(words, words + WordsPerQuestion);
                return true;
            }
        }
        return false;
    }

private:
    const int attempts;
    modbus_t *const context;
};

} // namespace

Contender libmodbusContender(int attempts)
{
    return {"libmodbus", LIBMODBUS_VERSION_STRING,
            [] { return std::unique_ptr<PolledController>(new ModbusController); },
            [](StruckLine &line, int tries) { return std::unique_ptr<Client>(new LibmodbusClient(line, tries)); },
            attempts};
}

} // namespace bench
