// What a controller answers from a recording, and when.
#include "sim/conversation.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

const Bytes Read = bytes("01 FE 01 08 01 64 00 5A BE");
const Bytes OtherRead = sealed("01 FE 01 08 02 65 00");
const Bytes First = sealed("01 FE 01 08 01 00 01");
const Bytes Second = sealed("01 FE 01 08 01 00 02");
const Bytes Other = sealed("01 FE 01 08 02 00 03 00 04");
const Bytes Noise = bytes("55 55 55");

RecordedBytes sent(Time time, const Bytes &data, const std::string &line = "line")
{
    return {line, time, false, data};
}
RecordedBytes received(Time time, const Bytes &data, const std::string &line = "line")
{
    return {line, time, true, data};
}

/// As the other side recorded it.
std::vector<RecordedBytes> mirrored(std::vector<RecordedBytes> recording)
{
    for (RecordedBytes &each : recording)
        each.isInbound = !each.isInbound;
    return recording;
}

/// A late answer, noise behind an answer, silence.
const std::vector<RecordedBytes> Recording = {received(1s, Noise),
                                              sent(10s, Read),
                                              received(10s + 700ms, First),
                                              sent(12s, OtherRead),
                                              received(12s + 20ms, Other),
                                              received(12s + 30ms, Noise),
                                              sent(13s, Read),
                                              received(14s, {}),
                                              sent(15s, Read),
                                              received(15s + 5ms, Second)};

class ReplayTest : public ::testing::Test
{
protected:
    void start(const std::vector<RecordedBytes> &recording, bool inTime)
    {
        simulation.emplace(Simulation{Controller({1}, Memory(Motion({1}, {}, Values::Still, 1))),
                                      FaultChooser({}, 1),
                                      Log(Log::Level::Quiet, {}),
                                      {},
                                      {},
                                      Replay(recording, inTime)});
        conversation.emplace(*simulation, LineTimes());
    }
    Bytes ask(const Bytes &request)
    {
        conversation->receive(request, now);
        return conversation->takeDue(now);
    }
    Bytes after(Time time)
    {
        now += time;
        conversation->advance(now);
        return conversation->takeDue(now);
    }
    const Replay::Counters &counters() const { return simulation->replay->counters(); }

    std::optional<Simulation> simulation;
    std::optional<Conversation> conversation;
    Time now{0};
};

} // namespace

TEST_F(ReplayTest, AnswersTheNthTimeAsItWasAnsweredTheNthTime)
{
    start(Recording, false);
    EXPECT_EQ(ask(Read), First);
    EXPECT_EQ(ask(Read), Bytes());
    Bytes both = Other;
    both.insert(both.end(), Noise.begin(), Noise.end());
    EXPECT_EQ(ask(OtherRead), both) << "whenever it comes: each request counts for itself";
    EXPECT_EQ(ask(Read), Second);
    EXPECT_EQ(counters().answered, 4u);
    EXPECT_EQ(counters().again, 0u);
}

TEST_F(ReplayTest, BeginsAnewAfterTheLastTime)
{
    start(Recording, false);
    for (const Bytes &answer : {First, Bytes(), Second, First})
        EXPECT_EQ(ask(Read), answer);
    EXPECT_EQ(counters().again, 1u);
}

TEST_F(ReplayTest, TakesTheTimesOfTheRecording)
{
    start(Recording, true);
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(after(699ms), Bytes());
    EXPECT_EQ(after(1ms), First);
    EXPECT_EQ(ask(OtherRead), Bytes());
    EXPECT_EQ(after(20ms), Other);
    EXPECT_EQ(after(9ms), Bytes());
    EXPECT_EQ(after(1ms), Noise);
}

TEST_F(ReplayTest, IsTheSameFromEitherSide)
{
    start(mirrored(Recording), false);
    EXPECT_EQ(ask(Read), First);
    EXPECT_EQ(ask(Read), Bytes());
    EXPECT_EQ(ask(Read), Second);
}

TEST_F(ReplayTest, TakesAnAnswerThatLooksLikeItsRequestForAnAnswer)
{
    const Bytes request = sealed("01 FE 01 08 01 64 00"), answer = sealed("01 FE 01 08 01 12 34");
    start({sent(1s, request), received(1s, answer)}, false);
    EXPECT_EQ(ask(request), answer);
    EXPECT_EQ(ask(answer), Bytes());
    EXPECT_EQ(counters().unknown, 1u);
}

TEST_F(ReplayTest, KeepsLinesApart)
{
    start({sent(1s, Read, "a"), sent(1s, OtherRead, "b"), received(2s, First, "a"), received(2s, Other, "b")},
          false);
    EXPECT_EQ(ask(OtherRead), Other);
    EXPECT_EQ(ask(Read), First);
}

TEST_F(ReplayTest, IsSilentToWhatItDoesNotHaveAndCountsIt)
{
    start(Recording, false);
    EXPECT_EQ(ask(sealed("01 FF 01 08 01 64 00 12 34")), Bytes());
    EXPECT_EQ(ask(Noise), Bytes());
    EXPECT_EQ(after(200ms), Bytes());
    EXPECT_EQ(counters().unknown, 1u) << "noise is no request";
    EXPECT_EQ(simulation->counters.rejected, 2u);
    EXPECT_EQ(ask(Read), First);
    EXPECT_EQ(summary(counters()), "answered as recorded 1, not in the recording 1, begun anew 0");
}

TEST_F(ReplayTest, AnswersRemoteFramesThatItHas)
{
    const Bytes read = bytes("16 00 00 01 03 00 05 00 00 00 64 00 04 FF FF FF FF 00 00 00 00 83");
    const Bytes other = bytes("16 00 00 01 04 00 05 00 00 00 64 00 04 FF FF FF FF 00 00 00 00 84");
    const Bytes reply = sealed("03 52 01 00 01 00 02 00 03 00 04");
    start({sent(1s, read), received(1s + 5ms, reply), sent(2s, read), received(2s + 5ms, Noise)}, false);
    EXPECT_EQ(ask(read), reply);
    EXPECT_EQ(ask(other), Bytes());
    EXPECT_EQ(ask(read), Noise);
    EXPECT_EQ(counters().answered, 2u);
    EXPECT_EQ(counters().unknown, 1u);
}

TEST(EmptyReplay, HasNoRequests)
{
    EXPECT_EQ(Replay({}, true).requests(), 0u);
    EXPECT_EQ(Replay({received(1s, Noise), sent(2s, {})}, true).requests(), 0u);
    EXPECT_EQ(Replay(Recording, true).requests(), 4u);
}
