// ReCreatReadVarList with per-station storage: every station keeps its own blocks.
#include "lists/blocks.h"

#include <climits>

namespace
{

class StationLists : public DriverTest
{
protected:
    StationLists()
    {
        settings.stationMode = 1;
        settings.blockWords = 32;
        settings.defaultStation = 99;
    }

    /// Builds the cyclic list from these variables and gives its blocks.
    std::string built(std::initializer_list<HOST_VAR> vars)
    {
        QList<HOST_VAR> list = hostVars(vars);
        const int count = ReCreatReadVarList(&list);
        EXPECT_EQ(count, int(PLC_driver.ReadVarList.size()));
        EXPECT_TRUE(locksAreFree());
        return stationBlocks(PLC_driver.ReadVarList);
    }
};

TEST_F(StationLists, TheResultIsTheNumberOfBlocks)
{
    QList<HOST_VAR> list = hostVars({hostVar(5, "0", 1), hostVar(5, "500", 1), hostVar(6, "0", 1)});
    EXPECT_EQ(ReCreatReadVarList(&list), 3);
    list.clear();
    EXPECT_EQ(ReCreatReadVarList(&list), 0);
    EXPECT_EQ(ReCreatReadVarList(nullptr), 0);
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
    EXPECT_TRUE(locksAreFree());
}

TEST_F(StationLists, ABlockCarriesNoHostVariableButItsStation)
{
    settings.remoteMode = 11;
    settings.localLinkNo = 12;
    built({hostVar(5, "100", 4, 3)});
    RW_VAR expected = variable(5, 100, 4, 3);
    expected.hostAddr = -1;
    expected.remoteModeCopy = 11;
    expected.linkNo = 12;
    ASSERT_EQ(PLC_driver.ReadVarList.size(), 1);
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(0), expected));
}

TEST_F(StationLists, StationsOfOneAreaAreGroupsInTheOrderOfTheirFirstVariables)
{
    EXPECT_EQ(built({hostVar(5, "0", 2, 9), hostVar(5, "0", 2, 2), hostVar(5, "2", 2, 9), hostVar(5, "4", 2, 2)}),
              "9/5@0+4 2/5@0+6");
}

TEST_F(StationLists, AreasAreGroupsInTheOrderOfTheirFirstVariables)
{
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(6, "0", 1), hostVar(5, "0", 1), hostVar(6, "1", 1)}),
              "1/10@0+2 1/6@0+2 1/5@0+1");
}

TEST_F(StationLists, EveryBuildingReplacesTheListAndStartsThePassAgain)
{
    PLC_driver.ReadVarList.append(variable(9, 77, 1));
    PLC_driver.CycleReadCount = 3;
    settings.cycleDone = 1;
    EXPECT_EQ(built({hostVar(5, "1", 1)}), "1/5@1+1");
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    EXPECT_EQ(settings.cycleDone, 0);
}

TEST_F(StationLists, BlocksOfOneGroupRiseAndAreJoinedUpToTheBlockSize)
{
    EXPECT_EQ(built({hostVar(5, "30", 2), hostVar(5, "0", 2)}), "1/5@0+32");
    EXPECT_EQ(built({hostVar(5, "31", 2), hostVar(5, "0", 2)}), "1/5@0+2 1/5@31+2");
}

TEST_F(StationLists, ALongWordVariableIsSplitWithoutLoss)
{
    settings.blockWords = 10;
    EXPECT_EQ(built({hostVar(5, "100", 35)}), "1/5@100+10 1/5@110+10 1/5@120+10 1/5@130+5");
    EXPECT_EQ(built({hostVar(5, "100", 30)}), "1/5@100+10 1/5@110+10 1/5@120+10");
    EXPECT_EQ(built({hostVar(5, "100", 10)}), "1/5@100+10");
}

TEST_F(StationLists, DoubleWordsAreSplitByTheWholeBlockSizeAndJoinedUpToHalfOfIt)
{
    settings.blockWords = 8;
    EXPECT_EQ(built({hostVar(10, "0", 11)}), "1/10@0+8 1/10@8+3");
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(10, "2", 2)}), "1/10@0+4");
    EXPECT_EQ(built({hostVar(10, "0", 2), hostVar(10, "3", 2)}), "1/10@0+2 1/10@3+2");
}

// The pieces of a bit variable count bytes, and the merge takes that number for bits.
TEST_F(StationLists, BitBlocksAreShorterThanTheirVariables)
{
    EXPECT_EQ(built({hostVar(2, "13", 5)}), "1/2@8+1");
    EXPECT_EQ(built({hostVar(2, "0", 8)}), "1/2@0+1");
    EXPECT_EQ(built({hostVar(2, "0", 200)}), "1/2@0+4"); // 25 bytes, taken for 25 bits
    EXPECT_EQ(built({hostVar(2, "3", 62)}), "1/2@0+2");  // 9 bytes, taken for 9 bits
}

