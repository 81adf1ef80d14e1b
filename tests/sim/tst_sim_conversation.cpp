#include "sim/conversation.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

const Bytes Read = bytes("01 FE 01 08 01 64 00 5A BE");
const Bytes Answer = sealed("01 FE 01 08 01 00 00");
const Bytes Write = sealed("01 FF 01 08 01 64 00 12 34");
const Bytes Acknowledgement = bytes("01 FF 20");

FaultRates always(RandomFault fault)
{
    FaultRates rates{};
    rates[std::size_t(fault)] = 100;
    return rates;
}

class ConversationTest : public testing::Test
{
protected:
    void start(const FaultRates &rates, const LineTimes &times = {}, Log::Level level = Log::Level::Normal)
    {
        simulation.emplace(Simulation{Controller({1}, Memory(Motion({1}, {}, Values::Still, 1))),
                                      FaultChooser(rates, 1),
                                      Log(level, [this](const std::string &line) { lines.push_back(line); }),
                                      {}});
        conversation.emplace(*simulation, times, "line ");
    }
    Bytes ask(const Bytes &request)
    {
        conversation->receive(request, now);
        return conversation->takeDue(now);
    }
    /// What comes when the time has passed.
    Bytes after(Time time)
    {
        now += time;
        conversation->advance(now);
        return conversation->takeDue(now);
    }
    const Counters &counters() const { return simulation->counters; }

    std::optional<Simulation> simulation;
    std::optional<Conversation> conversation;
    Time now{0};
    std::vector<std::string> lines;
};

} // namespace

TEST_F(ConversationTest, AnswersAtOnce)
{
    start({});
    EXPECT_EQ(ask(Read), Answer);
    EXPECT_EQ(ask(Write), Acknowledgement);
    EXPECT_EQ(after(10s), Bytes());
    EXPECT_EQ(conversation->nextEvent(), std::nullopt);
    EXPECT_EQ(lines, std::vector<std::string>());
    EXPECT_EQ(counters().requests, 2u);
    EXPECT_EQ(counters().replies, 2u);
}

TEST_F(ConversationTest, TheDelayRunsFromTheEndOfTheRequest)
{
    LineTimes times;
    times.delay = 5ms;
    start({}, times);
    conversation->receive(Slice(Read).first(4), now);
    now += 50ms;
    conversation->receive(Slice(Read).from(4), now);
    EXPECT_EQ(conversation->nextEvent(), now + 5ms);
    EXPECT_EQ(after(5ms - 1ns), Bytes());
    EXPECT_EQ(after(1ns), Answer);
}

// At 9600 baud, 8E1, a byte of 11 bits takes 1145833 ns: 9 request bytes and 9 reply bytes.
TEST_F(ConversationTest, ThePaceOfALine)
{
    LineTimes times;
    times.byteTime = 1145833ns;
    start({}, times);
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(conversation->nextEvent(), 11458330ns);
    EXPECT_EQ(after(11458329ns), Bytes());
    EXPECT_EQ(after(1ns), Slice(Answer).first(1).copy());
    EXPECT_EQ(conversation->nextEvent(), 11 * 1145833ns);
    EXPECT_EQ(after(5ms), Slice(Answer).from(1).first(4).copy());
    EXPECT_EQ(after(1s), Slice(Answer).from(5).copy());
}

// At 1 ms a byte the long answer leaves the line after 9 + 207 ms, long after the second request has ended.
TEST_F(ConversationTest, AReplyWaitsUntilTheOneBeforeHasLeftTheLine)
{
    LineTimes times;
    times.byteTime = 1ms;
    start({}, times);
    conversation->receive(sealed("01 FE 01 08 64 00 00"), now);
    conversation->receive(Write, now);
    EXPECT_EQ(after(216ms).size(), 207u);
    EXPECT_EQ(after(2ms), Slice(Acknowledgement).first(2).copy());
    EXPECT_EQ(after(1ms), Slice(Acknowledgement).from(2).copy());
}

TEST_F(ConversationTest, SilenceCarriesTheRequestOut)
{
    start(always(RandomFault::Silence));
    EXPECT_EQ(ask(Write), Bytes());
    EXPECT_EQ(after(10s), Bytes());
    EXPECT_EQ(lines,
              std::vector<std::string>{"line fault silence: station 1 writes area 5 from 100: 4660 -> nothing"});
    EXPECT_EQ(simulation->controller.handle(Read).reply, sealed("01 FE 01 08 01 12 34"));
    EXPECT_EQ(counters().replies, 0u);
    EXPECT_EQ(counters().faults[std::size_t(RandomFault::Silence)], 1u);
}

TEST_F(ConversationTest, ALateReplyHoldsTheNextOneUp)
{
    LineTimes times;
    times.lateBy = 300ms;
    start(always(RandomFault::Late), times);
    EXPECT_EQ(ask(Read), Bytes());
    now += 200ms;
    EXPECT_EQ(ask(Write), Bytes());
    EXPECT_EQ(after(100ms), Answer);
    EXPECT_EQ(after(200ms - 1ns), Bytes());
    EXPECT_EQ(after(1ns), Acknowledgement);
}

