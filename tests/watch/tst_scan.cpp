// Which settings and stations a scan tries, in which order and for how long, and what it believes.
#include "support/virtual_line.h"
#include "watch/scan.h"

#include <gtest/gtest.h>
#include <numeric>

using namespace fgs;

namespace
{

const QString Device = QStringLiteral("/dev/ttyX");

/// Ends the scan after so many questions.
class Watcher : public ScanObserver
{
public:
    explicit Watcher(Stop &theStop) : stop(theStop) {}

    void listening(const QString &, Time left) override { lefts.push_back(left); }
    void asking(const QString &, int, Time left) override
    {
        lefts.push_back(left);
        if (--questions == 0)
            stop.request();
    }

    int questions = -1;
    std::vector<Time> lefts;

private:
    Stop &stop;
};

class ScanTest : public ::testing::Test
{
protected:
    ScanTest()
    {
        plan.links = linksOf(Device, UsualSpeeds, UsualFormats);
        plan.stations.resize(32);
        std::iota(plan.stations.begin(), plan.stations.end(), 1);
    }

    ScanResult run()
    {
        Scan scan(plan, maker(), stop, watcher);
        return scan.run();
    }
    LinkMaker maker()
    {
        return [this](const QString &text) { return line.link(text); };
    }
    static QString at(const char *settings) { return Device + QLatin1Char(':') + QLatin1String(settings); }
    static std::string nameOf(const VirtualLine::Question &question)
    {
        return question.link.substr(question.link.rfind(':') + 1) + "@" + std::to_string(question.station());
    }
    std::vector<std::string> questions() const
    {
        std::vector<std::string> names;
        for (const VirtualLine::Question &question : line.sent)
            names.push_back(nameOf(question));
        return names;
    }

