// Cutting a reply into the variables of the group in flight, and what one request leaves behind for the next.
#include "support/frames.h"
#include "support/frames_storage.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class GroupStorage : public frames::GroupStorageTest
{
};

class PerStationGroupStorage : public frames::GroupStorageTest
{
protected:
    PerStationGroupStorage() { settings.stationMode = 1; }
};

TEST_F(GroupStorage, AGroupIsStoredInFrameOrder)
{
    inFlight(variable(5, 10, 1), 5, 2);
    inFlight(variable(6, 20, 2), 7, 4);
    inFlight(variable(5, 11, 1), 11, 2);
    store("00 00 00 00 00 01 02 03 04 05 06 07 08 00 00");
    EXPECT_EQ(PLC_driver.usArea5[10], 0x0102);
    EXPECT_EQ(PLC_driver.usArea6[20], 0x0304);
    EXPECT_EQ(PLC_driver.usArea6[21], 0x0506);
    EXPECT_EQ(PLC_driver.usArea5[11], 0x0708);
    EXPECT_EQ(iTimes, 3);
}

TEST_F(GroupStorage, OfTwoVariablesInOnePlaceTheLaterOneStays)
{
    inFlight(variable(5, 10, 1), 0, 2);
    inFlight(variable(5, 10, 1), 2, 2);
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 10, {0x0304}));
}

TEST_F(GroupStorage, ITimesIsLeftOnePastTheLastVariable)
{
    for (int count = 1; count <= 6; ++count) {
        CurrentRWVar.clear();
        for (int i = 0; i < count; ++i)
            inFlight(variable(5, i, 1), 0, 2);
        store("01 02");
        EXPECT_EQ(iTimes, count);
    }
}

TEST_F(GroupStorage, ANegativeGroupSizeStoresNothing)
{
    addStored(9, 9, 9, "AA BB");
    inFlight(variable(5, 0, 1), 0, 2);
    for (int mode : {0, 1}) {
        settings.stationMode = mode;
        for (int extra : {-1, -2, INT_MIN}) {
            settings.groupExtra = extra;
            iTimes = 4;
            store("12 34");
            EXPECT_EQ(iTimes, 0) << extra;
            EXPECT_TRUE(imageIsEmpty()) << extra;
            EXPECT_EQ(stored(), "9/9@9 = AA BB\n") << extra;
        }
    }
}

TEST_F(GroupStorage, OnlyTheGroupInFlightIsStored)
{
    inFlight(variable(5, 0, 1), 0, 2);
    inFlight(variable(5, 1, 1), 2, 2);
    settings.groupExtra = 0;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
    EXPECT_EQ(iTimes, 1);
}

TEST_F(GroupStorage, AnUnknownAreaStoresNothingAndDoesNotStopTheOthers)
{
    for (int areaType : {14, -1, 15, 256, 261, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(areaType);
        fillImage(0);
        CurrentRWVar.clear();
        inFlight(variable(5, 0, 1), 0, 2);
        inFlight(variable(areaType, 1, 1), 0, 2);
        inFlight(variable(5, 2, 1), 2, 2);
        store("01 02 03 04");
        EXPECT_TRUE(imageIs(5, 0, {0x0102, 0, 0x0304}));
        EXPECT_EQ(iTimes, 3);
    }
}

TEST_F(GroupStorage, AShortReplyStillStoresLaterVariablesThatItHolds)
{
    inFlight(variable(5, 0, 1), 4, 2);
    inFlight(variable(5, 1, 1), 0, 2);
    store("01 02 03 04 05");
    EXPECT_TRUE(imageIs(5, 0, {0, 0x0102}));
}

TEST_F(GroupStorage, AMissingVariableNeitherStoresNorResizes)
{
    inFlight(variable(5, 0, 1), 0, 2);
    iRet_ValidStar[1] = 2;
    std::fill(iRet_ValidLen + 1, iRet_ValidLen + 5, 2);
    settings.groupExtra = 3;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
    EXPECT_EQ(iTimes, 4);
    addStored(9, 9, 9, "AA BB");
    iRet_ValidLen[1] = 1;
    settings.groupExtra = 4;
    settings.stationMode = 1;
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n1/5@0 = 34 12\n");
    EXPECT_EQ(iTimes, 5);
}

TEST_F(GroupStorage, AGroupSizeBeyondFiveIsLookedAtUpToFiveOnly)
{
    for (int i = 0; i < 6; ++i)
        inFlight(variable(5, i, 1), 2 * i, 2);
    for (int i = 6; i < 12; ++i)
        CurrentRWVar.append(variable(5, i, 1));
    for (int extra : {6, 7, 100, INT_MAX}) {
        SCOPED_TRACE(extra);
        fillImage(0);
        PLC_driver.ExtendVarList.clear();
        settings.groupExtra = extra;
        for (int mode : {0, 1}) {
            settings.stationMode = mode;
            store("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10");
        }
        EXPECT_TRUE(imageIs(5, 0, {0x0102, 0x0304, 0x0506, 0x0708, 0x090A, 0x0B0C}));
        EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 6);
    }
}