TEST_F(ConversationTest, DamagedRepliesAreLoggedAndCounted)
{
    for (RandomFault fault : {RandomFault::Crc, RandomFault::Short, RandomFault::Long, RandomFault::Noise}) {
        SCOPED_TRACE(FaultNames[std::size_t(fault)]);
        lines.clear();
        start(always(fault));
        const Bytes reply = ask(Read);
        EXPECT_NE(reply, Answer);
        EXPECT_EQ(counters().faults[std::size_t(fault)], 1u);
        EXPECT_EQ(counters().replies, 1u);
        EXPECT_EQ(lines, std::vector<std::string>{std::string("line fault ") + FaultNames[std::size_t(fault)] +
                                                  ": station 1 reads area 5 from 100, 1 word -> " + hex(reply)});
    }
}

TEST_F(ConversationTest, RejectionsAreSilentAndLogged)
{
    start({});
    EXPECT_EQ(ask(sealed("01 FF 01 06 01 05 00 00 2A")), Bytes());
    EXPECT_EQ(ask(sealed("02 FE 01 08 01 05 00")), Bytes());
    EXPECT_EQ(ask(bytes("55 AA")), Bytes());
    EXPECT_EQ(after(1s), Bytes());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].rfind("line rejected: write to area 8, which is read-only: 01 FF 01 06", 0), 0u);
    EXPECT_EQ(lines[1].rfind("line not for a station here: 02 FE", 0), 0u);
    EXPECT_EQ(lines[2], "line rejected: unknown command 0xAA: 55 AA");
    EXPECT_EQ(counters().rejected, 2u);
    EXPECT_EQ(counters().elsewhere, 1u);
    EXPECT_EQ(counters().requests, 2u);
    EXPECT_EQ(ask(Read), Answer);
}

TEST_F(ConversationTest, ARequestBehindAnEndedOneIsAnsweredAfterTheSilence)
{
    start({});
    EXPECT_EQ(ask(bytes("01 FF 01 13 FF") + Read), Bytes());
    EXPECT_EQ(conversation->nextEvent(), now + LineTimes().silence);
    EXPECT_EQ(after(LineTimes().silence), Answer);
}

TEST_F(ConversationTest, BroadcastsAreCounted)
{
    start(always(RandomFault::Noise));
    EXPECT_EQ(ask(sealed("00 FF 01 08 01 64 00 00 07")), Bytes());
    EXPECT_EQ(counters().broadcasts, 1u);
    EXPECT_EQ(simulation->controller.handle(Read).reply, sealed("01 FE 01 08 01 00 07"));
}

TEST_F(ConversationTest, TheFullLogShowsEveryFrameWithItsMeaning)
{
    start({}, {}, Log::Level::All);
    ask(Read);
    ask(Write);
    ask(sealed("00 FE 01 08 01 64 00"));
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "line <- 01 FE 01 08 01 64 00 5A BE  station 1 reads area 5 from 100, 1 word");
    EXPECT_EQ(lines[1], "line -> " + hex(Answer) + "  station 1 answers area 5 from 100: 0");
    EXPECT_EQ(lines[2], "line <- " + hex(Write) + "  station 1 writes area 5 from 100: 4660");
    EXPECT_EQ(lines[3], "line -> 01 FF 20  station 1 acknowledges");
    EXPECT_NE(lines[4].find("every station reads area 5"), std::string::npos);
}

TEST_F(ConversationTest, TheQuietLogIsEmpty)
{
    start({}, {}, Log::Level::Quiet);
    ask(bytes("55 AA"));
    after(1s);
    EXPECT_EQ(lines, std::vector<std::string>());
    EXPECT_EQ(counters().rejected, 1u);
}

TEST_F(ConversationTest, WaitingRepliesAreBounded)
{
    LineTimes times;
    times.delay = 1s;
    start({}, times);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(ask(Write), Bytes()) << i;
    EXPECT_EQ(counters().replies, 32u);
    EXPECT_EQ(counters().lost, 8u);
    EXPECT_EQ(after(1s).size(), 32 * Acknowledgement.size());
}

TEST_F(ConversationTest, NothingPassesAnUnpluggedLine)
{
    LineTimes times;
    times.delay = 10ms;
    start({}, times);
    conversation->receive(Read, now); // its reply would come after the line is unplugged
    simulation->unpluggedUntil = now + 1s;
    EXPECT_EQ(after(10ms), Bytes());
    EXPECT_EQ(ask(Write), Bytes());
    EXPECT_EQ(after(1s - 10ms - 1ns), Bytes());
    EXPECT_EQ(ask(Write), Bytes());
    now += 1ns; // plugged in again
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(after(10ms), Answer); // nothing was written meanwhile
    EXPECT_EQ(counters().requests, 2u);
    EXPECT_EQ(counters().lost, 1u);
    EXPECT_EQ(lines, std::vector<std::string>{"line reply lost: the line is unplugged"});
}

