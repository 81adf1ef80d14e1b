// Stands in for serial_endpoint.cpp where Qt SerialPort was not found.
#include "endpoint.h"

namespace fgssim
{

std::unique_ptr<Endpoint> openEndpoint(Simulation &, const LineTimes &, const SerialAddress &address)
{
    throw EndpointError("--serial: cannot open " + address.device +
                        ": this fgs-sim was built without Qt SerialPort; " +
                        "install it (on Debian " QT_SERIALPORT_PACKAGE "), configure and build again");
}

} // namespace fgssim
