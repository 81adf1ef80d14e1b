// Polling round and round, in virtual time.
#include "watch/poll_loop.h"
#include "watch/watch_test.h"

using namespace fgs;

namespace
{

/// Writes down what it is told, and when.
class Recorder : public PollObserver
{
public:
    struct Update {
        Time time;
        std::size_t index;
        Reading reading;
    };

    explicit Recorder(const FakeLink &theLink) : link(theLink) {}

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        for (std::size_t i : which)
            updates.push_back({link.now(), i, readings[i]});
        last = readings;
    }
    void happened(const LineEvent &event) override { events.push_back(event.kind); }
    bool isDone() const override { return doneAfter && updates.size() >= doneAfter; }

    std::vector<Update> updates;
    std::vector<Reading> last;
    std::vector<LineEvent::EventKind> events;
    std::size_t doneAfter = 0;

protected:
    Time now() const { return link.now(); }

private:
    const FakeLink &link;
};

class PollLoopTest : public WatchTest
{
protected:
    void run(const PollPlan &plan)
    {
        PollLoop loop(*host, link, variables, plan, recorder);
        loop.run();
    }

    /// When the variable first had a value.
    Time firstKnown(std::size_t index) const
    {
        for (const Recorder::Update &update : recorder.updates)
            if (update.index == index && update.reading.quality == Quality::Good)
                return update.time;
        return Never;
    }

    Recorder recorder{link};
};

TEST_F(PollLoopTest, TellsOfEveryVariableBeforeTheFirstRequest)
{
    start({"5:100", "5:2000"});
    recorder.doneAfter = 2;
    run({});
    ASSERT_EQ(recorder.updates.size(), 2u);
    EXPECT_EQ(recorder.updates[0].reading.reason.kind, Reason::NotAskedYet);
    EXPECT_TRUE(link.sent.empty());
}

/// Seven variables far apart take two requests.
TEST_F(PollLoopTest, TellsWhatTheSecondRequestBringsBeforeTheNextRound)
{
    start({"5:0", "5:1000", "5:2000", "5:3000", "5:4000", "5:5000", "5:6000"});
    link.endBy(nullptr, link.now() + 2s);
    run({3s, 0});
    EXPECT_EQ(link.sent.size(), 2u);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        EXPECT_EQ(recorder.last[i].values, held(variables[i])) << i;
        EXPECT_LT(firstKnown(i), link.now() - 1s) << i;
    }
}

TEST_F(PollLoopTest, KeepsTheIntervalBetweenTheStartsOfRounds)
{
    start({"5:100"});
    run({3s, 3});
    ASSERT_EQ(link.sentAt.size(), 3u);
    EXPECT_EQ(link.sentAt[1] - link.sentAt[0], 3s);
    EXPECT_EQ(link.sentAt[2] - link.sentAt[1], 3s);
}

TEST_F(PollLoopTest, EndsWhenTheLinksEndComesAlsoBetweenRounds)
{
    start({"5:100"});
    const Time end = link.now() + 10s;
    link.endBy(nullptr, end);
    run({1h, 0});
    EXPECT_EQ(link.now(), end);
}

TEST_F(PollLoopTest, EndsWhileAnAnswerIsWaitedFor)
{
    start({"5:100"});
    link.onSend = [](const QByteArray &) {};
    const Time end = link.now() + 500ms;
    link.endBy(nullptr, end);
    run({});
    EXPECT_EQ(link.now(), end);
    EXPECT_EQ(recorder.last[0].reason.kind, Reason::UnderWay);
    EXPECT_EQ(text(textOf(recorder.last[0].reason)), "under way");
}

