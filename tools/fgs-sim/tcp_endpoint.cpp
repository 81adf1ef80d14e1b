#include "device.h"
#include "endpoint.h"

#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

namespace fgssim
{

namespace
{

const int MaxConnections = 8;

std::string endpoint(const QHostAddress &address, quint16 port)
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

    std::string address() const override { return endpoint(server.serverAddress(), server.serverPort()); }

private:
    void acceptAll()
    {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            const std::string peer = endpoint(socket->peerAddress(), socket->peerPort());
            if (connections < MaxConnections) {
                start(*socket, peer);
            } else {
                simulation.log.write(Log::Level::Normal, peer + " refused: " + std::to_string(MaxConnections) +
                                                             " connections are open");
                delete socket;
            }
        }
    }

    void start(QTcpSocket &socket, const std::string &peer)
    {
        ++connections;
        simulation.log.write(Log::Level::Normal, peer + " connected");
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket.setReadBufferSize(Channel::ChunkSize);
        const auto write = [&socket](const char *bytes, std::size_t count) {
            return sendBounded(socket, bytes, count);
        };
        auto *channel = new Channel(simulation, times, write, peer + " ", &socket);
        QObject::connect(&socket, &QTcpSocket::readyRead, channel,
                         [&socket, channel] { receiveChunk(socket, *channel); });
        QObject::connect(&socket, &QTcpSocket::disconnected, channel, [this, &socket, peer] {
            --connections;
            simulation.log.write(Log::Level::Normal, peer + " disconnected");
            socket.deleteLater();
        });
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
