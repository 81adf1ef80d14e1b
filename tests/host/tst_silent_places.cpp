// Controllers that lack addresses, and give no answer to a request that reads one of them.
#include "host/host.h"
#include "support/fake_link.h"

using namespace fgs;

namespace
{

class SilentPlaces : public DriverTest
{
protected:
    SilentPlaces()
    {
        link.onSend = [this](const QByteArray &request) {
            if (!dead.count(request.at(0)) && !reachesMissing(request))
                link.answer(request, answerTime);
        };
    }
    ~SilentPlaces() override { EXPECT_TRUE(knownValuesAreRight()); }

    Host &start(const std::vector<const char *> &texts)
    {
        variables.clear();
        for (const char *text : texts)
            variables.push_back(parseVariable(QString::fromLatin1(text)));
        host = std::make_unique<Host>(linkedDriver(), link, variables, options);
        host->setEvents([this](const LineEvent &event) { note(event); });
        host->poll(variables);
        return *host;
    }

    /// The controllers have no such addresses.
    void lack(const char *text) { missing.push_back(parseVariable(QString::fromLatin1(text))); }

    void note(const LineEvent &event)
    {
        static const char *const names[] = {"lost", "open", "down", "up", "unasked", "silent", "back", "gap"};
        const bool isPlace = event.kind >= LineEvent::PlaceSilent;
        const std::string what = isPlace              ? textOf(event.place).toStdString()
                                 : event.station != 0 ? std::to_string(event.station)
                                                      : event.text.toStdString();
        told.push_back(std::string(names[event.kind]) + " " + what);
    }

    bool reachesMissing(const QByteArray &request) const
    {
        const auto at = [&request](int i) { return int(static_cast<unsigned char>(request.at(i))); };
        for (int i = 0; at(1) == 0xFE && i < at(2); ++i) {
            const int entry = 3 + 4 * i, address = at(entry + 2) + 256 * at(entry + 3), count = at(entry + 1);
            for (const Variable &lacking : missing)
                if (lacking.station == at(0) && areaOf(lacking.area)->code == at(entry) &&
                    address < lacking.address + lacking.count && lacking.address < address + count)
                    return true;
        }
        return false;
    }

    bool isMissing(const Variable &variable) const
    {
        return std::any_of(missing.begin(), missing.end(), [&variable](const Variable &lacking) {
            return lacking.station == variable.station && lacking.area == variable.area &&
                   lacking.address < variable.address + variable.count &&
                   variable.address < lacking.address + lacking.count;
        });
    }

    ::testing::AssertionResult knownValuesAreRight() const
    {
        for (const Variable &variable : variables) {
            if (!host->ageOf(variable).isKnown())
                continue;
            const std::vector<quint32> values = host->values(variable);
            for (int i = 0; i < variable.count; ++i)
                if (values[std::size_t(i)] !=
                    link.controller.at(variable.station, areaOf(variable.area)->code, variable.address + i))
                    return ::testing::AssertionFailure() << textOf(variable).toStdString() << " at " << i;
        }
        return ::testing::AssertionSuccess();
    }

    bool allSettled() const
    {
        return std::all_of(variables.begin(), variables.end(),
                           [this](const Variable &variable) { return host->isSettled(variable); });
    }

    /// Requests until every variable is settled.
    std::size_t settle()
    {
        const std::size_t before = link.sent.size();
        while (!allSettled())
            host->step();
        return link.sent.size() - before;
    }

    void runFor(Time span)
    {
        for (const Time end = link.now() + span; link.now() < end;)
            if (host->step().kind == Step::Idle)
                link.pauseUntil(link.now() + 10ms);
    }

    void expectKnown(const char *text, bool known = true) const
    {
        EXPECT_EQ(host->ageOf(parseVariable(QString::fromLatin1(text))).isKnown(), known) << text;
    }

    /// Requests that reach what the controllers lack.
    std::size_t unanswered() const
    {
        return std::size_t(std::count_if(link.sent.begin(), link.sent.end(),
                                         [this](const QByteArray &request) { return reachesMissing(request); }));
    }

    std::string findings() const
    {
        std::string all;
        for (const std::string &each : told)
            all += (all.empty() ? "" : ", ") + each;
        return all;
    }

