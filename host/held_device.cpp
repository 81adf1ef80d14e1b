#include "held_device.h"

#include "device_users.h"
#include "serial_device.h"
#include "serial_link.h"

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>

namespace fgs
{

namespace
{

/// Numbers of speeds, and what termios calls them.
struct Speed {
    speed_t code;
    int baud;
};

const Speed Speeds[] = {
    {B50, 50},         {B75, 75},         {B110, 110},       {B134, 134},      {B150, 150},       {B200, 200},
    {B300, 300},       {B600, 600},       {B1200, 1200},     {B1800, 1800},    {B2400, 2400},     {B4800, 4800},
    {B9600, 9600},     {B19200, 19200},   {B38400, 38400},   {B57600, 57600},  {B115200, 115200}, {B230400, 230400},
    {B460800, 460800}, {B500000, 500000}, {B576000, 576000}, {B921600, 921600}};

int baudOf(speed_t code)
{
    for (const Speed &speed : Speeds)
        if (speed.code == code)
            return speed.baud;
    return 0;
}

int dataBitsOf(tcflag_t flags)
{
    const tcflag_t size = flags & CSIZE;
    return size == CS5 ? 5 : size == CS6 ? 6 : size == CS7 ? 7 : 8;
}

char parityOf(tcflag_t flags)
{
    return !(flags & PARENB) ? 'N' : flags & PARODD ? 'O' : 'E';
}

/// The settings of a device, to be given back.
class Before
{
public:
    explicit Before(int descriptor) : fd(descriptor)
    {
        hasSettings = tcgetattr(fd, &settings) == 0;
        hasFlags = ioctl(fd, TIOCGSERIAL, &serial) == 0;
    }
    ~Before()
    {
        if (hasFlags)
            ioctl(fd, TIOCSSERIAL, &serial);
        if (hasSettings)
            tcsetattr(fd, TCSANOW, &settings);
    }
    Before(const Before &) = delete;
    Before &operator=(const Before &) = delete;

private:
    const int fd;
    termios settings{};
    serial_struct serial{};
    bool hasSettings, hasFlags;
};

class LockedDevice : public HeldDevice
{
public:
    explicit LockedDevice(const QString &devicePath)
        : path(devicePath), file(takeSerialDevice(devicePath)), before(file.get())
    {
    }

    std::unique_ptr<Link> linkWith(const SerialAddress &settings) override
    {
        SerialAddress address = settings;
        address.device = path;
        return makeLinkOnLocked(address, file.get());
    }

    bool isPseudoTerminal() const override
    {
        struct stat device;
        return fstat(file.get(), &device) == 0 && fgs::isPseudoTerminal(device);
    }

    SerialAddress settings() const override
    {
        termios held{};
        if (tcgetattr(file.get(), &held) != 0)
            return {QString(), 0, 0, '?', 0};
        return {QString(), baudOf(cfgetospeed(&held)), dataBitsOf(held.c_cflag), parityOf(held.c_cflag),
                (held.c_cflag & CSTOPB) != 0 ? 2 : 1};
    }

    std::optional<LineErrors> errors() const override
    {
        serial_icounter_struct counted{};
        if (ioctl(file.get(), TIOCGICOUNT, &counted) != 0)
            return std::nullopt;
        return LineErrors{counted.parity, counted.frame, counted.overrun + counted.buf_overrun, counted.brk};
    }

    std::optional<Rs485Mode> rs485Mode() const override
    {
        serial_rs485 mode{};
        if (ioctl(file.get(), TIOCGRS485, &mode) != 0)
            return std::nullopt;
        return Rs485Mode{(mode.flags & SER_RS485_ENABLED) != 0, (mode.flags & SER_RS485_RX_DURING_TX) != 0};
    }

private:
    const QString path;
    const Descriptor file;
    const Before before; ///< ends first, with the file still open
};

} // namespace

std::unique_ptr<HeldDevice> holdDevice(const QString &path)
{
    return std::make_unique<LockedDevice>(path);
}

} // namespace fgs
