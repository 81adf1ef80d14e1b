// fgs doctor in the situations of a night on site, made over pseudo-terminals.
#include "line_hub.h"
#include "programs.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

/// The check with this name in what fgs doctor --json has printed.
QJsonObject checkIn(const Result &result, const char *name)
{
    for (const QJsonObject &object : result.objects())
        if (object.value(QStringLiteral("check")).toString() == QLatin1String(name))
            return object;
    ADD_FAILURE() << "no check " << name << " in: " << result.out.toStdString() << result.messages.toStdString();
    return {};
}

std::string markOf(const Result &result, const char *name)
{
    return checkIn(result, name).value(QStringLiteral("mark")).toString().toStdString();
}

void expectFound(const Result &result, const char *name, const char *text, const char *remedy)
{
    EXPECT_EQ(result.code, 9) << result.messages.toStdString();
    const QJsonObject check = checkIn(result, name);
    EXPECT_EQ(check.value(QStringLiteral("mark")).toString(), QStringLiteral("found"));
    EXPECT_TRUE(contains(check.value(QStringLiteral("text")).toString(), QString::fromLatin1(text)));
    EXPECT_TRUE(contains(check.value(QStringLiteral("remedy")).toString(), QString::fromLatin1(remedy)));
}

/// An answer is waited for as long as it takes, where one comes.
const char Patiently[] = "doctor L --json --listen 0.001 --timeout 1000000";

TEST(Doctor, FindsNothingOnAHealthyLine)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1, 2}});
    const Result result = runFgs("doctor L --json --listen 0.001 --timeout 1000000 --station 1-2", hub.path(0));
    EXPECT_EQ(result.code, 0) << result.out.toStdString();
    for (const char *name :
         {"device", "permission", "in use", "services", "settings", "silence", "echo", "stations", "round trips"})
        EXPECT_EQ(markOf(result, name), "ok") << name;
    for (const char *name : {"latency", "RS-485", "line errors"})
        EXPECT_EQ(markOf(result, name), "notChecked") << name;
}

TEST(Doctor, FindsADeviceInUse)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}});
    Program poll("poll L 5:0x4 --timeout 3600000", hub.path(0));
    EXPECT_NE(poll.line(), QString());
    const char *const holder = *TARN_EMULATOR ? "is in use by " : "is in use by fgs (pid "; // it has its own name
    expectFound(runFgs(Patiently, hub.path(0)), "in use", holder, "end it");
}

const char SetUser[] = "/usr/bin/setpriv";

/// As a user without rights, whoever runs the tests.
Result runWithoutRights(const QString &device)
{
    const std::string program = TARN_BINARY_DIR "/fgs";
    const std::vector<std::string> doctor = {"doctor", device.toStdString(), "--json"};
    std::vector<std::string> asNobody = {"--reuid=65534", "--regid=65534", "--clear-groups", program};
    asNobody.insert(asNobody.end(), doctor.begin(), doctor.end());
    Process process(::geteuid() == 0 ? SetUser : program, ::geteuid() == 0 ? asNobody : doctor);
    const QString out = QString::fromStdString(process.restOfOutput());
    const QString messages = QString::fromStdString(process.restOfLog());
    return {process.wait(), out, messages};
}

TEST(Doctor, FindsThatPermissionIsMissing)
{
    NEEDS_SERIAL_PORTS();
    if (::geteuid() == 0 && (*TARN_EMULATOR || ::access(SetUser, X_OK) != 0))
        GTEST_SKIP() << "root has every permission, and setpriv cannot take it away here";
    const LineHub hub(1, {B19200, {1}});
    ASSERT_EQ(::chmod(hub.path(0).toLatin1().constData(), 0060), 0) << "for its group alone";
    const Result result = runWithoutRights(hub.path(0));
    if (result.code == 126 || result.code == 127)
        GTEST_SKIP() << "a user without rights cannot run fgs here: " << result.messages.toStdString();
    expectFound(result, "permission", "no permission for", ::geteuid() == 0 ? "group" : "chmod u+rw");
    EXPECT_EQ(markOf(result, "device"), "ok");
    EXPECT_EQ(markOf(result, "stations"), "notChecked");
    EXPECT_EQ(hub.bytesFrom(0), 0);
}

