// Links over real descriptors: a pseudo-terminal and TCP on the loopback.
#include "host/devices.h"
#include "host/text_error.h"
#include "support/loopback.h"
#include "support/serial_ports.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <QtCore/QCoreApplication>
#include <stdlib.h>
#include <thread>
#include <unistd.h>

using namespace fgs;

namespace
{

const Time Patience = 1h; ///< for what does come: longer than any test lasts

/// The controller's end of a link, with an address for the host.
class FarEnd
{
public:
    virtual ~FarEnd() = default;
    virtual QString address() const = 0;
    virtual void accept() {}
    virtual void hangUp() = 0;

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
        fd = posix_openpt(O_RDWR | O_NOCTTY);
        grantpt(fd);
        unlockpt(fd);
        char path[128];
        ptsname_r(fd, path, sizeof path);
        device = QString::fromLocal8Bit(path);
    }
    ~PtyEnd() override { hangUp(); }
    QString address() const override { return device; }
    void hangUp() override
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }

private:
    QString device;
};

class TcpEnd : public FarEnd
{
public:
    TcpEnd() : listener(listenOnLoopback(port)) {}
    ~TcpEnd() override
    {
        hangUp();
        stopListening();
    }
    QString address() const override { return QStringLiteral("tcp:127.0.0.1:%1").arg(port); }
    void accept() override { fd = ::accept(listener, nullptr, nullptr); }
    void hangUp() override
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
    void stopListening()
    {
        if (listener >= 0)
            ::close(listener);
        listener = -1;
    }

private:
    int port;
    int listener;
};

template <typename End>
class DeviceLink : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::is_same<End, PtyEnd>::value)
            NEEDS_SERIAL_PORTS();
        link = makeLink(end.address());
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
TYPED_TEST_SUITE(DeviceLink, Ends);

TYPED_TEST(DeviceLink, CarriesEveryByteBothWays)
{
    this->connect();
    QByteArray all;
    for (int value = 0; value < 256; ++value)
        all.append(char(value));
    ASSERT_TRUE(this->link->send(all.constData(), int(all.size())));
    EXPECT_EQ(this->end.receive(256), all);
    this->end.send(all);
    QByteArray got;
    while (got.size() < 256) {
        const int count = this->link->receive(this->buffer, sizeof this->buffer, this->link->now() + Patience);
        ASSERT_GT(count, 0);
        got.append(this->buffer, count);
    }
    EXPECT_EQ(got, all);
}

TYPED_TEST(DeviceLink, ReceivesNoMoreThanAskedFor)
{
    this->connect();
    this->end.send("abcdef");
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + Patience), 1);
    EXPECT_EQ(this->buffer[0], 'a');
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + Patience), 1);
    EXPECT_EQ(this->buffer[0], 'b');
}

TYPED_TEST(DeviceLink, SilenceEndsAtTheDeadline)
{
    this->connect();
    const Time start = this->link->now();
    EXPECT_EQ(this->link->receive(this->buffer, 1, start + 20ms), 0);
    EXPECT_GE(this->link->now(), start + 20ms);
    EXPECT_EQ(this->link->receive(this->buffer, 1, start), 0) << "a deadline in the past only looks";
    EXPECT_TRUE(this->link->isOpen());
}

TYPED_TEST(DeviceLink, IsLostWhenTheFarEndHangsUp)
{
    this->connect();
    this->end.hangUp();
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + Patience), -1);
    EXPECT_FALSE(this->link->isOpen());
    EXPECT_FALSE(this->link->error().isEmpty());
    EXPECT_FALSE(this->link->send("a", 1));
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + Patience), -1);
}

TYPED_TEST(DeviceLink, CanBeOpenedAgain)
{
    this->connect();
    this->connect();
    ASSERT_TRUE(this->link->send("a", 1));
    EXPECT_EQ(this->end.receive(1), QByteArray("a"));
}

TYPED_TEST(DeviceLink, WaitsWhileTheLineTakesNoBytes)
{
    this->connect();
    const QByteArray large(300000, 'x');
    std::thread reader([this, &large] { EXPECT_EQ(this->end.receive(int(large.size())).size(), large.size()); });
    EXPECT_TRUE(this->link->send(large.constData(), int(large.size())));
    reader.join();
}

TYPED_TEST(DeviceLink, APauseLastsUntilItsEnd)
{
    const Time start = this->link->now();
    this->link->pauseUntil(start + 20ms);
    EXPECT_GE(this->link->now(), start + 20ms);
    this->link->pauseUntil(start); // over already
}

using SerialLink = DeviceLink<PtyEnd>;
using TcpLink = DeviceLink<TcpEnd>;

TEST_F(SerialLink, KnowsWhatAByteTakes)
{
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:9600,8E1"))->byteTime(), Time(1s) * 11 / 9600);
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:115200,8N1"))->byteTime(), Time(1s) * 10 / 115200);
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:1200,7O2"))->byteTime(), Time(1s) * 11 / 1200);
}

TEST_F(SerialLink, SaysWhyItDoesNotOpen)
{
    const auto missing = makeLink(QStringLiteral("/dev/no_such_port"));
    EXPECT_FALSE(missing->open());
    EXPECT_EQ(missing->error().toStdString(), "No such file or directory");
}

TEST_F(TcpLink, HasNoByteTime)
{
    EXPECT_EQ(link->byteTime(), Time(0));
}

TEST_F(TcpLink, SaysWhyItDoesNotOpen)
{
    end.stopListening();
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error().toStdString(), "Connection refused");
}

} // namespace
