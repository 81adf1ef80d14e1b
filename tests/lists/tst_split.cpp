// WhetherGroup: the cut of a variable that is longer than one block.
#include "lists/blocks.h"

#include <climits>

namespace
{

struct Split {
    int length, limit;
    const char *blocks; // of a variable of area 5 at address 100
};

void PrintTo(const Split &row, std::ostream *out)
{
    *out << row.length << " by " << row.limit;
}

class SplitTable : public DriverTest, public ::testing::WithParamInterface<Split>
{
};

TEST_P(SplitTable, GivesThesePieces)
{
    RW_VAR var = variable(5, 100, GetParam().length);
    QList<RW_VAR> list;
    WhetherGroup(GetParam().length, GetParam().limit, &var, &list);
    EXPECT_EQ(blocks(list), GetParam().blocks);
}

INSTANTIATE_TEST_SUITE_P(ShortVariables, SplitTable,
                         ::testing::Values(Split{1, 10, "5@100+1"}, Split{9, 10, "5@100+9"},
                                           Split{10, 10, "5@100+10"}, Split{1, 1, "5@100+1"}));
INSTANTIATE_TEST_SUITE_P(OneLimitAndARest, SplitTable,
                         ::testing::Values(Split{11, 10, "5@100+10 5@110+1"}, Split{19, 10, "5@100+10 5@110+9"}));
// Between the first full block and the rest, everything is lost.
INSTANTIATE_TEST_SUITE_P(TheMiddleIsLost, SplitTable,
                         ::testing::Values(Split{25, 10, "5@100+10 5@110+5"}, Split{39, 10, "5@100+10 5@110+9"},
                                           Split{101, 10, "5@100+10 5@110+1"},
                                           Split{INT_MAX, 10, "5@100+10 5@110+7"}));
INSTANTIATE_TEST_SUITE_P(MultiplesKeepTheFirstBlock, SplitTable,
                         ::testing::Values(Split{20, 10, "5@100+10"}, Split{30, 10, "5@100+10"},
                                           Split{5, 1, "5@100+1"}));
INSTANTIATE_TEST_SUITE_P(LengthsBelowOneStay, SplitTable,
                         ::testing::Values(Split{0, 10, "5@100+0"}, Split{-7, 10, "5@100+-7"},
                                           Split{INT_MIN, 10, "5@100+-2147483648"}));
INSTANTIATE_TEST_SUITE_P(LimitsBelowOneDoNotSplit, SplitTable,
                         ::testing::Values(Split{25, 0, "5@100+25"}, Split{25, -1, "5@100+25"},
                                           Split{-3, -10, "5@100+-3"}, Split{25, INT_MIN, "5@100+25"},
                                           Split{INT_MIN, -1, "5@100+-2147483648"}));

class SplitVariable : public DriverTest
{
};

TEST_F(SplitVariable, AShortRecordIsAppendedUnchangedWithItsOwnLength)
{
    RW_VAR var = distinctVariable(5, 100, 7, 3);
    QList<RW_VAR> list;
    WhetherGroup(4, 10, &var, &list);
    ASSERT_EQ(list.size(), 1);
    EXPECT_TRUE(sameVariable(list.at(0), distinctVariable(5, 100, 7, 3)));
}

TEST_F(SplitVariable, PiecesKeepEveryOtherField)
{
    RW_VAR var = distinctVariable(5, 100, 25, 3);
    QList<RW_VAR> list;
    WhetherGroup(25, 10, &var, &list);
    ASSERT_EQ(list.size(), 2);
    EXPECT_TRUE(sameVariable(list.at(0), distinctVariable(5, 100, 10, 3)));
    EXPECT_TRUE(sameVariable(list.at(1), distinctVariable(5, 110, 5, 3)));
}

TEST_F(SplitVariable, TheCallersRecordIsNotChanged)
{
    RW_VAR var = distinctVariable(5, 100, 25);
    QList<RW_VAR> list;
    WhetherGroup(25, 10, &var, &list);
    EXPECT_TRUE(sameVariable(var, distinctVariable(5, 100, 25)));
}

TEST_F(SplitVariable, PiecesGoBehindWhatTheListHolds)
{
    RW_VAR var = variable(5, 100, 25);
    QList<RW_VAR> list = varList({variable(5, 900, 1)});
    WhetherGroup(25, 10, &var, &list);
    EXPECT_EQ(blocks(list), "5@900+1 5@100+10 5@110+5");
}

TEST_F(SplitVariable, AnAddressAtTheEndOfTheNumbersIsNoReasonToFail)
{
    RW_VAR var = variable(5, INT_MAX, 25);
    QList<RW_VAR> list;
    WhetherGroup(25, 10, &var, &list);
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(0).address, INT_MAX);
    EXPECT_EQ(list.at(1).length, 5);
}

TEST_F(SplitVariable, NullPointersAreHarmless)
{
    RW_VAR var = variable(5, 100, 25);
    QList<RW_VAR> list;
    WhetherGroup(25, 10, nullptr, &list);
    WhetherGroup(25, 10, &var, nullptr);
    EXPECT_TRUE(list.isEmpty());
}

} // namespace
