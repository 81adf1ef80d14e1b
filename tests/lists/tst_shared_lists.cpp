// ReCreatReadVarList with the fixed image: the cyclic list that all stations share.
#include "lists/blocks.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class SharedLists : public DriverTest
{
protected:
    SharedLists() { settings.blockWords = 32; }

    /// Builds the cyclic list from these variables and gives its blocks.
    std::string built(std::initializer_list<HOST_VAR> vars)
    {
        QList<HOST_VAR> list = hostVars(vars);
        EXPECT_EQ(ReCreatReadVarList(&list), 0);
        EXPECT_TRUE(locksAreFree());
        return blocks(PLC_driver.ReadVarList);
    }
};

TEST_F(SharedLists, TheResultIsZeroHoweverManyBlocksThereAre)
{
    QList<HOST_VAR> list = hostVars({hostVar(5, "0", 1), hostVar(5, "500", 1), hostVar(6, "0", 1)});
    EXPECT_EQ(ReCreatReadVarList(&list), 0);
    EXPECT_EQ(PLC_driver.ReadVarList.size(), 3);
}

TEST_F(SharedLists, AnEmptyListGivesAnEmptyListAndZero)
{
    PLC_driver.ReadVarList.append(variable(5, 0, 1));
    EXPECT_EQ(built({}), "");
    PLC_driver.ReadVarList.append(variable(5, 0, 1));
    EXPECT_EQ(ReCreatReadVarList(nullptr), 0);
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
    EXPECT_TRUE(locksAreFree());
}

TEST_F(SharedLists, ABlockCarriesNoHostVariable)
{
    settings.defaultStation = 7;
    settings.remoteMode = 11;
    settings.localLinkNo = 12;
    built({hostVar(5, "100", 4, 3)});
    RW_VAR expected = variable(5, 100, 4, 7);
    expected.hostAddr = -1;
    expected.remoteModeCopy = 11;
    expected.linkNo = 12;
    ASSERT_EQ(PLC_driver.ReadVarList.size(), 1);
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(0), expected));
}

TEST_F(SharedLists, VariablesOfAllStationsMeetAtTheDefaultStation)
{
    settings.defaultStation = 7;
    built({hostVar(5, "0", 2, 1), hostVar(5, "2", 2, 200)});
    EXPECT_EQ(stationBlocks(PLC_driver.ReadVarList), "7/5@0+4");
}

TEST_F(SharedLists, WordsAreJoinedUpToTheBlockSize)
{
    EXPECT_EQ(built({hostVar(5, "0", 2), hostVar(5, "30", 2)}), "5@0+32");
    EXPECT_EQ(built({hostVar(5, "0", 2), hostVar(5, "31", 2)}), "5@0+2 5@31+2");
}

TEST_F(SharedLists, EveryWordAreaIsJoinedUpToTheBlockSize)
{
    for (int type : {5, 6, 7, 8, 9, 12, 13}) {
        const std::string at = std::to_string(type) + "@";
        EXPECT_EQ(built({hostVar(type, "0", 2), hostVar(type, "30", 2)}), at + "0+32");
        EXPECT_EQ(built({hostVar(type, "0", 2), hostVar(type, "31", 2)}), at + "0+2 " + at + "31+2");
    }
}

TEST_F(SharedLists, EveryBitAreaIsJoinedUpToEightTimesTheBlockSize)
{
    for (int type : {0, 1, 2, 3, 4, 11}) {
        const std::string at = std::to_string(type) + "@";
        const bool octal = type < 2;
        EXPECT_EQ(built({hostVar(type, "0", 8), hostVar(type, octal ? "372" : "250", 6)}), at + "0+32");
        EXPECT_EQ(built({hostVar(type, "0", 8), hostVar(type, octal ? "372" : "250", 7)}),
                  at + "0+1 " + at + "248+2");
    }
}

TEST_F(SharedLists, DoubleWordsAreJoinedUpToHalfTheBlockSize)
{
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(10, "14", 2)}), "10@0+16");
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(10, "15", 2)}), "10@0+2 10@15+2");
    settings.blockWords = 33;
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(10, "15", 2)}), "10@0+2 10@15+2");
}

TEST_F(SharedLists, AddressesOfAreasZeroAndOneAreOctal)
{
    EXPECT_EQ(built({hostVar(0, "17", 1)}), "0@8+1");
    EXPECT_EQ(built({hostVar(1, "13", 5)}), "1@8+1");
    EXPECT_EQ(built({hostVar(2, "13", 5)}), "2@8+2");
    EXPECT_EQ(built({hostVar(5, "17", 1)}), "5@17+1");
}

TEST_F(SharedLists, AddressesOfAreaTenAreTheControllersOwn)
{
    EXPECT_EQ(built({hostVar(10, "250", 2)}), "10@250+2");
}

