#include "descriptor.h"
#include "descriptor_link.h"
#include "devices.h"
#include "host_lookup.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

namespace fgs
{

namespace
{

const Time ConnectLimit = 5s; ///< for the look-up and each address

/// What an error means, by its number, and what people can do about it.
struct Trouble {
    int code;
    const char *text;
};

const Trouble LookupTroubles[] = {
    {EAI_NONAME, "is not known; check the spelling, or write its address, like 192.168.0.9"},
    {EAI_AGAIN, "cannot be looked up, as no name server answers; check the network, or write its address, like "
                "192.168.0.9"}};

const Trouble ConnectTroubles[] = {
    {ECONNREFUSED, "refuses connections; check the port, and that the server there is running"},
    {ETIMEDOUT, "does not answer; check the address, the cable, and that the device is switched on"},
    {EHOSTUNREACH, "does not answer; check the address, the cable, and that the device is switched on"},
    {ENETUNREACH, "cannot be reached: no network leads there; check the address and this computer's network"}};

template <int Count>
QString textOf(const Trouble (&table)[Count], int code, const char *reason)
{
    for (const Trouble &row : table) {
        if (row.code == code)
            return QString::fromLatin1(row.text);
    }
    return QStringLiteral("cannot be reached: %1; check the address, the network and its firewalls")
        .arg(QString::fromLocal8Bit(reason));
}

QString lookupTrouble(const TcpAddress &address, int code)
{
    return QStringLiteral("the host %1 %2").arg(address.host, textOf(LookupTroubles, code, gai_strerror(code)));
}

QString connectTrouble(const TcpAddress &address, int code)
{
    return QStringLiteral("port %1 of %2 %3")
        .arg(QString::number(address.port), address.host, textOf(ConnectTroubles, code, std::strerror(code)));
}

/// 0 or the error of a connection under way.
int resultOf(int fd)
{
    int result = 0;
    socklen_t size = sizeof result;
    return getsockopt(fd, SOL_SOCKET, SO_ERROR, &result, &size) == 0 ? result : errno;
}

void switchOn(int fd, int level, int option)
{
    const int on = 1;
    setsockopt(fd, level, option, &on, sizeof on);
}

class TcpLink : public DescriptorLink
{
public:
    explicit TcpLink(const TcpAddress &given) : address(given) {}

    bool isConnection() const override { return true; }

protected:
    int openDevice(QString *error) override
    {
        const HostLookup lookup(address.host, address.port);
        if (!waitFor(lookup.descriptor(), POLLIN, now() + ConnectLimit))
            *error = isEnded() ? QString() : lookupTrouble(address, EAI_AGAIN);
        else if (lookup.error() != 0)
            *error = lookupTrouble(address, lookup.error());
        else
            connectToOne(lookup.addresses(), error);
        return socket.get();
    }

    void closeDevice() override { socket = Descriptor(); }

    /// A hang-up is told by the result, not by a signal.
    ssize_t write(int fd, const char *bytes, size_t size) override { return ::send(fd, bytes, size, MSG_NOSIGNAL); }

private:
    /// Tries one address after the other; the error is the first one's, which is the best one.
    void connectToOne(const addrinfo *first, QString *error)
    {
        for (const addrinfo *at = first; at; at = at->ai_next) {
            const int result = connectTo(*at);
            if (result == 0)
                return error->clear();
            closeDevice();
            if (isEnded())
                return error->clear();
            if (error->isEmpty())
                *error = connectTrouble(address, result);
        }
    }

    /// 0 or an error.
    int connectTo(const addrinfo &to)
    {
        socket = Descriptor(::socket(to.ai_family, to.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, to.ai_protocol));
        if (!socket.isOpen())
            return errno;
        switchOn(socket.get(), IPPROTO_TCP, TCP_NODELAY);
        switchOn(socket.get(), SOL_SOCKET, SO_KEEPALIVE);
        if (::connect(socket.get(), to.ai_addr, to.ai_addrlen) != 0 && errno != EINPROGRESS && errno != EINTR)
            return errno;
        return waitFor(socket.get(), POLLOUT, now() + ConnectLimit) ? resultOf(socket.get()) : ETIMEDOUT;
    }

    const TcpAddress address;
    Descriptor socket;
};

} // namespace

QString lookupError(const TcpAddress &address, const Stop &stop)
{
    const HostLookup lookup(address.host, address.port);
    pollfd sources[] = {{lookup.descriptor(), POLLIN, 0}, {stop.descriptor(), POLLIN, 0}};
    if (::poll(sources, 2, static_cast<int>(ConnectLimit / 1ms)) <= 0 || sources[0].revents == 0)
        return lookupTrouble(address, EAI_AGAIN);
    return lookup.error() == 0 ? QString() : lookupTrouble(address, lookup.error());
}

std::unique_ptr<Link> makeLink(const TcpAddress &address)
{
    return std::make_unique<TcpLink>(address);
}

} // namespace fgs
