// What else on this computer may use a serial port, and what its driver does to the bytes.
#ifndef FGS_HOST_PORT_SERVICES_H
#define FGS_HOST_PORT_SERVICES_H

#include "link.h"

#include <optional>
#include <vector>

namespace fgs
{

struct PortService {
    enum ServiceKind {
        ModemManager, ///< opens each new port and sends modem commands
        LoginPrompt,  ///< a getty
        Console       ///< the kernel's messages
    };
    ServiceKind kind;
    QString program; ///< "agetty (pid 12)"; empty for the kernel
};

// Both look below `root`, which stands for the root of the file system.

/// None for a pseudo-terminal.
std::vector<PortService> servicesOn(const QString &path, const QString &root = QString());
/// For how long a USB adapter collects bytes; nothing if the device has no such timer.
std::optional<Time> latencyTimerOf(const QString &path, const QString &root = QString());

} // namespace fgs

#endif