TEST_F(SharedLists, ATextThatIsNoNumberIsAddressZero)
{
    EXPECT_EQ(built({hostVar(5, "D100", 1)}), "5@0+1");
    EXPECT_EQ(built({hostVar(1, "18", 1)}), "1@0+1");
    EXPECT_EQ(built({hostVar(5, "", 1)}), "5@0+1");
}

TEST_F(SharedLists, NegativeAddressesAndUnknownAreasAreLeftOut)
{
    EXPECT_EQ(built({hostVar(5, "-1", 1), hostVar(14, "0", 1), hostVar(5, "3", 1), hostVar(255, "0", 1)}), "5@3+1");
    EXPECT_EQ(built({hostVar(14, "0", 1)}), "");
}

TEST_F(SharedLists, AreasFollowEachOtherAsTheirBuffersDo)
{
    EXPECT_EQ(built({hostVar(13, "1", 1), hostVar(12, "1", 1), hostVar(11, "8", 8), hostVar(10, "1", 1),
                     hostVar(9, "1", 1), hostVar(8, "1", 1), hostVar(7, "1", 1), hostVar(6, "1", 1),
                     hostVar(5, "1", 1), hostVar(4, "8", 8), hostVar(3, "8", 8), hostVar(2, "8", 8),
                     hostVar(1, "10", 8), hostVar(0, "10", 8)}),
              "0@8+1 1@8+1 2@8+1 11@8+1 4@8+1 3@8+1 8@1+1 9@1+1 5@1+1 12@1+1 13@1+1 7@1+1 6@1+1 10@1+1");
}

TEST_F(SharedLists, BlocksOfOneAreaRise)
{
    EXPECT_EQ(built({hostVar(5, "900", 1), hostVar(5, "100", 1), hostVar(5, "500", 1)}), "5@100+1 5@500+1 5@900+1");
}

TEST_F(SharedLists, AreasAreNeverJoined)
{
    EXPECT_EQ(built({hostVar(5, "0", 1), hostVar(6, "1", 1)}), "5@0+1 6@1+1");
    EXPECT_EQ(built({hostVar(8, "0", 1), hostVar(9, "1", 1), hostVar(5, "2", 1)}), "8@0+1 9@1+1 5@2+1");
    EXPECT_EQ(built({hostVar(0, "0", 8), hostVar(1, "10", 8)}), "0@0+1 1@8+1");
}

TEST_F(SharedLists, OverlapsAreReadOnce)
{
    EXPECT_EQ(built({hostVar(5, "10", 10), hostVar(5, "12", 3), hostVar(5, "18", 6)}), "5@10+14");
}

TEST_F(SharedLists, ALongWordVariableLosesItsMiddle)
{
    settings.blockWords = 10;
    EXPECT_EQ(built({hostVar(5, "100", 25)}), "5@100+10 5@110+5");
    EXPECT_EQ(built({hostVar(5, "100", 20)}), "5@100+10");
    EXPECT_EQ(built({hostVar(5, "100", 39)}), "5@100+10 5@110+9");
}

TEST_F(SharedLists, ALongBitVariableLosesItsMiddle)
{
    settings.blockWords = 4;
    EXPECT_EQ(built({hostVar(2, "0", 40)}), "2@0+4 2@32+1");
    EXPECT_EQ(built({hostVar(2, "0", 64)}), "2@0+4");
    EXPECT_EQ(built({hostVar(2, "0", 105)}), "2@0+4 2@32+2");
}

TEST_F(SharedLists, ALongDoubleWordVariableLosesItsMiddle)
{
    settings.blockWords = 8;
    EXPECT_EQ(built({hostVar(10, "0", 11)}), "10@0+4 10@4+3");
    EXPECT_EQ(built({hostVar(10, "0", 12)}), "10@0+4");
}

TEST_F(SharedLists, ABitVariableThatFillsTheLimitIsOneByteLongerOffAByteBoundary)
{
    settings.blockWords = 1;
    EXPECT_EQ(built({hostVar(2, "3", 8)}), "2@0+2");
}

TEST_F(SharedLists, LengthsBelowOneComeThroughUnchanged)
{
    EXPECT_EQ(built({hostVar(5, "10", 0)}), "5@10+0");
    EXPECT_EQ(built({hostVar(5, "10", -5)}), "5@10+-5");
}

TEST_F(SharedLists, ABlockSizeBelowOneNeitherSplitsNorJoins)
{
    for (int size : {0, -1, INT_MIN}) {
        settings.blockWords = size;
        EXPECT_EQ(built({hostVar(5, "0", 500), hostVar(5, "500", 2)}), "5@0+500 5@500+2") << size;
        EXPECT_EQ(built({hostVar(2, "0", 800), hostVar(2, "800", 8)}), "2@0+100 2@800+1") << size;
        EXPECT_EQ(built({hostVar(10, "0", 500), hostVar(10, "1", 1)}), "10@0+500") << size;
    }
}

