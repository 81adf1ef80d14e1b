// The locks of devices by their names, which many programs keep, QSerialPort among them.
#ifndef FGS_HOST_LOCK_FILE_H
#define FGS_HOST_LOCK_FILE_H

#include <QtCore/QString>

namespace fgs
{

/// Where the lock of the device at a path stands, whatever symbolic links lead there.
QString lockFileOf(const QString &path);

/// The running process that a lock file names, if it is not this one; 0 if there is none. Files of ended programs
/// stay, and the numbers of processes come again.
pid_t processIn(const QString &lockFile);

} // namespace fgs

#endif
