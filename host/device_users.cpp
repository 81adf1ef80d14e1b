#include "device_users.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace fgs
{

namespace
{

namespace fs = std::filesystem;

const dev_t PseudoTerminalMaker = makedev(5, 2); ///< what posix_openpt() opens

/// Pseudo-terminals of different containers have the same numbers, each in its own file system.
bool isSameDevice(const struct stat &a, const struct stat &b)
{
    return S_ISCHR(a.st_mode) && a.st_rdev == b.st_rdev && (!isPseudoTerminal(a) || a.st_dev == b.st_dev);
}

fs::path directoryOf(pid_t process)
{
    return fs::path("/proc") / std::to_string(process);
}

/// As /proc/locks names a file.
std::string lockName(const struct stat &file)
{
    char name[64];
    std::snprintf(name, sizeof name, "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                  static_cast<unsigned long long>(file.st_ino));
    return name;
}

} // namespace

bool isPseudoTerminal(const struct stat &file)
{
    return S_ISCHR(file.st_mode) && major(file.st_rdev) >= 136 && major(file.st_rdev) <= 143;
}

bool uses(pid_t process, const struct stat &device, bool ifHidden)
{
    bool isUser = false;
    std::error_code hidden;
    for (const fs::directory_entry &entry : fs::directory_iterator(directoryOf(process) / "fd", hidden)) {
        struct stat file;
        if (stat(entry.path().c_str(), &file) != 0)
            continue;
        if (isPseudoTerminal(device) && S_ISCHR(file.st_mode) && file.st_rdev == PseudoTerminalMaker)
            return false;
        isUser = isUser || isSameDevice(file, device);
    }
    return hidden ? ifHidden : isUser;
}

pid_t lockHolder(const struct stat &device)
{
    const std::string wanted = lockName(device);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        std::istringstream columns(line);
        std::string number, kind, mode, access, file;
        pid_t process = 0;
        if (columns >> number >> kind >> mode >> access >> process >> file && kind == "FLOCK" && file == wanted)
            return process;
    }
    return 0;
}

pid_t otherUser(const struct stat &device)
{
    std::error_code unreadable;
    for (const fs::directory_entry &entry : fs::directory_iterator("/proc", unreadable)) {
        const pid_t process = QString::fromStdString(entry.path().filename()).toInt();
        if (process > 0 && process != getpid() && uses(process, device, false))
            return process;
    }
    return 0;
}

QString programName(pid_t process)
{
    std::ifstream file(directoryOf(process) / "comm");
    std::string name;
    if (process <= 0 || !std::getline(file, name))
        return QStringLiteral("another program");
    return QStringLiteral("%1 (pid %2)").arg(QString::fromStdString(name)).arg(process);
}

} // namespace fgs