TEST_F(PollLoopTest, ALostLinkMakesEveryValueStaleAtOnce)
{
    start({"5:100", "5:2000@2", "10:7"});
    link.onSend = [this](const QByteArray &request) {
        if (link.sent.size() == 6)
            link.cut();
        else
            link.answer(request);
    };
    link.refusals = 1;
    recorder.doneAfter = 16;
    run({});
    const auto lost = std::find_if(recorder.updates.begin(), recorder.updates.end(), [](const auto &update) {
        return update.reading.reason.kind == Reason::Failed && update.reading.reason.outcome == Outcome::LinkLost;
    });
    ASSERT_LE(lost + 3, recorder.updates.end());
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(lost[long(i)].index, i);
        EXPECT_EQ(lost[long(i)].time, lost->time);
        EXPECT_EQ(lost[long(i)].reading.quality, Quality::Stale);
        EXPECT_EQ(lost[long(i)].reading.values, held(variables[i]));
    }
    ASSERT_FALSE(recorder.events.empty());
    EXPECT_EQ(recorder.events.front(), LineEvent::LinkLost);
}

TEST_F(PollLoopTest, AFailureIsToldWithTheLastGoodValues)
{
    start({"5:100x3"});
    link.onSend = [this](const QByteArray &request) {
        if (link.sent.size() == 1)
            link.answer(request);
    };
    run({0s, 2});
    EXPECT_EQ(recorder.last[0].quality, Quality::Stale);
    EXPECT_EQ(recorder.last[0].reason.outcome, Outcome::NoReply);
    EXPECT_EQ(recorder.last[0].values, held(variables[0]));
}

/// The answers to the second question come in vain: what answers it is the copy of that to the first.
TEST_F(PollLoopTest, WhatMayBeWrongIsNotGoodWhenThePollingEnds)
{
    start({"5:0x768"});
    link.onSend = [this](const QByteArray &request) {
        link.answer(request);
        link.answer(request, 5ms + 3ms);
    };
    run({0s, 1});
    EXPECT_EQ(recorder.events, std::vector<LineEvent::EventKind>{LineEvent::UnaskedAnswers});
    EXPECT_EQ(recorder.last[0].quality, Quality::Stale);
    EXPECT_EQ(recorder.last[0].reason.outcome, Outcome::OtherReply);
}

/// Has work of its own now and then.
class Worker : public Recorder
{
public:
    using Recorder::Recorder;

    bool betweenRequests() override
    {
        calledAt.push_back(now());
        return work && work();
    }

    std::function<bool()> work;
    std::vector<Time> calledAt;
};

class PollLoopWithWork : public PollLoopTest
{
protected:
    void work(const PollPlan &plan) { PollLoop(*host, link, variables, plan, worker).run(); }

    Worker worker{link};
};

TEST_F(PollLoopWithWork, LeavesRoomBeforeEachRequest)
{
    start({"5:0", "5:1000", "5:2000", "5:3000", "5:4000", "5:5000", "5:6000"});
    std::vector<std::size_t> sentBefore;
    worker.work = [this, &sentBefore] {
        sentBefore.push_back(link.sent.size());
        return false;
    };
    work({0s, 2});
    EXPECT_EQ(sentBefore, (std::vector<std::size_t>{0, 1, 2, 3}));
}

TEST_F(PollLoopWithWork, LeavesRoomInAPauseToo)
{
    start({"5:0"});
    work({3s, 2});
    EXPECT_GE(worker.calledAt.size(), 60u);
    for (std::size_t i = 1; i < worker.calledAt.size(); ++i)
        EXPECT_LE(worker.calledAt[i] - worker.calledAt[i - 1], 50ms + 7ms) << "a request may come before the pause";
    ASSERT_EQ(link.sentAt.size(), 2u);
    EXPECT_EQ(link.sentAt[1] - link.sentAt[0], 3s);
}