TEST_F(GroupStorage, WithoutSettingsOneVariableIsStored)
{
    inFlight(variable(5, 0, 1), 0, 2);
    inFlight(variable(5, 1, 1), 2, 2);
    PLC_driver.settings = nullptr;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
}

TEST_F(GroupStorage, VariablesAndPositionsStayAsTheyAre)
{
    inFlight(distinctVariable(5, 3, 1), 1, 2);
    inFlight(distinctVariable(1, 8, 1), 3, 1);
    store("EE 12 34 56");
    EXPECT_TRUE(sameVariable(CurrentRWVar.first(), distinctVariable(5, 3, 1)));
    EXPECT_TRUE(sameVariable(CurrentRWVar.last(), distinctVariable(1, 8, 1)));
    EXPECT_EQ(iRet_ValidStar[1], 3);
    EXPECT_EQ(iRet_ValidLen[1], 1);
}

// --- the entry that is resized is carried from one variable of a group to the next

TEST_F(PerStationGroupStorage, TwoStationsKeepTheSameAddressApart)
{
    inFlight(variable(5, 100, 1, 1), 0, 2);
    inFlight(variable(5, 100, 1, 2), 2, 2);
    store("12 34 56 78");
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n2/5@100 = 78 56\n");
    EXPECT_EQ(iTimes, 2);
}

TEST_F(PerStationGroupStorage, WithoutAPassTheEntryOfThePreviousVariableIsResized)
{
    inFlight(variable(5, 100, 1), 0, 2);
    inFlight(variable(5, 200, 1), 2, 1);
    inFlight(variable(5, 300, 1), 2, 2);
    store("12 34 56 78");
    EXPECT_EQ(stored(), "1/5@100 = 34\n1/5@300 = 78 56\n");
}

TEST_F(PerStationGroupStorage, TheResizedEntryIsTheOneFoundLastWhereverItStands)
{
    addStored(1, 5, 300, "01 02");
    addStored(1, 5, 100, "03 04");
    inFlight(variable(5, 100, 1), 0, 2); // entry 1
    inFlight(variable(1, 0, 1), 0, 0);   // no pass
    store("12 34");
    EXPECT_EQ(stored(), "1/5@300 = 01 02\n1/5@100 = \n");
}

TEST_F(PerStationGroupStorage, AnUnknownAreaNeitherStoresNorResizes)
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

TEST_F(PerStationGroupStorage, TheLastEntryIsCarriedOverAnUnknownArea)
{
    addStored(9, 9, 9, "AA BB");
    inFlight(variable(5, 100, 1), 0, 2);
    inFlight(variable(14, 100, 1), 0, 2);
    inFlight(variable(5, 200, 1), 0, 1);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n1/5@100 = 34\n");
}

// --- single reads of words and double words leave no positions of their own

class StorageAfterAnother : public DriverTest
{
protected:
    template <typename... Vars>
    static void build(void (*builder)(Vars *...), Vars... vars)
    {
        PLC_driver.ProtocolList.clear();
        builder(&vars...);
    }

    /// Reads one block singly and answers with these data; the scheduler has set groupExtra to 0.
    static void answer(frames::Block block, const char *data)
    {
        build(ReadRegister, variable(block.areaType, block.address, block.length));
        if (block.areaType == 10)
            block.length /= 2;
        QByteArray reply = frames::readReply(1, {block}, {bytes(data)});
        EXPECT_EQ(DealDataOfLocalArea(&reply, int(reply.size())), 1);
    }
};

TEST_F(StorageAfterAnother, AWordReadIsStoredUnderTheLastGroup)
{
    build(ReadRegister1, variable(6, 40, 3));
    answer({5, 7, 3}, "01 02 03 04 05 06");
    EXPECT_TRUE(imageIs(6, 40, {0x0102, 0x0304, 0x0506}));
}

TEST_F(StorageAfterAnother, ADoubleWordReadIsStoredUnderTheLastBitRead)
{
    build(ReadRegister, variable(1, 16, 2));
    answer({10, 7, 4}, "01 02 03 04");
    EXPECT_TRUE(imageIs(1, 2, {0x01, 0x02}));
}

TEST_F(StorageAfterAnother, OnlyTheFirstVariableOfTheLastGroupTakesAWordRead)
{
    build(ReadRegister2, variable(6, 40, 1), variable(6, 50, 1));
    answer({5, 7, 4}, "01 02 03 04 05 06 07 08");
    EXPECT_TRUE(imageIs(6, 40, {0x0102}));
}

TEST_F(StorageAfterAnother, BeforeAnyGroupAWordReadIsStoredNowhere)
{
    answer({5, 7, 1}, "01 02");
    EXPECT_TRUE(imageIsEmpty());
}

TEST_F(StorageAfterAnother, ABroadcastGroupKeepsTheOlderPositions)
{
    build(ReadRegister1, variable(5, 7, 2));
    build(ReadRegister1, variable(6, 9, 1, 0));
    answer({5, 0, 2}, "01 02 03 04");
    EXPECT_TRUE(imageIs(6, 9, {0x0102, 0x0304})) << "the broadcast's variable, the older one's length";
}

} // namespace
