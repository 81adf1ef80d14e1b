// ReadRegister and the three single reads: frames, expected replies and where each leaves the reply's positions.
#include "support/frames.h"
#include "support/frames_request.h"

#include <climits>

namespace
{

using Builder = void (*)(RW_VAR *);

class SingleReads : public frames::RequestTest
{
protected:
    /// Builds one request after emptying the list; the record as it is afterwards.
    static RW_VAR build(Builder builder, RW_VAR var)
    {
        PLC_driver.ProtocolList.clear();
        builder(&var);
        return var;
    }

    /// The four bytes of the entry.
    static std::string entry(Builder builder, int areaType, int address, int length)
    {
        build(builder, variable(areaType, address, length));
        return hex(head().frame.mid(3, 4));
    }

    /// "replyLen dataStart dataLen"
    static std::string expectation()
    {
        return std::to_string(head().replyLen) + " " + std::to_string(head().dataStart) + " " +
               std::to_string(head().dataLen);
    }
};

const Builder builders[] = {ReadBool, ReadAnalog, ReadAnalog_32CV};

// --- the dispatch

TEST_F(SingleReads, ReadRegisterPicksTheBuilderByTheArea)
{
    for (int areaType = 0; areaType <= 13; ++areaType) {
        SCOPED_TRACE(areaType);
        const frames::Kind kind = frames::area(areaType).kind;
        const Builder expected = kind == frames::Kind::Bits    ? ReadBool
                                 : kind == frames::Kind::Words ? ReadAnalog
                                                               : ReadAnalog_32CV;
        markPositions();
        build(expected, variable(areaType, 24, 6, 5));
        const Protocol wanted = head();
        const std::string wantedPositions = positions();
        markPositions();
        build(ReadRegister, variable(areaType, 24, 6, 5));
        ASSERT_EQ(built(), 1);
        EXPECT_EQ(hex(head().frame), hex(wanted.frame));
        EXPECT_EQ(head().replyLen, wanted.replyLen);
        EXPECT_EQ(head().dataStart, wanted.dataStart);
        EXPECT_EQ(head().dataLen, wanted.dataLen);
        EXPECT_EQ(positions(), wantedPositions);
    }
}

TEST_F(SingleReads, ReadRegisterGivesEveryAreaItsFrame)
{
    for (int areaType = 0; areaType <= 13; ++areaType) {
        build(ReadRegister, variable(areaType, 0x0203, 6, 5));
        const int length = areaType == 10 ? 3 : 6;
        EXPECT_EQ(hex(head().frame), hex(frames::readRequest(5, {{areaType, 0x0203, length}}))) << areaType;
        EXPECT_EQ(head().replyLen, frames::readReplyLength({{areaType, 0x0203, length}})) << areaType;
    }
}

TEST_F(SingleReads, ReadRegisterBuildsNothingForAnUnknownArea)
{
    markSettings();
    const COMINFO before = settings;
    for (int areaType : {14, -1, 15, 255, 256, 266, INT_MAX, INT_MIN}) {
        RW_VAR var = distinctVariable(areaType, 5, 4);
        ReadRegister(&var);
        EXPECT_EQ(built(), 0) << areaType;
        EXPECT_TRUE(sameVariable(var, distinctVariable(areaType, 5, 4))) << areaType;
    }
    EXPECT_TRUE(positionsAreUntouched());
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof before), 0);
}

TEST_F(SingleReads, ReadRegisterLeavesAWaitingRequestForAnUnknownArea)
{
    build(ReadBool, variable(1, 8, 1));
    RW_VAR unknown = variable(14, 0, 1);
    ReadRegister(&unknown);
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(head().var.areaType, 1);
}

TEST_F(SingleReads, ReadRegisterHalvesTheLengthOfADoubleWord)
{
    EXPECT_EQ(build(ReadRegister, variable(10, 0, 6)).length, 3);
    EXPECT_EQ(build(ReadRegister, variable(5, 0, 6)).length, 6);
    EXPECT_EQ(build(ReadRegister, variable(1, 0, 6)).length, 6);
}

// --- bits

TEST_F(SingleReads, BitsGiveTheDocumentedFrame)
{
    build(ReadBool, variable(3, 24, 2, 7));
    EXPECT_EQ(hex(head().frame), "07 FE 01 05 10 18 00 4E D7");
    EXPECT_EQ(head().frameLen, 9);
    EXPECT_EQ(expectation(), "9 0 0");
    EXPECT_EQ(positions(), "5+2 - - - - -");
    EXPECT_EQ(int(CurrentRWVar.size()), 1);
}

