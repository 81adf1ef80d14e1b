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
};

// --- the dispatch

TEST_F(SingleReads, ReadRegisterBuildsNothingForAnUnknownArea)
{
    build(ReadBool, variable(1, 8, 1));
    markPositions();
    markSettings();
    const COMINFO before = settings;
    for (int areaType : {14, -1, 15, 255, 256, 266, INT_MAX, INT_MIN}) {
        RW_VAR var = distinctVariable(areaType, 5, 4);
        ReadRegister(&var);
        ASSERT_EQ(built(), 1) << areaType << ": the one that waits";
        EXPECT_TRUE(sameVariable(var, distinctVariable(areaType, 5, 4))) << areaType;
    }
    EXPECT_TRUE(positionsAreUntouched());
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof before), 0);
}

// --- bits

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

// --- words

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
        EXPECT_EQ(head().replyLen, 13) << areaType;
    }
}

// --- double words

TEST_F(SingleReads, DoubleWordHalvesTheCallersLength)
{
    const std::pair<int, int> rows[] = {{4, 2},
                                        {2, 1},
                                        {3, 1},
                                        {5, 2},
                                        {1, 0},
                                        {0, 0},
                                        {-1, 0},
                                        {-2, -1},
                                        {-3, -1},
                                        {514, 257},
                                        {INT_MAX, INT_MAX / 2},
                                        {INT_MIN, INT_MIN / 2}};
    for (const auto &row : rows) {
        EXPECT_EQ(build(ReadAnalog_32CV, variable(10, 0x0304, row.first)).length, row.second) << row.first;
        EXPECT_EQ(head().var.length, row.second) << row.first;
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

TEST_F(SingleReads, DoubleWordSendsItsCodeForAnyType)
{
    for (int areaType : {10, 0, 5, 14, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(entry(ReadAnalog_32CV, areaType, 8, 4), "13 01 08 00") << areaType;
}

// --- all three

TEST_F(SingleReads, TheLargestAndTheSmallestLengthAreCutLikeAnyOther)
{
    EXPECT_EQ(entry(ReadBool, 1, 0, INT_MAX), "01 F8 00 00");
    EXPECT_EQ(entry(ReadBool, 1, 0, INT_MIN), "01 00 00 00");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, INT_MAX), "08 FF 00 00");
    EXPECT_EQ(entry(ReadAnalog, 5, 0, INT_MIN), "08 00 00 00");
    EXPECT_EQ(entry(ReadAnalog_32CV, 10, 0, INT_MAX), "13 FE 00 00");
    EXPECT_EQ(entry(ReadAnalog_32CV, 10, 0, INT_MIN), "13 FF 00 00");
}

} // namespace