/// In the pause after the first round it reads the second variable, which has changed.
TEST_F(PollLoopWithWork, TellsWhatOthersHaveReadAndPollsOn)
{
    start({"5:0", "5:2000@2"});
    worker.work = [this, isDone = false]() mutable {
        if (isDone || link.sent.size() != 2)
            return false;
        isDone = true;
        link.controller.at(2, areaOf(5)->code, 2000) = 77;
        readAll(*host, link, {variables[1]});
        return true;
    };
    link.endBy(nullptr, link.now() + 2900ms);
    work({1s, 0});
    EXPECT_EQ(link.sent.size(), 2u + 1u + 4u);
    const auto told =
        std::find_if(worker.updates.begin(), worker.updates.end(), [](const Recorder::Update &update) {
            return update.reading.values == std::vector<quint32>{77};
        });
    ASSERT_NE(told, worker.updates.end());
    EXPECT_LT(told->time, link.sentAt[3]) << "before the next round";
    EXPECT_GT(worker.last[0].time, link.now() - 1s);
    EXPECT_GT(worker.last[1].time, link.now() - 1s);
}

class ReadAll : public WatchTest
{
};

TEST_F(ReadAll, EndsWhenAllIsRead)
{
    start({"1:0x65535", "2:0x65535", "3:0x65535", "4:0x65535"});
    readAll(*host, link, variables);
    for (const Variable &variable : variables) {
        const Reading reading = readingOf(*host, link, variable);
        EXPECT_EQ(reading.quality, Quality::Good) << text(textOf(variable));
        EXPECT_EQ(reading.values, held(variable)) << text(textOf(variable));
    }
}

/// From request to request, also within one variable.
TEST_F(ReadAll, TellsHowFarItIs)
{
    start({"5:0x2000", "6:0x100"});
    std::vector<double> shares;
    readAll(*host, link, variables, [&shares](const char *what, const std::function<double()> &share) {
        EXPECT_STREQ(what, "reading");
        shares.push_back(share());
    });
    EXPECT_GE(shares.size(), link.sent.size());
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_EQ(shares.back(), 1);
    EXPECT_TRUE(std::any_of(shares.begin(), shares.end(), [](double share) { return share > 0.3 && share < 0.7; }));
}

TEST_F(ReadAll, EndsWithALostLinkAndKeepsWhatHadCome)
{
    start({"5:0x200", "6:0x200"});
    link.onSend = [this](const QByteArray &request) {
        if (link.sent.size() == 2)
            link.cut();
        else
            link.answer(request);
    };
    readAll(*host, link, variables);
    const Reading first = readingOf(*host, link, variables[0]), second = readingOf(*host, link, variables[1]);
    EXPECT_EQ(first.values, held(variables[0]));
    EXPECT_EQ(second.quality, Quality::Unknown);
    EXPECT_EQ(text(textOf(second.reason)), "link lost");
}

class ReadDoubled : public ReadAll, public ::testing::WithParamInterface<int>
{
};

/// Two requests of one shape.
TEST_P(ReadDoubled, GivesRightValuesAndTellsOfThem)
{
    start({"5:0x768"});
    int told = 0;
    host->setEvents([&told](const LineEvent &event) { told += event.kind == LineEvent::UnaskedAnswers; });
    link.onSend = [this](const QByteArray &request) {
        link.answer(request);
        link.answer(request, 5ms + std::chrono::milliseconds(GetParam()));
    };
    readAll(*host, link, variables);
    const Reading reading = readingOf(*host, link, variables[0]);
    EXPECT_EQ(reading.quality, Quality::Good);
    EXPECT_EQ(reading.values, held(variables[0]));
    EXPECT_EQ(told, 1);
}

INSTANTIATE_TEST_SUITE_P(Later, ReadDoubled, ::testing::Values(1, 2, 3, 4, 5, 8, 12, 20, 30));

TEST_F(ReadAll, DoesNotAskAStationOnAndOnThatGivesNoAnswer)
{
    start({"5:0x9000"});
    link.onSend = [](const QByteArray &) {};
    readAll(*host, link, variables);
    EXPECT_EQ(link.sent.size(), 4u) << "three tries, and a sample";
    EXPECT_EQ(readingOf(*host, link, variables[0]).quality, Quality::Unknown);
}

} // namespace
