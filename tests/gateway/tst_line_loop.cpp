// A line that is polled and written while somebody else tells of it, in virtual time.
#include "gateway/line.h"
#include "support/handled_writes.h"
#include "support/write_results.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <thread>

using namespace fgs;

namespace
{

using Values = std::vector<quint32>;

const std::chrono::hours Era(470000); ///< from 1970 to the start of the link's clock
const int Refusal = 0x21;

Epoch epochOf(Time when)
{
    return std::chrono::duration_cast<milliseconds>(Era + when).count();
}

class LineLoopTest : public DriverTest
{
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        settings.interval = milliseconds(100);
    }

    void setTags(const std::vector<const char *> &texts)
    {
        for (const char *text : texts) {
            GatewayTag tag;
            tag.tag = parseTag(QString::fromLatin1(text));
            settings.tags.push_back(tag);
        }
    }

    void run(Time duration)
    {
        link.endBy(nullptr, link.now() + duration);
        LineLoop(settings, link, clock, {mailbox, orders, [this] { lookAround(); }, {}, readOnly}).run();
        snapshots = mailbox.takeSnapshots();
        for (const Snapshot &snapshot : snapshots)
            for (const Sample &sample : snapshot)
                samples[sample.tag].push_back(sample);
        for (OrderEnd &end : orders.takeEnds())
            ends.push_back(std::move(end));
    }

    /// Puts the order when so much time has passed.
    void orderAt(Time after, quint64 number, const std::vector<std::pair<std::size_t, Values>> &wishes)
    {
        Order order;
        order.number = number;
        for (const auto &[tag, values] : wishes) {
            order.tags.push_back(tag);
            order.assignments.push_back({settings.tags[tag].tag, values});
        }
        planned.emplace(link.now() + after, order);
    }

    /// What the controller holds.
    Values held(std::size_t tag) const
    {
        const Variable &variable = settings.tags[tag].tag.variable;
        Values values;
        for (int i = 0; i < variable.count; ++i)
            values.push_back(
                link.controller.at(variable.station, areaOf(variable.area)->code, variable.address + i));
        return values;
    }

    void refuse(const QByteArray &request)
    {
        link.arrive(5ms, request.left(1) + QByteArray("\xFF") + char(Refusal));
    }

    /// Requests to the station from that time on.
    int requestsTo(int station, Time since) const
    {
        int count = 0;
        for (std::size_t i = 0; i < link.sent.size(); ++i)
            count += link.sent[i].at(0) == station && link.sentAt[i] >= since;
        return count;
    }

    Results results(std::size_t end) const { return resultsOf(ends.at(end).reports); }

    const Sample &last(std::size_t tag) { return samples[tag].back(); }

    FakeLink link;
    HandledWrites writes{link};
    const WallClock clock{
        link, [this] {
            return std::chrono::system_clock::time_point(
                std::chrono::duration_cast<std::chrono::system_clock::duration>(Era + link.now()));
        }};
    Mailbox mailbox{1000000};
    OrderDesk orders;
    GatewaySettings settings;
    bool readOnly = false;
    std::vector<Snapshot> snapshots;
    std::map<std::size_t, std::vector<Sample>> samples; ///< by tag
    std::vector<OrderEnd> ends;
    std::vector<LineState> states; ///< that differ in what is up
    std::vector<Time> aliveAt;
    std::function<void()> onLook = [] {};

private:
    void lookAround()
    {
        aliveAt.push_back(link.now());
        onLook();
        const LineState state = mailbox.state();
        if (states.empty() || states.back().isUp != state.isUp || states.back().stations != state.stations)
            states.push_back(state);
        while (!planned.empty() && planned.begin()->first <= link.now()) {
            orders.put(planned.begin()->second);
            planned.erase(planned.begin());
        }
    }

    std::multimap<Time, Order> planned;
};

