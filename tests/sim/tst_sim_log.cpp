#include "sim/conversation.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

using Topic = Log::Topic;

class LogTest : public testing::Test
{
protected:
    void write(Topic topic, int count, const std::string &text)
    {
        for (int i = 0; i < count; ++i)
            log.write(topic, now, [&] { return text; });
    }
    std::vector<std::string> taken() { return std::exchange(lines, {}); }

    Time now = 1000s;
    std::vector<std::string> lines;
    Log log{Log::Level::Normal, [this](const std::string &line) { lines.push_back(line); }};
};

/// The numbers in lines "rejected: N more such lines", added up.
std::uint64_t leftOut(const std::vector<std::string> &lines)
{
    std::uint64_t sum = 0;
    for (const std::string &line : lines) {
        if (line.find(" more such lines") != std::string::npos)
            sum += std::stoull(line.substr(line.find(": ") + 2));
    }
    return sum;
}

} // namespace

TEST_F(LogTest, WritesTwentyAtOnceAndThenOneASecond)
{
    write(Topic::Rejected, 500, "rejected: x");
    EXPECT_EQ(taken(), std::vector<std::string>(20, "rejected: x"));
    now += 999ms;
    write(Topic::Rejected, 3, "rejected: y");
    EXPECT_EQ(taken(), std::vector<std::string>{});
    now += 1ms;
    write(Topic::Rejected, 3, "rejected: z");
    EXPECT_EQ(taken(), (std::vector<std::string>{"rejected: 483 more such lines", "rejected: z"}));
}

TEST_F(LogTest, CutsEachTopicByItself)
{
    write(Topic::Rejected, 100, "rejected: x");
    write(Topic::Connection, 2, "a client");
    write(Topic::Fault, 150, "fault");
    EXPECT_EQ(taken().size(), 20u + 2 + 100);
}

TEST_F(LogTest, AQuietTimeMakesRoomAgain)
{
    write(Topic::Lost, 20, "lost");
    now += 20s;
    write(Topic::Lost, 21, "lost");
    EXPECT_EQ(taken().size(), 40u);
}

TEST_F(LogTest, TellsWhatWasLeftOutWhenTheFloodIsOver)
{
    write(Topic::Elsewhere, 25, "not for a station here");
    taken();
    log.advance(now + 999ms);
    EXPECT_EQ(taken(), std::vector<std::string>{});
    log.advance(now + 1s);
    EXPECT_EQ(taken(), std::vector<std::string>{"not for a station here: 5 more such lines"});
    log.advance(now + 2s);
    EXPECT_EQ(taken(), std::vector<std::string>{});
}

TEST_F(LogTest, TellsWhatWasLeftOutAtTheEnd)
{
    write(Topic::Connection, 21, "a client");
    taken();
    log.flush();
    log.flush();
    EXPECT_EQ(taken(), std::vector<std::string>{"connections: 1 more such lines"});
}

TEST_F(LogTest, WhatTheLevelLeavesOutIsNotCounted)
{
    write(Topic::Frame, 10000, "<- 01");
    log.flush();
    EXPECT_EQ(taken(), std::vector<std::string>{});
}

// Five minutes of a client that keeps sending what is refused, a hundred times a second.
TEST_F(LogTest, AFloodOfRejectedRequestsFillsNoDisk)
{
    Simulation simulation = {
        Controller({1}, Memory(Motion({1}, {}, Values::Still, 1))), FaultChooser({}, 1), log, {}};
    Conversation conversation(simulation, LineTimes());
    const Bytes refused = sealed("01 FF 01 06 01 05 00 00 2A"); // area 8 is read-only
    const unsigned seconds = 300, perSecond = 100;
    for (unsigned i = 0; i < seconds * perSecond; ++i, now += 10ms)
        conversation.receive(refused, now);
    simulation.log.flush();
    EXPECT_EQ(simulation.counters.rejected, seconds * perSecond);
    std::uint64_t shown = 0;
    for (const std::string &line : lines)
        shown += line.rfind("rejected: write to area 8", 0) == 0;
    EXPECT_EQ(shown, 20u + seconds - 1);
    EXPECT_EQ(shown + leftOut(lines), simulation.counters.rejected);
    EXPECT_LE(lines.size(), 20u + 2 * seconds);
}
