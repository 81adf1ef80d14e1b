// WordVarReCreat and BitVarReCreat: neighbouring variables become blocks of the cyclic list.
#include "lists/blocks.h"

#include <climits>

namespace
{

struct Place {
    int address, length;
};

struct Merge {
    const char *what;
    std::vector<Place> places;
    int limit;
    const char *blocks;
};

void PrintTo(const Merge &row, std::ostream *out)
{
    *out << row.what;
}

QList<RW_VAR> variablesAt(int areaType, const std::vector<Place> &places)
{
    QList<RW_VAR> list;
    for (const Place &place : places)
        list.append(variable(areaType, place.address, place.length));
    return list;
}

class WordMerge : public DriverTest, public ::testing::WithParamInterface<Merge>
{
};

TEST_P(WordMerge, GivesTheseBlocks)
{
    QList<RW_VAR> list = variablesAt(5, GetParam().places);
    const int count = WordVarReCreat(&list, GetParam().limit, 0);
    EXPECT_EQ(count, int(PLC_driver.ReadVarList.size()));
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), GetParam().blocks);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, WordMerge,
    ::testing::Values(
        Merge{"a single variable is a block", {{100, 4}}, 32, "5@100+4"},
        Merge{"a span equal to the limit is joined", {{0, 2}, {30, 2}}, 32, "5@0+32"},
        Merge{"a span one above the limit is not", {{0, 2}, {31, 2}}, 32, "5@0+2 5@31+2"},
        Merge{"the span counts from the block's start",
              {{100, 1}, {120, 1}, {131, 1}, {132, 1}},
              32,
              "5@100+32 5@132+1"},
        Merge{"a gap of any size is bridged", {{0, 1}, {999, 1}}, 1000, "5@0+1000"},
        Merge{"a variable inside adds nothing", {{0, 10}, {2, 3}, {9, 1}}, 32, "5@0+10"},
        Merge{"the same variable twice is one", {{7, 3}, {7, 3}}, 32, "5@7+3"},
        Merge{"one that ends beyond lengthens the block", {{0, 10}, {8, 6}}, 32, "5@0+14"},
        Merge{"one that ends beyond the limit starts a block", {{0, 10}, {8, 6}}, 13, "5@0+10 5@8+6"},
        Merge{"a new block has its own start", {{0, 2}, {40, 2}, {60, 12}, {70, 2}}, 32, "5@0+2 5@40+32"},
        Merge{"a long variable stays whole", {{0, 50}}, 32, "5@0+50"},
        Merge{"inside a long variable is inside", {{0, 50}, {10, 40}}, 32, "5@0+50"},
        Merge{"a long variable is not lengthened", {{0, 50}, {50, 1}}, 32, "5@0+50 5@50+1"},
        Merge{"a long variable behind a short one is a block", {{0, 1}, {1, 50}}, 32, "5@0+1 5@1+50"},
        Merge{"a short one behind it is measured from there", {{0, 50}, {60, 2}, {90, 2}}, 32, "5@0+50 5@60+32"}));
INSTANTIATE_TEST_SUITE_P(
    LimitsBelowOne, WordMerge,
    ::testing::Values(
        Merge{"zero joins nothing", {{0, 2}, {2, 2}}, 0, "5@0+2 5@2+2"},
        Merge{"negative joins nothing", {{0, 2}, {2, 2}}, -5, "5@0+2 5@2+2"},
        Merge{"zero still drops what is inside", {{0, 4}, {1, 2}, {4, 1}}, 0, "5@0+4 5@4+1"},
        Merge{"the smallest still drops what is inside", {{0, 4}, {1, 3}}, INT_MIN, "5@0+4"},
        Merge{"zero joins empty variables of one place", {{0, 0}, {0, 0}}, 0, "5@0+0"},
        Merge{"zero joins what takes the end back", {{0, 0}, {5, -5}}, 0, "5@0+0"},
        Merge{"a span equal to a negative limit is joined", {{0, -3}, {0, -5}}, -5, "5@0+-5"},
        Merge{"a span one above a negative limit is not", {{0, -3}, {0, -4}}, -5, "5@0+-3 5@0+-4"},
        Merge{"a span equal to the smallest is joined", {{0, -3}, {0, INT_MIN}}, INT_MIN, "5@0+-2147483648"}));
