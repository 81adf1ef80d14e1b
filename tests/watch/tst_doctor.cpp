// What the doctor finds in a computer and on a line that a test makes up.
#include "support/texts.h"
#include "support/virtual_line.h"
#include "watch/doctor.h"
#include "watch/doctor_json.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace fgs
{

inline void PrintTo(Mark mark, std::ostream *out)
{
    *out << (mark == Mark::Ok ? "ok" : mark == Mark::Found ? "found" : "not checked");
}

} // namespace fgs

namespace
{

/// A computer with one line, and what it tells.
struct Computer : DoctorSystem {
    VirtualLine line;
    std::optional<DeviceTrouble> trouble;
    std::vector<PortService> running;
    std::optional<Time> timer;
    QString unknownHost;
    bool isPseudoTerminal = false;
    std::optional<SerialAddress> inForce; ///< none: what was asked for
    std::vector<LineErrors> errors;       ///< at the beginning and in the end
    std::optional<Rs485Mode> mode;

    std::unique_ptr<HeldDevice> hold(const QString &path) override;
    std::unique_ptr<Link> connectTo(const TcpAddress &) override { return line.link(QStringLiteral("tcp")); }
    QString lookUp(const TcpAddress &, const Stop &) override { return unknownHost; }
    std::vector<PortService> services(const QString &) override { return running; }
    std::optional<Time> latencyTimer(const QString &) override { return timer; }
};

class Device : public HeldDevice
{
public:
    Device(Computer &theComputer, const QString &thePath) : computer(theComputer), path(thePath) {}

    std::unique_ptr<Link> linkWith(const SerialAddress &settings) override
    {
        asked = settings;
        return computer.line.link(QStringLiteral("%1:%2,%3%4%5")
                                      .arg(path)
                                      .arg(settings.baud)
                                      .arg(settings.dataBits)
                                      .arg(QLatin1Char(settings.parity))
                                      .arg(settings.stopBits));
    }
    bool isPseudoTerminal() const override { return computer.isPseudoTerminal; }
    SerialAddress settings() const override { return computer.inForce.value_or(asked); }
    std::optional<LineErrors> errors() const override
    {
        if (computer.errors.empty())
            return std::nullopt;
        const LineErrors next = computer.errors.front();
        computer.errors.erase(computer.errors.begin());
        return next;
    }
    std::optional<Rs485Mode> rs485Mode() const override { return computer.mode; }

private:
    Computer &computer;
    const QString path;
    SerialAddress asked;
};

std::unique_ptr<HeldDevice> Computer::hold(const QString &path)
{
    if (trouble)
        throw DeviceTrouble(*trouble);
    return std::make_unique<Device>(*this, path);
}

class DoctorTest : public ::testing::Test
{
protected:
    DoctorTest()
    {
        plan.link = QStringLiteral("/dev/ttyUSB0:9600,8O1");
        plan.stations = {1, 2};
        plan.probe.patience = 1s;
        computer.line.rightLink = plan.link;
        computer.line.stations = {1, 2};
    }

    std::vector<CheckResult> look()
    {
        Doctor doctor(plan, computer, stop);
        return doctor.run([this](const char *name) { looked.push_back(name); });
    }
    /// The one check's result, after a run of all.
    CheckResult resultOf(const char *check)
    {
        for (const CheckResult &result : look())
            if (result.check == std::string(check))
                return result;
        ADD_FAILURE() << "no check " << check;
        return {};
    }
    void expectFound(const char *check, const char *text, const char *remedy)
    {
        const CheckResult result = resultOf(check);
        EXPECT_EQ(result.mark, Mark::Found) << check << ": " << result.text.toStdString();
        EXPECT_TRUE(contains(result.text, QString::fromLatin1(text)));
        EXPECT_TRUE(contains(result.remedy, QString::fromLatin1(remedy)));
    }
    void expectMark(const char *check, Mark mark)
    {
        const CheckResult result = resultOf(check);
        EXPECT_EQ(result.mark, mark) << check << ": " << result.text.toStdString();
        EXPECT_NE(result.text, QString());
    }