/// Seven variables far apart take two requests.
TEST_F(LineLoopTest, TellsInOneSnapshotWhatOneRequestChanged)
{
    setTags({"5:0", "5:1000", "5:2000", "5:3000", "5:4000", "5:5000", "5:6000"});
    settings.interval = milliseconds(3000);
    run(2s);
    ASSERT_EQ(link.sent.size(), 2u);
    ASSERT_EQ(snapshots.size(), 3u);
    ASSERT_EQ(snapshots[0].size(), 7u);
    for (const Sample &sample : snapshots[0]) {
        EXPECT_EQ(sample.quality, Quality::Unknown);
        EXPECT_EQ(sample.reason.kind, Reason::NotAskedYet);
        EXPECT_EQ(sample.time, epochOf(1000s));
    }
    for (std::size_t tag = 0; tag < 7; ++tag)
        EXPECT_EQ(last(tag).quality, Quality::Good) << tag;
    for (std::size_t request : {0u, 1u})
        for (const Sample &sample : snapshots[request + 1]) {
            EXPECT_EQ(sample.quality, Quality::Good);
            EXPECT_EQ(sample.values, held(sample.tag)) << sample.tag;
            EXPECT_EQ(sample.time, epochOf(link.sentAt[request] + 5ms)) << sample.tag;
        }
}

TEST_F(LineLoopTest, TellsOfEachReplyOnce)
{
    setTags({"5:0", "5:2000@2"});
    run(1s);
    EXPECT_EQ(link.sent.size(), 20u);
    EXPECT_EQ(snapshots.size(), 21u);
    for (std::size_t i = 1; i < snapshots.size(); ++i)
        EXPECT_EQ(snapshots[i].size(), 1u) << i;
    const LineState state = mailbox.state();
    EXPECT_TRUE(state.isUp);
    EXPECT_EQ(state.since, epochOf(1000s));
    EXPECT_EQ(state.stations, (std::map<int, bool>{{1, true}, {2, true}}));
    EXPECT_EQ(state.statistics.requests, 20u);
    EXPECT_EQ(state.busy, milliseconds(100)) << "5 ms each";
}

TEST_F(LineLoopTest, WaitingInVainIsBusyTime)
{
    setTags({"5:0"});
    settings.host.retries = 0;
    link.onSend = [](const QByteArray &) {};
    settings.interval = milliseconds(10000);
    run(9s);
    ASSERT_EQ(link.sent.size(), 1u);
    EXPECT_EQ(mailbox.state().busy, milliseconds(1000));
    EXPECT_EQ(mailbox.state().stations, (std::map<int, bool>{{1, false}}));
}

TEST_F(LineLoopTest, ALostLinkMakesEverythingStaleAndComesBack)
{
    setTags({"5:0", "5:2000@2"});
    link.onSend = [this](const QByteArray &request) {
        if (link.sent.size() != 11)
            return link.answer(request);
        link.refusals = 2;
        link.cut();
    };
    run(5s);
    ASSERT_EQ(states.size(), 6u);
    EXPECT_EQ(states[2].stations, (std::map<int, bool>{{1, true}, {2, true}}));
    EXPECT_FALSE(states[3].isUp);
    EXPECT_EQ(states[3].error, "cut");
    EXPECT_EQ(states[3].since, epochOf(link.sentAt[10]));
    EXPECT_EQ(states[3].stations, (std::map<int, bool>{{1, false}, {2, false}}));
    EXPECT_TRUE(mailbox.state().isUp);
    EXPECT_EQ(mailbox.state().error, "");
    EXPECT_EQ(mailbox.state().stations, (std::map<int, bool>{{1, true}, {2, true}}));
    EXPECT_EQ(mailbox.state().statistics.reconnects, 1u);
    for (std::size_t tag : {0u, 1u}) {
        const auto &all = samples[tag];
        const auto stale = std::find_if(all.begin(), all.end(),
                                        [](const Sample &sample) { return sample.quality == Quality::Stale; });
        ASSERT_NE(stale, all.end());
        EXPECT_EQ(stale->reason.outcome, Outcome::LinkLost);
        EXPECT_EQ(stale->values, held(tag));
        EXPECT_EQ(stale->time, (stale - 1)->time) << "of the reply";
        EXPECT_EQ(last(tag).quality, Quality::Good);
    }
    const auto events = mailbox.takeEvents();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].event.kind, LineEvent::LinkLost);
    EXPECT_EQ(events[0].when, states[3].since);
    EXPECT_EQ(events[1].event.kind, LineEvent::LinkOpen);
}

