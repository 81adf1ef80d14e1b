// Stands in for serial_link.cpp and held_device.cpp where Qt SerialPort is not installed.
#include "held_device.h"
#include "text_error.h"

namespace fgs
{

namespace
{

[[noreturn]] void refuse(const QString &device)
{
    throw TextError(QStringLiteral("link '%1': this build has no serial ports; install Qt SerialPort "
                                   "(on Debian " QT_SERIALPORT_PACKAGE
                                   "), configure and build again, or use tcp:HOST:PORT")
                        .arg(device));
}

} // namespace

std::unique_ptr<Link> makeLink(const SerialAddress &address)
{
    refuse(address.device);
}

std::unique_ptr<HeldDevice> holdDevice(const QString &path)
{
    refuse(path);
}

} // namespace fgs
