// ReadRegister1 .. ReadRegister6: the frame, the expected reply and the positions of each variable in it.
#include "support/frames.h"
#include "support/frames_request.h"

#include <climits>

namespace
{

class ReadGroups : public frames::RequestTest
{
protected:
    static std::vector<RW_VAR> group(const std::vector<frames::Block> &blocks, int station = 1)
    {
        std::vector<RW_VAR> vars;
        for (const frames::Block &block : blocks)
            vars.push_back(variable(block.areaType, block.address, block.length, station));
        return vars;
    }

    static void read(const std::vector<frames::Block> &blocks, int station = 1)
    {
        std::vector<RW_VAR> vars = group(blocks, station);
        readGroup(vars);
    }

    /// The four bytes of the only entry.
    static std::string entry(int areaType, int address, int length)
    {
        PLC_driver.ProtocolList.clear();
        read({{areaType, address, length}});
        return hex(head().frame.mid(3, 4));
    }
};

// The golden frames have every area and length that a host asks for.

TEST_F(ReadGroups, AnUnknownAreaHasNeitherCodeNorCountNorData)
{
    for (int areaType : {14, -1, 15, 100, 256, INT_MAX, INT_MIN}) {
        EXPECT_EQ(entry(areaType, 0x0102, 3), "00 00 02 01") << areaType;
        EXPECT_EQ(head().replyLen, 7) << areaType;
        EXPECT_EQ(position(0), "5+0") << areaType;
    }
}

TEST_F(ReadGroups, DoubleWordsUseTheLengthAsItStandsAndLeaveIt)
{
    std::vector<RW_VAR> vars = group({{10, 0, 4}});
    readGroup(vars);
    EXPECT_EQ(vars[0].length, 4);
    EXPECT_EQ(CurrentRWVar.first().length, 4);
    EXPECT_EQ(head().var.length, 4);
}

TEST_F(ReadGroups, OnlyTheFirstStationIsSent)
{
    std::vector<RW_VAR> vars = group({{5, 0, 1}, {5, 10, 1}}, 3);
    vars[1].station = 0;
    readGroup(vars);
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(3, {{5, 0, 1}, {5, 10, 1}})));
    EXPECT_EQ(head().replyLen, 13);
    EXPECT_EQ(positions(), "5+2 9+2 - - - -");
    EXPECT_EQ(CurrentRWVar.last().station, 0);
}

TEST_F(ReadGroups, StationZeroExpectsNoReplyAndLeavesThePositions)
{
    for (size_t count = 1; count <= 6; ++count) {
        SCOPED_TRACE(count);
        reset();
        markPositions();
        const std::vector<frames::Block> blocks(count, {5, 7, 2});
        read(blocks, 0);
        ASSERT_EQ(built(), 1);
        EXPECT_EQ(hex(head().frame), hex(frames::readRequest(0, blocks)));
        EXPECT_EQ(head().replyLen, 0);
        EXPECT_EQ(head().dataStart, 0);
        EXPECT_EQ(head().dataLen, 0);
        EXPECT_EQ(positions(), "- - - - - -");
        EXPECT_EQ(CurrentRWVar.size(), int(count)) << "the new variables stand there all the same";
        EXPECT_EQ(CurrentRWVar.first().address, 7);
    }
}

TEST_F(ReadGroups, StationZeroOfTheFirstVariableDecides)
{
    std::vector<RW_VAR> vars = group({{5, 0, 1}, {5, 10, 1}}, 0);
    vars[1].station = 3;
    readGroup(vars);
    EXPECT_EQ(head().frame.at(0), '\0');
    EXPECT_EQ(head().replyLen, 0);
    EXPECT_EQ(positions(), "- - - - - -");
}