    VirtualLine line;
    ScanPlan plan;
    Stop stop;
    Watcher watcher{stop};
};

using Numbers = std::vector<int>;
using Texts = std::vector<std::string>;

TEST_F(ScanTest, TriesLikelySettingsFirstAndEachOnce)
{
    Texts links;
    for (const QString &link : plan.links)
        links.push_back(link.mid(Device.size() + 1).toStdString());
    EXPECT_EQ(Texts(links.begin(), links.begin() + 8), (Texts{"19200,8E1", "9600,8N1", "9600,8E1", "19200,8N1",
                                                              "115200,8N1", "38400,8E1", "19200,8O1", "9600,8O1"}));
    EXPECT_EQ(links.size(), UsualSpeeds.size() * UsualFormats.size());
    EXPECT_EQ(std::set<std::string>(links.begin(), links.end()).size(), links.size());
}

TEST_F(ScanTest, TriesOnlyTheGivenSettings)
{
    const std::vector<QString> links =
        linksOf(Device, {4800, 9600}, {QStringLiteral("7E1"), QStringLiteral("8N1")});
    EXPECT_EQ(links, (std::vector<QString>{at("9600,8N1"), at("4800,7E1"), at("4800,8N1"), at("9600,7E1")}));
}

TEST_F(ScanTest, AsksStationOneAtAllSettingsBeforeTheOthers)
{
    plan.links = {at("19200,8E1"), at("9600,8N1")};
    plan.stations = {1, 2, 3};
    EXPECT_EQ(run().kind, ScanResult::Nothing);
    EXPECT_EQ(questions(),
              (Texts{"19200,8E1@1", "9600,8N1@1", "19200,8E1@2", "19200,8E1@3", "9600,8N1@2", "9600,8N1@3"}));
}

TEST_F(ScanTest, FindsTheSettingsThenTheStationsAtThemOnly)
{
    line.rightLink = at("9600,8O1");
    line.stations = {1, 7, 32};
    const ScanResult result = run();
    EXPECT_EQ(result.kind, ScanResult::Answered);
    EXPECT_EQ(result.link, line.rightLink);
    EXPECT_EQ(result.stations, (Numbers{1, 7, 32}));
    EXPECT_FALSE(result.echoes);
    const Texts all = questions();
    const auto found = std::find(all.begin(), all.end(), "9600,8O1@1");
    EXPECT_TRUE(
        std::all_of(found, all.end(), [](const std::string &each) { return each.rfind("9600,8O1", 0) == 0; }));
}

TEST_F(ScanTest, TellsParitiesOfOneSpeedApart)
{
    for (const char *settings : {"19200,8E1", "19200,8N1", "19200,8O1"}) {
        SCOPED_TRACE(settings);
        line.rightLink = at(settings);
        line.stations = {1};
        EXPECT_EQ(run().link, line.rightLink);
    }
}

TEST_F(ScanTest, FindsALineWithoutStationOne)
{
    line.rightLink = at("38400,8N1");
    line.stations = {5, 6};
    const ScanResult result = run();
    EXPECT_EQ(result.link, line.rightLink);
    EXPECT_EQ(result.stations, (Numbers{5, 6}));
}

TEST_F(ScanTest, SendsReadsOfOneWordAndNothingElse)
{
    line.rightLink = at("2400,8O1");
    line.stations = {1, 2};
    plan.probe.place = parseProbe(QStringLiteral("7:258"));
    run();
    ASSERT_FALSE(line.sent.empty());
    for (const VirtualLine::Question &question : line.sent) {
        EXPECT_TRUE(frames::isSealed(question.bytes));
        EXPECT_EQ(question.bytes.mid(1, 6).toHex(), "fe0111010201") << "one word from 258";
        EXPECT_EQ(question.bytes.size(), 9);
        EXPECT_GE(question.station(), 1);
    }
}

TEST_F(ScanTest, WantsTwoGoodAnswers)
{
    line.rightLink = at("19200,8E1");
    line.stations = {1, 2, 3};
    std::map<int, int> asked;
    line.loses = [&asked](const QByteArray &question) {
        const int station = int(frames::byteAt(question, 0)), nth = ++asked[station];
        return (station == 2 && nth > 1) || (station == 3 && nth == 2);
    };
    EXPECT_EQ(run().stations, (Numbers{1, 3})) << "2 has answered once, 3 twice of three times";
    EXPECT_EQ(asked[2], 3);
}

TEST_F(ScanTest, BelievesNoBadAnswer)
{
    line.rightLink = at("19200,8E1");
    plan.links = {line.rightLink};
    Scan scan(
        plan,
        [this](const QString &text) {
            auto link = std::make_unique<VirtualLineLink>(line, text);
            VirtualLineLink *const raw = link.get();
            link->onSend = [this, raw](const QByteArray &question) {
                QByteArray reply = line.controller.answer(question);
                reply[6] = char(reply.at(6) ^ 1);
                raw->arrive(5ms, reply);
            };
            return link;
        },
        stop, watcher);
    EXPECT_EQ(scan.run().kind, ScanResult::Nothing);
}

TEST_F(ScanTest, WaitsAsLongAsTheBytesTakeAndTheControllerThinks)
{
    plan.links = {at("1200,8E1"), at("115200,8N1")};
    plan.stations = {1};
    plan.probe.patience = 200ms;
    const Time slow = Time(1s) * 11 / 1200, fast = Time(1s) * 10 / 115200;
    run();
    ASSERT_EQ(line.sent.size(), 2u);
    const Time start = 1000s + plan.listen;
    EXPECT_EQ(line.sent[0].at, start + 4 * slow);
    EXPECT_EQ(line.sent[1].at, line.sent[0].at + 200ms + 18 * slow + 2ms) << "four bytes take less than 2 ms";
    EXPECT_EQ(line.clock, line.sent[1].at + 200ms + 18 * fast);
}

TEST_F(ScanTest, TakesTheWorstTimeWhenNothingIsThere)
{
    const Time worst = worstTime(plan, maker());
    const Time start = line.clock;
    EXPECT_EQ(run().kind, ScanResult::Nothing);
    EXPECT_EQ(line.clock - start, worst);
    EXPECT_EQ(watcher.lefts.front(), worst);
    EXPECT_TRUE(std::is_sorted(watcher.lefts.rbegin(), watcher.lefts.rend())) << "the estimate only falls";
}

TEST_F(ScanTest, TakesAWordThatIsItsAddressForAnAnswer)
{
    line.rightLink = at("19200,8E1");
    line.stations = {1, 2};
    for (int station : {1, 2})
        line.controller.at(station, 8, 0) = 0;
    const ScanResult result = run();
    EXPECT_EQ(result.stations, (Numbers{1, 2}));
    EXPECT_FALSE(result.echoes);
}

TEST_F(ScanTest, TakesNoEchoForAnAnswer)
{
    line.echoes = true;
    const ScanResult result = run();
    EXPECT_EQ(result.kind, ScanResult::Nothing);
    EXPECT_TRUE(result.echoes);
}

TEST_F(ScanTest, FindsAnswersBehindAnEcho)
{
    for (const unsigned held : {0u, 0x1234u}) {
        SCOPED_TRACE(held);
        line.echoes = true;
        line.rightLink = at("9600,8N1");
        line.stations = {1, 4};
        line.controller.at(1, 8, 0) = line.controller.at(4, 8, 0) = held;
        const ScanResult result = run();
        EXPECT_EQ(result.link, line.rightLink);
        EXPECT_EQ(result.stations, (Numbers{1, 4}));
        EXPECT_TRUE(result.echoes);
    }
}

/// A panel that asks a station for two words each 100 ms, from now on.
std::vector<std::pair<Time, QByteArray>> panel(const Numbers &stations, const Numbers &dead)
{
    std::vector<std::pair<Time, QByteArray>> traffic;
    Time when = 40ms;
    const FakeController controller(unwritten::pattern);
    for (int round = 0; round < 4; ++round)
        for (const Numbers *list : {&stations, &dead})
            for (const int station : *list) {
                QByteArray question(1, char(station));
                question = frames::sealed(QByteArray(question + QByteArray::fromHex("fe0108026400")));
                traffic.emplace_back(when, question);
                if (list == &stations)
                    traffic.emplace_back(when + 20ms, controller.replyTo(question));
                when += 100ms;
            }
    return traffic;
}

TEST_F(ScanTest, OnlyListensWhereAPanelIsPolling)
{
    line.others = [](const QString &link) {
        return link == at("9600,8E1")
                   ? panel({2, 3}, {9})
                   : std::vector<std::pair<Time, QByteArray>>{{10ms, QByteArray("\xC0\x00\x1F", 3)}};
    };
    const ScanResult result = run();
    EXPECT_EQ(result.kind, ScanResult::Heard);
    EXPECT_EQ(result.link, at("9600,8E1"));
    EXPECT_EQ(result.stations, (Numbers{2, 3}));
    EXPECT_EQ(result.silent, (Numbers{9}));
    EXPECT_TRUE(line.sent.empty());
    EXPECT_EQ(line.opened.size(), 3u);
}

TEST_F(ScanTest, AsksNobodyOnALineThatItDoesNotUnderstand)
{
    line.others = [](const QString &) {
        return std::vector<std::pair<Time, QByteArray>>{{1s, QByteArray("\x42")}};
    };
    const ScanResult result = run();
    EXPECT_EQ(result.kind, ScanResult::NotUnderstood);
    EXPECT_EQ(result.bytesHeard, int(plan.links.size()));
    EXPECT_TRUE(line.sent.empty());
}

TEST_F(ScanTest, EndsWhenItIsStopped)
{
    watcher.questions = 5;
    EXPECT_EQ(run().kind, ScanResult::Stopped);
    EXPECT_EQ(line.sent.size(), 4u);
}

TEST_F(ScanTest, SendsNothingOnceItWasStoppedWhileListening)
{
    stop.request();
    EXPECT_EQ(run().kind, ScanResult::Stopped);
    EXPECT_TRUE(line.sent.empty());
}

TEST_F(ScanTest, PassesOverSettingsThatTheDeviceRefuses)
{
    line.rightLink = at("9600,8N1");
    line.stations = {1};
    line.refuses = [](const QString &link) { return link == at("19200,8E1"); };
    EXPECT_EQ(run().link, line.rightLink);
}

TEST_F(ScanTest, TellsWhyNothingCanBeOpened)
{
    line.refuses = [](const QString &) { return true; };
    const ScanResult result = run();
    EXPECT_EQ(result.kind, ScanResult::NoLink);
    EXPECT_EQ(result.error, QStringLiteral("cut"));
}

TEST_F(ScanTest, ProbesOneWordOnly)
{
    for (const char *text : {"5:0x2", "0:0", "10:5", "5:0@2", "5"})
        EXPECT_THROW(parseProbe(QLatin1String(text)), std::exception) << text;
    EXPECT_EQ(parseProbe(QStringLiteral("8:12")).address, 12);
}

} // namespace