TEST_F(LineLoopTest, ALinkThatCannotBeOpenedAtTheStartIsTriedAgain)
{
    setTags({"5:0"});
    link.opened = false;
    link.refusals = 4;
    link.lostBy = QStringLiteral("nobody listens");
    run(10s);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_FALSE(states[0].isUp);
    EXPECT_EQ(states[0].error, "nobody listens");
    EXPECT_EQ(states[0].stations, (std::map<int, bool>{{1, false}}));
    EXPECT_TRUE(mailbox.state().isUp);
    EXPECT_EQ(link.openedAt.size(), 5u);
    EXPECT_EQ(last(0).quality, Quality::Good);
}

TEST_F(LineLoopTest, TellsWhyTheLinkCannotBeOpenedNow)
{
    setTags({"5:0"});
    link.opened = false;
    link.refusals = 1000;
    onLook = [this] {
        if (link.now() > 1001s)
            link.lostBy = QStringLiteral("no such device");
    };
    run(2s);
    EXPECT_EQ(states.front().error, "cut");
    EXPECT_EQ(mailbox.state().error, "no such device");
    EXPECT_EQ(mailbox.state().since, states.front().since);
    EXPECT_EQ(samples[0].front().quality, Quality::Unknown);
    EXPECT_EQ(samples[0].front().reason.outcome, Outcome::LinkLost);
}

TEST_F(LineLoopTest, ADeadStationIsToldAndThatItIsBack)
{
    setTags({"5:0", "5:2000@2"});
    const Time dead = link.now() + 1s, back = link.now() + 30s;
    link.onSend = [this, dead, back](const QByteArray &request) {
        if (request.at(0) == 1 || link.now() < dead || link.now() >= back)
            link.answer(request);
    };
    run(60s);
    ASSERT_EQ(states.size(), 5u);
    EXPECT_EQ(states[2].stations, (std::map<int, bool>{{1, true}, {2, true}}));
    EXPECT_EQ(states[3].stations, (std::map<int, bool>{{1, true}, {2, false}}));
    EXPECT_EQ(states[4].stations, (std::map<int, bool>{{1, true}, {2, true}}));
    EXPECT_TRUE(states[3].isUp);
    EXPECT_EQ(last(1).quality, Quality::Good);
    EXPECT_EQ(mailbox.takeEvents().size(), 2u);
}

TEST_F(LineLoopTest, WritesAndTellsWhatTheControllerHoldsThen)
{
    setTags({"5:0x2", "5:2000"});
    settings.interval = milliseconds(2000);
    orderAt(1s, 7, {{0, {11, 12}}});
    run(1900ms);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].number, 7u);
    EXPECT_EQ(results(0), Results{WriteResult::Verified});
    EXPECT_EQ(ends[0].reports[0].held.values, (Values{11, 12}));
    EXPECT_EQ(last(0).values, (Values{11, 12})) << "before it is polled again";
    EXPECT_GT(last(0).time, epochOf(1001s));
    EXPECT_EQ(ends[0].heldTimes, std::vector<Epoch>{last(0).time});
    EXPECT_LT(last(1).time, epochOf(1001s));
}

