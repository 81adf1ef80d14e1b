// The file of a serial device: what it is, who may use it, and that nobody else does.
#ifndef FGS_HOST_SERIAL_DEVICE_H
#define FGS_HOST_SERIAL_DEVICE_H

#include "descriptor.h"
#include "device_trouble.h"

namespace fgs
{

/// Opens a serial device and locks it against other programs, and other links of this one, by what it is, not by
/// its path. The lock lasts as long as the descriptor. Throws DeviceTrouble.
Descriptor lockSerialDevice(const QString &path);
/// The same, and refuses a device that another program has open without any lock, too.
Descriptor takeSerialDevice(const QString &path);

/// Why a device that is locked here cannot be used all the same: some programs know only of lock files by name.
/// `reason` is the system's text.
QString serialTrouble(const QString &path, const QString &reason);

} // namespace fgs

#endif