TEST_F(StationLists, ALongBitVariableIsSplitIntoBlocksOfBytes)
{
    settings.blockWords = 8; // pieces of 8 bytes every 64 bits, taken for 8 bits
    EXPECT_EQ(built({hostVar(2, "0", 200)}), "1/2@0+1 1/2@64+1 1/2@128+1 1/2@192+1");
    settings.blockWords = 16; // pieces of 16 bytes every 128 bits
    EXPECT_EQ(built({hostVar(2, "5", 200)}), "1/2@0+2 1/2@128+2");
}

TEST_F(StationLists, BitVariablesAreJoinedUpToEightTimesTheBlockSize)
{
    EXPECT_EQ(built({hostVar(2, "0", 1), hostVar(2, "248", 8)}), "1/2@0+32");
    EXPECT_EQ(built({hostVar(2, "0", 1), hostVar(2, "256", 8)}), "1/2@0+1 1/2@256+1");
}

TEST_F(StationLists, AddressesOfAreasZeroAndOneAreOctal)
{
    EXPECT_EQ(built({hostVar(1, "20", 8)}), "1/1@16+1");
    EXPECT_EQ(built({hostVar(3, "20", 8)}), "1/3@16+1");
}

TEST_F(StationLists, ALastBitVariableMakesEveryMergeABitMerge)
{
    EXPECT_EQ(built({hostVar(5, "100", 4), hostVar(2, "0", 8)}), "1/5@96+1 1/2@0+1");
    EXPECT_EQ(built({hostVar(10, "9", 20), hostVar(5, "0", 1), hostVar(5, "200", 1), hostVar(0, "0", 1)}),
              "1/10@8+3 1/5@0+26 1/0@0+1");
}

TEST_F(StationLists, ALastWordVariableMakesEveryMergeAWordMerge)
{
    EXPECT_EQ(built({hostVar(2, "0", 200), hostVar(2, "208", 8), hostVar(5, "100", 4)}),
              "1/2@0+25 1/2@208+1 1/5@100+4");
    EXPECT_EQ(built({hostVar(2, "13", 5), hostVar(10, "0", 2)}), "1/2@8+2 1/10@0+2");
}

TEST_F(StationLists, ASkippedVariableIsNotTheLastOne)
{
    EXPECT_EQ(built({hostVar(5, "100", 4), hostVar(2, "-1", 8)}), "1/5@100+4");
    EXPECT_EQ(built({hostVar(2, "0", 200), hostVar(5, "-1", 8)}), "1/2@0+4");
}

TEST_F(StationLists, AVariableWithoutPiecesIsTheLastOneAllTheSame)
{
    EXPECT_EQ(built({hostVar(5, "100", 4), hostVar(2, "0", 0)}), "1/5@96+1");
    EXPECT_EQ(built({hostVar(2, "0", 200), hostVar(5, "0", 0)}), "1/2@0+25");
}

TEST_F(StationLists, LengthsBelowOneGiveNothing)
{
    EXPECT_EQ(built({hostVar(5, "100", 0), hostVar(5, "100", -1), hostVar(5, "100", INT_MIN)}), "");
    EXPECT_EQ(built({hostVar(2, "8", 0), hostVar(2, "8", -8), hostVar(2, "8", INT_MIN)}), "");
    EXPECT_EQ(built({hostVar(2, "13", 0)}), "1/2@8+1"); // widened to its byte
}

TEST_F(StationLists, UnknownAreasAreTakenForWordsAtAddressZero)
{
    EXPECT_EQ(built({hostVar(14, "77", 40)}), "1/14@0+32 1/14@32+8");
    EXPECT_EQ(built({hostVar(2, "13", 5), hostVar(255, "1", 3)}), "1/2@8+2 1/255@0+3");
}

TEST_F(StationLists, NegativeAddressesAreLeftOut)
{
    EXPECT_EQ(built({hostVar(5, "-1", 1), hostVar(5, "3", 1)}), "1/5@3+1");
    EXPECT_EQ(built({hostVar(5, "-1", 1)}), "");
}