TEST_F(SingleReads, BitAreaCodesComeFromTheTableOfTypes1To11)
{
    const int codes[] = {1, 2, 5, 4, 0, 0, 0, 0, 0, 0, 3};
    for (int areaType = 1; areaType <= 11; ++areaType) {
        build(ReadBool, variable(areaType, 8, 1));
        EXPECT_EQ(static_cast<unsigned char>(head().frame.at(3)), codes[areaType - 1]) << areaType;
    }
}

TEST_F(SingleReads, BitsOfAreaZeroAndOfTypesOutsideTheTableSendCodeZero)
{
    for (int areaType : {0, 12, 13, 14, -1, 100, 257, INT_MAX, INT_MIN}) {
        EXPECT_EQ(entry(ReadBool, areaType, 8, 1), "00 08 08 00") << areaType;
        EXPECT_EQ(head().replyLen, 8) << areaType;
    }
}

TEST_F(SingleReads, BitsOfAWordAreaAreStillCountedInBits)
{
    EXPECT_EQ(entry(ReadBool, 5, 8, 3), "00 18 08 00");
    EXPECT_EQ(head().replyLen, 10);
    EXPECT_EQ(position(0), "5+3");
}

TEST_F(SingleReads, FortyGroupsOfBitsSendACountCutToEightBits)
{
    EXPECT_EQ(entry(ReadBool, 1, 0, 40), "01 40 00 00");
    EXPECT_EQ(head().replyLen, 47);
    EXPECT_EQ(position(0), "5+40");
    EXPECT_EQ(entry(ReadBool, 1, 0, 32), "01 00 00 00");
    EXPECT_EQ(head().replyLen, 39);
}

TEST_F(SingleReads, BitsOfStationZeroClearTheFirstPositionOnly)
{
    build(ReadBool, variable(3, 24, 2, 0));
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(0, {{3, 24, 2}})));
    EXPECT_EQ(expectation(), "0 0 0");
    EXPECT_EQ(positions(), "0+0 - - - - -");
    ASSERT_EQ(int(CurrentRWVar.size()), 1);
    EXPECT_EQ(CurrentRWVar.first().address, 24);
}

TEST_F(SingleReads, BitsReplaceTheVariablesInFlightByACopy)
{
    RW_VAR var = distinctVariable(3, 24, 2);
    ReadBool(&var);
    ASSERT_EQ(int(CurrentRWVar.size()), 1);
    EXPECT_TRUE(sameVariable(CurrentRWVar.first(), var));
    var.address = 0;
    EXPECT_EQ(CurrentRWVar.first().address, 24);
    EXPECT_EQ(iTimes, mark);
}

TEST_F(SingleReads, BitsOfNegativeAndExtremeLengths)
{
    EXPECT_EQ(entry(ReadBool, 1, 0, 0), "01 00 00 00");
    EXPECT_EQ(head().replyLen, 7);
    EXPECT_EQ(entry(ReadBool, 1, 0, -1), "01 F8 00 00");
    EXPECT_EQ(head().replyLen, 6);
    EXPECT_EQ(position(0), "5+-1");
    EXPECT_EQ(entry(ReadBool, 1, 0, INT_MAX), "01 F8 00 00");
    EXPECT_EQ(entry(ReadBool, 1, 0, INT_MIN), "01 00 00 00");
}

// --- words

TEST_F(SingleReads, WordsGiveTheDocumentedFrame)
{
    build(ReadAnalog, variable(5, 0x0102, 10, 3));
    EXPECT_EQ(hex(head().frame), "03 FE 01 08 0A 02 01 E2 DC");
    EXPECT_EQ(head().frameLen, 9);
    EXPECT_EQ(expectation(), "27 5 20");
}

TEST_F(SingleReads, WordAreaCodesComeFromTheReadTableOfTypes5To13)
{
    const int codes[] = {8, 18, 17, 6, 7, 0, 0, 9, 16};
    for (int areaType = 5; areaType <= 13; ++areaType) {
        build(ReadAnalog, variable(areaType, 8, 1));
        EXPECT_EQ(static_cast<unsigned char>(head().frame.at(3)), codes[areaType - 5]) << areaType;
    }
}

