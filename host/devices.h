// The two kinds of link. Each opens and configures with Qt; the bytes go through DescriptorLink.
#ifndef FGS_HOST_DEVICES_H
#define FGS_HOST_DEVICES_H

#include "link.h"

#include <variant>

namespace fgs
{

/// A serial port or a pseudo-terminal.
struct SerialAddress {
    QString device;
    int baud = 19200;
    int dataBits = 8;  ///< 5..8
    char parity = 'E'; ///< N, E or O
    int stopBits = 1;  ///< 1 or 2
};

struct TcpAddress {
    QString host;
    int port = 0;
};

/// What makeLink() reads in a text. Throws TextError.
std::variant<SerialAddress, TcpAddress> parseLink(const QString &text);

/// Throws TextError if this build has no serial ports.
std::unique_ptr<Link> makeLink(const SerialAddress &address);
std::unique_ptr<Link> makeLink(const TcpAddress &address);

/// Why the host of an address is not found, and what to do; empty if it is. The stop ends the look-up.
QString lookupError(const TcpAddress &address, const Stop &stop);

} // namespace fgs

#endif
