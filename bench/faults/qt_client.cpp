// Qt's Modbus client, which repeats a request itself.
#include "clients.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QVariant>
#include <QtSerialBus/QModbusRtuSerialMaster>
#include <stdexcept>

namespace bench
{

namespace
{

class QtClient : public Client
{
public:
    QtClient(StruckLine &line, int attempts)
    {
        modbus.setConnectionParameter(QModbusDevice::SerialPortNameParameter, line.path());
        modbus.setConnectionParameter(QModbusDevice::SerialBaudRateParameter, 115200);
        modbus.setConnectionParameter(QModbusDevice::SerialParityParameter, 0);
        modbus.setTimeout(int(Limit / std::chrono::milliseconds(1)));
        modbus.setNumberOfRetries(attempts - 1);
        if (!modbus.connectDevice())
            throw std::runtime_error("Qt's Modbus client: " + modbus.errorString().toStdString());
    }

    bool ask(int question, Values &values) override
    {
        const QModbusDataUnit unit(QModbusDataUnit::HoldingRegisters, 100 * question, quint16(WordsPerQuestion));
        const std::unique_ptr<QModbusReply> reply(modbus.sendReadRequest(unit, 1));
        QElapsedTimer timer;
        timer.start();
        while (reply && !reply->isFinished() && timer.elapsed() < 2 * (Bound / std::chrono::milliseconds(1)))
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (!reply || !reply->isFinished() || reply->error() != QModbusDevice::NoError)
            return false;
        for (quint16 word : reply->result().values())
            values.push_back(word);
        return true;
    }

private:
    QModbusRtuSerialMaster modbus;
};

} // namespace

Contender qtContender(int attempts)
{
    return {"Qt SerialBus", qVersion(), [] { return std::unique_ptr<PolledController>(new ModbusController); },
            [](StruckLine &line, int tries) { return std::unique_ptr<Client>(new QtClient(line, tries)); },
            attempts};
}

} // namespace bench
