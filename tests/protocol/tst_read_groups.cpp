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

TEST_F(ReadGroups, TwoVariablesGiveTheDocumentedFrame)
{
    read({{5, 100, 4}, {1, 16, 2}});
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), "01 FE 02 08 04 64 00 01 10 10 00 3E F5");
    EXPECT_EQ(head().frameLen, 13);
    EXPECT_EQ(head().replyLen, 19);
    EXPECT_EQ(positions(), "5+8 15+2 - - - -");
}

struct Coding {
    int areaType, length;
    const char *codeAndCount;
    int data;
};

const Coding codings[] = {
    {0, 3, "00 18", 3},       {1, 3, "01 18", 3},   {2, 3, "02 18", 3},   {3, 3, "05 18", 3},
    {4, 3, "04 18", 3},       {5, 3, "08 03", 6},   {6, 3, "12 03", 6},   {7, 3, "11 03", 6},
    {8, 3, "06 03", 6},       {9, 3, "07 03", 6},   {10, 3, "13 02", 8},  {11, 3, "03 18", 3},
    {12, 3, "09 03", 6},      {13, 3, "10 03", 6},  {14, 3, "00 00", 0},  {-1, 3, "00 00", 0},
    {15, 3, "00 00", 0},      {100, 3, "00 00", 0}, {256, 3, "00 00", 0}, {INT_MAX, 3, "00 00", 0},
    {INT_MIN, 3, "00 00", 0},
};

TEST_F(ReadGroups, EveryAreaHasItsCodeItsCountAndItsData)
{
    for (const Coding &row : codings) {
        SCOPED_TRACE(row.areaType);
        EXPECT_EQ(entry(row.areaType, 0x0102, row.length), std::string(row.codeAndCount) + " 02 01");
        EXPECT_EQ(head().replyLen, 7 + row.data);
        EXPECT_EQ(position(0), "5+" + std::to_string(row.data));
    }
}

TEST_F(ReadGroups, EveryNumberOfVariablesGivesItsFrameLengthAndReplyLength)
{
    for (int count = 1; count <= 6; ++count) {
        SCOPED_TRACE(count);
        PLC_driver.ProtocolList.clear();
        std::vector<frames::Block> blocks;
        for (int i = 0; i < count; ++i)
            blocks.push_back({5, 100 * i, i + 1});
        read(blocks, 9);
        ASSERT_EQ(built(), 1);
        EXPECT_EQ(head().frameLen, 4 * count + 5);
        EXPECT_EQ(int(head().frame.size()), 4 * count + 5);
        EXPECT_EQ(head().replyLen, 5 + 2 * count + count * (count + 1));
        EXPECT_EQ(hex(head().frame), hex(frames::readRequest(9, blocks)));
        EXPECT_EQ(int(CurrentRWVar.size()), count);
    }
}

TEST_F(ReadGroups, SixSingleWordsLieFourBytesApart)
{
    read({{5, 0, 1}, {5, 9, 1}, {6, 0, 1}, {7, 0, 1}, {8, 0, 1}, {9, 0, 1}});
    EXPECT_EQ(head().frameLen, 29);
    EXPECT_EQ(head().replyLen, 29);
    EXPECT_EQ(positions(), "5+2 9+2 13+2 17+2 21+2 25+2");
}

TEST_F(ReadGroups, MixedKindsAreEncodedEntryByEntry)
{
    const std::vector<frames::Block> blocks = {{5, 3, 2},  {1, 8, 3},   {10, 4, 3},
                                               {14, 5, 6}, {11, 24, 1}, {13, 7, 1}};
    read(blocks, 4);
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(4, blocks)));
    EXPECT_EQ(head().replyLen, 5 + 12 + 4 + 3 + 8 + 0 + 1 + 2);
    EXPECT_EQ(positions(), "5+4 11+3 16+8 26+0 28+1 31+2");
}

TEST_F(ReadGroups, DoubleWordsAskForOneLessThanTheirLength)
{
    EXPECT_EQ(entry(10, 0, 3), "13 02 00 00");
    EXPECT_EQ(head().replyLen, 15);
    EXPECT_EQ(entry(10, 0, 1), "13 00 00 00");
    EXPECT_EQ(head().replyLen, 7);
    EXPECT_EQ(entry(10, 0, 0), "13 FF 00 00");
    EXPECT_EQ(entry(10, 0, 257), "13 00 00 00");
    EXPECT_EQ(head().replyLen, 7 + 1024);
}

TEST_F(ReadGroups, AfterADoubleWordOfLengthOneTheNextDataStartsTwoBytesOn)
{
    read({{10, 0, 1}, {5, 0, 1}});
    EXPECT_EQ(positions(), "5+0 7+2 - - - -");
    EXPECT_EQ(head().replyLen, 11);
}

TEST_F(ReadGroups, DoubleWordsUseTheLengthAsItStandsAndLeaveIt)
{
    std::vector<RW_VAR> vars = group({{10, 0, 4}});
    readGroup(vars);
    EXPECT_EQ(vars[0].length, 4);
    EXPECT_EQ(CurrentRWVar.first().length, 4);
    EXPECT_EQ(head().var.length, 4);
}

