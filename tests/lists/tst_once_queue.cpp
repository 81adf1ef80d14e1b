// AddListOnceReadVar: the queue of one-shot reads.
#include "lists/blocks.h"

#include <climits>
#include <functional>

namespace
{

class OnceQueue : public DriverTest
{
protected:
    OnceQueue() { settings.blockWords = 32; }

    static RW_VAR at(int areaType, const char *address, int length)
    {
        RW_VAR var = variable(areaType, 0, length, 0);
        var.addressText = QString::fromLatin1(address);
        return var;
    }

    static int add(const RW_VAR &var, int mode = 0)
    {
        RW_VAR copy = var;
        const int size = AddListOnceReadVar(&copy, mode);
        EXPECT_TRUE(sameVariable(copy, var)) << "the caller's record";
        EXPECT_TRUE(locksAreFree());
        return size;
    }

    static void fill(int count)
    {
        for (int i = 0; i < count; ++i)
            PLC_driver.OnceReadVarList.append(variable(5, 10000 + i, 1, 0));
    }

    static std::string queue() { return blocks(PLC_driver.OnceReadVarList); }
};

TEST_F(OnceQueue, ReturnsItsSize)
{
    EXPECT_EQ(add(at(5, "1", 1)), 1);
    EXPECT_EQ(add(at(5, "2", 1)), 2);
    EXPECT_EQ(add(at(5, "3", 40)), 4);
}

TEST_F(OnceQueue, ABitVariableIsWidenedToWholeBytes)
{
    add(at(2, "11", 5));
    add(at(2, "13", 5));
    add(at(1, "13", 5)); // octal: bit 11
    add(at(0, "20", 1));
    add(at(4, "13", 0));
    EXPECT_EQ(queue(), "2@8+1 2@8+2 1@8+1 0@16+1 4@8+1");
}

TEST_F(OnceQueue, EveryBitAreaIsWidened)
{
    for (int type : {0, 1, 2, 3, 4, 11}) {
        PLC_driver.OnceReadVarList.clear();
        add(at(type, "7", 2));
        EXPECT_EQ(queue(), std::to_string(type) + "@0+2");
    }
}

TEST_F(OnceQueue, OtherAreasKeepAddressAndLength)
{
    for (int type : {5, 6, 7, 8, 9, 10, 12, 13}) {
        PLC_driver.OnceReadVarList.clear();
        add(at(type, "217", 5));
        EXPECT_EQ(queue(), std::to_string(type) + "@217+5");
    }
}

TEST_F(OnceQueue, UnknownAreasKeepTheRecordsOwnAddress)
{
    for (int type : {14, 255, -1}) {
        PLC_driver.OnceReadVarList.clear();
        RW_VAR var = at(type, "99", 5);
        var.address = 33;
        add(var);
        EXPECT_EQ(queue(), std::to_string(type) + "@33+5");
    }
}

TEST_F(OnceQueue, SeventyWordsAreThreeBlocks)
{
    EXPECT_EQ(add(at(5, "100", 70)), 3);
    EXPECT_EQ(queue(), "5@100+32 5@132+32 5@164+6");
    PLC_driver.OnceReadVarList.clear();
    EXPECT_EQ(add(at(10, "0", 64)), 2);
    EXPECT_EQ(queue(), "10@0+32 10@32+32");
}

TEST_F(OnceQueue, BitBlocksLieEightTimesTheBlockSizeApart)
{
    settings.blockWords = 4;
    EXPECT_EQ(add(at(2, "5", 100)), 4); // bits 0..104, 14 bytes
    EXPECT_EQ(queue(), "2@0+4 2@32+4 2@64+4 2@96+2");
}

TEST_F(OnceQueue, UnknownAreasAreSplitLikeWords)
{
    RW_VAR var = at(14, "", 70);
    var.address = 5;
    EXPECT_EQ(add(var), 3);
    EXPECT_EQ(queue(), "14@5+32 14@37+32 14@69+6");
}

TEST_F(OnceQueue, ABlockSizeBelowOneGivesOneBlock)
{
    for (int size : {0, -1, INT_MIN}) {
        PLC_driver.OnceReadVarList.clear();
        settings.blockWords = size;
        EXPECT_EQ(add(at(5, "100", 7000)), 1);
        EXPECT_EQ(queue(), "5@100+7000");
    }
}

TEST_F(OnceQueue, LengthsBelowOneGiveNoBlock)
{
    EXPECT_EQ(add(at(5, "100", 0)), 0);
    fill(2);
    EXPECT_EQ(add(at(5, "100", 0)), 2);
    EXPECT_EQ(add(at(5, "100", -1)), 2);
    EXPECT_EQ(add(at(2, "8", 0)), 2);
    EXPECT_EQ(add(at(2, "8", INT_MIN)), 2);
    settings.blockWords = 0;
    EXPECT_EQ(add(at(5, "100", 0)), 2);
}

TEST_F(OnceQueue, ANegativeAddressIsRefused)
{
    fill(2);
    EXPECT_EQ(add(at(5, "-1", 1)), 0);
    EXPECT_EQ(add(at(1, "-7", 1)), 0);
    EXPECT_EQ(PLC_driver.OnceReadVarList.size(), 2);
}

TEST_F(OnceQueue, ANegativeAddressOfAnUnknownAreaIsNotSeen)
{
    EXPECT_EQ(add(at(14, "-1", 1)), 1);
}

TEST_F(OnceQueue, ATextThatIsNoNumberIsAddressZero)
{
    add(at(5, "x", 1));
    add(at(1, "9", 1));
    EXPECT_EQ(queue(), "5@0+1 1@0+1");
}

TEST_F(OnceQueue, ARecordKeepsItsFieldsButMarkAndField14)
{
    RW_VAR var = distinctVariable(5, 0, 2, 3);
    var.addressText = QString::fromLatin1("100");
    settings.stationMode = 1;
    settings.defaultStation = 99;
    settings.remoteMode = 98;
    settings.localLinkNo = 97;
    add(var);
    RW_VAR expected = var;
    expected.address = 100;
    expected.remoteStoreMark = 0;
    expected.hostField14 = 0;
    EXPECT_TRUE(sameVariable(PLC_driver.OnceReadVarList.at(0), expected));
}

TEST_F(OnceQueue, WithTheFixedImageTheStationIsTheDefaultOne)
{
    settings.defaultStation = 99;
    add(at(5, "1", 1));
    EXPECT_EQ(PLC_driver.OnceReadVarList.at(0).station, 99);
}

TEST_F(OnceQueue, Mode1AppendsAsItStands)
{
    settings.defaultStation = 99;
    RW_VAR var = distinctVariable(2, -13, 700, 3);
    var.addressText = QString::fromLatin1("-1");
    EXPECT_EQ(add(var, 1), 1);
    EXPECT_EQ(add(var, 1), 2);
    EXPECT_TRUE(sameVariable(PLC_driver.OnceReadVarList.at(0), var));
    EXPECT_TRUE(sameVariable(PLC_driver.OnceReadVarList.at(1), var));
}

TEST_F(OnceQueue, AnIdenticalReadIsDropped)
{
    EXPECT_EQ(add(at(5, "1", 1)), 1);
    EXPECT_EQ(add(at(5, "1", 1)), 1);
    EXPECT_EQ(add(at(5, "2", 1)), 2);
    EXPECT_EQ(add(at(5, "1", 1)), 2);
    EXPECT_EQ(add(at(5, "2", 1)), 2);
    for (int mode : {2, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(add(at(5, "1", 1), mode), 2) << mode;
}

TEST_F(OnceQueue, EveryBlockIsJudgedByItself)
{
    add(at(5, "32", 32));
    EXPECT_EQ(add(at(5, "0", 70)), 3);
    EXPECT_EQ(queue(), "5@32+32 5@0+32 5@64+6");
}

TEST_F(OnceQueue, TheFirstEntryIsSearchedToo)
{
    RW_VAR first = at(5, "1", 1);
    first.data = bytes("01");
    add(first);
    add(at(5, "2", 1));
    RW_VAR again = at(5, "1", 1);
    again.data = bytes("02");
    EXPECT_EQ(add(again), 2);
    EXPECT_EQ(hex(PLC_driver.OnceReadVarList.at(0).data), "01");
}

TEST_F(OnceQueue, AFullQueueDropsNewBlocks)
{
    fill(1023);
    EXPECT_EQ(add(at(5, "0", 70)), 1024);
    EXPECT_EQ(PLC_driver.OnceReadVarList.last().address, 0);
    EXPECT_EQ(add(at(5, "500", 1)), 1024);
}

TEST_F(OnceQueue, Mode1KnowsNoLimit)
{
    fill(1024);
    EXPECT_EQ(add(at(5, "1", 1), 1), 1025);
    EXPECT_EQ(add(at(5, "2", 1)), 1025);
}

TEST_F(OnceQueue, AnEndlessVariableFillsTheQueueAndNoMore)
{
    settings.blockWords = 1;
    EXPECT_EQ(add(at(5, "0", INT_MAX)), 1024);
    EXPECT_EQ(PLC_driver.OnceReadVarList.last().address, 1023);
}

TEST_F(OnceQueue, TheEndsOfTheNumbersAreNoReasonToFail)
{
    for (int size : {1, 7, INT_MAX})
        for (int type : {2, 5, 10}) {
            settings.blockWords = size;
            PLC_driver.OnceReadVarList.clear();
            EXPECT_GE(add(at(type, "2147483647", INT_MAX)), 1);
        }
}

TEST_F(OnceQueue, NullAndMissingSettingsAreHarmless)
{
    EXPECT_EQ(AddListOnceReadVar(nullptr, 0), 0);
    EXPECT_EQ(AddListOnceReadVar(nullptr, 1), 0);
    EXPECT_TRUE(locksAreFree());
    PLC_driver.settings = nullptr;
    EXPECT_EQ(add(at(5, "1", 700)), 1);
    EXPECT_EQ(queue(), "5@1+700");
}

class OnceTwins : public OnceQueue, public ::testing::WithParamInterface<Difference>
{
};

TEST_P(OnceTwins, AreToldByHostVariableAndPlace)
{
    settings.stationMode = 1;
    add(at(5, "1", 1));
    RW_VAR var = at(5, "1", 1);
    GetParam().make(var);
    EXPECT_EQ(add(var), GetParam().another ? 2 : 1);
}

INSTANTIATE_TEST_SUITE_P(
    Key, OnceTwins,
    ::testing::Values(Difference{"host type", [](RW_VAR &v) { v.hostType = 2; }, true},
                      Difference{"host address", [](RW_VAR &v) { v.hostAddr = 2; }, true},
                      Difference{"station", [](RW_VAR &v) { v.station = 2; }, true},
                      Difference{"area type", [](RW_VAR &v) { v.areaType = 6; }, true},
                      Difference{"address", [](RW_VAR &v) { v.addressText = QString::fromLatin1("2"); }, true},
                      Difference{"length", [](RW_VAR &v) { v.length = 2; }, true}));
INSTANTIATE_TEST_SUITE_P(
    Rest, OnceTwins,
    ::testing::Values(Difference{"link", [](RW_VAR &v) { v.linkNo = 2; }, false},
                      Difference{"field 3", [](RW_VAR &v) { v.hostField3 = 2; }, false},
                      Difference{"another text of the same address",
                                 [](RW_VAR &v) { v.addressText = QString::fromLatin1(" +01 "); }, false},
                      Difference{"text", [](RW_VAR &v) { v.text1 = QString::fromLatin1("2"); }, false},
                      Difference{"data", [](RW_VAR &v) { v.data = bytes("FF"); }, false}));

} // namespace
