#include "port_services.h"

#include <filesystem>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QList>
#include <QtCore/QStringList>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace fgs
{

namespace
{

namespace fs = std::filesystem;

/// Whole; empty if it cannot be read.
QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// "ttyUSB0", whatever symbolic links lead there; empty for what is no port, as a pseudo-terminal.
QString portName(const QString &path)
{
    const QFileInfo file(path);
    const QString real = file.exists() ? file.canonicalFilePath() : path;
    return real.startsWith(QLatin1String("/dev/tty")) ? real.mid(5) : QString();
}

struct Process {
    QString name;
    QList<QByteArray> arguments;
    QString text; ///< "NAME (pid N)"
};

std::vector<Process> processes(const QString &root)
{
    std::vector<Process> all;
    std::error_code unreadable;
    for (const fs::directory_entry &entry :
         fs::directory_iterator((root + QLatin1String("/proc")).toStdString(), unreadable)) {
        const QString number = QString::fromStdString(entry.path().filename().string());
        const QString folder = QString::fromStdString(entry.path().string());
        const QString name = QString::fromLocal8Bit(contentOf(folder + QLatin1String("/comm")).trimmed());
        if (number.toInt() <= 0 || name.isEmpty())
            continue;
        all.push_back({name, contentOf(folder + QLatin1String("/cmdline")).split('\0'),
                       QStringLiteral("%1 (pid %2)").arg(name, number)});
    }
    return all;
}

/// Rules of udev can keep a port from ModemManager.
bool isKeptFromModemManager(const QString &path, const QString &root)
{
    struct stat file;
    if (stat(QFile::encodeName(path).constData(), &file) != 0)
        return false;
    const QByteArray rules =
        contentOf(root + QStringLiteral("/run/udev/data/c%1:%2").arg(major(file.st_rdev)).arg(minor(file.st_rdev)));
    return rules.contains("ID_MM_DEVICE_IGNORE=1") || rules.contains("ID_MM_PORT_IGNORE=1");
}

/// It leaves built-in ports alone.
bool isForModemManager(const QString &name)
{
    return name.startsWith(QLatin1String("ttyUSB")) || name.startsWith(QLatin1String("ttyACM"));
}

bool isGettyOn(const Process &process, const QString &name)
{
    const QByteArray port = QFile::encodeName(name);
    return process.name.endsWith(QLatin1String("getty")) &&
           (process.arguments.contains(port) || process.arguments.contains("/dev/" + port));
}

} // namespace

std::vector<PortService> servicesOn(const QString &path, const QString &root)
{
    std::vector<PortService> found;
    const QString name = portName(path);
    if (name.isEmpty())
        return found;
    for (const Process &process : processes(root))
        if (process.name == QLatin1String("ModemManager") && isForModemManager(name) &&
            !isKeptFromModemManager(path, root))
            found.push_back({PortService::ModemManager, process.text});
        else if (isGettyOn(process, name))
            found.push_back({PortService::LoginPrompt, process.text});
    const QByteArray consoles = contentOf(root + QLatin1String("/sys/class/tty/console/active"));
    if (QString::fromLatin1(consoles.simplified()).split(QLatin1Char(' ')).contains(name))
        found.push_back({PortService::Console, QString()});
    return found;
}

std::optional<Time> latencyTimerOf(const QString &path, const QString &root)
{
    const QString name = portName(path);
    bool isNumber = false;
    const int ms = contentOf(root + QStringLiteral("/sys/class/tty/%1/device/latency_timer").arg(name))
                       .trimmed()
                       .toInt(&isNumber);
    return isNumber && !name.isEmpty() ? std::optional<Time>(std::chrono::milliseconds(ms)) : std::nullopt;
}

} // namespace fgs