TEST_F(LineLoopTest, PollingGoesOnAfterAnOrder)
{
    setTags({"5:0", "5:2000@2", "5:100"});
    orderAt(500ms, 1, {{0, {11}}});
    orderAt(500ms, 2, {{2, {12}}});
    run(2s);
    EXPECT_EQ(ends.size(), 2u);
    for (std::size_t tag : {0u, 1u, 2u}) {
        EXPECT_EQ(last(tag).quality, Quality::Good) << tag;
        EXPECT_EQ(last(tag).values, held(tag)) << tag;
        EXPECT_GE(last(tag).time, epochOf(1001900ms)) << tag;
        EXPECT_GE(samples[tag].size(), 19u) << tag;
    }
    EXPECT_EQ(held(2), Values{12});
}

/// One order a second: the dead station is asked as seldom as without them.
TEST_F(LineLoopTest, ADeadStationRestsWhateverIsOrdered)
{
    setTags({"5:0", "5:2000@2"});
    link.onSend = [this](const QByteArray &request) {
        if (request.at(0) == 1)
            link.answer(request);
    };
    const Time settled = link.now() + 20s;
    for (int i = 1; i < 150; ++i)
        orderAt(i * 1s, quint64(i), {{0, {quint32(i)}}});
    run(150s);
    EXPECT_EQ(ends.size(), 149u);
    EXPECT_LE(requestsTo(2, settled), 12) << "single probes of a second, with eleven between them";
    EXPECT_GE(requestsTo(2, settled), 10);
    EXPECT_GE(requestsTo(1, settled), 1300) << "ten readings a second, and the orders";
}

/// Between two orders, which are all for the first of five requests, there is time for two of them.
TEST_F(LineLoopTest, EachTagHasItsTurnWhateverIsOrdered)
{
    const std::size_t tags = 30;
    for (std::size_t i = 0; i < tags; ++i) {
        GatewayTag tag;
        tag.tag = parseTag(QStringLiteral("5:%1").arg(200 * i));
        settings.tags.push_back(tag);
    }
    settings.interval = milliseconds(0);
    link.onSend = [this](const QByteArray &request) { link.answer(request, 200ms); };
    for (int i = 1; i < 120; ++i)
        orderAt(i * 900ms, quint64(i), {{0, {quint32(i)}}});
    run(108s);
    EXPECT_EQ(ends.size(), 119u);
    for (std::size_t tag = 0; tag < tags; ++tag)
        EXPECT_GE(samples[tag].size(), 30u) << tag;
}

TEST_F(LineLoopTest, TellsARefusalAndWhatTheControllerHolds)
{
    setTags({"5:0"});
    writes.handle(1, [this](const QByteArray &request) { refuse(request); });
    orderAt(500ms, 1, {{0, {11}}});
    run(2s);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(results(0), Results{WriteResult::Refused});
    EXPECT_EQ(ends[0].reports[0].held.values, held(0));
    for (const Sample &sample : samples[0])
        EXPECT_NE(sample.values, Values{11});
}

TEST_F(LineLoopTest, FindsOutThatTheControllerHoldsAnother)
{
    setTags({"5:0"});
    writes.handle(1, [this](const QByteArray &request) {
        link.arrive(5ms, request.left(1) + QByteArray("\xFF\x20"));
        link.controller.at(1, areaOf(5)->code, 0) = 99;
    });
    orderAt(500ms, 1, {{0, {11}}});
    run(2s);
    EXPECT_EQ(results(0), Results{WriteResult::Different});
    EXPECT_EQ(ends[0].reports[0].held.values, Values{99});
    EXPECT_EQ(last(0).values, Values{99});
}

