// Links over real descriptors: a pseudo-terminal and TCP on the loopback.
#include "far_ends.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace fgs;

namespace
{

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
        const int count = this->link->receive(this->buffer, sizeof this->buffer, this->link->now() + 24h);
        ASSERT_GT(count, 0);
        got.append(this->buffer, count);
    }
    EXPECT_EQ(got, all);
}

TYPED_TEST(DeviceLink, ReceivesNoMoreThanAskedFor)
{
    this->connect();
    this->end.send("abcdef");
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + 24h), 1);
    EXPECT_EQ(this->buffer[0], 'a');
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + 24h), 1);
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
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + 24h), -1);
    EXPECT_FALSE(this->link->isOpen());
    EXPECT_EQ(this->link->error(), this->link->isConnection() ? "closed by the other side" : "the device is gone");
    EXPECT_FALSE(this->link->send("a", 1));
    EXPECT_EQ(this->link->receive(this->buffer, 1, this->link->now() + 24h), -1);
}

TYPED_TEST(DeviceLink, CanBeOpenedAgain)
{
    this->connect();
    this->connect();
    ASSERT_TRUE(this->link->send("a", 1));
    EXPECT_EQ(this->end.receive(1), QByteArray("a"));
}

TYPED_TEST(DeviceLink, APauseLastsUntilItsTime)
{
    const Time start = this->link->now();
    this->link->pauseUntil(start + 20ms);
    EXPECT_GE(this->link->now(), start + 20ms);
    this->link->pauseUntil(start);
}

using SerialLink = DeviceLink<PtyEnd>;
using TcpLink = DeviceLink<TcpEnd>;

TEST_F(SerialLink, KnowsWhatAByteTakes)
{
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:9600,8E1"))->byteTime(), Time(1s) * 11 / 9600);
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:115200,8N1"))->byteTime(), Time(1s) * 10 / 115200);
    EXPECT_EQ(makeLink(QStringLiteral("/dev/x:1200,7O2"))->byteTime(), Time(1s) * 11 / 1200);
}

TEST_F(TcpLink, HasNoByteTime)
{
    EXPECT_EQ(link->byteTime(), Time(0));
}

/// The locks by name that this process holds.
int lockFiles()
{
    int count = 0;
    for (const std::filesystem::path &path : std::filesystem::directory_iterator("/var/lock")) {
        std::ifstream file(path);
        int process = 0;
        count += file >> process && process == ::getpid();
    }
    return count;
}

/// Everything that a process can leave behind.
long leftovers()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}) + lockFiles();
}

TEST_F(SerialLink, LeavesNothingBehindWhenItComesBackAThousandTimes)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("plc"));
    link = makeLink(path);
    const auto comeBack = [&] {
        PtyEnd device;
        QFile::remove(path);
        QFile::link(device.address(), path);
        ASSERT_TRUE(link->open()) << link->error().toStdString();
        ASSERT_TRUE(link->send("a", 1));
        EXPECT_EQ(device.receive(1), "a");
        const int kept = ::open(QFile::encodeName(device.address()).constData(), O_RDWR | O_NOCTTY); // its number
        device.hangUp();
        EXPECT_EQ(link->receive(buffer, 1, Time::max()), -1);
        EXPECT_FALSE(link->open()) << "the device is gone";
        ::close(kept);
    };
    comeBack();
    const long before = leftovers();
    for (int count = 0; count < 1000; ++count)
        comeBack();
    EXPECT_EQ(leftovers(), before);
}

TEST_F(SerialLink, LeavesNothingBehindWhenItIsOpenedAThousandTimes)
{
    connect();
    const long before = leftovers();
    EXPECT_EQ(lockFiles(), 1);
    for (int count = 0; count < 1000; ++count)
        connect();
    EXPECT_EQ(leftovers(), before);
}

TEST_F(TcpLink, LeavesNothingBehindWhenItComesBackAThousandTimes)
{
    const auto comeBack = [this] {
        connect();
        ASSERT_TRUE(link->send("a", 1));
        EXPECT_EQ(end.receive(1), "a");
        end.hangUp();
        EXPECT_EQ(link->receive(buffer, 1, Time::max()), -1);
    };
    comeBack();
    end.hangUp();
    const long before = leftovers();
    for (int count = 0; count < 1000; ++count)
        comeBack();
    EXPECT_EQ(leftovers(), before);
}

TEST_F(TcpLink, FindsAServerThatWasStartedAgain)
{
    connect();
    end.hangUp();
    EXPECT_EQ(link->receive(buffer, 1, Time::max()), -1);
    end.stopListening();
    EXPECT_FALSE(link->open());
    end.listen();
    connect();
    ASSERT_TRUE(link->send("a", 1));
    EXPECT_EQ(end.receive(1), "a");
}

TEST_F(TcpLink, AHangUpWhileSendingIsNoSignal)
{
    connect();
    end.hangUp();
    const QByteArray large(1000000, 'x');
    while (link->send(large.constData(), int(large.size()))) {
    }
    EXPECT_FALSE(link->isOpen());
}

} // namespace
