// The wishes that a host hands to the driver, and the blocks that the driver makes of them.
#include "host/plan.h"
#include "support/fixture.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>

using namespace fgs;

namespace
{

std::vector<Variable> parse(std::initializer_list<const char *> texts)
{
    std::vector<Variable> variables;
    for (const char *text : texts)
        variables.push_back(parseVariable(QString::fromLatin1(text)));
    return variables;
}

/// "1/5:100+4": station, area, address as text, length.
std::string wishesOf(std::initializer_list<const char *> texts, int blockWords = DefaultBlockWords)
{
    const std::vector<Variable> variables = parse(texts);
    std::string all;
    for (const HOST_VAR &wish : cyclicWishes(variables, storageFor(variables, blockWords)))
        all += (all.empty() ? "" : " ") + std::to_string(wish.station) + "/" + std::to_string(wish.areaType) + ":" +
               wish.address.toStdString() + "+" + std::to_string(wish.length);
    return all;
}

TEST(Wishes, AWordIsAskedForWithTheOneBelowSoThatNoEchoPassesForItsReply)
{
    EXPECT_EQ(wishesOf({"5:100"}), "1/5:99+2");
    EXPECT_EQ(wishesOf({"5:0"}), "1/5:0+2");
    EXPECT_EQ(wishesOf({"12:7"}), "1/12:6+2");
    EXPECT_EQ(wishesOf({"5:100x2"}), "1/5:100+2");
}

TEST(Wishes, BitsAreAskedForInWholeBytesAndAtLeastThree)
{
    EXPECT_EQ(wishesOf({"2:40"}), "1/2:24+24");
    EXPECT_EQ(wishesOf({"2:3"}), "1/2:0+24");
    EXPECT_EQ(wishesOf({"2:7x20"}), "1/2:0+32");
}

TEST(Wishes, AddressesAreInTheBaseOfTheArea)
{
    EXPECT_EQ(wishesOf({"0:100x24"}), "1/0:100+24"); // bit 64
    EXPECT_EQ(wishesOf({"2:64x24"}), "1/2:64+24");
}

TEST(Wishes, DoubleWordsAskForOneMore)
{
    EXPECT_EQ(wishesOf({"10:5"}), "1/10:5+2");
    EXPECT_EQ(wishesOf({"10:5x7"}), "1/10:5+8");
}

TEST(Wishes, NoneIsLongerThanABlock)
{
    EXPECT_EQ(wishesOf({"5:0x100"}, 32), "1/5:0+32 1/5:32+32 1/5:64+32 1/5:96+4");
    EXPECT_EQ(wishesOf({"5:0x65"}, 32), "1/5:0+32 1/5:32+32 1/5:63+2"); // the rest is widened
    EXPECT_EQ(wishesOf({"10:0x40"}, 32), "1/10:0+16 1/10:15+16 1/10:30+11");
    EXPECT_EQ(wishesOf({"2:0x500"}), "1/2:0+248 1/2:248+248 1/2:480+24");
}

TEST(Wishes, BitsAreJoinedUpToABlock)
{
    EXPECT_EQ(wishesOf({"2:0x8", "2:240x8"}), "1/2:0+248");
    EXPECT_EQ(wishesOf({"2:0x24", "2:248x8"}), "1/2:0+24 1/2:232+24");
    EXPECT_EQ(wishesOf({"2:100x50", "2:96x8"}), "1/2:80+72");
}

TEST(Wishes, PerStationTheListEndsWithAWordThatReadsNothing)
{
    EXPECT_EQ(wishesOf({"2:0x24@1", "2:0x24@2"}), "1/2:0+24 2/2:0+24 2/5:0+0");
    EXPECT_EQ(wishesOf({"5:0x2@2", "2:0x24@1"}), "1/2:0+24 2/5:0+2 2/5:0+0");
}

TEST(Wishes, Station0CannotBeRead)
{
    EXPECT_EQ(wishesOf({"5:0x2@0"}), "");
    EXPECT_EQ(wishesOf({}), "");
}

TEST(Wishes, GoRoundFromWhatWasAskedForLongestAgo)
{
    const std::vector<Variable> variables = parse({"5:0x2@1", "5:200x2@1", "5:0x2@4", "5:0x2@7"});
    const auto blocks = [&variables](const std::vector<Time> &asked) {
        const auto askedAt = [&asked](const Span &block) {
            return asked[block.first ? 1 : block.station == 1 ? 0 : block.station == 4 ? 2 : 3];
        };
        std::string all;
        for (const HOST_VAR &wish : cyclicWishes(variables, storageFor(variables), askedAt))
            all += wish.length ? " " + std::to_string(wish.station) + ":" + wish.address.toStdString() : "";
        return all;
    };
    EXPECT_EQ(blocks({0s, 0s, 0s, 0s}), " 1:0 1:200 4:0 7:0");
    EXPECT_EQ(blocks({2s, 1s, 1s, 1s}), " 1:200 4:0 7:0 1:0");
    EXPECT_EQ(blocks({4s, 4s, 3s, 5s}), " 4:0 7:0 1:0 1:200");
    EXPECT_EQ(blocks({4s, 4s, 4s, 3s}), " 7:0 1:0 1:200 4:0");
}

TEST(StorageChoice, FollowsStationsCapacitiesAndKinds)
{
    EXPECT_FALSE(storageFor(parse({"5:0@7", "2:11999@7"})).perStation);
    EXPECT_EQ(storageFor(parse({"5:0@7"})).station, 7);
    EXPECT_TRUE(storageFor(parse({"5:0@7", "5:0@8"})).perStation);
    EXPECT_TRUE(storageFor(parse({"12:7x2"})).perStation);
    EXPECT_FALSE(storageFor(parse({"12:0x8"})).perStation);
    EXPECT_TRUE(storageFor(parse({"11:1120"})).perStation);

    EXPECT_EQ(storageFor(parse({"5:0"}), 255).blockWords, 255);
    EXPECT_EQ(storageFor(parse({"5:0"}), 1000).blockWords, 255);
    EXPECT_EQ(storageFor(parse({"5:0"}), 1).blockWords, MinBlockWords);
    EXPECT_EQ(storageFor(parse({"5:0", "2:0"}), 255).blockWords, MaxBitBytes);
    EXPECT_EQ(storageFor(parse({"5:0", "2:0"}), 8).blockWords, 8);
}

TEST(OnceWishes, AreTheBitsOnly)
{
    const std::vector<Variable> variables = parse({"5:0x2", "2:40", "10:0", "0:100x24@2"});
    const std::vector<RW_VAR> wishes = onceWishes(variables, storageFor(variables));
    ASSERT_EQ(wishes.size(), 2u);
    EXPECT_EQ(wishes[0].areaType, 2);
    EXPECT_EQ(wishes[0].addressText, QStringLiteral("24"));
    EXPECT_EQ(wishes[0].length, 24);
    EXPECT_EQ(wishes[0].station, 1);
    EXPECT_EQ(wishes[0].hostAddr, 0);
    EXPECT_EQ(wishes[1].areaType, 0);
    EXPECT_EQ(wishes[1].addressText, QStringLiteral("100"));
    EXPECT_EQ(wishes[1].station, 2);
    EXPECT_EQ(wishes[1].hostAddr, 1);
}

TEST(ExactBlocks, AreJoinedButNotAcrossABarrier)
{
    const Spans wanted = {{1, 5, 0, 4}, {1, 5, 10, 14}, {1, 5, 100, 300}, {1, 6, 0, 1}};
    EXPECT_EQ(
        exactBlocks(wanted, {}, 64),
        (Spans{
            {1, 5, 0, 14}, {1, 5, 100, 164}, {1, 5, 164, 228}, {1, 5, 228, 292}, {1, 5, 292, 300}, {1, 6, 0, 1}}));
    EXPECT_EQ(exactBlocks({wanted[0], wanted[1]}, {{1, 5, 6, 7}}, 64), (Spans{{1, 5, 0, 4}, {1, 5, 10, 14}}));
}

TEST(ExactBlocks, KeepWhatFitsIntoOneWhole)
{
    EXPECT_EQ(exactBlocks({{1, 5, 0, 3}, {1, 5, 3, 5}, {1, 5, 4, 5}}, {}, 4), (Spans{{1, 5, 0, 3}, {1, 5, 3, 5}}));
    EXPECT_EQ(exactBlocks({{1, 5, 0, 3}, {1, 5, 1, 2}, {1, 5, 2, 4}}, {}, 4), (Spans{{1, 5, 0, 4}}));
    EXPECT_EQ(exactBlocks({{1, 5, 7, 15}}, {}, 5), (Spans{{1, 5, 7, 11}, {1, 5, 11, 15}}));
}

/// Whether every pair of words from the first on is in one of the blocks.
bool areWhole(const Spans &blocks, const Span &variable)
{
    for (int first = variable.first; first < variable.end; first += 2)
        if (std::none_of(blocks.begin(), blocks.end(),
                         [first](const Span &block) { return block.first <= first && first + 2 <= block.end; }))
            return false;
    return true;
}

TEST(ValuesOverTwoWords, AreNeverTornBetweenBlocks)
{
    for (int block = MinBlockWords; block <= MaxBlockWords; ++block)
        for (const char *text : {"5:0x250", "5:3x700", "5:3x4", "5:1x6000"}) {
            const std::vector<Variable> variables = parse({"5:0x3", text, "5:9000"});
            const Storage storage = storageFor(variables, block);
            Spans wishes;
            for (const HOST_VAR &wish : cyclicWishes(variables, storage))
                wishes.push_back({1, 5, wish.address.toInt(), wish.address.toInt() + wish.length});
            EXPECT_TRUE(areWhole(wishes, spanOf(variables[1]))) << text << " in blocks of " << block;
            EXPECT_TRUE(areWhole(exactBlocks({spanOf(variables[0]), spanOf(variables[1])}, {}, block),
                                 spanOf(variables[1])))
                << text << " in exact blocks of " << block;
        }
}

TEST(ExactBlocks, AreWidenedAwayFromBarriers)
{
    EXPECT_EQ(widenedAway({1, 5, 100, 101}, {}), (Span{1, 5, 99, 101}));
    EXPECT_EQ(widenedAway({1, 5, 100, 101}, {{1, 5, 99, 100}}), (Span{1, 5, 100, 102}));
    EXPECT_EQ(widenedAway({1, 5, 100, 101}, {{1, 5, 99, 100}, {1, 5, 101, 102}}), (Span{1, 5, 100, 101}));
    EXPECT_EQ(widenedAway({1, 5, 0, 1}, {}), (Span{1, 5, 0, 2}));
    EXPECT_EQ(widenedAway({1, 5, 65535, 65536}, {{1, 5, 65534, 65535}}), (Span{1, 5, 65535, 65536}));
    EXPECT_EQ(widenedAway({1, 2, 7, 8}, {}), (Span{1, 2, 5, 8}));
    EXPECT_EQ(widenedAway({1, 10, 7, 8}, {}), (Span{1, 10, 7, 8}));
}

TEST(Samples, AreAnotherPartEachTime)
{
    const Spans wanted = {{1, 5, 0, 100}, {1, 5, 500, 501}};
    EXPECT_EQ(sampleOf(wanted, 0), (Span{1, 5, 0, 2}));
    EXPECT_EQ(sampleOf(wanted, 1), (Span{1, 5, 500, 502}));
    EXPECT_EQ(sampleOf(wanted, 2), (Span{1, 5, 98, 100}));
    EXPECT_EQ(sampleOf(wanted, 3), (Span{1, 5, 499, 501}));
    std::set<int> starts;
    for (int i = 0; i < 200; i += 2)
        starts.insert(sampleOf(wanted, i).first);
    EXPECT_GE(starts.size(), 80u);
}

TEST(Requests, AreSharedBySixNeighboursOfAStation)
{
    std::vector<RW_VAR> blocks;
    for (int i = 0; i < 7; ++i)
        blocks.push_back(exactBlock({1, 5, 100 * i, 100 * i + 2}));
    EXPECT_EQ(requestsFor({}), 0);
    EXPECT_EQ(requestsFor(blocks), 2);
    blocks.push_back(exactBlock({2, 5, 0, 2}));
    EXPECT_EQ(requestsFor(blocks), 3);
}

// ---- what the driver makes of them

using Place = std::pair<int, int>; // station, area

class Blocks : public DriverTest
{
protected:
    void list(const std::vector<Variable> &variables, int blockWords)
    {
        const Storage storage = storageFor(variables, blockWords);
        settings.blockWords = storage.blockWords;
        settings.stationMode = storage.perStation;
        settings.defaultStation = storage.station;
        QList<HOST_VAR> wishes = cyclicWishes(variables, storage);
        ReCreatReadVarList(&wishes);
    }