INSTANTIATE_TEST_SUITE_P(
    OddLengths, WordMerge,
    ::testing::Values(
        Merge{"an empty variable at the end changes nothing", {{0, 4}, {4, 0}}, 32, "5@0+4"},
        Merge{"an empty variable stretches the block to its place", {{0, 4}, {9, 0}}, 32, "5@0+9"},
        Merge{"an empty variable inside adds nothing", {{0, 4}, {2, 0}}, 32, "5@0+4"},
        Merge{"an empty variable starts a block", {{5, 0}, {6, 2}}, 32, "5@5+3"},
        Merge{"a negative length takes the end back", {{0, 4}, {10, -8}}, 32, "5@0+2"},
        Merge{"spans do not wrap", {{0, 1}, {INT_MAX, INT_MAX}}, 32, "5@0+1 5@2147483647+2147483647"},
        Merge{"nor do they from the lowest address",
              {{INT_MIN, 1}, {0, 1}, {INT_MAX, 1}},
              INT_MAX,
              "5@-2147483648+1 5@0+1 5@2147483647+1"},
        Merge{"nor do block ends", {{INT_MAX - 1, INT_MAX}, {INT_MAX, 5}}, 32, "5@2147483646+2147483647"}));

class BitMerge : public DriverTest, public ::testing::WithParamInterface<Merge>
{
};

TEST_P(BitMerge, GivesTheseBlocks)
{
    QList<RW_VAR> list = variablesAt(2, GetParam().places);
    const int count = BitVarReCreat(&list, GetParam().limit, 0);
    EXPECT_EQ(count, int(PLC_driver.ReadVarList.size()));
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), GetParam().blocks);
}

INSTANTIATE_TEST_SUITE_P(FirstBlocks, BitMerge,
                         ::testing::Values(Merge{"one bit is one byte", {{0, 1}}, 256, "2@0+1"},
                                           Merge{"the last bit of a byte too", {{7, 1}}, 256, "2@0+1"},
                                           Merge{
                                               "two bits across a byte end are two bytes", {{7, 2}}, 256, "2@0+2"},
                                           Merge{"bits 11 to 15 are one byte", {{11, 5}}, 256, "2@8+1"},
                                           Merge{"bits 13 to 17 are two bytes", {{13, 5}}, 256, "2@8+2"},
                                           Merge{"eight bits on a byte are one byte", {{16, 8}}, 256, "2@16+1"},
                                           Merge{"a long variable stays whole", {{3, 800}}, 256, "2@0+101"},
                                           Merge{"no bits on a byte are no byte", {{16, 0}}, 256, "2@16+0"},
                                           Merge{"no bits inside a byte still take it", {{13, 0}}, 256, "2@8+1"}));
INSTANTIATE_TEST_SUITE_P(
    Joining, BitMerge,
    ::testing::Values(
        Merge{"bits of the same byte are one block", {{0, 1}, {7, 1}}, 256, "2@0+1"},
        Merge{"the next byte lengthens the block", {{0, 8}, {8, 8}}, 256, "2@0+2"},
        Merge{"the block ends at a whole byte", {{0, 1}, {3, 5}, {8, 1}}, 256, "2@0+2"},
        Merge{"a span equal to the limit is joined", {{0, 8}, {250, 6}}, 256, "2@0+32"},
        Merge{"a span one bit above the limit is not", {{0, 8}, {250, 7}}, 256, "2@0+1 2@248+2"},
        Merge{"the span counts from the byte where the block starts", {{5, 1}, {255, 1}}, 256, "2@0+32"},
        Merge{"so one bit more does not fit", {{5, 1}, {255, 2}}, 256, "2@0+1 2@248+2"},
        Merge{"a limit of one byte keeps bytes apart", {{0, 8}, {8, 1}}, 8, "2@0+1 2@8+1"},
        Merge{"one that ends beyond lengthens the block", {{0, 20}, {20, 20}}, 256, "2@0+5"},
        Merge{"a new block has its own start", {{0, 8}, {300, 4}, {308, 4}}, 256, "2@0+1 2@296+2"},
        Merge{"inside a long variable is inside", {{0, 800}, {500, 300}}, 256, "2@0+100"},
        Merge{"a long variable is not lengthened", {{0, 800}, {800, 1}}, 256, "2@0+100 2@800+1"}));