// The groups are told apart by area type times 255 plus station, and that number is not unique.
TEST_F(StationLists, Station255SharesAGroupWithStation0OfTheNextArea)
{
    EXPECT_EQ(built({hostVar(5, "0", 2, 255), hostVar(6, "4", 2, 0)}), "255/5@0+6");
    EXPECT_EQ(built({hostVar(6, "4", 2, 0), hostVar(5, "50", 2, 255)}), "0/6@4+2 255/5@50+2");
    EXPECT_EQ(built({hostVar(6, "50", 2, 0), hostVar(5, "4", 2, 255), hostVar(7, "9", 1)}),
              "255/5@4+2 0/6@50+2 1/7@9+1");
}

TEST_F(StationLists, NewerVariablesOfAGroupStandBeforeOlderOnesOfTheSameAddress)
{
    EXPECT_EQ(built({hostVar(5, "0", 2, 255), hostVar(6, "0", 2, 0)}), "0/6@0+2");
    settings.blockWords = 8; // the longer one, coming first, holds the other; the other way round it would not fit
    EXPECT_EQ(built({hostVar(10, "0", 3), hostVar(10, "0", 8)}), "1/10@0+8");
    EXPECT_EQ(built({hostVar(10, "0", 8), hostVar(10, "0", 3)}), "1/10@0+3 1/10@0+8");
}

TEST_F(StationLists, TheHalfLimitHoldsForStations1To255OfAreaTen)
{
    for (int station : {1, 2, 254, 255}) {
        const std::string of = std::to_string(station) + "/10@";
        EXPECT_EQ(built({hostVar(10, "0", 4, station), hostVar(10, "14", 4, station)}), of + "0+4 " + of + "14+4");
    }
    EXPECT_EQ(built({hostVar(10, "0", 4, 0), hostVar(10, "14", 4, 0)}), "0/10@0+18");
}

TEST_F(StationLists, TheHalfLimitReachesStation0OfAreaEleven)
{
    EXPECT_EQ(built({hostVar(11, "0", 32, 0), hostVar(11, "16", 8, 0), hostVar(5, "0", 1)}),
              "0/11@0+4 0/11@16+1 1/5@0+1");
    EXPECT_EQ(built({hostVar(11, "0", 32, 1), hostVar(11, "16", 8, 1), hostVar(5, "0", 1)}), "1/11@0+17 1/5@0+1");
}

TEST_F(StationLists, ABlockSizeBelowOneNeitherSplitsNorJoins)
{
    for (int size : {0, -1, INT_MIN}) {
        settings.blockWords = size;
        EXPECT_EQ(built({hostVar(5, "0", 500), hostVar(5, "500", 2)}), "1/5@0+500 1/5@500+2") << size;
        EXPECT_EQ(built({hostVar(2, "0", 800), hostVar(2, "800", 8)}), "1/2@0+13 1/2@800+1") << size;
    }
}

TEST_F(StationLists, ABlockSizeOfOneJoinsNoDoubleWords)
{
    settings.blockWords = 1;
    EXPECT_EQ(built({hostVar(10, "0", 2)}), "1/10@0+1 1/10@1+1");
}

TEST_F(StationLists, OneVariableGivesAtMost65536Pieces)
{
    settings.blockWords = 1;
    QList<HOST_VAR> list = hostVars({hostVar(5, "0", INT_MAX)});
    ASSERT_EQ(ReCreatReadVarList(&list), 65536);
    EXPECT_EQ(PLC_driver.ReadVarList.last().address, 65535);
    list = hostVars({hostVar(5, "0", 65536)});
    EXPECT_EQ(ReCreatReadVarList(&list), 65536);
    list = hostVars({hostVar(5, "0", 65535)});
    EXPECT_EQ(ReCreatReadVarList(&list), 65535);
}

TEST_F(StationLists, TheEndsOfTheNumbersAreNoReasonToFail)
{
    settings.blockWords = INT_MAX;
    built(
        {hostVar(5, "2147483647", INT_MAX), hostVar(2, "2147483647", INT_MAX), hostVar(10, "2147483647", INT_MAX)});
    EXPECT_EQ(PLC_driver.ReadVarList.size(), 3);
    settings.blockWords = 30000;
    built(
        {hostVar(5, "2147483647", INT_MAX), hostVar(2, "2147483647", INT_MAX), hostVar(10, "2147483647", INT_MAX)});
    EXPECT_GT(PLC_driver.ReadVarList.size(), 3);
}

TEST_F(StationLists, TheImageLockIsNotTaken)
{
    QList<HOST_VAR> list = hostVars({hostVar(5, "1", 1)});
    PLC_driver.ImageMutex.lock(); // taking it again would wait for ever
    EXPECT_EQ(ReCreatReadVarList(&list), 1);
    PLC_driver.ImageMutex.unlock();
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

} // namespace