    static bool isBits(int area) { return areaOf(area)->kind == AreaKind::Bit; }

    /// Addresses that a block reads.
    static int read(const RW_VAR &block)
    {
        const AreaKind kind = areaOf(block.areaType)->kind;
        return kind == AreaKind::Bit ? 8 * block.length : kind == AreaKind::Word ? block.length : block.length - 1;
    }

    /// Fails unless the cyclic list covers the variables within the limits of the frames.
    void check(const std::vector<Variable> &variables) const
    {
        std::map<Place, std::set<int>> covered;
        std::map<Place, int> ends;
        for (const Variable &variable : variables) {
            const int unit = isBits(variable.area) ? 8 : 1, end = variable.address + variable.count;
            int &highest = ends[{variable.station, variable.area}];
            highest = std::max({highest, (end + unit - 1) / unit * unit, isBits(variable.area) ? 24 : 2});
        }
        for (const RW_VAR &block : PLC_driver.ReadVarList) {
            SCOPED_TRACE(block.address);
            const Place place(block.station, block.areaType);
            ASSERT_EQ(ends.count(place), 1u) << "nobody wants " << block.station << "/" << block.areaType;
            ASSERT_LE(block.address + read(block), ends[place]) << "area " << block.areaType;
            ASSERT_GE(block.address, 0);
            ASSERT_LE(read(block), isBits(block.areaType) ? 248 : 255);
            ASSERT_NE(dataBytes(block), 2) << "an echo would pass";
            for (int i = 0; i < read(block); ++i)
                covered[place].insert(block.address + i);
        }
        for (const Variable &variable : variables)
            for (int i = 0; i < variable.count; ++i)
                ASSERT_EQ(covered[Place(variable.station, variable.area)].count(variable.address + i), 1u)
                    << textOf(variable).toStdString() << " lacks address " << variable.address + i;
    }

