#include "lock_file.h"

#include <cerrno>
#include <csignal>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <unistd.h>

namespace fgs
{

namespace
{

bool isRunning(pid_t process)
{
    return kill(process, 0) == 0 || errno == EPERM;
}

} // namespace

QString lockFileOf(const QString &path)
{
    QString name = QFileInfo(path).canonicalFilePath();
    name.remove(QStringLiteral("/dev/")).replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("/var/lock/LCK..") + name;
}

pid_t processIn(const QString &lockFile)
{
    QFile file(lockFile);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const pid_t process = file.readLine(64).trimmed().toInt();
    return process > 0 && process != getpid() && isRunning(process) ? process : 0;
}

} // namespace fgs
