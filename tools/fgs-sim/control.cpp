#include "control.h"

#include "channel.h"
#include "commands.h"
#include "unix_address.h"

#include <QtNetwork/QLocalSocket>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace fgssim
{

namespace
{

const char *const Failure = "--control: cannot listen at";
const int MaxClients = 8;     // at a time
const qint64 MaxLine = 65536; // bytes

/// A socket at which nobody listens goes; anything else stays.
void removeLeftBehind(const std::string &path)
{
    struct stat found = {};
    if (::lstat(path.c_str(), &found) != 0)
        return;
    if (!S_ISSOCK(found.st_mode))
        refusePath(Failure, path, "it is no socket, and is not replaced");
    if (const std::string listener = listenerAt(UnixAddress::file(path)); !listener.empty())
        refusePath(Failure, path, "another program" + listener + " listens there",
                   "choose another path, or end that one");
    ::unlink(path.c_str());
}

/// The mode of a socket before it is bound becomes that of its file.
int listeningSocket(const std::string &path)
{
    if (path.size() > UnixAddress::MaxPath)
        refusePath(Failure, path, "it is longer than " + std::to_string(UnixAddress::MaxPath) + " characters");
    removeLeftBehind(path);
    const UnixAddress address = UnixAddress::file(path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || ::fchmod(fd, S_IRUSR | S_IWUSR) != 0 || ::bind(fd, address.get(), address.size()) != 0 ||
        ::listen(fd, MaxClients) != 0) {
        const int cause = errno;
        if (fd >= 0)
            ::close(fd);
        refusePath(Failure, path, std::strerror(cause));
    }
    return fd;
}

} // namespace

Control::Control(Simulation &shared, const std::string &at) : simulation(shared), path(at), claim(path, Failure)
{
    QObject::connect(&server, &QLocalServer::newConnection, &server, [this] { acceptAll(); });
    if (!server.listen(qintptr(listeningSocket(path))))
        refusePath(Failure, path, server.errorString().toStdString());
}

Control::~Control()
{
    server.close();
    ::unlink(path.c_str());
}

void Control::acceptAll()
{
    while (QLocalSocket *const client = server.nextPendingConnection()) {
        if (server.findChildren<QLocalSocket *>().size() > MaxClients) {
            delete client;
            continue;
        }
        client->setReadBufferSize(MaxLine);
        QObject::connect(client, &QLocalSocket::readyRead, client, [this, client] { serve(*client); });
        QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
        serve(*client);
    }
}

void Control::serve(QLocalSocket &client)
{
    while (client.canReadLine()) {
        QByteArray line = client.readLine();
        line.chop(1);
        client.write(QByteArray::fromStdString(answer(line.toStdString()) + "\n"));
    }
    client.flush(); // it may have closed its end
    if (client.bytesAvailable() >= MaxLine)
        client.abort(); // no command is so long
}

std::string Control::answer(const std::string &line)
{
    try {
        const Command command = parseCommand(line, simulation.controller.stations());
        if (command.changes)
            simulation.log.write(Log::Topic::State, now(), [&] { return "command: " + command.text; });
        return command.carryOut(simulation, now()) + "\n" + ControlDone;
    } catch (const BadText &bad) {
        return std::string(ControlRefused) + bad.what();
    }
}

} // namespace fgssim
