#include "sim/crc.h"
#include "sim/random_faults.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

#include <set>

using namespace fgssim;

namespace
{

const Bytes ReadReply = bytes("01 FE 02 08 04 00 11 00 12 00 13 12 34 01 10 05 80 72 AF");
const Bytes Acknowledgement = bytes("05 FF 20");
const int Tries = 500;

int differingBits(const Bytes &left, const Bytes &right)
{
    int count = 0;
    for (std::size_t bit = 0; bit < left.size() * 8; ++bit)
        count += ((left[bit / 8] ^ right[bit / 8]) >> bit % 8) & 1;
    return count;
}

class Damage : public testing::TestWithParam<Bytes>
{
protected:
    const Bytes good = GetParam();
    FaultChooser faults{{}, 1};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Replies, Damage, testing::Values(ReadReply, Acknowledgement), [](const auto &row) {
    return row.param.size() == 3 ? std::string("Acknowledgement") : std::string("ReadReply");
});

TEST_P(Damage, SilenceAndLateLeaveTheBytes)
{
    EXPECT_EQ(faults.damage(RandomFault::Silence, good), good);
    EXPECT_EQ(faults.damage(RandomFault::Late, good), good);
}

TEST_P(Damage, CrcFlipsOneBitSoThatTheCheckFails)
{
    for (int i = 0; i < Tries; ++i) {
        SCOPED_TRACE(i);
        const Bytes bad = faults.damage(RandomFault::Crc, good);
        ASSERT_EQ(bad.size(), good.size());
        EXPECT_EQ(differingBits(bad, good), 1);
        EXPECT_FALSE(bad.size() == 3 ? bad[1] == 0xFF && bad[2] == 0x20 : hasGoodCrc(bad));
    }
}

TEST_P(Damage, ShortIsABeginning)
{
    std::set<std::size_t> sizes;
    for (int i = 0; i < Tries; ++i) {
        SCOPED_TRACE(i);
        const Bytes bad = faults.damage(RandomFault::Short, good);
        sizes.insert(bad.size());
        EXPECT_EQ(bad, Slice(good).first(bad.size()).copy());
    }
    EXPECT_EQ(*sizes.begin(), 1u);
    EXPECT_EQ(*sizes.rbegin(), good.size() - 1);
}

TEST_P(Damage, LongStartsWithTheReply)
{
    std::set<std::size_t> extra;
    for (int i = 0; i < Tries; ++i) {
        SCOPED_TRACE(i);
        const Bytes bad = faults.damage(RandomFault::Long, good);
        EXPECT_EQ(Slice(bad).first(good.size()).copy(), good);
        extra.insert(bad.size() - good.size());
    }
    EXPECT_EQ(extra, (std::set<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_P(Damage, NoiseEndsWithTheReply)
{
    std::set<std::size_t> extra;
    for (int i = 0; i < Tries; ++i) {
        SCOPED_TRACE(i);
        const Bytes bad = faults.damage(RandomFault::Noise, good);
        EXPECT_EQ(Slice(bad).from(bad.size() - good.size()).copy(), good);
        extra.insert(bad.size() - good.size());
    }
    EXPECT_EQ(extra, (std::set<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(FaultChooser, WithoutRatesThereAreNone)
{
    FaultChooser faults({}, 1);
    for (int i = 0; i < Tries; ++i)
        EXPECT_FALSE(faults.choose()) << i;
}

TEST(FaultChooser, HundredPercentHitsAlways)
{
    for (std::size_t kind = 0; kind < FaultKinds; ++kind) {
        SCOPED_TRACE(kind);
        FaultRates rates{};
        rates[kind] = 100;
        FaultChooser faults(rates, 1);
        for (int i = 0; i < Tries; ++i)
            EXPECT_EQ(faults.choose(), RandomFault(kind)) << i;
    }
}

// 20,000 draws: six standard deviations are about 2 percentage points at a rate of 30.
TEST(FaultChooser, KeepsTheRates)
{
    const FaultRates rates = {10, 5, 30, 0, 1, 4};
    FaultChooser faults(rates, 7);
    const int draws = 20000;
    std::array<int, FaultKinds> hits{};
    int good = 0;
    for (int i = 0; i < draws; ++i) {
        const std::optional<RandomFault> fault = faults.choose();
        ++(fault ? hits[std::size_t(*fault)] : good);
    }
    for (std::size_t kind = 0; kind < FaultKinds; ++kind)
        EXPECT_NEAR(100.0 * hits[kind] / draws, rates[kind], 2.0) << FaultNames[kind];
    EXPECT_NEAR(100.0 * good / draws, 50, 2.5);
    EXPECT_EQ(hits[std::size_t(RandomFault::Short)], 0);
}

TEST(FaultChooser, TheSeedDecides)
{
    const auto run = [](std::uint64_t seed) {
        FaultChooser faults({10, 10, 10, 10, 10, 10}, seed);
        std::string text;
        for (int i = 0; i < 100; ++i) {
            const std::optional<RandomFault> fault = faults.choose();
            text += fault ? hex(faults.damage(*fault, ReadReply)) : "-";
        }
        return text;
    };
    EXPECT_EQ(run(1), run(1));
    EXPECT_NE(run(1), run(2));
}
