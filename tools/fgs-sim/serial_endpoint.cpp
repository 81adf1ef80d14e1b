#include "device.h"
#include "endpoint.h"

#include <QtCore/QCoreApplication>
#include <QtSerialPort/QSerialPort>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fgssim
{

namespace
{

QSerialPort::Parity parityOf(char letter)
{
    return letter == 'N' ? QSerialPort::NoParity : letter == 'E' ? QSerialPort::EvenParity : QSerialPort::OddParity;
}

/// What to do about a device that cannot be opened. A name without a slash is one in /dev.
std::string remedyFor(const std::string &device)
{
    const std::string path = device.find('/') == std::string::npos ? "/dev/" + device : device;
    struct stat found = {};
    if (::stat(path.c_str(), &found) != 0)
        return "check the path";
    if (!S_ISCHR(found.st_mode))
        return "it is no serial device";
    if (::access(path.c_str(), R_OK | W_OK) != 0)
        return "join the group of the device (ls -l " + path + " tells it; often dialout)";
    return "check that it is a serial device and that no other program has it open";
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
            refuse(port.errorString().toStdString(), remedyFor(wanted.device));
        if (::flock(port.handle(), LOCK_EX | LOCK_NB) != 0)
            refuse("another program has locked it", "end that one, or choose another device");
        QObject::connect(&port, &QSerialPort::readyRead, &channel, [this] { receiveChunk(port, channel); });
        QObject::connect(&port, &QSerialPort::errorOccurred, &channel,
                         [this](QSerialPort::SerialPortError error) { failed(error); });
    }

    std::string address() const override { return device; }

private:
    [[noreturn]] void refuse(const std::string &why, const std::string &remedy) const
    {
        throw EndpointError("--serial: cannot open " + device + ": " + why + "; " + remedy);
    }

    void failed(QSerialPort::SerialPortError error)
    {
        if (error != QSerialPort::ResourceError)
            return;
        simulation.log.write(Log::Topic::State, now(),
                             [&] { return device + " is gone: " + port.errorString().toStdString(); });
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
