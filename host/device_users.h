// Who uses a device, as the system tells.
#ifndef FGS_HOST_DEVICE_USERS_H
#define FGS_HOST_DEVICE_USERS_H

#include <QtCore/QString>
#include <sys/stat.h>

namespace fgs
{

bool isPseudoTerminal(const struct stat &file);

/// Whether a process has the device open; `ifHidden` where that cannot be seen.
bool uses(pid_t process, const struct stat &device, bool ifHidden);

/// Both return a process, 0 if none is to be seen: that of other people may be hidden.
/// Who holds a flock() lock on the device; it may be this process.
pid_t lockHolder(const struct stat &device);
/// Another process that has the device open. The maker of a pseudo-terminal, which often has both ends, is none.
pid_t otherUser(const struct stat &device);

/// "NAME (pid N)"; for 0 "another program".
QString programName(pid_t process);

} // namespace fgs

#endif