TEST_F(ReadGroups, TheRequestCarriesAFullCopyOfTheFirstVariable)
{
    RW_VAR first = distinctVariable(5, 100, 4), second = distinctVariable(1, 16, 2);
    ReadRegister2(&first, &second);
    EXPECT_TRUE(sameVariable(head().var, distinctVariable(5, 100, 4)));
    EXPECT_TRUE(sameVariable(first, distinctVariable(5, 100, 4))) << "the caller's record does not change";
    EXPECT_TRUE(sameVariable(second, distinctVariable(1, 16, 2)));
    first.address = 7;
    first.data[0] = 'x';
    EXPECT_TRUE(sameVariable(head().var, distinctVariable(5, 100, 4)));
}

TEST_F(ReadGroups, CurrentRWVarHoldsCopiesInArgumentOrder)
{
    std::vector<RW_VAR> vars;
    for (int i = 0; i < 6; ++i)
        vars.push_back(distinctVariable(i, 50 - 8 * i, 1 + i));
    readGroup(vars);
    ASSERT_EQ(int(CurrentRWVar.size()), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_TRUE(sameVariable(CurrentRWVar.at(i), distinctVariable(i, 50 - 8 * i, 1 + i))) << i;
    vars[2].address = 1;
    EXPECT_EQ(CurrentRWVar.at(2).address, 50 - 16);
}

TEST_F(ReadGroups, TheNextRequestReplacesVariablesAndPositions)
{
    read({{5, 0, 1}, {5, 9, 1}, {5, 19, 1}});
    read({{1, 8, 4}});
    EXPECT_EQ(int(CurrentRWVar.size()), 1);
    EXPECT_EQ(positions(), "5+4 9+2 13+2 - - -");
}

TEST_F(ReadGroups, TheSameRecordMayStandTwice)
{
    RW_VAR var = variable(5, 100, 4);
    ReadRegister2(&var, &var);
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(1, {{5, 100, 4}, {5, 100, 4}})));
    EXPECT_EQ(int(CurrentRWVar.size()), 2);
}

TEST_F(ReadGroups, TheSchedulersGroupSizeIsNotRead)
{
    settings.groupExtra = 5;
    read({{5, 0, 1}, {5, 9, 1}});
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(1, {{5, 0, 1}, {5, 9, 1}})));
    EXPECT_EQ(settings.groupExtra, 5);
}

TEST_F(ReadGroups, TheLargestAndTheSmallestLengthAreCutLikeAnyOther)
{
    EXPECT_EQ(entry(1, 0, INT_MAX), "01 F8 00 00");
    EXPECT_EQ(entry(1, 0, INT_MIN), "01 00 00 00");
    EXPECT_EQ(entry(5, 0, INT_MAX), "08 FF 00 00");
    EXPECT_EQ(entry(5, 0, INT_MIN), "08 00 00 00");
    EXPECT_EQ(entry(10, 0, INT_MAX), "13 FE 00 00");
    EXPECT_EQ(entry(10, 0, INT_MIN), "13 FF 00 00");
    EXPECT_EQ(entry(14, INT_MAX, INT_MIN), "00 00 FF FF");
    EXPECT_EQ(entry(-1, INT_MIN, INT_MAX), "00 00 00 00");
    for (int length : {INT_MAX, INT_MIN})
        read(std::vector<frames::Block>(6, {10, 0, length})); // the sums of the data overflow
}

TEST_F(ReadGroups, NullRecordsAreHarmless)
{
    RW_VAR var = variable(5, 100, 4);
    ReadRegister1(nullptr);
    EXPECT_EQ(built(), 0);
    EXPECT_TRUE(positionsAreUntouched());
    ReadRegister2(nullptr, &var);
    ReadRegister2(&var, nullptr);
    ReadRegister3(&var, nullptr, &var);
    ReadRegister4(&var, &var, &var, nullptr);
    ReadRegister5(nullptr, nullptr, nullptr, nullptr, nullptr);
    ReadRegister6(&var, &var, nullptr, &var, &var, nullptr);
    EXPECT_TRUE(locksAreFree());
}

} // namespace