TEST_F(SingleReads, WordsOfTypesOutsideTheTableSendCodeZero)
{
    for (int areaType : {0, 1, 2, 3, 4, 14, -1, 261, INT_MAX, INT_MIN}) {
        EXPECT_EQ(entry(ReadAnalog, areaType, 8, 3), "00 03 08 00") << areaType;
        EXPECT_EQ(expectation(), "13 5 6") << areaType;
    }
}

TEST_F(SingleReads, WordsLeaveVariablesAndPositionsOfTheLastGroup)
{
    build(ReadAnalog, variable(5, 8, 4));
    EXPECT_TRUE(positionsAreUntouched());
    build(ReadAnalog, variable(5, 8, 4, 0));
    EXPECT_TRUE(positionsAreUntouched());
}

TEST_F(SingleReads, WordsOfStationZeroExpectNothing)
{
    build(ReadAnalog, variable(5, 8, 4, 0));
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(0, {{5, 8, 4}})));
    EXPECT_EQ(head().frameLen, 9);
    EXPECT_EQ(expectation(), "0 0 0");
}

TEST_F(SingleReads, WordCountsAreCutToEightBitsButTheReplyIsNot)
{
    EXPECT_EQ(entry(ReadAnalog, 5, 0, 256), "08 00 00 00");
    EXPECT_EQ(expectation(), "519 5 512");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, 300), "08 2C 00 00");
    EXPECT_EQ(expectation(), "607 5 600");
}

TEST_F(SingleReads, WordsOfNegativeAndExtremeLengths)
{
    EXPECT_EQ(entry(ReadAnalog, 5, 0, 0), "08 00 00 00");
    EXPECT_EQ(expectation(), "7 5 0");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, -3), "08 FD 00 00");
    EXPECT_EQ(expectation(), "1 5 -6");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, INT_MAX), "08 FF 00 00");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, INT_MIN), "08 00 00 00");
}

// --- double words

TEST_F(SingleReads, DoubleWordHalvesTheCallersLength)
{
    struct Row {
        int length, halved;
        const char *count, *expected;
    };
    const Row rows[] = {
        {4, 2, "01", "11 5 4"},    {2, 1, "00", "7 5 0"},           {3, 1, "00", "7 5 0"},
        {5, 2, "01", "11 5 4"},    {1, 0, "FF", "3 5 -4"},          {0, 0, "FF", "3 5 -4"},
        {-1, 0, "FF", "3 5 -4"},   {-2, -1, "FE", "-1 5 -8"},       {-3, -1, "FE", "-1 5 -8"},
        {20, 10, "09", "43 5 36"}, {514, 257, "00", "1031 5 1024"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.length);
        const RW_VAR left = build(ReadAnalog_32CV, variable(10, 0x0304, row.length));
        EXPECT_EQ(left.length, row.halved);
        EXPECT_EQ(hex(head().frame.mid(3, 4)), std::string("13 ") + row.count + " 04 03");
        EXPECT_EQ(expectation(), row.expected);
        EXPECT_EQ(head().var.length, row.halved);
        EXPECT_EQ(hex(head().frame), hex(frames::sealed(head().frame.left(7))));
    }
}

TEST_F(SingleReads, DoubleWordTwiceHalvesTwice)
{
    RW_VAR var = variable(10, 0, 9);
    ReadAnalog_32CV(&var);
    ReadAnalog_32CV(&var);
    EXPECT_EQ(var.length, 2);
    ASSERT_EQ(built(), 2);
    EXPECT_EQ(head().var.length, 4);
    EXPECT_EQ(last().var.length, 2);
}

TEST_F(SingleReads, DoubleWordHalvesForStationZeroToo)
{
    EXPECT_EQ(build(ReadAnalog_32CV, variable(10, 0, 6, 0)).length, 3);
    EXPECT_EQ(hex(head().frame), hex(frames::readRequest(0, {{10, 0, 3}})));
    EXPECT_EQ(expectation(), "0 0 0");
}

