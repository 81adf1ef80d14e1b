#include "sim/memory.h"

#include <gtest/gtest.h>

#include <set>

using namespace fgssim;

namespace
{

const Area &area(int number)
{
    return areas()[std::size_t(number)];
}

std::vector<std::int64_t> ramp(std::int64_t from, std::int64_t to, std::int64_t step, unsigned ticks)
{
    std::vector<std::int64_t> values;
    for (unsigned tick = 0; tick < ticks; ++tick)
        values.push_back(valueAt({Course::Shape::Ramp, from, to, step}, tick));
    return values;
}

Motion motionOf(const std::vector<Range> &ranges, std::uint64_t seed = 1)
{
    return Motion({1, 2}, ranges, Values::Still, seed);
}

} // namespace

TEST(Course, RampGoesUpOrDownAndStartsAgain)
{
    EXPECT_EQ(ramp(10, 14, 2, 5), (std::vector<std::int64_t>{10, 12, 14, 10, 12}));
    EXPECT_EQ(ramp(10, 13, 2, 4), (std::vector<std::int64_t>{10, 12, 10, 12}));
    EXPECT_EQ(ramp(1, -1, 1, 4), (std::vector<std::int64_t>{1, 0, -1, 1}));
    EXPECT_EQ(ramp(5, 5, 3, 2), (std::vector<std::int64_t>{5, 5}));
}

TEST(Course, WalkStaysInsideAndKeepsItsStep)
{
    const Course course = {Course::Shape::Walk, 100, -20, 7};
    Random random(5, 0);
    std::int64_t value = startOfWalk(course, random);
    std::set<std::int64_t> seen;
    for (int i = 0; i < 2000; ++i) {
        SCOPED_TRACE(i);
        const std::int64_t next = nextOfWalk(course, value, random);
        EXPECT_LE(std::abs(next - value), 7);
        EXPECT_GE(next, -20);
        EXPECT_LE(next, 100);
        seen.insert(value = next);
    }
    EXPECT_GT(seen.size(), 50u);
}

TEST(Motion, RangesCoverTheirAddressesAndStations)
{
    const Motion motion = motionOf({{{&area(5), 100, 3, {}}, {Course::Shape::Fixed, 7, 7, 1}},
                                    {{&area(5), 101, 1, 2u}, {Course::Shape::Fixed, 9, 9, 1}}});
    EXPECT_EQ(motion.value(1, area(5), 99), 0u);
    EXPECT_EQ(motion.value(1, area(5), 100), 7u);
    EXPECT_EQ(motion.value(1, area(5), 102), 7u);
    EXPECT_EQ(motion.value(1, area(5), 103), 0u);
    EXPECT_EQ(motion.value(1, area(5), 101), 7u);
    EXPECT_EQ(motion.value(2, area(5), 101), 9u);
    EXPECT_EQ(motion.value(2, area(6), 101), 0u);
}

TEST(Motion, NegativeValuesAreCutToTheWidth)
{
    const Motion motion = motionOf({{{&area(5), 0, 1, {}}, {Course::Shape::Fixed, -2, -2, 1}},
                                    {{&area(10), 0, 1, {}}, {Course::Shape::Fixed, -2, -2, 1}}});
    EXPECT_EQ(motion.value(1, area(5), 0), 0xFFFEu);
    EXPECT_EQ(motion.value(1, area(10), 0), 0xFFFFFFFEu);
}

TEST(Motion, RampsMoveWithTheTicks)
{
    Motion motion = motionOf({{{&area(1), 0, 1, {}}, {Course::Shape::Ramp, 0, 1, 1}}});
    for (unsigned tick = 0; tick < 5; ++tick, motion.tick())
        EXPECT_EQ(motion.value(1, area(1), 0), tick % 2) << tick;
}

TEST(Motion, TheSeedDecidesTheWalks)
{
    const std::vector<Range> ranges = {{{&area(5), 0, 50, {}}, {Course::Shape::Walk, 0, 60000, 100}}};
    const auto run = [&](std::uint64_t seed) {
        Motion motion = motionOf(ranges, seed);
        for (int i = 0; i < 20; ++i)
            motion.tick();
        std::vector<std::uint32_t> values;
        for (unsigned address = 0; address < 50; ++address)
            values.push_back(motion.value(2, area(5), address));
        return values;
    };
    EXPECT_EQ(run(3), run(3));
    EXPECT_NE(run(3), run(4));
    const std::vector<std::uint32_t> values = run(3);
    EXPECT_GT(std::set<std::uint32_t>(values.begin(), values.end()).size(), 40u);
}

TEST(Background, StillIsZero)
{
    Background background(Values::Still, 1);
    background.tick();
    EXPECT_EQ(background.value(1, area(5), 12), 0u);
}

TEST(Background, MovingIsAsDescribed)
{
    Background background(Values::Moving, 1);
    for (unsigned tick = 0; tick < 40; ++tick, background.tick()) {
        SCOPED_TRACE(tick);
        EXPECT_EQ(background.value(1, area(2), 3), (3 + tick) % 16 < 8);
        EXPECT_EQ(background.value(2, area(5), 990), (990 + 200 + tick) % 1000);
        EXPECT_LE(background.value(2, area(10), 991), 1000u);
    }
}

TEST(Background, MovingWalksMove)
{
    Background background(Values::Moving, 1);
    const std::uint32_t before = background.value(1, area(5), 101);
    std::set<std::uint32_t> seen;
    for (int i = 0; i < 50; ++i, background.tick())
        seen.insert(background.value(1, area(5), 101));
    EXPECT_EQ(seen.count(before), 1u);
    EXPECT_GT(seen.size(), 5u);
}

// Values worked out with another program.
TEST(Background, PatternValues)
{
    EXPECT_EQ(patternValue(1, area(5), 0), 0x1175u);
    EXPECT_EQ(patternValue(1, area(5), 1), 0xAFACu);
    EXPECT_EQ(patternValue(1, area(5), 100), 0xDF20u);
    EXPECT_EQ(patternValue(2, area(5), 100), 0x9020u);
    EXPECT_EQ(patternValue(1, area(10), 7), 0xC56E53D7u);
    EXPECT_EQ(patternValue(255, area(13), 65535), 0x5876u);
    EXPECT_EQ(patternValue(1, area(1), 0), 0u);
    EXPECT_EQ(patternValue(1, area(1), 1), 1u);
}

TEST(Background, PatternTellsNeighboursApart)
{
    for (unsigned address = 0; address < 1000; ++address) {
        SCOPED_TRACE(address);
        const std::uint32_t value = patternValue(1, area(5), address);
        EXPECT_NE(value, patternValue(1, area(5), address + 1));
        EXPECT_NE(value, patternValue(2, area(5), address));
        EXPECT_NE(value, patternValue(1, area(6), address));
    }
}

TEST(Memory, StoredValuesStayAndOthersMove)
{
    Memory memory(Motion({1}, {}, Values::Moving, 1));
    memory.store(1, area(5), 1024, 5);
    memory.store(1, area(5), 65535, 6);
    memory.tick();
    EXPECT_EQ(memory.value(1, area(5), 1024), 5u);
    EXPECT_EQ(memory.value(1, area(5), 65535), 6u);
    EXPECT_EQ(memory.value(1, area(5), 1026), (1026u + 100 + 1) % 1000);
    EXPECT_EQ(memory.value(1, area(5), 0), 101u);
}