TEST(Doctor, FindsAWrongSpeed)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B9600, {1}});
    const Result result =
        runFgs("doctor L --json --listen 0.001 --timeout 1", hub.path(0) + QStringLiteral(":19200,8E1"));
    expectFound(result, "stations", "no answer from station 1", "finds speed, format and stations");
}

TEST(Doctor, FindsAnEcho)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}, true});
    const Result result = runFgs(Patiently, hub.path(0));
    expectFound(result, "echo", "gives back what is sent", "echo");
    EXPECT_EQ(markOf(result, "stations"), "ok") << "its answers come behind the echo";
}

TEST(Doctor, FindsADeadStation)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}});
    const Result result = runFgs("doctor L --json --listen 0.001 --timeout 1000 --station 1,9", hub.path(0));
    expectFound(result, "stations", "no answer from station 9", "its number");
    EXPECT_NE(markOf(result, "round trips"), "notChecked") << "of the one that answers";
}

TEST(Doctor, FindsNoise)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}, false, true});
    const Result result = runFgs("doctor L --json --listen 3 --timeout 1", hub.path(0));
    expectFound(result, "silence", "that nobody asked for", "termination");
}

TEST(Doctor, FindsAnotherHostAndLeavesItAlone)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(2, {B19200, {1}});
    Program poll("poll L 5:100x4 --timeout 3600000", hub.path(1));
    EXPECT_NE(poll.line(), QString());
    const Result result = runFgs("doctor L --json --listen 3600", hub.path(0));
    expectFound(result, "silence", "another host is polling", "end it");
    EXPECT_EQ(hub.bytesFrom(0), 0);
}

TEST(Doctor, LooksAtConnections)
{
    Simulator simulator({QStringLiteral("--tcp"), QStringLiteral("0")});
    EXPECT_EQ(runFgs(Patiently, simulator.link()).code, 0);
    simulator.endAndCountRequests();
    expectFound(runFgs(Patiently, simulator.link()), "connection", "refuses connections", "check the port");
}

TEST(Doctor, PutsTheRemedyBelowWhatItHasFound)
{
    NEEDS_SERIAL_PORTS();
    const Result result = runFgs("doctor /dev/no_such_port", QString());
    EXPECT_EQ(result.code, 9);
    EXPECT_TRUE(
        startsWith(result.out, QStringLiteral("FOUND        device       /dev/no_such_port does not exist\n"
                                              "                          -> is the adapter plugged in?\n")));
    EXPECT_TRUE(contains(result.out, QStringLiteral("not checked  stations     there is no device\n")));
}

TEST(Doctor, ListsItsChecks)
{
    const Result all = runFgs("doctor --list", QString());
    EXPECT_EQ(all.code, 0);
    EXPECT_TRUE(contains(all.out, QStringLiteral("\nlatency ")));
    EXPECT_TRUE(contains(all.out, QStringLiteral("\nhost name ")));
    const Result serial = runFgs("doctor /dev/ttyS0 --list", QString());
    EXPECT_TRUE(contains(serial.out, QStringLiteral("\nlatency ")));
    EXPECT_FALSE(contains(serial.out, QStringLiteral("\nhost name ")));
    EXPECT_EQ(runFgs("doctor", QString()).code, 2);
}

TEST(Doctor, EndsOnCtrlC)
{
    NEEDS_SERIAL_PORTS();
    const LineHub hub(1, {B19200, {1}});
    termios before{};
    ASSERT_EQ(::tcgetattr(hub.slave(0), &before), 0);
    ::cfsetspeed(&before, B1200);
    ASSERT_EQ(::tcsetattr(hub.slave(0), TCSANOW, &before), 0);
    Program doctor("doctor L --listen 3600", hub.path(0));
    while (hub.speedAt(0) == B1200)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    doctor.interrupt();
    const Result result = doctor.wait();
    EXPECT_EQ(result.code, 130);
    EXPECT_TRUE(contains(result.out, QStringLiteral("interrupted")));
    EXPECT_EQ(hub.speedAt(0), speed_t(B1200));
}

} // namespace
