// A serial device that stays this program's own while its settings change, and what the system tells of it.
#ifndef FGS_HOST_HELD_DEVICE_H
#define FGS_HOST_HELD_DEVICE_H

#include "devices.h"

#include <optional>

namespace fgs
{

/// What the kernel has counted on a device since it is there.
struct LineErrors {
    int parity = 0;
    int framing = 0; ///< stop bits that were none
    int overrun = 0; ///< bytes that were lost, in the device or in the kernel
    int breaks = 0;
};

/// How the kernel drives a two-wire line.
struct Rs485Mode {
    bool isOn = false;
    bool hearsItself = false; ///< the receiver is on while it sends
};

/// One thread. With the object's end the device is as it was before: free, with the settings that it had.
class HeldDevice
{
public:
    virtual ~HeldDevice() = default;

    /// A link with any settings, not open yet. One at a time, and none outlives the device.
    virtual std::unique_ptr<Link> linkWith(const SerialAddress &settings) = 0;

    virtual bool isPseudoTerminal() const = 0;
    /// The settings in force; the path stays empty, and a speed that has no name is 0.
    virtual SerialAddress settings() const = 0;
    /// Both are nothing if the device does not tell.
    virtual std::optional<LineErrors> errors() const = 0;
    virtual std::optional<Rs485Mode> rs485Mode() const = 0;
};

/// Locks a device against all other programs. Throws DeviceTrouble, also if another program has it open without a
/// lock, and TextError if this build has no serial ports.
std::unique_ptr<HeldDevice> holdDevice(const QString &path);

} // namespace fgs

#endif
