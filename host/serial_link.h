// Links on serial devices that somebody has locked already.
#ifndef FGS_HOST_SERIAL_LINK_H
#define FGS_HOST_SERIAL_LINK_H

#include "devices.h"

namespace fgs
{

/// The lock is the descriptor of lockSerialDevice() for the same device; it stays the caller's and outlives the
/// link.
std::unique_ptr<Link> makeLinkOnLocked(const SerialAddress &address, int lock);

} // namespace fgs

#endif