    FakeLink link;
    Time answerTime = 5ms;
    HostOptions options;
    std::vector<Variable> missing;
    std::set<int> dead;
    std::vector<Variable> variables;
    std::vector<std::string> told;
    std::unique_ptr<Host> host;
};

TEST_F(SilentPlaces, OneAmongOthersIsNamedAndLeftOut)
{
    lack("5:20000");
    start({"5:100x4", "5:300x2", "5:20000", "5:500x3", "10:7", "2:80x8"});
    settle();
    EXPECT_EQ(findings(), "silent 5:20000@1");
    for (const Variable &variable : variables)
        EXPECT_EQ(host->ageOf(variable).isKnown(), !isMissing(variable)) << textOf(variable).toStdString();
    EXPECT_EQ(host->ageOf(variables[2]).outcome, Outcome::NoReply);
    ASSERT_EQ(host->silentPlaces(variables[2]).size(), 1u);
    EXPECT_TRUE(host->silentPlaces(variables[0]).empty());
}

TEST_F(SilentPlaces, OneAloneWithOtherRequestsOfItsStation)
{
    lack("5:20000");
    std::vector<std::string> texts;
    for (int i = 0; i < 6; ++i)
        texts.push_back("5:" + std::to_string(100 + 200 * i) + "x4");
    texts.push_back("5:20000x2");
    std::vector<const char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(text.c_str());
    start(pointers);
    settle();
    EXPECT_EQ(findings(), "silent 5:20000@1");
    expectKnown("5:20001", true);
}

struct Lacking {
    const char *name;
    const char *missing;
    const char *named;
};
void PrintTo(const Lacking &row, std::ostream *out)
{
    *out << row.name;
}

class InsideALongOne : public SilentPlaces, public ::testing::WithParamInterface<Lacking>
{
};

TEST_P(InsideALongOne, IsFoundToTheAddress)
{
    lack(GetParam().missing);
    start({"5:1000x300", "10:0x40", "2:800x400"});
    settle();
    EXPECT_EQ(findings(), std::string("silent ") + GetParam().named);
    host->poll(variables = {parseVariable(QLatin1String("5:1000x40")), parseVariable(QLatin1String("2:800x80")),
                            parseVariable(QLatin1String("10:20x20"))});
    settle();
    EXPECT_LE(unanswered(), 40u);
}

INSTANTIATE_TEST_SUITE_P(Places, InsideALongOne,
                         ::testing::Values(Lacking{"a word", "5:1077", "5:1077@1"},
                                           Lacking{"the first word", "5:1000", "5:1000@1"},
                                           Lacking{"the last word", "5:1299", "5:1299@1"},
                                           Lacking{"a word at the end of a block", "5:1030", "5:1030@1"},
                                           Lacking{"a double word", "10:17", "10:17@1"},
                                           Lacking{"the first double word", "10:0", "10:0@1"},
                                           Lacking{"a bit", "2:1003", "2:1000x8@1"},
                                           Lacking{"the first bit", "2:800", "2:800x8@1"},
                                           Lacking{"the last bit", "2:1199", "2:1192x8@1"}));

TEST_F(SilentPlaces, TwoAreBothFound)
{
    lack("5:1010");
    lack("5:1200");
    start({"5:1000x300"});
    settle();
    std::sort(told.begin(), told.end());
    EXPECT_EQ(findings(), "silent 5:1010@1, silent 5:1200@1");
    expectKnown("5:1000x10");
    expectKnown("5:1011x189");
    expectKnown("5:1201x99");
}

TEST_F(SilentPlaces, AWordBetweenTwoThatAreMissingIsRead)
{
    lack("5:1010");
    lack("5:1012");
    start({"5:1000x30"});
    settle();
    expectKnown("5:1011");
    expectKnown("5:1013x17");
    const Time found = link.now();
    runFor(30s);
    EXPECT_GT(host->ageOf(parseVariable(QLatin1String("5:1011"))).stored, found + 25s) << "round and round";
}

TEST_F(SilentPlaces, AGapThatIsReadAlongIsNamedAndNoLongerRead)
{
    lack("5:105x20");
    start({"5:100x4", "5:130x4", "5:300x2"});
    settle();
    runFor(10s); // the values are known before the search is over
    EXPECT_EQ(findings(), "gap 5:104x26@1");
    for (const Variable &variable : variables)
        EXPECT_TRUE(host->ageOf(variable).isKnown()) << textOf(variable).toStdString();
    const std::size_t before = unanswered();
    answerTime = 100ms;
    runFor(300s);
    EXPECT_EQ(unanswered(), before);
    EXPECT_LT(link.now() - host->ageOf(variables[1]).stored, 1s);
}

TEST_F(SilentPlaces, AnAddressThatIsReadAlongToMakeARequestLongerIsAGapToo)
{
    lack("5:99");
    start({"5:100"});
    settle();
    runFor(10s);
    EXPECT_EQ(findings(), "gap 5:99@1");
    expectKnown("5:100");
    const std::size_t before = unanswered();
    runFor(60s);
    EXPECT_EQ(unanswered(), before);
}

TEST_F(SilentPlaces, OneThatComesBackIsReadAgain)
{
    lack("5:1005");
    start({"5:1000x8", "5:2000x2"});
    settle();
    missing.clear();
    runFor(70s);
    EXPECT_EQ(findings(), "silent 5:1005@1, back 5:1005@1");
    expectKnown("5:1000x8");
    EXPECT_LT(link.now() - host->ageOf(variables[0]).stored, 1s);
    EXPECT_TRUE(host->silentPlaces(variables[0]).empty());
}

TEST_F(SilentPlaces, AreProbedEverMoreRarely)
{
    lack("5:1005");
    lack("5:1007");
    start({"5:1000x8", "5:2000x2"});
    settle();
    const std::size_t before = unanswered();
    answerTime = 100ms;
    runFor(600s);
    EXPECT_LE(unanswered() - before, 2u * (6 + 600 / 60));
    EXPECT_GE(unanswered() - before, 12u);
}

TEST_F(SilentPlaces, APassingFaultLeavesNothingBehind)
{
    start({"5:1000x8", "5:2000x2"});
    runFor(1s);
    dead = {1};
    for (int i = 0; i < 4; ++i) // a job that is given up, and a sample
        host->step();
    dead.clear();
    runFor(1s);
    const std::size_t before = link.sent.size();
    runFor(1s);
    EXPECT_EQ(findings(), "");
    EXPECT_EQ(hex(link.sent.back()), hex(frames::readRequest(1, {{5, 1000, 8}, {5, 2000, 2}})));
    EXPECT_GT(link.sent.size() - before, 100u);
}

TEST_F(SilentPlaces, ADeadStationIsNotAskedInHalves)
{
    options.blockWords = 16;
    start({"5:1000x300", "10:0x40"});
    dead = {1};
    settle();
    EXPECT_EQ(findings(), "");
    EXPECT_EQ(link.sent.size(), 4u) << "three tries, and a sample of something else";
    answerTime = 100ms;
    runFor(120s);
    dead.clear();
    runFor(60s);
    EXPECT_EQ(findings(), "down 1, up 1");
    expectKnown("5:1000x300");
}

TEST_F(SilentPlaces, AStationThatHasNeverAnsweredCostsOneSampleBesidesItsTries)
{
    dead = {1};
    start({"5:100x4"});
    EXPECT_EQ(settle(), 4u);
    host.reset();
    start({"5:100x4", "5:100x4@2"});
    settle();
    const auto asked = std::count_if(link.sent.begin() + 4, link.sent.end(),
                                     [](const QByteArray &request) { return request.at(0) == 1; });
    EXPECT_EQ(asked, 4);
    expectKnown("5:100x4@2");
}

TEST_F(SilentPlaces, AStationThatDiesDuringTheSearchHasNoSilentPlaces)
{
    lack("5:1077");
    start({"5:1000x300"});
    while (unanswered() < 7)
        host->step();
    answerTime = 100ms;
    dead = {1};
    runFor(200s);
    dead.clear();
    runFor(200s);
    EXPECT_EQ(findings(), "down 1, up 1, silent 5:1077@1");
}

TEST_F(SilentPlaces, DoNotHideTheirStation)
{
    for (const char *text : {"5:1050", "5:1450", "5:1850", "5:2250"})
        lack(text);
    start({"5:1000x384", "5:1400x384", "5:1800x384", "5:2200x300", "5:0x4@2"});
    settle();
    std::sort(told.begin(), told.end());
    EXPECT_NE(findings().find("silent 5:1050@1"), std::string::npos) << findings();
    EXPECT_NE(findings().find("silent 5:2250@1"), std::string::npos) << findings();
    expectKnown("5:1000x50");
    expectKnown("5:1851x333");
    EXPECT_TRUE(host->ageOf(variables[4]).isKnown());
    EXPECT_FALSE(host->rests(1));
}

TEST_F(SilentPlaces, LeaveTheOtherRequestsTheirTurns)
{
    options.blockWords = 16;
    lack("5:1033");
    start({"5:1000x160", "5:4000x4@2", "5:4000x4@3"});
    std::map<int, int> between; // requests to each station since the last probe that failed
    int most = 0;
    for (std::size_t seen = 0; link.now() < 1120s;) {
        host->step();
        for (; seen < link.sent.size(); ++seen) {
            const QByteArray &request = link.sent[seen];
            if (reachesMissing(request) && between.count(2) == 0)
                ++most;
            if (reachesMissing(request))
                between.clear();
            else
                ++between[request.at(0)];
        }
    }
    EXPECT_LE(most, 7) << "the attempts of one request, and not one probe a round more";
    EXPECT_EQ(findings(), "silent 5:1033@1");
}

TEST_F(SilentPlaces, AMissingRegionEnds)
{
    lack("5:2000x3000");
    start({"5:1000x4000"});
    EXPECT_LE(settle(), 2000u);
    expectKnown("5:1000x1000");
    EXPECT_LE(unanswered(), 400u);
    const std::size_t before = unanswered();
    answerTime = 50ms;
    runFor(600s);
    EXPECT_LE(unanswered() - before, 600u / ProbeBudget::Share + 2);
    EXPECT_LT(link.now() - host->ageOf(parseVariable(QLatin1String("5:1000x1000"))).stored, 4s);
}

TEST_F(SilentPlaces, ARegionOfWhichAPartComesBackIsReadAsFarAsItIs)
{
    lack("5:2000x600");
    start({"5:1000x2000"});
    settle();
    answerTime = 500ms;
    missing.clear();
    lack("5:2000x3");
    runFor(3600s);
    expectKnown("5:1000x1000");
    expectKnown("5:2003x597");
}

} // namespace