/// A job that is given up empties the driver's queue.
TEST_F(LineLoopTest, EachOfThreeWritesIsReportedWhenTheFirstFails)
{
    setTags({"5:0", "5:100", "5:200"});
    const std::vector<Values> before = {held(0), held(1), held(2)};
    writes.handle(1, [](const QByteArray &) {});
    orderAt(500ms, 1, {{0, {11}}, {1, {12}}, {2, {13}}});
    run(20s);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(results(0), (Results{WriteResult::NotAcknowledged, WriteResult::NotSent, WriteResult::NotSent}));
    EXPECT_EQ(ends[0].reports[0].reason.outcome, Outcome::NoReply);
    EXPECT_EQ(ends[0].reports[0].held.values, before[0]);
    EXPECT_EQ(writes.sent(), 3) << "one, and its repetitions";
    for (std::size_t tag : {0u, 1u, 2u}) {
        EXPECT_EQ(held(tag), before[tag]);
        for (const Sample &sample : samples[tag])
            EXPECT_TRUE(sample.values.empty() || sample.values == before[tag]);
    }
}

/// What the driver's image shows meanwhile is no value of the controller.
TEST_F(LineLoopTest, WhatWasNotReadBackIsNoValue)
{
    setTags({"5:0"});
    const Values before = held(0);
    writes.handle(1, [this](const QByteArray &) {
        link.refusals = 1000;
        link.cut();
    });
    orderAt(500ms, 1, {{0, {11}}});
    run(20s);
    EXPECT_EQ(results(0), Results{WriteResult::Unknown});
    EXPECT_EQ(last(0).quality, Quality::Stale);
    for (const Sample &sample : samples[0])
        EXPECT_TRUE(sample.values.empty() || sample.values == before);
}

TEST_F(LineLoopTest, TheNewestOrderForATagWins)
{
    setTags({"5:0", "5:100"});
    orderAt(500ms, 1, {{0, {11}}});
    orderAt(500ms, 2, {{0, {12}}, {1, {13}}});
    orderAt(500ms, 3, {{1, {14}}});
    run(2s);
    ASSERT_EQ(ends.size(), 3u);
    EXPECT_EQ(ends[0].superseded, std::vector<bool>{true});
    EXPECT_EQ(results(0), Results{WriteResult::NotSent});
    EXPECT_EQ(results(1), (Results{WriteResult::Verified, WriteResult::NotSent}));
    EXPECT_EQ(ends[1].superseded, (std::vector<bool>{false, true}));
    EXPECT_EQ(results(2), Results{WriteResult::Verified});
    EXPECT_EQ(held(0), Values{12});
    EXPECT_EQ(held(1), Values{14});
    EXPECT_EQ(writes.sent(), 2);
}

TEST_F(LineLoopTest, TheEndAmidAnOrderLeavesNoneWithoutAnAnswer)
{
    setTags({"5:0", "5:100", "5:200"});
    writes.handle(2, [this](const QByteArray &) { link.endBy(nullptr, link.now() + 300ms); });
    orderAt(500ms, 1, {{0, {11}}, {1, {12}}, {2, {13}}});
    orderAt(500ms, 2, {{2, {14}}});
    orderAt(500ms, 3, {{0, {15}}, {1, {16}}});
    settings.tags.push_back(settings.tags[0]);
    settings.tags.back().tag = parseTag(QStringLiteral("5:300"));
    orderAt(500ms, 4, {{3, {17}}});
    run(20s);
    EXPECT_LT(link.now(), 1002s);
    ASSERT_EQ(ends.size(), 4u);
    EXPECT_FALSE(orders.hasOrders());
    std::map<quint64, Results> byNumber;
    for (std::size_t i = 0; i < ends.size(); ++i)
        byNumber[ends[i].number] = results(i);
    EXPECT_EQ(byNumber[4], Results{WriteResult::NotSent});
    EXPECT_EQ(byNumber[1].size(), 3u);
    EXPECT_EQ(byNumber[1], (Results{WriteResult::NotSent, WriteResult::NotSent, WriteResult::NotSent}))
        << "superseded before it was taken";
}

