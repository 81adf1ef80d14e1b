#include "descriptor_link.h"
#include "devices.h"

#include <linux/serial.h>
#include <QtSerialPort/QSerialPort>
#include <sys/ioctl.h>

namespace fgs
{

namespace
{

/// Adapters hold bytes back for up to 16 ms otherwise. What has no such switch, like a pseudo-terminal, says no.
void askForLowLatency(int descriptor)
{
    serial_struct serial;
    if (ioctl(descriptor, TIOCGSERIAL, &serial) != 0)
        return;
    serial.flags |= ASYNC_LOW_LATENCY;
    ioctl(descriptor, TIOCSSERIAL, &serial);
}

QSerialPort::Parity parityOf(char letter)
{
    return letter == 'E' ? QSerialPort::EvenParity : letter == 'O' ? QSerialPort::OddParity : QSerialPort::NoParity;
}

class SerialLink : public DescriptorLink
{
public:
    explicit SerialLink(const SerialAddress &given) : address(given) {}

    Time byteTime() const override
    {
        const int bits = 1 + address.dataBits + (address.parity == 'N' ? 0 : 1) + address.stopBits;
        return Time(1s) * bits / address.baud;
    }

protected:
    int openDevice(QString *error) override
    {
        port = std::make_unique<QSerialPort>(address.device);
        port->setBaudRate(address.baud);
        port->setDataBits(static_cast<QSerialPort::DataBits>(address.dataBits));
        port->setParity(parityOf(address.parity));
        port->setStopBits(static_cast<QSerialPort::StopBits>(address.stopBits));
        if (!port->open(QIODevice::ReadWrite)) {
            *error = port->errorString();
            return -1;
        }
        askForLowLatency(port->handle());
        return port->handle();
    }

    void closeDevice() override { port.reset(); }

private:
    const SerialAddress address;
    std::unique_ptr<QSerialPort> port;
};

} // namespace

std::unique_ptr<Link> makeLink(const SerialAddress &address)
{
    return std::make_unique<SerialLink>(address);
}

} // namespace fgs
