// Stands in for serial_link.cpp where Qt SerialPort is not installed.
#include "devices.h"
#include "text_error.h"

namespace fgs
{

std::unique_ptr<Link> makeLink(const SerialAddress &address)
{
    throw TextError(QStringLiteral("link '%1': this build has no serial ports; install Qt SerialPort "
                                   "(on Debian " QT_SERIALPORT_PACKAGE
                                   "), configure and build again, or use tcp:HOST:PORT")
                        .arg(address.device));
}

} // namespace fgs
