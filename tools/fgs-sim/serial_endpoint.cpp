#include "device.h"
#include "endpoint.h"

#include <QtCore/QCoreApplication>
#include <QtSerialPort/QSerialPort>

namespace fgssim
{

namespace
{

QSerialPort::Parity parityOf(char letter)
{
    return letter == 'N' ? QSerialPort::NoParity : letter == 'E' ? QSerialPort::EvenParity : QSerialPort::OddParity;
}

class SerialEndpoint : public Endpoint
{
public:
    SerialEndpoint(Simulation &shared, const LineTimes &times, const SerialAddress &wanted)
        : simulation(shared), device(wanted.device),
          channel(shared, times,
                  [this](const char *bytes, std::size_t count) { return sendBounded(port, bytes, count); })
    {
        port.setPortName(QString::fromStdString(wanted.device));
        port.setBaudRate(wanted.line.baud);
        port.setParity(parityOf(wanted.line.parity));
        port.setStopBits(wanted.line.stopBits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
        port.setReadBufferSize(Channel::ChunkSize);
        if (!port.open(QIODevice::ReadWrite))
            throw EndpointError("--serial: cannot open " + wanted.device + ": " + port.errorString().toStdString() +
                                "; check the path, and that you may use it (group dialout)");
        QObject::connect(&port, &QSerialPort::readyRead, &channel, [this] { receiveChunk(port, channel); });
        QObject::connect(&port, &QSerialPort::errorOccurred, &channel,
                         [this](QSerialPort::SerialPortError error) { failed(error); });
    }

    std::string address() const override { return device; }

private:
    void failed(QSerialPort::SerialPortError error)
    {
        if (error != QSerialPort::ResourceError)
            return;
        simulation.log.write(Log::Level::Normal, device + " is gone: " + port.errorString().toStdString());
        QCoreApplication::exit(ExitLink);
    }

    Simulation &simulation;
    const std::string device;
    QSerialPort port;
    Channel channel;
};

} // namespace

std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times, const SerialAddress &address)
{
    return std::make_unique<SerialEndpoint>(simulation, times, address);
}

} // namespace fgssim
