#include "serial_device.h"

#include "device_users.h"
#include "file_access.h"
#include "lock_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>

namespace fgs
{

namespace
{

[[noreturn]] void fail(DeviceTrouble::TroubleKind kind, const QString &path, const QString &why)
{
    throw DeviceTrouble(kind, path + QLatin1Char(' ') + why);
}

QString inUseBy(const QString &path, pid_t user)
{
    return QStringLiteral("%1 is in use by %2; end it, or wait for it").arg(path, programName(user));
}

[[noreturn]] void failByUser(const QString &path, pid_t user)
{
    throw DeviceTrouble(DeviceTrouble::InUse, inUseBy(path, user));
}

[[noreturn]] void failByAccess(const QString &path, const struct stat &device)
{
    throw DeviceTrouble(DeviceTrouble::Closed,
                        QStringLiteral("no permission for %1: %2").arg(path, wayIn(path, device)));
}

/// What an error means, by its number, and what people can do about it.
struct Trouble {
    int code;
    DeviceTrouble::TroubleKind kind;
    const char *text;
};

const Trouble Troubles[] = {
    {ENOENT, DeviceTrouble::Missing, "does not exist; is the adapter plugged in?"},
    {ENOTDIR, DeviceTrouble::Missing, "does not exist; is the adapter plugged in?"},
    {ENXIO, DeviceTrouble::Missing, "has no device behind it; is the adapter plugged in?"},
    {ENODEV, DeviceTrouble::Missing, "has no device behind it; is the adapter plugged in?"},
    {EIO, DeviceTrouble::Missing, "has no device behind it; is the adapter plugged in?"},
    {ELOOP, DeviceTrouble::Missing, "is a symbolic link that leads nowhere; check it"},
    {EACCES, DeviceTrouble::Closed,
     "cannot be reached: a directory on the way there is closed to you; check its permissions"},
    {EPERM, DeviceTrouble::Closed, "is closed to this container or service; have its manager let the device in"},
};

[[noreturn]] void failBySystem(const QString &path, int code)
{
    for (const Trouble &row : Troubles) {
        if (row.code == code)
            fail(row.kind, path, QString::fromLatin1(row.text));
    }
    fail(DeviceTrouble::Unusable, path,
         QStringLiteral("cannot be opened: %1").arg(QString::fromLocal8Bit(std::strerror(code))));
}

/// What people give for a device by mistake.
struct FileType {
    mode_t mode;
    const char *name;
};

const FileType FileTypes[] = {
    {S_IFREG, "file"}, {S_IFDIR, "directory"}, {S_IFBLK, "disk"}, {S_IFIFO, "pipe"}, {S_IFSOCK, "socket"}};

/// The device at the path, before anything is opened: that could have an effect.
struct stat examine(const QString &path)
{
    struct stat file;
    if (stat(QFile::encodeName(path).constData(), &file) != 0)
        failBySystem(path, errno);
    for (const FileType &type : FileTypes) {
        if ((file.st_mode & S_IFMT) == type.mode)
            fail(DeviceTrouble::Missing, path,
                 QStringLiteral("is a %1, not a serial device").arg(QLatin1String(type.name)));
    }
    return file;
}

pid_t userOf(const struct stat &device)
{
    const pid_t holder = lockHolder(device);
    return holder != 0 ? holder : otherUser(device);
}

/// TIOCEXCL was set. A pseudo-terminal keeps that from a program that was killed.
[[noreturn]] void failByMark(const QString &path, const struct stat &device)
{
    const pid_t user = userOf(device);
    if (user == 0 && isPseudoTerminal(device))
        fail(DeviceTrouble::InUse, path,
             QStringLiteral("is in use by another program, or was by one that was killed; end it, or start "
                            "anew what made this pseudo-terminal"));
    failByUser(path, user);
}

Descriptor openDevice(const QString &path, const struct stat &device)
{
    Descriptor file(open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (file.isOpen())
        return file;
    if (errno == EBUSY)
        failByMark(path, device);
    if (errno == EACCES)
        failByAccess(path, device);
    failBySystem(path, errno);
}

[[noreturn]] void failByLock(const QString &path, const struct stat &device)
{
    if (errno != EWOULDBLOCK)
        failBySystem(path, errno);
    failByUser(path, userOf(device));
}

void requireTerminal(const QString &path, int file)
{
    termios settings;
    if (tcgetattr(file, &settings) == 0)
        return;
    if (errno == ENOTTY)
        fail(DeviceTrouble::Missing, path, QStringLiteral("is a device, but not a serial one"));
    failBySystem(path, errno);
}

/// TIOCEXCL keeps root out of nothing, so who is root has to ask. It outlives its setter on a pseudo-terminal.
bool isExclusive(int file)
{
    int exclusive = 0;
    return ioctl(file, TIOCGEXCL, &exclusive) == 0 && exclusive;
}

/// 0 if nobody is at work.
pid_t userByLockFile(const QString &path, const struct stat &device)
{
    const pid_t process = processIn(lockFileOf(path));
    return process != 0 && uses(process, device, true) ? process : 0;
}

pid_t userWithoutLock(const QString &path, int file, const struct stat &device)
{
    const pid_t user = userByLockFile(path, device);
    return user == 0 && isExclusive(file) ? otherUser(device) : user;
}

} // namespace

Descriptor lockSerialDevice(const QString &path)
{
    const struct stat device = examine(path);
    Descriptor file = openDevice(path, device);
    requireTerminal(path, file.get());
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        failByLock(path, device);
    const pid_t user = userWithoutLock(path, file.get(), device);
    if (user != 0)
        failByUser(path, user);
    return file;
}

Descriptor takeSerialDevice(const QString &path)
{
    Descriptor file = lockSerialDevice(path);
    struct stat device;
    const pid_t user = fstat(file.get(), &device) == 0 ? otherUser(device) : 0;
    if (user != 0)
        failByUser(path, user);
    return file;
}

QString serialTrouble(const QString &path, const QString &reason)
{
    const QString lockFile = lockFileOf(path);
    if (!QFileInfo::exists(lockFile))
        return QStringLiteral("%1 cannot be set up: %2; check the baud rate and the format").arg(path, reason);
    const pid_t holder = processIn(lockFile);
    if (holder != 0)
        return inUseBy(path, holder);
    return QStringLiteral("%1 is locked by the file %2, which an ended program has left; remove it (sudo rm %2)")
        .arg(path, lockFile);
}

} // namespace fgs
