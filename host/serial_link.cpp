#include "serial_link.h"
#include "descriptor_link.h"
#include "device_users.h"
#include "serial_device.h"

#include <linux/serial.h>
#include <QtCore/QFileInfo>
#include <QtSerialPort/QSerialPort>
#include <sys/ioctl.h>
#include <sys/stat.h>

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

/// A pseudo-terminal has bytes of eight bits without parity. Asked for anything else, it says no when that is all
/// that would change, as after a program that was killed.
bool hasPlainBytes(int descriptor)
{
    struct stat file;
    return fstat(descriptor, &file) == 0 && isPseudoTerminal(file);
}

class SerialLink : public DescriptorLink
{
public:
    SerialLink(const SerialAddress &given, int lockedDescriptor) : address(given), lockedBefore(lockedDescriptor) {}

    Time byteTime() const override
    {
        const int bits = 1 + address.dataBits + (address.parity == 'N' ? 0 : 1) + address.stopBits;
        return Time(1s) * bits / address.baud;
    }

protected:
    int openDevice(QString *error) override
    {
        try {
            if (lockedBefore < 0)
                lock = lockSerialDevice(address.device);
            return openPort(error);
        } catch (const TextError &refusal) {
            *error = QString::fromUtf8(refusal.what());
            return -1;
        }
    }

    void closeDevice() override
    {
        port.reset();
        lock = Descriptor();
    }

private:
    /// Under its one name without symbolic links, which is what other programs look for in the lock directory.
    int openPort(QString *error)
    {
        const QString path = QFileInfo(address.device).canonicalFilePath();
        port = std::make_unique<QSerialPort>(path);
        port->setBaudRate(address.baud);
        if (!hasPlainBytes(lockedBefore < 0 ? lock.get() : lockedBefore)) {
            port->setDataBits(static_cast<QSerialPort::DataBits>(address.dataBits));
            port->setParity(parityOf(address.parity));
        }
        port->setStopBits(static_cast<QSerialPort::StopBits>(address.stopBits));
        if (!port->open(QIODevice::ReadWrite)) {
            *error = serialTrouble(path, port->errorString());
            return -1;
        }
        askForLowLatency(port->handle());
        return port->handle();
    }

    const SerialAddress address;
    const int lockedBefore; ///< somebody else's; negative: none
    Descriptor lock;
    std::unique_ptr<QSerialPort> port;
};

} // namespace

std::unique_ptr<Link> makeLink(const SerialAddress &address)
{
    return std::make_unique<SerialLink>(address, -1);
}

std::unique_ptr<Link> makeLinkOnLocked(const SerialAddress &address, int lock)
{
    return std::make_unique<SerialLink>(address, lock);
}

} // namespace fgs
