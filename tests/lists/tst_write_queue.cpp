// AddListWriteVar: the queue of writes.
#include "lists/blocks.h"
#include "support/image_check.h"

#include <climits>
#include <functional>

namespace
{

class WriteQueue : public DriverTest
{
protected:
    static int add(const RW_VAR &var, int mode = 0)
    {
        RW_VAR copy = var;
        const int size = AddListWriteVar(&copy, mode);
        EXPECT_TRUE(sameVariable(copy, var)) << "the caller's record";
        EXPECT_TRUE(locksAreFree());
        return size;
    }

    static RW_VAR word(int address, const char *value = "00 00")
    {
        return variable(5, address, 1, 1, bytes(value));
    }

    static void fill(int count)
    {
        for (int i = 0; i < count; ++i)
            PLC_driver.WriteVarList.append(word(i));
    }
};

TEST_F(WriteQueue, ReturnsItsSize)
{
    EXPECT_EQ(add(word(1)), 1);
    EXPECT_EQ(add(word(2)), 2);
    EXPECT_EQ(add(word(3)), 3);
    EXPECT_EQ(blocks(PLC_driver.WriteVarList), "5@1+1 5@2+1 5@3+1");
}

TEST_F(WriteQueue, HoldsWholeCopies)
{
    add(distinctVariable(5, 100, 2, 3));
    EXPECT_TRUE(sameVariable(PLC_driver.WriteVarList.at(0), distinctVariable(5, 100, 2, 3)));
}

TEST_F(WriteQueue, ThreeWritesOfOneVariableBehindTheOneInProgressLeaveTheLastValue)
{
    fill(3);
    EXPECT_EQ(add(word(50, "01 00")), 4);
    EXPECT_EQ(add(word(50, "02 00")), 4);
    EXPECT_EQ(add(word(50, "03 00")), 4);
    EXPECT_EQ(blocks(PLC_driver.WriteVarList), "5@0+1 5@1+1 5@2+1 5@50+1");
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(3).data), "03 00");
}

TEST_F(WriteQueue, ANewerValueTakesThePlaceOfTheOlderOneWithAllItsFields)
{
    fill(4);
    RW_VAR newer = distinctVariable(5, 2, 1, 1);
    EXPECT_EQ(add(newer), 4);
    EXPECT_EQ(blocks(PLC_driver.WriteVarList), "5@0+1 5@1+1 5@2+1 5@3+1");
    EXPECT_TRUE(sameVariable(PLC_driver.WriteVarList.at(2), newer));
}

TEST_F(WriteQueue, TheWriteInProgressIsNeverReplaced)
{
    fill(2);
    EXPECT_EQ(add(word(0, "07 00")), 3);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(0).data), "00 00");
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(2).data), "07 00");
    EXPECT_EQ(add(word(0, "08 00")), 3);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(0).data), "00 00");
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(2).data), "08 00");
}

TEST_F(WriteQueue, ASingleEntryIsFollowedByItsOwnTwin)
{
    fill(1);
    EXPECT_EQ(add(word(0, "07 00")), 2);
    EXPECT_EQ(add(word(0, "08 00")), 2);
}

TEST_F(WriteQueue, TheFirstOfSeveralTwinsIsReplaced)
{
    fill(1);
    PLC_driver.WriteVarList.append(word(9, "01 00"));
    PLC_driver.WriteVarList.append(word(9, "02 00"));
    EXPECT_EQ(add(word(9, "03 00")), 3);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(1).data), "03 00");
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(2).data), "02 00");
}

TEST_F(WriteQueue, Mode1AppendsAsItStands)
{
    fill(3);
    EXPECT_EQ(add(word(1, "01 00"), 1), 4);
    EXPECT_EQ(add(word(1, "02 00"), 1), 5);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(1).data), "00 00");
}

