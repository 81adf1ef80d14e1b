// A whole host on the linked driver: reading, writing, and stations that do not answer.
#include "host/host.h"
#include "host/text_error.h"
#include "support/fake_link.h"

using namespace fgs;

namespace
{

std::vector<Variable> parse(const std::vector<const char *> &texts)
{
    std::vector<Variable> variables;
    for (const char *text : texts)
        variables.push_back(parseVariable(QString::fromLatin1(text)));
    return variables;
}

class HostTest : public DriverTest
{
protected:
    Host &start(const std::vector<const char *> &texts)
    {
        variables = parse(texts);
        return *(host = std::make_unique<Host>(linkedDriver(), link, variables, options));
    }

    quint32 wanted(const Variable &variable, int i) const
    {
        return link.controller.at(variable.station, areaOf(variable.area)->code, variable.address + i);
    }

    /// Whether every value that counts as known is the controller's.
    ::testing::AssertionResult knownValuesAreRight() const
    {
        for (const Variable &variable : variables) {
            if (!host->ageOf(variable).isKnown())
                continue;
            const std::vector<quint32> values = host->values(variable);
            if (values.size() != std::size_t(variable.count))
                return ::testing::AssertionFailure()
                       << textOf(variable).toStdString() << ": " << values.size() << " values";
            for (int i = 0; i < variable.count; ++i)
                if (values[std::size_t(i)] != wanted(variable, i))
                    return ::testing::AssertionFailure() << textOf(variable).toStdString() << " at " << i;
        }
        return ::testing::AssertionSuccess();
    }

    bool allKnown() const
    {
        return std::all_of(variables.begin(), variables.end(),
                           [this](const Variable &variable) { return host->ageOf(variable).isKnown(); });
    }

    void steps(int count)
    {
        while (count-- > 0)
            host->step();
    }