    static int dataBytes(const RW_VAR &block)
    {
        const AreaKind kind = areaOf(block.areaType)->kind;
        return kind == AreaKind::Bit    ? block.length
               : kind == AreaKind::Word ? 2 * block.length
                                        : 4 * (block.length - 1);
    }
};

TEST_F(Blocks, CoverBitsAtTheEndOfAnAreaWithoutReadingPastIt)
{
    // Merged by the rule of words, bytes 136 and 139 of area 11 would become 25 bytes.
    const std::vector<Variable> variables = parse({"11:1088@1", "11:1112x8@1", "5:0@2"});
    list(variables, 64);
    check(variables);
}

TEST_F(Blocks, CoverBitsOfSeveralStationsWithoutAWordAmongThem)
{
    const std::vector<Variable> variables = parse({"2:0x400@1", "3:5@2", "2:100x30@1", "0:17@2"});
    list(variables, 64);
    check(variables);
}

TEST_F(Blocks, CoverAVariableOfManyBlocks)
{
    for (int blockWords : {4, 5, 31, 64, 255}) {
        const std::vector<Variable> variables = parse({"5:3x2000", "10:7x200", "2:9x3001", "12:0x8"});
        list(variables, blockWords);
        check(variables);
    }
}

class RandomBlocks : public Blocks, public ::testing::WithParamInterface<int>
{
protected:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }

    Variable randomVariable(int stations, bool inside)
    {
        Variable variable;
        variable.area = below(AreaCount);
        const int size = inside ? areaOf(variable.area)->capacity : below(4) ? 600 : AddressCount;
        variable.address = below(size);
        variable.count = 1 + below(std::min(size - variable.address, below(3) ? 12 : 700));
        variable.station = 1 + below(stations);
        return variable;
    }

    std::mt19937 random{unsigned(GetParam())};
};

TEST_P(RandomBlocks, CoverEveryWishWithinTheLimits)
{
    for (int set = 0; set < 150 && !HasFatalFailure(); ++set) {
        const int stations = 1 + below(4) * below(2);
        const bool inside = below(2);
        std::vector<Variable> variables;
        for (int count = 1 + below(20); count > 0; --count)
            variables.push_back(randomVariable(stations, inside));
        list(variables, 4 + below(252));
        check(variables);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomBlocks, ::testing::Range(1, 9));

} // namespace
