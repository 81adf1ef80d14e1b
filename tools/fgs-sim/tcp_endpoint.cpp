#include "device.h"
#include "endpoint.h"

#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

namespace fgssim
{

namespace
{

std::string hostAndPort(const QHostAddress &address, quint16 port)
{
    const bool six = address.protocol() == QAbstractSocket::IPv6Protocol;
    const std::string host = address.toString().toStdString();
    return (six ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

class TcpEndpoint : public Endpoint
{
public:
    TcpEndpoint(Simulation &shared, const LineTimes &lineTimes, const TcpAddress &wanted)
        : simulation(shared), times(lineTimes)
    {
        QObject::connect(&server, &QTcpServer::newConnection, &server, [this] { acceptAll(); });
        if (!server.listen(QHostAddress(QString::fromStdString(wanted.host)), quint16(wanted.port)))
            throw EndpointError("--tcp: cannot listen on " + wanted.host + ":" + std::to_string(wanted.port) +
                                ": " + server.errorString().toStdString() +
                                "; choose another port, or 0 for any free one");
    }

    // The connections go with the server, while the rest of this object is alive.
    ~TcpEndpoint() override
    {
        server.close();
        for (QTcpSocket *socket : server.findChildren<QTcpSocket *>())
            delete socket;
    }

    std::string address() const override
    {
        return "tcp:" + hostAndPort(server.serverAddress(), server.serverPort());
    }

private:
    void acceptAll()
    {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            const std::string peer = hostAndPort(socket->peerAddress(), socket->peerPort());
            if (connections < MaxConnections) {
                start(*socket, peer);
            } else {
                say(peer + " refused: " + std::to_string(MaxConnections) +
                    " connections are open, and there may be no more; close one");
                delete socket;
            }
        }
    }

    void start(QTcpSocket &socket, const std::string &peer)
    {
        ++connections;
        say(peer + " connected");
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket.setReadBufferSize(Channel::ChunkSize);
        const auto write = [&socket](const char *bytes, std::size_t count) {
            return sendBounded(socket, bytes, count);
        };
        auto *channel = new Channel(simulation, times, write, peer + " ", &socket);
        channel->onCut([&socket] { socket.abort(); });
        QObject::connect(&socket, &QTcpSocket::readyRead, channel,
                         [&socket, channel] { receiveChunk(socket, *channel); });
        QObject::connect(&socket, &QTcpSocket::disconnected, channel, [this, &socket, peer] {
            --connections;
            say(peer + " disconnected");
            socket.deleteLater();
        });
    }

    void say(const std::string &line)
    {
        simulation.log.write(Log::Topic::Connection, now(), [&] { return line; });
    }

    Simulation &simulation;
    const LineTimes times;
    int connections = 0;
    QTcpServer server;
};

} // namespace

std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times, const TcpAddress &address)
{
    return std::make_unique<TcpEndpoint>(simulation, times, address);
}

} // namespace fgssim
