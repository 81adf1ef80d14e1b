// fgs scan over pseudo-terminals, whose far ends know the speed that was set.
#include "line_hub.h"
#include "programs.h"
#include "rows.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <chrono>
#include <gtest/gtest.h>
#include <QtCore/QJsonArray>
#include <sys/file.h>
#include <thread>

namespace
{

QStringList rowOf(const Result &result, const char *name)
{
    for (const QString &line : result.lines())
        if (line.startsWith(QLatin1String(name) + QLatin1Char(' ')))
            return line.split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(1);
    return {};
}

QJsonObject scanIn(const Result &result)
{
    return result.objects().at(0).value(QStringLiteral("scan")).toObject();
}

TEST(Scan, FindsTheSpeedAndTheStations)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B9600, {1, 3}});
    const Result result = runFgs(
        "scan L --listen 0.001 --timeout 5000 --speeds 19200,9600 --formats 8E1 --stations 1-3", hub.path(0));
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    const QString link = hub.path(0) + QStringLiteral(":9600,8E1");
    EXPECT_EQ(rowOf(result, "link"), QStringList(link));
    EXPECT_EQ(rowOf(result, "stations"), QStringList({QStringLiteral("1"), QStringLiteral("3")}));
    const QStringList poll = rowOf(result, "poll");
    ASSERT_EQ(poll.join(QLatin1Char(' ')), QStringLiteral("fgs poll %1 5:0@1 5:0@3").arg(link));
    EXPECT_EQ(runFgs(poll.mid(1) + QStringList({QStringLiteral("--count"), QStringLiteral("1"),
                                                QStringLiteral("--timeout"), QStringLiteral("3600000")}))
                  .code,
              0)
        << "the line can be pasted";
    EXPECT_TRUE(contains(result.messages, QStringLiteral("has no parity")));
}

TEST(Scan, HearsTheStationsThatAnotherHostPollsAndSendsNothing)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(2, {B9600, {2, 5}});
    Program poll("poll L 5:100x4@2 5:200x2@5 --timeout 3600000", hub.path(1) + QStringLiteral(":9600,8N1"));
    EXPECT_NE(poll.line(), QString());
    const Result result = runFgs("scan L --listen 3600 --speeds 9600 --formats 8N1 --json", hub.path(0));
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    const QJsonObject scan = scanIn(result);
    EXPECT_EQ(scan.value(QStringLiteral("found")).toString(), QStringLiteral("heard"));
    EXPECT_EQ(scan.value(QStringLiteral("link")).toString(), hub.path(0) + QStringLiteral(":9600,8N1"));
    EXPECT_EQ(scan.value(QStringLiteral("stations")).toArray(), QJsonArray({2, 5}));
    EXPECT_EQ(hub.bytesFrom(0), 0);
    EXPECT_TRUE(contains(result.messages, QStringLiteral("another host is polling here")));
}

TEST(Scan, RefusesADeviceInUse)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}});
    Program poll("poll L 5:0x4 --timeout 3600000", hub.path(0));
    EXPECT_NE(poll.line(), QString());
    const Result result = runFgs("scan L", hub.path(0));
    EXPECT_EQ(result.code, 3);
    const QString holder = *TARN_EMULATOR ? QString() : QStringLiteral("fgs (pid "); // an emulator has its own name
    EXPECT_TRUE(contains(result.messages, QStringLiteral("is in use by ") + holder));
}