TEST_F(SharedLists, ABlockSizeBelowOneJoinsWhatSpansNoMore)
{
    settings.blockWords = 0;
    EXPECT_EQ(built({hostVar(5, "10", 0), hostVar(5, "10", 0)}), "5@10+0");
    EXPECT_EQ(built({hostVar(2, "16", 0), hostVar(2, "16", 0)}), "2@16+0");
    settings.blockWords = -1;
    EXPECT_EQ(built({hostVar(5, "10", 0), hostVar(5, "10", 0)}), "5@10+0 5@10+0");
    EXPECT_EQ(built({hostVar(5, "10", 0), hostVar(5, "10", -1)}), "5@10+-1");
}

TEST_F(SharedLists, ABlockSizeOfOneLeavesDoubleWordsWhole)
{
    settings.blockWords = 1;
    EXPECT_EQ(built({hostVar(10, "0", 5), hostVar(10, "5", 1)}), "10@0+5 10@5+1");
}

TEST_F(SharedLists, TheLargestBlockSizeJoinsEverything)
{
    settings.blockWords = INT_MAX;
    EXPECT_EQ(built({hostVar(5, "0", 1), hostVar(5, "9999", 1)}), "5@0+10000");
    EXPECT_EQ(built({hostVar(2, "0", 1), hostVar(2, "11999", 1)}), "2@0+1500");
    EXPECT_EQ(built({hostVar(10, "0", 1), hostVar(10, "255", 1)}), "10@0+256");
}

TEST_F(SharedLists, TheEndsOfTheNumbersAreNoReasonToFail)
{
    built({hostVar(5, "2147483647", INT_MAX), hostVar(2, "2147483647", INT_MAX), hostVar(10, "2147483647", INT_MAX),
           hostVar(5, "0", INT_MIN), hostVar(2, "1", INT_MIN), hostVar(5, "2147483648", 1)});
    EXPECT_FALSE(PLC_driver.ReadVarList.isEmpty());
}

TEST_F(SharedLists, EveryBuildingReplacesTheListAndStartsThePassAgain)
{
    RW_VAR own = variable(9, 77, 1);
    AddListReadVar(&own);
    PLC_driver.CycleReadCount = 3;
    settings.cycleDone = 1;
    EXPECT_EQ(built({hostVar(5, "1", 1)}), "5@1+1");
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    EXPECT_EQ(settings.cycleDone, 0);
    EXPECT_EQ(built({hostVar(6, "2", 1)}), "6@2+1");
}

TEST_F(SharedLists, AnEmptyBuildingStartsThePassAgainToo)
{
    PLC_driver.CycleReadCount = 3;
    settings.cycleDone = 1;
    built({});
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    EXPECT_EQ(settings.cycleDone, 0);
}

TEST_F(SharedLists, OnlyTheCyclicListChanges)
{
    PLC_driver.WriteVarList.append(variable(5, 1, 1));
    PLC_driver.OnceReadVarList.append(variable(5, 2, 1));
    PLC_driver.ProtocolList.append(Protocol());
    PLC_driver.CurrentSource = 2;
    PLC_driver.WriteTimes = 3;
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    QList<HOST_VAR> list = hostVars({hostVar(5, "1", 1), hostVar(1, "-1", 1)});
    ReCreatReadVarList(&list);
    EXPECT_EQ(blocks(PLC_driver.WriteVarList) + " " + blocks(PLC_driver.OnceReadVarList), "5@1+1 5@2+1");
    EXPECT_EQ(PLC_driver.ProtocolList.size(), 1);
    EXPECT_EQ(PLC_driver.CurrentSource, 2);
    EXPECT_EQ(PLC_driver.WriteTimes, 3);
    EXPECT_TRUE(sameImage(image));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(1).address, QString::fromLatin1("-1"));
}

TEST_F(SharedLists, TheImageLockIsNotTaken)
{
    QList<HOST_VAR> list = hostVars({hostVar(5, "1", 1)});
    PLC_driver.ImageMutex.lock(); // taking it again would wait for ever
    ReCreatReadVarList(&list);
    PLC_driver.ImageMutex.unlock();
    EXPECT_EQ(blocks(PLC_driver.ReadVarList), "5@1+1");
}

TEST_F(SharedLists, WithoutSettingsEverySettingIsZero)
{
    PLC_driver.settings = nullptr;
    EXPECT_EQ(built({hostVar(5, "0", 500, 9), hostVar(5, "500", 2, 9)}), "5@0+500 5@500+2");
    EXPECT_EQ(PLC_driver.ReadVarList.at(0).station, 0);
}

} // namespace
