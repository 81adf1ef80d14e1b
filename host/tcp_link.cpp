#include "descriptor_link.h"
#include "devices.h"

#include <QtNetwork/QTcpSocket>

namespace fgs
{

namespace
{

const int ConnectLimit = 5000; ///< ms

class TcpLink : public DescriptorLink
{
public:
    explicit TcpLink(const TcpAddress &given) : address(given) {}

    bool isConnection() const override { return true; }

protected:
    int openDevice(QString *error) override
    {
        socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(address.host, static_cast<quint16>(address.port));
        if (!socket->waitForConnected(ConnectLimit)) {
            *error = socket->errorString();
            return -1;
        }
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
        return static_cast<int>(socket->socketDescriptor());
    }

    void closeDevice() override { socket.reset(); }

private:
    const TcpAddress address;
    std::unique_ptr<QTcpSocket> socket;
};

} // namespace

std::unique_ptr<Link> makeLink(const TcpAddress &address)
{
    return std::make_unique<TcpLink>(address);
}

} // namespace fgs