TEST(Scan, GivesTheDeviceBackAsItWas)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}});
    termios before{}, after{};
    ASSERT_EQ(::tcgetattr(hub.slave(0), &before), 0);
    ::cfsetspeed(&before, B1200);
    ASSERT_EQ(::tcsetattr(hub.slave(0), TCSANOW, &before), 0);
    Program scan("scan L --listen 3600", hub.path(0));
    while (hub.speedAt(0) == B1200)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    scan.interrupt();
    EXPECT_EQ(scan.wait().code, 130);
    ASSERT_EQ(::tcgetattr(hub.slave(0), &after), 0);
    EXPECT_EQ(::cfgetospeed(&after), speed_t(B1200));
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    EXPECT_EQ(after.c_iflag, before.c_iflag);
    EXPECT_EQ(::flock(hub.slave(0), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(hub.bytesFrom(0), 0);
}

TEST(Scan, TellsWhenNobodyAnswers)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {}});
    const Result result =
        runFgs("scan L --listen 0.001 --timeout 1 --speeds 19200 --formats 8E1 --stations 1,2", hub.path(0));
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(result.out, QString());
    EXPECT_TRUE(contains(result.messages, QStringLiteral("no station answers")));
    while (hub.bytesFrom(0) < 18) // which has a thread of its own
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(hub.bytesFrom(0), 18);
}

TEST(Scan, AsksNobodyThroughNoise)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}, false, true});
    EXPECT_TRUE(readable(hub.slave(0)));
    const Result result = runFgs("scan L --listen 1 --speeds 19200 --formats 8E1", hub.path(0));
    EXPECT_EQ(result.code, 6);
    EXPECT_TRUE(contains(result.messages, QStringLiteral("no good frame")));
    EXPECT_EQ(hub.bytesFrom(0), 0);
}

TEST(Scan, FindsStationsBehindAConnection)
{
    Simulator simulator(
        {QStringLiteral("--tcp"), QStringLiteral("0"), QStringLiteral("--stations"), QStringLiteral("2,4")});
    const Result result = runFgs("scan L --listen 0.001 --timeout 5000 --stations 2,4 --json", simulator.link());
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(scanIn(result).value(QStringLiteral("stations")).toArray(), QJsonArray({2, 4}));
    EXPECT_EQ(scanIn(result).value(QStringLiteral("link")).toString(), simulator.link());
}

TEST(Scan, TellsThePlanWithoutTheDevice)
{
    NEEDS_SERIAL_PORTS();
    const Result result = runFgs("scan /dev/no_such_port --dry-run --stations 1-2 --speeds 9600 --formats 8E1,8N1 "
                                 "--timeout 100 --listen 1",
                                 QString());
    EXPECT_EQ(result.code, 0);
    EXPECT_LT(result.out.indexOf(QLatin1String("/dev/no_such_port:9600,8N1")),
              result.out.indexOf(QLatin1String("/dev/no_such_port:9600,8E1")));
    EXPECT_TRUE(contains(result.out, QStringLiteral("5:0 of station 1")));
    EXPECT_TRUE(contains(result.out, QStringLiteral("takes at most 2 s")));
    const Result json = runFgs("scan /dev/no_such_port --dry-run --json --stations 7", QString());
    const QJsonObject plan = json.objects().at(0).value(QStringLiteral("plan")).toObject();
    EXPECT_EQ(plan.value(QStringLiteral("links")).toArray().size(), 21);
    EXPECT_EQ(plan.value(QStringLiteral("stations")).toArray(), QJsonArray({7}));
}

TEST(Scan, RefusesWhatItCannotUse)
{
    const std::pair<const char *, const char *> rows[] = {
        {"scan /dev/ttyS0:9600", "a scan finds the settings; write /dev/ttyS0"},
        {"scan /dev/ttyS0 --stations 0-3", "stations '0-3'"},
        {"scan /dev/ttyS0 --stations 4-2", "stations '4-2'"},
        {"scan /dev/ttyS0 --stations 1-256", "stations '1-256'"},
        {"scan /dev/ttyS0 --speeds fast", "speeds 'fast'"},
        {"scan /dev/ttyS0 --formats 9X7", "formats '9X7'"},
        {"scan /dev/ttyS0 --probe 0:1", "probe '0:1'"},
        {"scan /dev/ttyS0 --listen x", "'x' is no number of seconds"},
    };
    for (const auto &[line, message] : rows) {
        const Result result = runFgs(line, QString());
        EXPECT_EQ(result.code, 2) << line;
        EXPECT_TRUE(contains(result.messages, QString::fromLatin1(message)));
    }
}

} // namespace
