// Qt's Modbus client: the same words, as many reads as there are blocks.
#include "operations.h"
#include "server.h"

#include <memory>
#include <QtCore/QCoreApplication>
#include <QtCore/QVariant>
#include <QtSerialBus/QModbusRtuSerialMaster>
#include <QtSerialBus/QModbusTcpClient>

namespace bench
{

namespace
{

void processEvents()
{
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

std::unique_ptr<QModbusClient> terminal(const QString &path)
{
    auto client = std::make_unique<QModbusRtuSerialMaster>();
    client->setConnectionParameter(QModbusDevice::SerialPortNameParameter, path);
    client->setConnectionParameter(QModbusDevice::SerialBaudRateParameter, 115200);
    client->setConnectionParameter(QModbusDevice::SerialParityParameter, 0);
    return client;
}

std::unique_ptr<QModbusClient> tcp(const QString &port)
{
    auto client = std::make_unique<QModbusTcpClient>();
    client->setConnectionParameter(QModbusDevice::NetworkAddressParameter, QStringLiteral("127.0.0.1"));
    client->setConnectionParameter(QModbusDevice::NetworkPortParameter, port.toInt());
    return client;
}

struct Client {
    explicit Client(bool serial)
        : server(QStringLiteral("modbus_server"), {QLatin1String(serial ? "pty" : "tcp")}),
          modbus(serial ? terminal(server.address()) : tcp(server.address()))
    {
        require(modbus->connectDevice(), "Qt's Modbus client cannot connect");
        while (modbus->state() == QModbusDevice::ConnectingState)
            processEvents();
    }

    void read(int address, int words)
    {
        const QModbusDataUnit unit(QModbusDataUnit::HoldingRegisters, address, static_cast<quint16>(words));
        const std::unique_ptr<QModbusReply> reply(modbus->sendReadRequest(unit, 1));
        while (reply && !reply->isFinished())
            processEvents();
        require(reply && reply->error() == QModbusDevice::NoError, "Qt's Modbus client got no answer");
    }

    Server server;
    std::unique_ptr<QModbusClient> modbus;
};

template <bool Serial, int Reads, int Words>
Run read()
{
    const auto client = std::make_shared<Client>(Serial);
    return repeat([client] {
        for (int i = 0; i < Reads; ++i)
            client->read(i * (Words + 1), Words);
    });
}

} // namespace

Operations qtOperations()
{
    return {{"qt-pty-6x10", 40, read<true, 6, 10>},
            {"qt-pty-1x100", 100, read<true, 1, 100>},
            {"qt-tcp-6x10", 40, read<false, 6, 10>},
            {"qt-tcp-1x100", 100, read<false, 1, 100>}};
}

} // namespace bench