TEST_F(ReadGroups, CountsAreCutToEightBitsButTheReplyIsNot)
{
    EXPECT_EQ(entry(1, 0, 40), "01 40 00 00");
    EXPECT_EQ(head().replyLen, 47);
    EXPECT_EQ(entry(1, 0, 32), "01 00 00 00");
    EXPECT_EQ(head().replyLen, 39);
    EXPECT_EQ(entry(5, 0, 256), "08 00 00 00");
    EXPECT_EQ(head().replyLen, 7 + 512);
    EXPECT_EQ(position(0), "5+512");
    EXPECT_EQ(entry(5, 0, 0x1FF), "08 FF 00 00");
}

TEST_F(ReadGroups, AddressesAreCutToSixteenBitsLowByteFirst)
{
    EXPECT_EQ(entry(5, 0x1234, 1), "08 01 34 12");
    EXPECT_EQ(entry(5, 0xFFFF, 1), "08 01 FF FF");
    EXPECT_EQ(entry(5, 0x10000, 1), "08 01 00 00");
    EXPECT_EQ(entry(5, 0x12345, 1), "08 01 45 23");
    EXPECT_EQ(entry(5, -1, 1), "08 01 FF FF");
    EXPECT_EQ(entry(5, -2, 1), "08 01 FE FF");
    EXPECT_EQ(entry(5, INT_MAX, 1), "08 01 FF FF");
    EXPECT_EQ(entry(5, INT_MIN, 1), "08 01 00 00");
}

TEST_F(ReadGroups, StationsAreCutToEightBits)
{
    const std::vector<std::pair<int, char>> rows = {
        {1, '\x01'}, {255, '\xFF'}, {256, '\x00'}, {0x1234, '\x34'}, {-1, '\xFF'}, {INT_MIN, '\x00'},
    };
    for (const auto &row : rows) {
        PLC_driver.ProtocolList.clear();
        read({{5, 0, 1}}, row.first);
        EXPECT_EQ(head().frame.at(0), row.second) << row.first;
        EXPECT_EQ(head().replyLen, 9) << "a station whose low byte is 0 still answers: " << row.first;
    }
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

TEST_F(ReadGroups, EntriesBehindTheGroupKeepTheirPositions)
{
    read({{5, 0, 1}, {5, 9, 1}, {5, 19, 1}});
    EXPECT_EQ(positions(), "5+2 9+2 13+2 - - -");
    EXPECT_EQ(iTimes, mark);
}

TEST_F(ReadGroups, DataStartAndDataLenStayUnset)
{
    read({{5, 0, 4}});
    EXPECT_EQ(head().dataStart, 0);
    EXPECT_EQ(head().dataLen, 0);
    EXPECT_TRUE(spareIsZero(head()));
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

TEST_F(ReadGroups, RequestsAreAppended)
{
    read({{5, 1, 1}});
    read({{5, 2, 1}, {5, 3, 1}});
    ASSERT_EQ(built(), 2);
    EXPECT_EQ(head().var.address, 1);
    EXPECT_EQ(last().var.address, 2);
}

TEST_F(ReadGroups, EveryRequestIsAJobOfOneFrame)
{
    for (size_t count = 1; count <= 6; ++count) {
        for (int station : {0, 1}) {
            markSettings();
            read(std::vector<frames::Block>(count, {5, 7, 2}), station);
            EXPECT_TRUE(onlyFrameCountsWereSet()) << count;
        }
    }
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

TEST_F(ReadGroups, NegativeLengthsAreFramedAsTheyStand)
{
    EXPECT_EQ(entry(5, 0, -1), "08 FF 00 00");
    EXPECT_EQ(head().replyLen, 5);
    EXPECT_EQ(position(0), "5+-2");
    EXPECT_EQ(entry(1, 0, -1), "01 F8 00 00");
    EXPECT_EQ(head().replyLen, 6);
    EXPECT_EQ(entry(10, 0, -1), "13 FE 00 00");
    EXPECT_EQ(head().replyLen, -1);
    EXPECT_EQ(position(0), "5+-8");
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

TEST_F(ReadGroups, WithoutSettingsTheFrameIsBuiltAllTheSame)
{
    PLC_driver.settings = nullptr;
    read({{5, 100, 4}, {1, 16, 2}});
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), "01 FE 02 08 04 64 00 01 10 10 00 3E F5");
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

TEST_F(ReadGroups, NoLockIsTaken)
{
    PLC_driver.ListMutex.lock();
    PLC_driver.ImageMutex.lock();
    read({{5, 100, 4}});
    PLC_driver.ImageMutex.unlock();
    PLC_driver.ListMutex.unlock();
    EXPECT_EQ(built(), 1);
}

TEST_F(ReadGroups, TheImageAndTheListsStayAsTheyAre)
{
    fillImage(0x5A);
    PLC_driver.ReadVarList.append(variable(5, 1, 1));
    const QByteArray before = wholeImage();
    read({{5, 100, 4}, {1, 16, 2}});
    EXPECT_TRUE(wholeImage() == before);
    EXPECT_EQ(int(PLC_driver.ReadVarList.size()), 1);
    EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
    EXPECT_EQ(PLC_driver.CurrentSource, 100);
}

} // namespace