    Computer computer;
    DoctorPlan plan;
    Stop stop;
    std::vector<std::string> looked;
};

TEST_F(DoctorTest, FindsNothingOnAHealthyLine)
{
    computer.timer = 1ms;
    computer.errors = {{7, 7, 7, 7}, {7, 7, 7, 7}};
    computer.mode = Rs485Mode{true, false};
    const std::vector<CheckResult> results = look();
    for (const CheckResult &result : results) {
        EXPECT_EQ(result.mark, Mark::Ok) << result.check << ": " << result.text.toStdString();
        EXPECT_EQ(result.remedy, QString()) << result.check;
    }
    std::vector<std::string> names;
    for (const CheckText &check : checksOf(true))
        names.push_back(check.name);
    EXPECT_EQ(looked, names);
    EXPECT_EQ(results.size(), names.size());
}

struct Row {
    DeviceTrouble::TroubleKind kind;
    const char *message, *check, *text, *remedy;
};

TEST_F(DoctorTest, TellsWhyADeviceCannotBeUsedInOneCheck)
{
    const Row rows[] = {
        {DeviceTrouble::Missing, "/dev/x does not exist; is the adapter plugged in?", "device",
         "/dev/x does not exist", "is the adapter plugged in?"},
        {DeviceTrouble::Closed, "no permission for /dev/x: join the group dialout (sudo)", "permission",
         "no permission for /dev/x", "join the group dialout (sudo)"},
        {DeviceTrouble::InUse, "/dev/x is in use by meter (pid 7); end it, or wait for it", "in use",
         "/dev/x is in use by meter (pid 7)", "end it, or wait for it"},
        {DeviceTrouble::Unusable, "/dev/x cannot be opened: too hot", "device", "/dev/x cannot be opened",
         "too hot"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.message);
        computer.trouble.emplace(row.kind, QString::fromLatin1(row.message));
        int found = 0;
        for (const CheckResult &result : look()) {
            found += result.mark == Mark::Found;
            if (result.mark == Mark::Found) {
                EXPECT_STREQ(result.check, row.check);
                EXPECT_EQ(result.text, QLatin1String(row.text));
                EXPECT_EQ(result.remedy, QLatin1String(row.remedy));
            }
        }
        EXPECT_EQ(found, 1);
    }
    EXPECT_TRUE(computer.line.sent.empty());
}

TEST_F(DoctorTest, NamesWhatElseIsOnThePort)
{
    computer.running = {{PortService::ModemManager, QStringLiteral("ModemManager (pid 5)")}};
    expectFound("services", "ModemManager (pid 5)", "ID_MM_DEVICE_IGNORE");
    computer.running = {{PortService::LoginPrompt, QStringLiteral("agetty (pid 6)")}};
    expectFound("services", "agetty (pid 6) waits for log-ins", "serial-getty@ttyUSB0");
    computer.running = {{PortService::Console, QString()}};
    expectFound("services", "kernel", "console=ttyUSB0");
}

TEST_F(DoctorTest, FindsSettingsThatAreNotInForce)
{
    computer.inForce = SerialAddress{QString(), 9600, 8, 'N', 1};
    expectFound("settings", "9600,8N1 is in force instead of 9600,8O1", "the adapter cannot do 9600,8O1");
    computer.inForce->baud = 0;
    expectMark("settings", Mark::NotChecked);
    computer.inForce = SerialAddress{QString(), 9600, 8, 'N', 1};
    computer.isPseudoTerminal = true;
    expectMark("settings", Mark::Ok);
    computer.line.refuses = [](const QString &) { return true; };
    expectFound("settings", "cut", "");
}

TEST_F(DoctorTest, FindsAnAdapterThatHoldsBytesBack)
{
    computer.timer = 16ms;
    expectFound("latency", "collects bytes for 16 ms", "/sys/class/tty/ttyUSB0/device/latency_timer");
    computer.timer = std::nullopt;
    expectMark("latency", Mark::NotChecked);
}

TEST_F(DoctorTest, FindsAnRs485ModeThatHearsItself)
{
    computer.mode = Rs485Mode{true, true};
    expectFound("RS-485", "hears itself", "SER_RS485_RX_DURING_TX");
    computer.mode = Rs485Mode{false, true};
    expectMark("RS-485", Mark::Ok);
    computer.mode = std::nullopt;
    expectMark("RS-485", Mark::NotChecked);
}

TEST_F(DoctorTest, FindsNoise)
{
    computer.line.others = [](const QString &) {
        return std::vector<std::pair<Time, QByteArray>>{{300ms, QByteArray("\x55\xAA\x55", 3)}};
    };
    expectFound("silence", "3 bytes in 1 s", "termination");
}

TEST_F(DoctorTest, AsksNothingWhereAnotherHostPolls)
{
    computer.line.others = [](const QString &) {
        const QByteArray question = frames::sealed(QByteArray::fromHex("01fe0108026400"));
        return std::vector<std::pair<Time, QByteArray>>{{100ms, question}, {200ms, question}};
    };
    expectFound("silence", "another host is polling", "end it");
    for (const char *check : {"echo", "stations", "round trips"})
        expectMark(check, Mark::NotChecked);
    EXPECT_TRUE(computer.line.sent.empty());
}

TEST_F(DoctorTest, FindsAnEchoAndTheAnswersBehindIt)
{
    computer.line.echoes = true;
    expectFound("echo", "gives back", "echo");
    expectMark("stations", Mark::Ok);
}

TEST_F(DoctorTest, FindsStationsThatDoNotAnswer)
{
    plan.stations = {1, 2, 3, 4};
    expectFound("stations", "no answer from stations 3, 4", "fgs scan /dev/ttyUSB0 ");
    computer.line.stations.clear();
    expectMark("round trips", Mark::NotChecked);
}

TEST_F(DoctorTest, FindsWrongSettingsByTheSilence)
{
    computer.line.rightLink = QStringLiteral("/dev/ttyUSB0:9600,8E1");
    expectFound("stations", "no answer from stations 1, 2", "finds speed, format and stations");
}

TEST_F(DoctorTest, TellsGarbledAnswersFromNone)
{
    int asked = 0;
    computer.line.loses = [&](const QByteArray &question) {
        const bool isGarbled = frames::byteAt(question, 0) == 2;
        asked += isGarbled;
        if (isGarbled)
            computer.line.reply(QByteArray("\x02\xFE\x10", 3));
        return isGarbled;
    };
    expectFound("stations", "garbled answers from station 2", "speed or format is wrong");
    EXPECT_EQ(asked, 3);
}

TEST_F(DoctorTest, GivesAStationThreeTries)
{
    int asked = 0;
    computer.line.loses = [&asked](const QByteArray &question) {
        return frames::byteAt(question, 0) == 2 && ++asked % 3 != 0;
    };
    expectMark("stations", Mark::Ok);
}

TEST_F(DoctorTest, ComparesRoundTripsWithTheLimit)
{
    computer.line.answersAfter = 400ms;
    const CheckResult good = resultOf("round trips");
    EXPECT_EQ(good.mark, Mark::Ok);
    EXPECT_TRUE(contains(good.text, QStringLiteral("10 of 10 questions answered, in at most 400.0 ms")));
    computer.line.answersAfter = 600ms;
    expectFound("round trips", "at most 600.0 ms; the limit is 1000.0 ms", "--timeout to 1201");
}

TEST_F(DoctorTest, FindsLostAnswers)
{
    int asked = 0;
    computer.line.loses = [&asked](const QByteArray &) { return ++asked % 5 == 0; };
    expectFound("round trips", "8 of 10 questions answered", "plugs");
}

TEST_F(DoctorTest, FindsErrorsThatWereCountedMeanwhile)
{
    computer.errors = {{10, 20, 30, 0}, {12, 23, 30, 0}};
    expectFound("line errors", "2 parity errors, 3 framing errors, 0 lost bytes", "fgs scan");
    computer.errors = {{10, 20, 30, 0}, {10, 20, 34, 0}};
    expectFound("line errors", "4 lost bytes", "lower speed");
    computer.errors = {};
    expectMark("line errors", Mark::NotChecked);
}

TEST_F(DoctorTest, LooksAtAConnection)
{
    plan.link = QStringLiteral("tcp:plc:502");
    computer.line.rightLink = QStringLiteral("tcp");
    for (const CheckResult &result : look())
        EXPECT_EQ(result.mark, Mark::Ok) << result.check << ": " << result.text.toStdString();
    computer.line.refuses = [](const QString &) { return true; };
    expectFound("connection", "cut", "");
    expectMark("stations", Mark::NotChecked);
    computer.unknownHost = QStringLiteral("the host plc is not known; check the spelling");
    expectFound("host name", "the host plc is not known", "check the spelling");
    expectMark("connection", Mark::NotChecked);
}

TEST_F(DoctorTest, ChecksNothingAfterAStop)
{
    stop.request();
    for (const CheckResult &result : look())
        EXPECT_EQ(result.mark, Mark::NotChecked) << result.check;
    EXPECT_TRUE(computer.line.sent.empty());
}

TEST_F(DoctorTest, SendsReadsOfOneWordOnly)
{
    plan.stations = {1, 9};
    look();
    EXPECT_FALSE(computer.line.sent.empty());
    for (const VirtualLine::Question &question : computer.line.sent)
        EXPECT_EQ(question.bytes.mid(1, 6).toHex(), "fe0108010000");
}

TEST_F(DoctorTest, IsToldAsJson)
{
    const std::vector<CheckResult> results = {{"echo", Mark::Found, QStringLiteral("so"), QStringLiteral("do")},
                                              {"latency", Mark::NotChecked, QStringLiteral("none"), QString()}};
    EXPECT_EQ(lineOf(jsonOf(results[0])),
              QStringLiteral(R"({"check":"echo","mark":"found","text":"so","remedy":"do"})"));
    EXPECT_EQ(lineOf(jsonOf(results[1])),
              QStringLiteral(R"({"check":"latency","mark":"notChecked","text":"none"})"));
    EXPECT_EQ(lineOf(countsOf(results)), QStringLiteral(R"({"doctor":{"ok":0,"found":1,"notChecked":1}})"));
}

} // namespace
