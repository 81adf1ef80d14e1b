// Cutting a reply into the variables of the request in flight and storing them in the per-station list.
#include "support/frames_storage.h"

#include <climits>

namespace
{

class PerStationStorage : public frames::StorageTest
{
protected:
    PerStationStorage() { settings.stationMode = 1; }
};

TEST_F(PerStationStorage, EveryValueGetsItsEntry)
{
    struct Row {
        int areaType, len;
        const char *stored;
    };
    const Row rows[] = {
        {0, 1, "7/0@16 = 12\n"},      {1, 1, "7/1@16 = 12\n"},
        {2, 1, "7/2@16 = 12\n"},      {3, 1, "7/3@16 = 12\n"},
        {4, 1, "7/4@16 = 12\n"},      {11, 1, "7/11@16 = 12\n"},
        {5, 2, "7/5@16 = 34 12\n"},   {6, 2, "7/6@16 = 34 12\n"},
        {7, 2, "7/7@16 = 34 12\n"},   {8, 2, "7/8@16 = 34 12\n"},
        {9, 2, "7/9@16 = 34 12\n"},   {12, 2, "7/12@16 = 34 12\n"},
        {13, 2, "7/13@16 = 34 12\n"}, {10, 4, "7/10@16 = 34 12 78 56\n"},
    };
    for (const Row &row : rows) {
        PLC_driver.ExtendVarList.clear();
        alone(row.areaType, 16, 1, row.len, 7);
        store("EE 12 34 56 78");
        EXPECT_EQ(stored(), row.stored);
    }
    EXPECT_TRUE(imageIs(5, 0, {})) << "the fixed image stays";
}

TEST_F(PerStationStorage, AWordEndsLowByteHighByte)
{
    alone(5, 100, 0, 2);
    store("12 34");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n");
}

TEST_F(PerStationStorage, TheLastOfTwoWordsGrowsToTheLengthOfBoth)
{
    alone(5, 100, 0, 4);
    store("12 34 56 78");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n1/5@101 = 78 56 00 00\n");
}

TEST_F(PerStationStorage, APieceOfNoElementDoesNotHideAnEntryThatTheHostMoved)
{
    addStored(1, 5, 100, "11 11");
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    PLC_driver.ExtendVarList[0].address = 200;
    alone(5, 100, 0, 0);
    store("12 34");
    EXPECT_EQ(ExtendFindSameVar(1, 5, 200), 0);
    EXPECT_EQ(stored(), "1/5@200 = \n");
}

TEST_F(PerStationStorage, TheLastEntryOfEveryKindGrowsToTheLengthOfAll)
{
    alone(1, 8, 0, 3);
    store("12 34 56");
    EXPECT_EQ(stored(), "1/1@8 = 12\n1/1@16 = 34\n1/1@24 = 56 00 00\n");
    PLC_driver.ExtendVarList.clear();
    alone(10, 8, 0, 8);
    store("12 34 56 78 9A BC DE F0");
    EXPECT_EQ(stored(), "1/10@8 = 34 12 78 56\n1/10@9 = BC 9A F0 DE 00 00 00 00\n");
}

TEST_F(PerStationStorage, AnOddByteGrowsTheLastEntryByOne)
{
    alone(5, 100, 0, 3);
    store("12 34 56");
    EXPECT_EQ(stored(), "1/5@100 = 34 12 00\n");
    PLC_driver.ExtendVarList.clear();
    alone(10, 100, 0, 7);
    store("12 34 56 78 9A BC DE");
    EXPECT_EQ(stored(), "1/10@100 = 34 12 78 56 00 00 00\n");
}

TEST_F(PerStationStorage, BitsAreKeyedByTheirAddressInStepsOfEight)
{
    alone(2, 16, 0, 2);
    store("01 02");
    EXPECT_EQ(stored(), "1/2@16 = 01\n1/2@24 = 02 00\n");
    PLC_driver.ExtendVarList.clear();
    alone(2, 13, 0, 2);
    store("01 02");
    EXPECT_EQ(stored(), "1/2@13 = 01\n1/2@21 = 02 00\n") << "the address is taken as it stands";
}

TEST_F(PerStationStorage, AnExistingEntryIsRewritten)
{
    addStored(1, 5, 100, "AA BB CC DD EE");
    addStored(2, 5, 100, "AA BB");
    addStored(1, 6, 100, "AA BB");
    alone(5, 100, 0, 2);
    store("12 34");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n2/5@100 = AA BB\n1/6@100 = AA BB\n");
}

TEST_F(PerStationStorage, TwoStationsKeepTheSameAddressApart)
{
    inFlight(variable(5, 100, 1, 1), 0, 2);
    inFlight(variable(5, 100, 1, 2), 2, 2);
    store("12 34 56 78");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n2/5@100 = 78 56\n");
    EXPECT_EQ(iTimes, 2);
}

TEST_F(PerStationStorage, AValueThatTheReplyLacksIsClearedAndFilledWithZeroAtTheEnd)
{
    addStored(1, 5, 100, "AA BB");
    addStored(1, 5, 101, "CC DD");
    alone(5, 100, 1, 4);
    store("EE 12 34 56");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n1/5@101 = 00 00 00 00\n");
    store("EE 12");
    EXPECT_EQ(stored(), "1/5@100 = \n1/5@101 = 00 00 00 00\n") << "only the last entry is resized";
}

TEST_F(PerStationStorage, AnEmptyReplyStillMakesTheEntries)
{
    alone(1, 8, 5, 2);
    store("");
    EXPECT_EQ(stored(), "1/1@8 = \n1/1@16 = 00 00\n");
    PLC_driver.ExtendVarList.clear();
    alone(10, 8, 5, 4);
    store("");
    EXPECT_EQ(stored(), "1/10@8 = 00 00 00 00\n");
    PLC_driver.ExtendVarList.clear();
    alone(5, 8, 5, 2);
    SaveToLocalDataErea(nullptr);
    EXPECT_EQ(stored(), "1/5@8 = 00 00\n");
}

TEST_F(PerStationStorage, ADoubleWordNeedsItsFourthByte)
{
    alone(10, 8, 0, 4);
    store("12 34 56");
    EXPECT_EQ(stored(), "1/10@8 = 00 00 00 00\n");
}

TEST_F(PerStationStorage, AWordNeedsItsSecondByte)
{
    alone(5, 8, 0, 2);
    store("12");
    EXPECT_EQ(stored(), "1/5@8 = 00 00\n");
}

TEST_F(PerStationStorage, WithoutAPassTheEntryOfThePreviousVariableIsResized)
{
    inFlight(variable(5, 100, 1), 0, 2);
    inFlight(variable(5, 200, 1), 2, 1);
    inFlight(variable(5, 300, 1), 2, 2);
    store("12 34 56 78");
    EXPECT_EQ(stored(), "1/5@100 = 34\n1/5@300 = 78 56\n");
}

TEST_F(PerStationStorage, WithoutAPassForTheFirstVariableEntryZeroIsResized)
{
    addStored(9, 9, 9, "AA BB CC DD");
    addStored(8, 8, 8, "AA BB CC DD");
    alone(5, 100, 0, 1);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA\n8/8@8 = AA BB CC DD\n");
    alone(10, 100, 0, 3);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA 00 00\n8/8@8 = AA BB CC DD\n") << "and grows with zeros";
    alone(1, 100, 0, 0);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = \n8/8@8 = AA BB CC DD\n");
}

TEST_F(PerStationStorage, TheResizedEntryIsTheOneFoundLastWhereverItStands)
{
    addStored(1, 5, 300, "01 02");
    addStored(1, 5, 100, "03 04");
    inFlight(variable(5, 100, 1), 0, 2); // entry 1
    inFlight(variable(1, 0, 1), 0, 0);   // no pass
    store("12 34");
    EXPECT_EQ(stored(), "1/5@300 = 01 02\n1/5@100 = \n");
}

TEST_F(PerStationStorage, TheLastEntryIsForgottenBetweenReplies)
{
    addStored(9, 9, 9, "AA BB CC DD");
    alone(5, 100, 0, 2);
    store("12 34");
    alone(5, 100, 0, 1);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA\n1/5@100 = 34 12\n");
}

TEST_F(PerStationStorage, ANegativeLengthCountsAsZero)
{
    for (int areaType : {1, 5, 10}) {
        for (int len : {-1, -4, INT_MIN}) {
            PLC_driver.ExtendVarList.clear();
            addStored(9, 9, 9, "AA BB");
            alone(areaType, 100, 0, len);
            store("12 34");
            EXPECT_EQ(stored(), "9/9@9 = \n") << areaType << " " << len;
        }
    }
}

TEST_F(PerStationStorage, NothingIsResizedWhileTheListIsEmpty)
{
    for (int areaType : {1, 5, 10}) {
        alone(areaType, 100, 0, 0);
        store("12 34");
        EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
    }
    alone(10, 100, 0, 3);
    store("12 34 56");
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(PerStationStorage, AnUnknownAreaNeitherStoresNorResizes)
{
    for (int areaType : {14, -1, 256, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(areaType);
        PLC_driver.ExtendVarList.clear();
        CurrentRWVar.clear();
        addStored(9, 9, 9, "AA BB");
        inFlight(variable(areaType, 100, 1), 0, 1);
        inFlight(variable(5, 100, 1), 0, 2);
        inFlight(variable(areaType, 100, 1), 0, 1);
        store("12 34");
        EXPECT_EQ(stored(), "9/9@9 = AA BB\n1/5@100 = 34 12\n");
        EXPECT_EQ(iTimes, 3);
    }
}

TEST_F(PerStationStorage, TheLastEntryIsCarriedOverAnUnknownArea)
{
    addStored(9, 9, 9, "AA BB");
    inFlight(variable(5, 100, 1), 0, 2);
    inFlight(variable(14, 100, 1), 0, 2);
    inFlight(variable(5, 200, 1), 0, 1);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n1/5@100 = 34\n");
}

TEST_F(PerStationStorage, AMissingVariableNeitherStoresNorResizes)
{
    addStored(9, 9, 9, "AA BB");
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n") << "nothing was ever in flight";
    alone(5, 100, 0, 2);
    iRet_ValidLen[1] = 1;
    settings.groupExtra = 4;
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n1/5@100 = 34 12\n");
    EXPECT_EQ(iTimes, 5);
}

TEST_F(PerStationStorage, AGroupSizeBeyondFiveIsLookedAtUpToFiveOnly)
{
    for (int i = 0; i < 6; ++i)
        inFlight(variable(5, i, 1), 2 * i, 2);
    for (int i = 6; i < 9; ++i)
        CurrentRWVar.append(variable(5, i, 1));
    for (int extra : {6, 100, INT_MAX}) {
        settings.groupExtra = extra;
        store("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10");
        EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 6) << extra;
    }
}

TEST_F(PerStationStorage, ANegativeGroupSizeStoresNothing)
{
    addStored(9, 9, 9, "AA BB");
    alone(5, 100, 0, 2);
    settings.groupExtra = -1;
    iTimes = 3;
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n");
    EXPECT_EQ(iTimes, 0);
}

TEST_F(PerStationStorage, AnyNonzeroSwitchChoosesTheList)
{
    for (int mode : {1, 2, -1, INT_MIN}) {
        settings.stationMode = mode;
        PLC_driver.ExtendVarList.clear();
        alone(5, 100, 0, 2);
        store("12 34");
        EXPECT_EQ(stored(), "1/5@100 = 34 12\n") << mode;
    }
}

TEST_F(PerStationStorage, StationsAndAddressesOfAnySizeAreKeys)
{
    inFlight(variable(5, -3, 1, -1), 0, 2);
    inFlight(variable(5, 70000, 1, 100000), 0, 2);
    inFlight(variable(5, 20000, 1, 0), 0, 2);
    store("12 34");
    EXPECT_EQ(stored(), "-1/5@-3 = 34 12\n100000/5@70000 = 34 12\n0/5@20000 = 34 12\n")
        << "no area bounds the list";
}

TEST_F(PerStationStorage, OneVariableHasAtMost65536Items)
{
    alone(1, 0, 0, 100000);
    store(QByteArray(100000, '\x5A'));
    ASSERT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.last().address, 8 * 65535);
    PLC_driver.ExtendVarList.clear();
    alone(5, 0, 0, 200000);
    store(QByteArray(200000, '\x5A'));
    ASSERT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.last().address, 65535);
    EXPECT_EQ(hex(PLC_driver.ExtendVarList.at(65534).value), "5A 5A");
    PLC_driver.ExtendVarList.clear();
    alone(10, 0, 0, 400000);
    store(QByteArray(16, '\x5A'));
    EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
}

TEST_F(PerStationStorage, TheLargestLengthIsCutLikeAnyOther)
{
    for (int areaType : {1, 5, 10}) {
        PLC_driver.ExtendVarList.clear();
        alone(areaType, 0, 0, INT_MAX);
        store("12 34 56 78");
        EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 65536) << areaType;
    }
}

TEST_F(PerStationStorage, ExtremePositionsAreHarmless)
{
    for (int areaType : {1, 5, 10}) {
        for (int start : {INT_MAX, INT_MAX - 3, INT_MIN, -1000}) {
            PLC_driver.ExtendVarList.clear();
            alone(areaType, 8, start, 8);
            store("01 02 03 04 05 06 07 08");
            const QByteArray last =
                PLC_driver.ExtendVarList.isEmpty() ? bytes("EE") : PLC_driver.ExtendVarList.last().value;
            EXPECT_EQ(hex(last), "00 00 00 00 00 00 00 00") << areaType << " " << start;
        }
        for (int address : {INT_MAX, INT_MAX - 3, INT_MIN}) {
            PLC_driver.ExtendVarList.clear();
            alone(areaType, address, 0, 8);
            store("01 02 03 04 05 06 07 08");
        }
    }
}

} // namespace