TEST_F(LineLoopTest, TheEndAmidAWriteIsToldAsItIs)
{
    setTags({"5:0", "5:100", "5:200"});
    writes.handle(2, [this](const QByteArray &) { link.endBy(nullptr, link.now() + 300ms); });
    orderAt(500ms, 1, {{0, {11}}, {1, {12}}, {2, {13}}});
    orderAt(520ms, 2, {{0, {14}}});
    run(20s);
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(results(0), (Results{WriteResult::Written, WriteResult::Unknown, WriteResult::NotSent}));
    EXPECT_EQ(results(1), Results{WriteResult::NotSent});
    EXPECT_FALSE(ends[0].isLinkLost);
    EXPECT_FALSE(ends[1].isLinkLost);
    EXPECT_EQ(ends[1].reports[0].assignment.values, Values{14});
    EXPECT_EQ(writes.sent(), 2);
}

TEST_F(LineLoopTest, WritesNothingWhenItMayOnlyRead)
{
    setTags({"5:0"});
    readOnly = true;
    orderAt(500ms, 1, {{0, {11}}});
    run(2s);
    EXPECT_EQ(results(0), Results{WriteResult::NotSent});
    EXPECT_EQ(writes.sent(), 0);
}

TEST_F(LineLoopTest, AnOrderForALostLinkEndsWhenItsPatienceDoes)
{
    setTags({"5:0"});
    link.opened = false;
    link.refusals = 1000;
    orderAt(500ms, 1, {{0, {11}}});
    run(20s);
    EXPECT_EQ(results(0), Results{WriteResult::NotSent});
    EXPECT_EQ(ends[0].heldTimes, std::vector<Epoch>{0});
    EXPECT_TRUE(ends[0].isLinkLost);
    EXPECT_EQ(writes.sent(), 0);
}

TEST_F(LineLoopTest, SaysThatItIsAliveThroughALongPause)
{
    setTags({"5:0"});
    settings.interval = milliseconds(10000);
    run(9900ms);
    EXPECT_GE(aliveAt.size(), 198u);
    for (std::size_t i = 1; i < aliveAt.size(); ++i)
        ASSERT_LE(aliveAt[i] - aliveAt[i - 1], 50ms + 7ms) << "a request may come before the pause";
}

using LineLoopBetweenThreads = LineLoopTest;

TEST_F(LineLoopBetweenThreads, EachOrderEndsAndEachReadingArrives)
{
    setTags({"5:0", "5:2000@2"});
    Stop stop;
    link.endBy(&stop);
    const auto breathe = [] { std::this_thread::sleep_for(milliseconds(1)); }; // lest virtual time runs away
    std::thread line([&] { LineLoop(settings, link, clock, {mailbox, orders, breathe, {}, false}).run(); });
    std::size_t readings = 0;
    const quint64 many = 50;
    for (quint64 number = 1; number <= many; ++number) {
        orders.put({number, {0}, {{settings.tags[0].tag, {quint32(number)}}}});
        while (ends.size() < number) {
            pollfd wanted[] = {{orders.endsDescriptor(), POLLIN, 0}, {mailbox.descriptor(), POLLIN, 0}};
            ::poll(wanted, 2, -1);
            for (const Snapshot &snapshot : mailbox.takeSnapshots())
                readings += snapshot.size();
            mailbox.takeEvents();
            EXPECT_LE(mailbox.state().stations.size(), 2u);
            for (OrderEnd &end : orders.takeEnds())
                ends.push_back(std::move(end));
        }
        EXPECT_EQ(results(std::size_t(number - 1)), Results{WriteResult::Verified});
    }
    stop.request();
    line.join();
    EXPECT_GE(readings, many);
    EXPECT_EQ(held(0), Values{quint32(many)});
}

TEST_F(LineLoopTest, OrdersDoNotWaitForTheNextRound)
{
    setTags({"5:0"});
    settings.interval = milliseconds(3600000);
    orderAt(60s, 1, {{0, {11}}});
    run(61s);
    EXPECT_EQ(results(0), Results{WriteResult::Verified});
    EXPECT_LE(link.sentAt[1], 1060s + 55ms);
}

} // namespace