TEST_F(SingleReads, DoubleWordSendsItsCodeForAnyType)
{
    for (int areaType : {10, 0, 5, 14, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(entry(ReadAnalog_32CV, areaType, 8, 4), "13 01 08 00") << areaType;
}

TEST_F(SingleReads, DoubleWordLeavesVariablesAndPositionsOfTheLastGroup)
{
    build(ReadAnalog_32CV, variable(10, 8, 4));
    EXPECT_TRUE(positionsAreUntouched());
    build(ReadAnalog_32CV, variable(10, 8, 4, 0));
    EXPECT_TRUE(positionsAreUntouched());
}

TEST_F(SingleReads, DoubleWordOfExtremeLengths)
{
    EXPECT_EQ(build(ReadAnalog_32CV, variable(10, 0, INT_MAX)).length, INT_MAX / 2);
    EXPECT_EQ(hex(head().frame.mid(3, 2)), "13 FE");
    EXPECT_EQ(build(ReadAnalog_32CV, variable(10, 0, INT_MIN)).length, INT_MIN / 2);
    EXPECT_EQ(hex(head().frame.mid(3, 2)), "13 FF");
}

// --- all three

TEST_F(SingleReads, AddressAndStationAreCutToTheirWireWidths)
{
    struct Row {
        int station, address;
        const char *first, *sent;
    };
    const Row rows[] = {
        {1, 0x1234, "01", "34 12"}, {256, 0x10000, "00", "00 00"},     {0x1FE, 0x5ABCD, "FE", "CD AB"},
        {-1, -1, "FF", "FF FF"},    {INT_MAX, INT_MAX, "FF", "FF FF"}, {INT_MIN, INT_MIN, "00", "00 00"},
    };
    for (Builder builder : builders) {
        for (const Row &row : rows) {
            build(builder, variable(10, row.address, 4, row.station));
            EXPECT_EQ(hex(head().frame.left(1)), row.first) << row.station;
            EXPECT_EQ(hex(head().frame.mid(5, 2)), row.sent) << row.address;
            EXPECT_NE(head().replyLen, 0) << "a station whose low byte is 0 still answers: " << row.station;
        }
    }
}

TEST_F(SingleReads, EveryFrameHasNineBytesAndItsCrc)
{
    for (Builder builder : builders) {
        build(builder, variable(10, 0x55AA, 77, 19));
        EXPECT_EQ(head().frameLen, 9);
        EXPECT_EQ(int(head().frame.size()), 9);
        EXPECT_EQ(hex(head().frame.left(3)), "13 FE 01");
        EXPECT_EQ(hex(head().frame), hex(frames::sealed(head().frame.left(7))));
        EXPECT_TRUE(spareIsZero(head()));
    }
}

TEST_F(SingleReads, TheRequestCarriesAFullCopyOfTheVariable)
{
    for (Builder builder : builders) {
        const RW_VAR left = build(builder, distinctVariable(10, 5, 8));
        EXPECT_TRUE(sameVariable(head().var, distinctVariable(10, 5, builder == ReadAnalog_32CV ? 4 : 8)));
        EXPECT_TRUE(sameVariable(left, head().var));
    }
}

TEST_F(SingleReads, RequestsAreAppended)
{
    for (Builder builder : builders) {
        RW_VAR var = variable(10, 5, 8);
        builder(&var);
    }
    EXPECT_EQ(built(), 3);
}

TEST_F(SingleReads, EveryRequestIsAJobOfOneFrame)
{
    for (Builder builder : builders) {
        for (int station : {0, 1}) {
            markSettings();
            build(builder, variable(10, 5, 8, station));
            EXPECT_TRUE(onlyFrameCountsWereSet());
        }
    }
}

TEST_F(SingleReads, WithoutSettingsTheFrameIsBuiltAllTheSame)
{
    PLC_driver.settings = nullptr;
    build(ReadRegister, variable(5, 0x0102, 10, 3));
    EXPECT_EQ(hex(head().frame), "03 FE 01 08 0A 02 01 E2 DC");
    build(ReadRegister, variable(3, 24, 2, 7));
    EXPECT_EQ(hex(head().frame), "07 FE 01 05 10 18 00 4E D7");
    build(ReadRegister, variable(10, 0, 4));
    EXPECT_EQ(built(), 1);
}

TEST_F(SingleReads, ANullRecordIsNothingToDo)
{
    ReadRegister(nullptr);
    for (Builder builder : builders)
        builder(nullptr);
    EXPECT_EQ(built(), 0);
    EXPECT_TRUE(positionsAreUntouched());
}

TEST_F(SingleReads, NoLockIsTakenAndTheImageStays)
{
    fillImage(0xA5);
    const QByteArray before = wholeImage();
    PLC_driver.ListMutex.lock();
    PLC_driver.ImageMutex.lock();
    for (Builder builder : builders)
        build(builder, variable(10, 5, 8));
    PLC_driver.ImageMutex.unlock();
    PLC_driver.ListMutex.unlock();
    EXPECT_TRUE(wholeImage() == before);
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

} // namespace
