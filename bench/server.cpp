#include "server.h"

#include <QtCore/QCoreApplication>

#include <stdexcept>

namespace bench
{

Server::Server(const QString &program, const QStringList &arguments)
{
    process.start(QCoreApplication::applicationDirPath() + QLatin1Char('/') + program, arguments);
    if (!process.waitForReadyRead())
        throw std::runtime_error(
            ("cannot start " + program.toLocal8Bit() + ": " + process.readAllStandardError()).toStdString());
    text = QString::fromLocal8Bit(process.readLine()).trimmed();
}

Server::~Server()
{
    process.terminate();
    process.waitForFinished();
}

} // namespace bench
