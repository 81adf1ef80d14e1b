// The controller's end of a link, for tests over real descriptors.
#ifndef FGS_TESTS_FAR_ENDS_H
#define FGS_TESTS_FAR_ENDS_H

#include "host/link.h"
#include "host/text_error.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QString>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

namespace fgs
{

/// The controller's end of a link, with an address for the host.
class FarEnd
{
public:
    virtual ~FarEnd() { hangUp(); }
    virtual QString address() const = 0;
    virtual void accept() {}
    void hangUp()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }

    void send(const QByteArray &bytes) const
    {
        ASSERT_EQ(::write(fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    }
    QByteArray receive(int size) const
    {
        QByteArray bytes(size, 0);
        int count = 0;
        while (count < size) {
            const ssize_t got = ::read(fd, bytes.data() + count, size_t(size - count));
            if (got <= 0)
                break;
            count += int(got);
        }
        return bytes.left(count);
    }

protected:
    int fd = -1;
};

class PtyEnd : public FarEnd
{
public:
    PtyEnd()
    {
        fd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        grantpt(fd);
        unlockpt(fd);
        char path[128];
        ptsname_r(fd, path, sizeof path);
        device = QString::fromLocal8Bit(path);
    }
    QString address() const override { return device; }

private:
    QString device;
};

/// Has its port for itself, also while it does not listen: a second socket, bound only, keeps it.
class TcpEnd : public FarEnd
{
public:
    TcpEnd() : keeper(bound(0)), port(portOf(keeper)) { listen(); }
    ~TcpEnd() override
    {
        stopListening();
        ::close(keeper);
    }
    QString address() const override { return QStringLiteral("tcp:127.0.0.1:%1").arg(port); }
    void accept() override
    {
        hangUp();
        fd = ::accept(listener, nullptr, nullptr);
    }
    void stopListening()
    {
        if (listener >= 0)
            ::close(listener);
        listener = -1;
    }
    void listen()
    {
        listener = bound(port);
        ASSERT_EQ(::listen(listener, 1), 0);
    }

protected:
    static sockaddr_in onLoopback(int port)
    {
        sockaddr_in local = {};
        local.sin_family = AF_INET;
        local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        local.sin_port = htons(std::uint16_t(port));
        return local;
    }
    /// As far as it goes without waiting.
    void connectHere(int client) const
    {
        const sockaddr_in local = onLoopback(port);
        ::connect(client, reinterpret_cast<const sockaddr *>(&local), sizeof local);
    }

private:
    static int bound(int port)
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in local = onLoopback(port);
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&local), sizeof local), 0);
        return fd;
    }
    static int portOf(int fd)
    {
        sockaddr_in local = {};
        socklen_t size = sizeof local;
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&local), &size);
        return ntohs(local.sin_port);
    }

    const int keeper;
    const int port;
    int listener = -1;
};

/// A link, not open yet, with such an end. What this build has no links for is skipped.
template <typename End>
class DeviceLink : public ::testing::Test
{
protected:
    void SetUp() override
    {
        try {
            link = makeLink(end.address());
        } catch (const TextError &error) {
            GTEST_SKIP() << error.what();
        }
    }

    void connect()
    {
        ASSERT_TRUE(link->open()) << link->error().toStdString();
        end.accept();
    }

    int nameOnly = 1;
    char name[5] = "test";
    char *arguments[2] = {name, nullptr};
    QCoreApplication application{nameOnly, arguments};
    End end;
    std::unique_ptr<Link> link;
    char buffer[4096];
};

using Ends = ::testing::Types<PtyEnd, TcpEnd>;

} // namespace fgs

#endif