TEST_F(ConversationTest, AReplyOnItsWayWhenTheLineIsUnpluggedIsCut)
{
    LineTimes times;
    times.byteTime = 1ms;
    start({}, times);
    conversation->receive(Read, now);
    EXPECT_EQ(after(13ms), Slice(Answer).first(4).copy());
    simulation->unpluggedUntil = now + 2ms;
    EXPECT_EQ(after(1ms), Bytes());
    EXPECT_EQ(after(1s), Slice(Answer).from(5).copy());
}

TEST_F(ConversationTest, StationsThatAreOffAndMissingAddressesAreSilent)
{
    start({});
    simulation->controller.conditions.off.set(1);
    EXPECT_EQ(ask(Write), Bytes());
    simulation->controller.conditions.off.reset(1);
    EXPECT_EQ(ask(Read), Answer);
    simulation->controller.conditions.missing.insert(1, {&areas()[5], 100, 1, {}});
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(counters().unanswered, 2u);
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "line unanswered: station 1 is switched off: " + hex(Write),
                         "line unanswered: an address is missing in 5:100@1: 01 FE 01 08 01 64 00 5A BE"}));
}

TEST_F(ConversationTest, ARefusalIsAReply)
{
    start({}, {}, Log::Level::All);
    simulation->controller.conditions.refusing.insert(1, {&areas()[5], 100, 1, {}});
    EXPECT_EQ(ask(Write), bytes("01 FF 21"));
    EXPECT_EQ(counters().replies, 1u);
    EXPECT_EQ(lines.back(), "line -> 01 FF 21  station 1 refuses");
}

TEST_F(ConversationTest, AChosenFaultStrikesSoManyRequests)
{
    start({});
    simulation->strikes.order({lineFault("own echo ahead"), 2, {}});
    EXPECT_EQ(after(ReplyDelay), Bytes());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(ask(Read), Bytes());
        EXPECT_EQ(after(ReplyDelay), Read + Answer);
    }
    EXPECT_EQ(ask(Read), Answer);
    EXPECT_EQ(counters().strikes, 2u);
    EXPECT_EQ(counters().replies, 3u);
    EXPECT_EQ(lines.front(),
              "line fault own echo ahead: station 1 reads area 5 from 100, 1 word -> " + hex(Read + Answer));
}

TEST_F(ConversationTest, AChosenFaultComesBeforeARandomOne)
{
    start(always(RandomFault::Silence));
    simulation->strikes.order({lineFault("doubled"), 1, {}});
    ask(Read);
    EXPECT_EQ(after(ReplyDelay), Answer + Answer);
    ask(Read);
    EXPECT_EQ(after(ReplyDelay), Bytes());
}

TEST_F(ConversationTest, LateByOneTransactionIsLaterThanALateReply)
{
    LineTimes times;
    times.lateBy = 300ms;
    start({}, times);
    simulation->strikes.order({lineFault("late by one transaction"), 1, {}});
    ask(Read);
    EXPECT_EQ(after(300ms), Bytes());
    EXPECT_EQ(after(100ms), Answer);
}

TEST_F(ConversationTest, AReplyThatIsHeldBackComesAheadOfTheNextOne)
{
    start({});
    simulation->strikes.order({lineFault("late, with the next request"), 1, {}});
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(after(1h), Bytes());
    EXPECT_EQ(ask(Write), Bytes());
    EXPECT_EQ(after(1ms), Answer + Acknowledgement);
    EXPECT_EQ(conversation->nextEvent(), std::nullopt);
}

TEST_F(ConversationTest, BabbleHasAnEnd)
{
    LineTimes times;
    times.lateBy = 1h;
    start({}, times);
    simulation->strikes.order({lineFault("babble past the limit"), 1, {}});
    ask(Read);
    EXPECT_EQ(after(1h).size(), 8 * std::size_t((10s + 4 * ReplyDelay) / 1ms - 1));
    EXPECT_EQ(ask(Read), Answer);
}

TEST_F(ConversationTest, ALostLinkIsToldOnce)
{
    start({});
    simulation->strikes.order({lineFault("link lost"), 1, {}});
    EXPECT_FALSE(conversation->takeCut());
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_TRUE(conversation->takeCut());
    EXPECT_FALSE(conversation->takeCut());
}

/// Each fault of the table, at a read and at a write, through a line.
TEST_F(ConversationTest, EveryFaultOfTheTableStrikesWhatItCan)
{
    for (const LineFault &fault : lineFaults()) {
        SCOPED_TRACE(fault.name);
        start({});
        simulation->strikes.order({&fault, 1, {}});
        ask(Read);
        ask(Write);
        ask(sealed("01 FE 02 01 08 00 00 08 04 64 00"));
        EXPECT_EQ(counters().strikes, 1u);
        EXPECT_TRUE(simulation->strikes.orders().empty());
    }
}

TEST(Summary, NamesEveryCounter)
{
    Counters counters;
    counters.requests = 12;
    counters.faults[std::size_t(RandomFault::Noise)] = 3;
    EXPECT_EQ(summary(counters),
              "requests 12, replies 0, rejected 0, broadcasts 0, other stations 0, unanswered 0, "
              "lost 0; faults: silence 0, late 0, crc 0, short 0, long 0, noise 3, chosen 0");
}