TEST_F(WriteQueue, EveryOtherModeAsksForTheChecks)
{
    fill(3);
    for (int mode : {0, 2, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(add(word(1, "01 00"), mode), 3) << mode;
}

TEST_F(WriteQueue, AFullQueueDropsAWriteOfANewVariable)
{
    fill(1024);
    EXPECT_EQ(add(word(5000)), 1024);
    EXPECT_EQ(PLC_driver.WriteVarList.last().address, 1023);
}

TEST_F(WriteQueue, AFullQueueStillTakesANewerValue)
{
    fill(1024);
    EXPECT_EQ(add(word(1023, "01 00")), 1024);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(1023).data), "01 00");
    EXPECT_EQ(add(word(1, "02 00")), 1024);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(1).data), "02 00");
}

TEST_F(WriteQueue, AFullQueueDropsATwinOfTheWriteInProgress)
{
    fill(1024);
    EXPECT_EQ(add(word(0, "01 00")), 1024);
    EXPECT_EQ(hex(PLC_driver.WriteVarList.at(0).data), "00 00");
}

TEST_F(WriteQueue, TheLastPlaceIsTaken)
{
    fill(1023);
    EXPECT_EQ(add(word(5000)), 1024);
    EXPECT_EQ(add(word(5001)), 1024);
}

TEST_F(WriteQueue, Mode1KnowsNoLimit)
{
    fill(1024);
    EXPECT_EQ(add(word(5000), 1), 1025);
    EXPECT_EQ(add(word(5001)), 1025);
}

TEST_F(WriteQueue, DoesNotLookAtAddressTextOrSettings)
{
    settings.defaultStation = 9;
    settings.remoteMode = 8;
    settings.localLinkNo = 7;
    settings.blockWords = 1;
    RW_VAR var = distinctVariable(200, -5, 70, 3);
    var.addressText = QString::fromLatin1("-1");
    EXPECT_EQ(add(var), 1);
    EXPECT_TRUE(sameVariable(PLC_driver.WriteVarList.at(0), var));
}

TEST_F(WriteQueue, NullAndMissingSettingsAreHarmless)
{
    EXPECT_EQ(AddListWriteVar(nullptr, 0), 0);
    EXPECT_EQ(AddListWriteVar(nullptr, 1), 0);
    EXPECT_TRUE(locksAreFree());
    PLC_driver.settings = nullptr;
    EXPECT_EQ(add(word(1)), 1);
}

TEST_F(WriteQueue, TheOtherListsAndTheImageStayAsTheyAre)
{
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    add(word(1, "01 02"));
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    EXPECT_TRUE(sameImage(image));
}

class WriteTwins : public WriteQueue, public ::testing::WithParamInterface<Difference>
{
};

TEST_P(WriteTwins, AreToldByPlaceAlone)
{
    fill(2);
    RW_VAR var = word(1, "01 00");
    GetParam().make(var);
    EXPECT_EQ(add(var), GetParam().another ? 3 : 2);
    EXPECT_TRUE(sameVariable(PLC_driver.WriteVarList.last(), var));
}

INSTANTIATE_TEST_SUITE_P(Place, WriteTwins,
                         ::testing::Values(Difference{"station", [](RW_VAR &v) { v.station = 2; }, true},
                                           Difference{"area type", [](RW_VAR &v) { v.areaType = 6; }, true},
                                           Difference{"address", [](RW_VAR &v) { v.address = 2; }, true},
                                           Difference{"length", [](RW_VAR &v) { v.length = 2; }, true}));
INSTANTIATE_TEST_SUITE_P(
    Rest, WriteTwins,
    ::testing::Values(Difference{"host type", [](RW_VAR &v) { v.hostType = 2; }, false},
                      Difference{"host address", [](RW_VAR &v) { v.hostAddr = 2; }, false},
                      Difference{"link", [](RW_VAR &v) { v.linkNo = 2; }, false},
                      Difference{"text", [](RW_VAR &v) { v.addressText = QString::fromLatin1("2"); }, false},
                      Difference{"data", [](RW_VAR &v) { v.data = bytes("FF"); }, false}));

} // namespace