INSTANTIATE_TEST_SUITE_P(
    LimitsBelowOne, BitMerge,
    ::testing::Values(
        Merge{"zero joins nothing", {{0, 8}, {8, 8}}, 0, "2@0+1 2@8+1"},
        Merge{"negative joins nothing", {{0, 8}, {8, 8}}, -8, "2@0+1 2@8+1"},
        Merge{"inside is inside all the same", {{0, 8}, {3, 2}}, 0, "2@0+1"},
        Merge{"zero joins empty variables of one byte", {{8, 0}, {8, 0}}, 0, "2@8+0"},
        Merge{"the bytes of a negative span are cut towards zero", {{8, 0}, {8, -20}}, -16, "2@8+-1"},
        Merge{"a span one bit above a negative limit is not joined", {{8, 0}, {8, -15}}, -16, "2@8+0 2@8+-1"}));

TEST_F(BitMerge, TheEndsOfTheNumbersAreNoReasonToFail)
{
    QList<RW_VAR> list = variablesAt(2, {{INT_MIN, INT_MIN}, {0, INT_MAX}, {INT_MAX, INT_MAX}});
    EXPECT_GE(BitVarReCreat(&list, INT_MAX, 0), 1);
    EXPECT_EQ(PLC_driver.ReadVarList.at(0).address, INT_MIN);
}

class Merging : public DriverTest
{
};

TEST_F(Merging, GoesOnFromTheRunningCount)
{
    PLC_driver.ReadVarList = varList({variable(9, 0, 2), variable(9, 50, 2)});
    QList<RW_VAR> list = variablesAt(5, {{2, 2}, {6, 2}, {90, 1}});
    EXPECT_EQ(WordVarReCreat(&list, 32, 2), 4);
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), "9@0+2 9@50+2 5@2+6 5@90+1");
    QList<RW_VAR> bits = variablesAt(2, {{91, 1}, {97, 1}});
    EXPECT_EQ(BitVarReCreat(&bits, 32, 4), 5);
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), "9@0+2 9@50+2 5@2+6 5@90+1 2@88+2");
}

// The running count is the caller's; blocks are lengthened only where it says that they stand.
TEST_F(Merging, ACountThatNamesNoEntryLengthensNone)
{
    QList<RW_VAR> list = variablesAt(5, {{0, 2}, {2, 2}});
    EXPECT_EQ(WordVarReCreat(&list, 32, -1), 0);
    EXPECT_EQ(WordVarReCreat(&list, 32, 7), 8);
    EXPECT_EQ(WordVarReCreat(&list, 32, INT_MIN), INT_MIN + 1);
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), "5@0+2 5@0+2 5@0+2");
}

TEST_F(Merging, AnEmptyListGivesTheCountBack)
{
    QList<RW_VAR> list;
    EXPECT_EQ(WordVarReCreat(&list, 32, 7), 7);
    EXPECT_EQ(BitVarReCreat(&list, 32, 7), 7);
    EXPECT_EQ(WordVarReCreat(nullptr, 32, 7), 7);
    EXPECT_EQ(BitVarReCreat(nullptr, 32, 7), 7);
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
}

TEST_F(Merging, ABlockIsACopyOfItsFirstVariable)
{
    QList<RW_VAR> list = varList({distinctVariable(5, 100, 4, 3), variable(6, 104, 4, 9)});
    WordVarReCreat(&list, 32, 0);
    ASSERT_EQ(PLC_driver.ReadVarList.size(), 1);
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(0), distinctVariable(5, 100, 8, 3)));
}

TEST_F(Merging, ABitBlockIsACopyOfItsFirstVariableInWholeBytes)
{
    QList<RW_VAR> list = varList({distinctVariable(2, 13, 1, 3)});
    BitVarReCreat(&list, 256, 0);
    ASSERT_EQ(PLC_driver.ReadVarList.size(), 1);
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(0), distinctVariable(2, 8, 1, 3)));
}

} // namespace
