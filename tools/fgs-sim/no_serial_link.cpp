// Stands in for serial_link.cpp where Qt SerialPort was not found.
#include "link.h"

namespace fgssim
{

std::unique_ptr<Link> openLink(Simulation &, const Timing &, const SerialAddress &address)
{
    throw LinkError("--serial: cannot open " + address.device + ": this fgs-sim was built without Qt SerialPort; " +
                    "install it (on Debian " QT_SERIALPORT_PACKAGE "), configure and build again");
}

} // namespace fgssim
