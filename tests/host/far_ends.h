// The controller's end of a link, for tests over real descriptors.
#ifndef FGS_TESTS_FAR_ENDS_H
#define FGS_TESTS_FAR_ENDS_H

#include "host/link.h"
#include "host/text_error.h"
#include "support/loopback.h"
#include "support/pseudo_terminal.h"

#include <gtest/gtest.h>
#include <memory>
#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QString>
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
        std::string path;
        fd = openPseudoTerminal(path);
        device = QString::fromStdString(path);
    }
    QString address() const override { return device; }

private:
    QString device;
};

/// Has its port for itself, also while it does not listen: a second socket, bound only, keeps it.
class TcpEnd : public FarEnd
{
public:
    TcpEnd() : keeper(boundToLoopback(0)), port(portOf(keeper)) { listen(); }
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
    void listen() { listener = listenOnLoopback(port, 1); }

private:
    const int keeper;

protected:
    const int port;

private:
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