    FakeLink link;
    HostOptions options;
    std::vector<Variable> variables;
    std::unique_ptr<Host> host;
};

const std::vector<const char *> EveryArea = {"0:17x9",    "1:0",     "2:11990x10", "3:5", "4:100x33",
                                             "5:9990x10", "6:255",   "7:0x2",      "8:9", "9:100x100",
                                             "10:250x6",  "11:1119", "12:0x8",     "13:7"};

TEST_F(HostTest, ReadsEveryAreaIntoTheFixedImage)
{
    start(EveryArea).poll(variables);
    EXPECT_EQ(PLC_driver.settings->stationMode, 0);
    steps(5);
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(HostTest, ReadsEveryAreaOfSeveralStations)
{
    std::vector<const char *> texts = EveryArea;
    texts.insert(texts.end(), {"5:60000x300@2", "2:65500x36@255", "10:65535@3", "0:177777@3", "10:5x3@3"});
    start(texts).poll(variables);
    EXPECT_EQ(PLC_driver.settings->stationMode, 1);
    steps(12);
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(HostTest, ReadsBitsOnceAheadOfWhatIsPolled)
{
    start({"2:100x300", "0:17", "5:0x4", "10:3"}).poll({variables[2], variables[3]});
    steps(1);
    host->readSoon({variables[0], variables[1]});
    steps(3);
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
    EXPECT_EQ(link.sent.at(0).at(2), 2) << "words and double words together";
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_EQ(link.sent.at(i).at(2), 1) << "two blocks of bits of area 2 and one of area 0";
    steps(1);
    EXPECT_EQ(link.sent.back(), link.sent.at(0)) << "the polling goes on";
}

TEST_F(HostTest, ReadsMoreBitsOnceThanTheDriverQueues)
{
    options.blockWords = 4;
    start({"1:0x65535", "5:0x4"}).poll({variables[1]});
    host->readSoon({variables[0]});
    while (!allKnown())
        host->step();
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(HostTest, OnlyBitsCanBeReadOnce)
{
    start({"2:0", "5:0x4"});
    EXPECT_THROW(host->readSoon(variables), TextError);
}

TEST_F(HostTest, OneFailureDoesNotTakeTheOtherBitsAlong)
{
    start({"2:0x100", "2:1000x100", "3:0"}).readSoon(variables);
    link.onSend = [this](const QByteArray &request) {
        if (link.sent.size() > 3)
            link.answer(request);
    };
    steps(5); // the first is given up; the driver forgets what is queued
    EXPECT_EQ(host->ageOf(variables[0]).outcome, Outcome::NoReply);
    EXPECT_TRUE(host->ageOf(variables[1]).isKnown());
    EXPECT_TRUE(host->ageOf(variables[2]).isKnown());
    EXPECT_EQ(host->step().kind, Step::Idle);
}

TEST_F(HostTest, ASecondOneIsRefusedAndDoesNotDisturbTheFirst)
{
    start({"5:0x2"}).poll(variables);
    EXPECT_THROW(Host(linkedDriver(), link, variables), std::logic_error);
    steps(1);
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

// ---- the link

TEST_F(HostTest, ALostLinkMakesEveryValueOldAtOnce)
{
    std::vector<std::string> told;
    start({"5:0x2", "10:9", "5:5000x2"}).poll({variables[0], variables[1]});
    host->setEvents([&told](const LineEvent &event) {
        told.push_back(std::to_string(event.kind) + " " + event.text.toStdString());
    });
    steps(3);
    EXPECT_FALSE(host->ageOf(variables[0]).isStale());
    link.onSend = [this](const QByteArray &) { link.cut(); };
    link.refusals = 3;
    const Time stored = host->ageOf(variables[1]).stored;
    steps(1);
    EXPECT_EQ(told, std::vector<std::string>{"0 cut"});
    for (int i : {0, 1}) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(host->ageOf(variables[std::size_t(i)]).isStale());
        EXPECT_EQ(host->ageOf(variables[std::size_t(i)]).outcome, Outcome::LinkLost);
    }
    EXPECT_EQ(host->ageOf(variables[1]).stored, stored) << "it can still be read";
    EXPECT_EQ(host->ageOf(variables[2]).outcome, Outcome::Good) << "it was never asked for";
    link.onSend = [this](const QByteArray &request) { link.answer(request); };
    while (!link.isOpen())
        host->step();
    EXPECT_EQ(told, (std::vector<std::string>{"0 cut", "1 "}));
    steps(2);
    EXPECT_FALSE(host->ageOf(variables[0]).isStale());
}

TEST_F(HostTest, AValueThatWasNotReadSinceTheLinkWasLostIsOld)
{
    start({"5:0x2", "6:0x2"}).poll(variables);
    steps(1);
    link.cut();
    host->poll({variables[0]});
    steps(2);
    EXPECT_FALSE(host->ageOf(variables[0]).isStale());
    EXPECT_EQ(host->ageOf(variables[1]).outcome, Outcome::LinkLost);
}

TEST_F(HostTest, ADeadConnectionIsOpenedAnew)
{
    start({"5:0x2"}).poll(variables);
    link.connection = true;
    steps(1);
    link.onSend = [this](const QByteArray &request) {
        if (host->statistics().reconnects)
            link.answer(request);
    };
    while (host->statistics().reconnects == 0)
        steps(1);
    steps(2);
    EXPECT_TRUE(knownValuesAreRight());
    EXPECT_FALSE(host->ageOf(variables[0]).isStale());
}

TEST_F(HostTest, ADeadConnectionThatCannotBeOpenedAnewIsLost)
{
    QStringList told;
    start({"5:0x2"}).poll(variables);
    host->setEvents([&told](const LineEvent &event) {
        if (event.kind == LineEvent::LinkLost)
            told << event.text;
    });
    link.connection = true;
    steps(1);
    link.onSend = [](const QByteArray &) {};
    link.refusals = 1;
    while (told.isEmpty())
        steps(1);
    EXPECT_EQ(told, QStringList{QStringLiteral("no byte came for 3 requests in a row")});
    EXPECT_TRUE(host->ageOf(variables[0]).isStale());
}

TEST_F(HostTest, ADeadStationBesideALivingOneKeepsTheConnection)
{
    start({"5:0x2@1", "5:0x2@9"}).poll(variables);
    link.connection = true;
    link.onSend = [this](const QByteArray &request) {
        if (request.at(0) == 1)
            link.answer(request);
    };
    steps(100);
    EXPECT_EQ(host->statistics().reconnects, 0u);
}

TEST_F(HostTest, AConnectionThatDoesNotLastIsNotOpenedWithoutEnd)
{
    start({"5:0x2"}).poll(variables);
    link.connection = true;
    link.onSend = [this](const QByteArray &) { link.cut(); };
    const Time begun = link.now();
    while (link.now() < begun + 10s)
        host->step();
    EXPECT_LE(host->statistics().reconnects, 20u);
    EXPECT_LE(host->statistics().linkLost, host->statistics().reconnects + 1);
}

TEST_F(HostTest, DroppedBroadcastsAreNotSentEither)
{
    start({"2:100x4@0", "5:0@1"});
    host->write(variables[0], {1, 1, 1, 1});
    host->write(variables[1], {7});
    link.onSend = [this](const QByteArray &) { link.cut(); };
    EXPECT_EQ(host->step().outcome, Outcome::LinkLost);
    host->dropWrites();
    EXPECT_EQ(host->writesQueued(), 0);
    EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
    link.onSend = [this](const QByteArray &request) { link.answer(request); };
    steps(20);
    EXPECT_EQ(link.sent.size(), 1u);
}

// ---- the end of a reading

class ReadingTest : public HostTest
{
protected:
    bool allSettled() const
    {
        return std::all_of(variables.begin(), variables.end(),
                           [this](const Variable &variable) { return host->isSettled(variable); });
    }

    /// Requests until every variable is settled.
    std::size_t read(const std::vector<const char *> &texts)
    {
        const std::size_t before = link.sent.size();
        start(texts).poll(variables);
        while (!allSettled())
            host->step();
        return link.sent.size() - before;
    }
};

TEST_F(ReadingTest, AnySizeEnds)
{
    EXPECT_EQ(read({"1:0x65535", "2:0x65535", "3:0x65535", "4:0x65535"}), std::size_t((4 * 265 + 5) / 6));
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(ReadingTest, AnySizeEndsWithSmallBlocks)
{
    options.blockWords = 4;
    EXPECT_EQ(read({"1:0x65535"}), std::size_t((2048 + 5) / 6));
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(ReadingTest, ScatteredBitsShareRequests)
{
    std::vector<std::string> texts;
    for (int i = 0; i < 20; ++i)
        texts.push_back("2:" + std::to_string(500 * i));
    std::vector<const char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(text.c_str());
    EXPECT_EQ(read(pointers), 4u);
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(ReadingTest, AllAreasTakeThreeRequests)
{
    EXPECT_EQ(read(EveryArea), 3u);
    EXPECT_TRUE(allKnown());
    EXPECT_TRUE(knownValuesAreRight());
}

TEST_F(ReadingTest, AStationThatDoesNotAnswerIsGivenUpAfterSomeJobs)
{
    link.onSend = [](const QByteArray &) {};
    EXPECT_LE(read({"5:0x9000"}), 9u);
    EXPECT_FALSE(allKnown());
    EXPECT_EQ(host->ageOf(parseVariable(QStringLiteral("5:8000"))).tried, Never) << "it was not asked for";
}

TEST_F(ReadingTest, NothingIsSettledByWhatWasBeforeThePoll)
{
    read({"5:0x2"});
    host->poll(variables);
    EXPECT_TRUE(host->ageOf(variables[0]).isKnown());
    EXPECT_FALSE(host->isSettled(variables[0]));
    steps(1);
    EXPECT_TRUE(host->isSettled(variables[0]));
}

TEST_F(ReadingTest, ARequestThatAStopCutOffIsUnderWay)
{
    start({"5:0x2", "5:1000"}).poll({variables[0]});
    link.onSend = [](const QByteArray &) {};
    link.endBy(nullptr, link.now() + 10ms);
    EXPECT_FALSE(host->isUnderWay(variables[0]));
    EXPECT_EQ(host->step().kind, Step::Stopped);
    EXPECT_TRUE(host->isUnderWay(variables[0]));
    EXPECT_FALSE(host->isUnderWay(variables[1]));
    EXPECT_FALSE(host->isSettled(variables[0]));
}

// ---- writing

TEST_F(HostTest, WritesEveryKindAndReadsItBack)
{
    for (const char *other : {"5:9@1", "5:9@2"}) { // fixed image, per station
        SCOPED_TRACE(other);
        start({"5:100x3", "2:7x4", "10:5x2", other});
        const std::vector<std::vector<quint32>> values = {{1, 0x1234, 65535}, {1, 0, 1, 1}, {0x12345678, 9}};
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_TRUE(host->write(variables[i], values[i])) << i;
        EXPECT_EQ(host->writesQueued(), 1 + 4 + 1);
        while (host->writesQueued())
            EXPECT_TRUE(host->step().isWrite);
        EXPECT_FALSE(host->ageOf(variables[0]).isKnown());
        host->poll(variables);
        while (!allKnown())
            host->step();
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(host->values(variables[i]), values[i]) << i;
        EXPECT_TRUE(knownValuesAreRight());
        EXPECT_EQ(host->writesLost(), 0);
        host.reset();
        reset();
    }
}

TEST_F(HostTest, WritesMoreDoubleWordsThanABlockHolds)
{
    for (int blockWords : {5, 31, 64}) {
        SCOPED_TRACE(blockWords);
        options.blockWords = blockWords;
        start({"10:10x100"});
        std::vector<quint32> values;
        for (quint32 i = 0; i < 100; ++i)
            values.push_back(0x10000 * i + 7);
        EXPECT_TRUE(host->write(variables[0], values));
        while (host->writesQueued())
            host->step();
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(wanted(variables[0], i), values[std::size_t(i)]) << i << " by " << blockWords;
        host.reset();
        reset();
    }
}

TEST_F(HostTest, RefusesWhatTheDriverWouldDrop)
{
    start({"2:0x1000", "2:2000x24", "2:3000x25"});
    EXPECT_TRUE(host->write(variables[0], std::vector<quint32>(1000, 1)));
    EXPECT_FALSE(host->write(variables[2], std::vector<quint32>(25, 1)));
    EXPECT_TRUE(host->write(variables[1], std::vector<quint32>(24, 1)));
    EXPECT_EQ(host->writesQueued(), 1024);
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 1024);
    steps(1024);
    EXPECT_EQ(host->writesQueued(), 0);
    EXPECT_EQ(link.sent.size(), 1024u);
}

TEST_F(HostTest, AWriteOfAPlaceThatWaitsTakesItsPlace)
{
    start({"5:0", "5:1"});
    host->write(variables[0], {1});
    host->write(variables[1], {2});
    host->write(variables[1], {3});
    EXPECT_EQ(host->writesQueued(), 2);
    steps(2);
    EXPECT_EQ(host->writesQueued(), 0);
    EXPECT_EQ(wanted(variables[1], 0), 3u);
}

TEST_F(HostTest, ReadOnlyAreasAreRefused)
{
    start({"8:3", "0:17"});
    for (const Variable &variable : variables)
        EXPECT_THROW(host->write(variable, {1}), TextError) << textOf(variable).toStdString();
    try {
        host->write(variables[1], {1});
    } catch (const TextError &error) {
        EXPECT_STREQ(error.what(), "variable '0:17@1': area 0 is read-only");
    }
}

TEST_F(HostTest, WritesThatAFailureDropsAreCounted)
{
    start({"5:0x2", "5:10", "5:20@2"});
    for (const Variable &variable : variables)
        host->write(variable, std::vector<quint32>(std::size_t(variable.count), 5));
    link.onSend = [this](const QByteArray &request) {
        if (request.at(0) == 2)
            link.answer(request);
    };
    steps(3);
    EXPECT_EQ(host->writesLost(), 2) << "both of station 1";
    EXPECT_EQ(host->writesQueued(), 1);
    steps(1);
    EXPECT_EQ(host->writesQueued(), 0);
    EXPECT_EQ(wanted(variables[2], 0), 5u);
}

TEST_F(HostTest, DroppedWritesAreNotSent)
{
    for (const char *other : {"5:30@1", "5:30@2"}) { // fixed image, per station
        SCOPED_TRACE(other);
        start({"5:0x2", "2:10x8", other});
        for (const Variable &variable : variables)
            host->write(variable, std::vector<quint32>(std::size_t(variable.count), 1));
        link.onSend = [this](const QByteArray &) { link.cut(); };
        const std::size_t before = link.sent.size();
        EXPECT_EQ(host->step().outcome, Outcome::LinkLost);
        host->dropWrites();
        EXPECT_EQ(host->writesQueued(), 0);
        EXPECT_EQ(host->writesLost(), 10);
        link.onSend = [this](const QByteArray &request) { link.answer(request); };
        steps(20);
        EXPECT_EQ(link.sent.size(), before + 1);
        EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
        host->poll(variables);
        steps(2);
        EXPECT_TRUE(allKnown());
        host.reset();
        reset();
    }
}

TEST_F(HostTest, ARefusedWriteIsNoFailureOfItsStation)
{
    start({"5:0x2", "5:0@2"});
    link.onSend = [this](const QByteArray &) { link.arrive(5ms, bytes("01 FF 21")); };
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        host->write(variables[0], {1, 2});
        while (host->writesQueued())
            EXPECT_EQ(host->step().outcome, Outcome::Refused);
    }
    EXPECT_EQ(host->writesLost(), 5);
    EXPECT_FALSE(host->isSettled(variables[1])) << "the station has answered";
}

TEST_F(HostTest, EveryRequestHasItsOwnAttempts)
{
    start({"5:0x2"}).poll(variables);
    int count = 0;
    link.onSend = [this, &count](const QByteArray &request) {
        if (++count % 3 == 0)
            link.answer(request); // every third attempt
    };
    steps(30);
    EXPECT_EQ(host->statistics().abandoned, 0u);
    EXPECT_EQ(host->statistics().of(Outcome::Good), 10u);
}

// ---- stations

class StationsTest : public HostTest
{
protected:
    /// Answers of these stations do not come.
    void silence(const std::set<int> &silent)
    {
        link.onSend = [this, silent](const QByteArray &request) {
            if (!silent.count(request.at(0)))
                link.answer(request);
        };
    }

    /// Those of station 2; all others are answered after that time.
    void loseFirstAddresses(Time answer)
    {
        link.onSend = [this, answer](const QByteArray &request) {
            if (request.at(0) == 1 || request.at(5) != 0)
                link.answer(request, answer);
        };
    }

    /// Requests to each station in the time to come.
    std::map<int, int> requestsIn(Time span)
    {
        const std::size_t before = link.sent.size();
        for (const Time end = link.now() + span; link.now() < end;)
            if (host->step().kind == Step::Idle)
                link.pauseUntil(link.now() + 10ms);
        std::map<int, int> counts;
        for (std::size_t i = before; i < link.sent.size(); ++i)
            ++counts[link.sent[i].at(0)];
        return counts;
    }
};

TEST_F(StationsTest, ADeadOneRestsSoThatTheOthersKeepTheirRate)
{
    start({"5:0x2@1", "5:0x2@2", "5:0x2@3"}).poll(variables);
    std::map<int, int> healthy = requestsIn(10s);
    silence({2});
    requestsIn(10s); // three jobs of three attempts
    EXPECT_TRUE(host->rests(2));
    requestsIn(10s);
    std::map<int, int> counts = requestsIn(130s);
    EXPECT_LE(counts[2], 12) << "single probes of a second, with eleven between them";
    EXPECT_GE(counts[2], 10);
    EXPECT_GE(counts[1], 13 * healthy[1] * 9 / 10);
    EXPECT_GE(counts[3], 13 * healthy[1] * 9 / 10);
}

/// Again and again another list for a moment, and then the old one.
TEST_F(StationsTest, ADeadOneRestsHoweverOftenTheListChanges)
{
    start({"5:0x2@1", "5:0x2@2", "5:0x2@3"}).poll(variables);
    silence({2});
    requestsIn(20s);
    std::map<int, int> counts;
    for (int i = 0; i < 130; ++i) {
        host->poll({});
        host->poll({variables[0]});
        requestsIn(20ms);
        host->poll(variables);
        for (const auto &[station, count] : requestsIn(980ms))
            counts[station] += count;
    }
    EXPECT_LE(counts[2], 12) << "single probes of a second, with eleven between them";
    EXPECT_GE(counts[2], 9);
    EXPECT_GE(counts[3], 130 * 50);
}

/// It is found although no round comes to its end.
TEST_F(StationsTest, ADeadOneThatComesBackIsFoundHoweverOftenTheListChanges)
{
    start({"5:100x2@1", "5:0x2@2", "5:100x2@2", "5:200x2@2"}).poll(variables);
    silence({2});
    requestsIn(40s);
    EXPECT_TRUE(host->rests(2));
    loseFirstAddresses(60ms);
    for (int i = 0; i < 600 && host->rests(2); ++i) {
        requestsIn(100ms);
        host->poll({variables[0]});
        requestsIn(1ms);
        host->poll(variables);
    }
    EXPECT_FALSE(host->rests(2));
}

TEST_F(StationsTest, ADeadOneThatComesBackIsAskedAgain)
{
    start({"5:0x2@1", "5:0x2@2"}).poll(variables);
    silence({2});
    requestsIn(30s);
    silence({});
    requestsIn(10s);
    EXPECT_FALSE(host->rests(2));
    EXPECT_TRUE(allKnown());
    std::map<int, int> counts = requestsIn(1s);
    EXPECT_NEAR(counts[1], counts[2], 1);
}

TEST_F(StationsTest, TheirEndAndTheirReturnAreTold)
{
    std::vector<std::pair<LineEvent::EventKind, int>> told;
    start({"5:0x2@1", "5:0x2@2"}).poll(variables);
    host->setEvents([&told](const LineEvent &event) { told.emplace_back(event.kind, event.station); });
    silence({2});
    requestsIn(40s);
    silence({});
    requestsIn(20s);
    EXPECT_EQ(told, (std::vector<std::pair<LineEvent::EventKind, int>>{{LineEvent::StationDown, 2},
                                                                       {LineEvent::StationUp, 2}}));
}

TEST_F(StationsTest, OneSilentAddressDoesNotHideARestingOne)
{
    start({"5:100x2@1", "5:0x2@2", "5:100x2@2", "5:200x2@2"}).poll(variables);
    silence({2});
    requestsIn(40s);
    EXPECT_TRUE(host->rests(2));
    loseFirstAddresses(5ms);
    requestsIn(60s);
    EXPECT_FALSE(host->rests(2));
    EXPECT_TRUE(host->ageOf(variables[3]).isKnown());
}

TEST_F(StationsTest, NoneRestsWhileNoneAnswers)
{
    start({"5:0x2@1", "5:0x2@2"}).poll(variables);
    silence({1, 2});
    requestsIn(60s);
    EXPECT_FALSE(host->rests(1));
    EXPECT_FALSE(host->rests(2));
    silence({});
    const Time back = link.now();
    while (!allKnown())
        host->step();
    EXPECT_LE(link.now() - back, 100ms);
}

TEST_F(StationsTest, ALoneOneNeverRests)
{
    start({"5:0x2@1"}).poll(variables);
    silence({1});
    requestsIn(60s);
    EXPECT_FALSE(host->rests(1));
    EXPECT_GE(link.sent.size(), 59u);
}

TEST_F(StationsTest, EveryHealthyOneIsServedHoweverManyAreDead)
{
    std::vector<std::string> texts;
    for (int station = 1; station <= 32; ++station)
        texts.push_back("5:0x2@" + std::to_string(station));
    std::vector<const char *> pointers;
    std::set<int> dead;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        pointers.push_back(texts[i].c_str());
        if (i % 2)
            dead.insert(int(i) + 1);
    }
    options.timing.timeout = 200ms;
    start(pointers).poll(variables);
    silence(dead);
    requestsIn(60s);
    std::map<int, int> counts = requestsIn(120s);
    int least = counts[1], most = counts[1];
    for (int station = 1; station <= 31; station += 2) {
        least = std::min(least, counts[station]);
        most = std::max(most, counts[station]);
    }
    EXPECT_GT(least, 20);
    EXPECT_LE(most, 2 * least);
}

} // namespace
