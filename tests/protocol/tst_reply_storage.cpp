// Cutting a reply into the variables of the request in flight and storing them in the fixed image.
#include "support/frames.h"
#include "support/frames_storage.h"

#include <climits>

namespace
{

class FixedImageStorage : public frames::StorageTest
{
};

TEST_F(FixedImageStorage, EveryAreaHasItsBuffer)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0);
        alone(buffer.areaType, buffer.addressOf(3), 2, 2 * buffer.itemSize);
        store("EE EE 12 34 56 78 9A BC DE F0");
        if (buffer.itemSize == 1)
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x12, 0x34}));
        else if (buffer.itemSize == 2)
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x1234, 0x5678}));
        else
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x56781234, 0xDEF09ABC}));
    }
}

TEST_F(FixedImageStorage, WordsComeHighByteFirst)
{
    alone(5, 0, 0, 2);
    store("12 34");
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
}

TEST_F(FixedImageStorage, DoubleWordsComeLowWordFirst)
{
    alone(10, 0, 0, 4);
    store("12 34 56 78");
    EXPECT_EQ(PLC_driver.uiArea10[0], 0x56781234u);
}

TEST_F(FixedImageStorage, AGroupIsStoredInFrameOrder)
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

TEST_F(FixedImageStorage, OfTwoVariablesInOnePlaceTheLaterOneStays)
{
    inFlight(variable(5, 10, 1), 0, 2);
    inFlight(variable(5, 10, 1), 2, 2);
    store("01 02 03 04");
    EXPECT_EQ(PLC_driver.usArea5[10], 0x0304);
}

TEST_F(FixedImageStorage, ITimesIsLeftOnePastTheLastVariable)
{
    for (int count = 1; count <= 6; ++count) {
        CurrentRWVar.clear();
        for (int i = 0; i < count; ++i)
            inFlight(variable(5, i, 1), 0, 2);
        store("01 02");
        EXPECT_EQ(iTimes, count);
    }
}

TEST_F(FixedImageStorage, ANegativeGroupSizeStoresNothing)
{
    for (int extra : {-1, -2, INT_MIN}) {
        alone(5, 0, 0, 2);
        settings.groupExtra = extra;
        iTimes = 4;
        store("12 34");
        EXPECT_EQ(iTimes, 0);
        EXPECT_TRUE(imageIs(5, 0, {}));
    }
}

TEST_F(FixedImageStorage, OnlyTheGroupInFlightIsStored)
{
    inFlight(variable(5, 0, 1), 0, 2);
    inFlight(variable(5, 1, 1), 2, 2);
    settings.groupExtra = 0;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
    EXPECT_EQ(iTimes, 1);
}

TEST_F(FixedImageStorage, AnUnknownAreaStoresNothingAndDoesNotStopTheOthers)
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

TEST_F(FixedImageStorage, TheLengthOfTheVariableIsNotReadOnlyThePositions)
{
    CurrentRWVar.append(variable(5, 0, 100));
    iRet_ValidLen[0] = 2;
    store("01 02 03 04 05 06");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
}

TEST_F(FixedImageStorage, TheStationDoesNotMatter)
{
    alone(5, 0, 0, 2, 77);
    store("01 02");
    EXPECT_EQ(PLC_driver.usArea5[0], 0x0102);
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(FixedImageStorage, AnOddByteIsIgnored)
{
    fillImage(0x11);
    alone(5, 0, 0, 3);
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}, 0x11));
    for (int len : {5, 6, 7}) {
        fillImage(0x11);
        alone(10, 0, 0, len);
        store("01 02 03 04 05 06 07 08");
        EXPECT_TRUE(imageIs(10, 0, {0x03040102}, 0x11)) << len;
    }
}

TEST_F(FixedImageStorage, TooFewBytesForOneItemStoreNothing)
{
    fillImage(0x11);
    struct Row {
        int areaType, len;
    };
    for (const Row &row : {Row{1, 0}, Row{1, -1}, Row{5, 1}, Row{5, 0}, Row{5, -2}, Row{10, 3}, Row{10, 1},
                           Row{10, -4}, Row{1, INT_MIN}, Row{5, INT_MIN}, Row{10, INT_MIN}}) {
        alone(row.areaType, 0, 0, row.len);
        store("01 02 03 04 05 06 07 08");
        EXPECT_TRUE(imageIs(5, 0, {}, 0x11)) << row.areaType << " " << row.len;
    }
}

TEST_F(FixedImageStorage, ABitAddressIsCutToItsByte)
{
    for (int address : {8, 9, 13, 15}) {
        fillImage(0);
        alone(1, address, 0, 2);
        store("A5 5A");
        EXPECT_TRUE(imageIs(1, 1, {0xA5, 0x5A})) << address;
    }
}

TEST_F(FixedImageStorage, WholeBytesAreCopiedOverOldBits)
{
    fillImage(0xFF);
    alone(2, 16, 0, 1);
    store("00");
    EXPECT_TRUE(imageIs(2, 2, {0x00}, 0xFF));
}

TEST_F(FixedImageStorage, AShortReplyStoresWhatItHolds)
{
    struct Row {
        int areaType, len;
        const char *reply;
        std::vector<unsigned> items;
    };
    const Row rows[] = {
        {5, 4, "EE 12 34 56 78", {0x1234, 0x5678}},
        {5, 4, "EE 12 34 56", {0x1234}},
        {5, 4, "EE 12 34", {0x1234}},
        {5, 4, "EE 12", {}},
        {5, 4, "EE", {}},
        {5, 4, "", {}},
        {1, 3, "EE 12 34 56", {0x12, 0x34, 0x56}},
        {1, 3, "EE 12 34", {0x12, 0x34}},
        {1, 3, "EE", {}},
        {10, 8, "EE 12 34 56 78 9A BC DE F0", {0x56781234, 0xDEF09ABC}},
        {10, 8, "EE 12 34 56 78 9A BC DE", {0x56781234}},
        {10, 8, "EE 12 34 56 78", {0x56781234}},
        {10, 8, "EE 12 34 56", {}},
        {10, 8, "", {}},
    };
    for (const Row &row : rows) {
        fillImage(0x77);
        alone(row.areaType, 0, 1, row.len);
        store(row.reply);
        EXPECT_TRUE(imageIs(row.areaType, 0, row.items, 0x77)) << row.areaType << ": " << row.reply;
    }
}

TEST_F(FixedImageStorage, AShortReplyStillStoresLaterVariablesThatItHolds)
{
    inFlight(variable(5, 0, 1), 4, 2);
    inFlight(variable(5, 1, 1), 0, 2);
    store("01 02 03 04 05");
    EXPECT_TRUE(imageIs(5, 0, {0, 0x0102}));
}

TEST_F(FixedImageStorage, TheLastItemOfEveryAreaIsStoredAndNothingBehindIt)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0xC3);
        alone(buffer.areaType, buffer.addressOf(buffer.items - 1), 0, 3 * buffer.itemSize);
        store("01 02 03 04 05 06 07 08 09 0A 0B 0C");
        const unsigned item = buffer.itemSize == 1 ? 0x01 : buffer.itemSize == 2 ? 0x0102 : 0x03040102;
        EXPECT_TRUE(imageIs(buffer.areaType, buffer.items - 1, {item}, 0xC3));
    }
}

TEST_F(FixedImageStorage, ItemsOutsideAnAreaAreSkipped)
{
    fillImage(0xC3);
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        for (int first : {buffer.items, buffer.items + 1, 20000, -3, INT_MAX / 8 - 1, INT_MIN / 8 + 1}) {
            alone(buffer.areaType, buffer.addressOf(first), 0, 3 * buffer.itemSize);
            store("01 02 03 04 05 06 07 08 09 0A 0B 0C");
            ASSERT_TRUE(imageIs(buffer.areaType, 0, {}, 0xC3)) << first;
        }
        for (int address : {INT_MAX, INT_MIN, INT_MAX - 1, INT_MIN + 1}) {
            alone(buffer.areaType, address, 0, 3 * buffer.itemSize);
            store("01 02 03 04 05 06 07 08 09 0A 0B 0C");
            ASSERT_TRUE(imageIs(buffer.areaType, 0, {}, 0xC3)) << address;
        }
    }
}

TEST_F(FixedImageStorage, ItemsBeforeAnAreaAreSkippedAndThoseInsideStored)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0xC3);
        alone(buffer.areaType, buffer.addressOf(-2), 0, 3 * buffer.itemSize);
        store("01 02 03 04 05 06 07 08 09 0A 0B 0C");
        const unsigned item = buffer.itemSize == 1 ? 0x03 : buffer.itemSize == 2 ? 0x0506 : 0x0B0C090A;
        EXPECT_TRUE(imageIs(buffer.areaType, 0, {item}, 0xC3));
    }
}

// Division toward zero: bits -7 .. -1 lie in byte 0.
TEST_F(FixedImageStorage, ANegativeBitAddressIsRoundedTowardZero)
{
    for (int address : {-7, -1}) {
        fillImage(0xC3);
        alone(4, address, 0, 1);
        store("5A");
        EXPECT_TRUE(imageIs(4, 0, {0x5A}, 0xC3)) << address;
    }
    fillImage(0xC3);
    alone(4, -15, 0, 2);
    store("5A A5");
    EXPECT_TRUE(imageIs(4, 0, {0xA5}, 0xC3));
}

TEST_F(FixedImageStorage, AWholeAreaIsStoredAtOnce)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0);
        QByteArray reply(buffer.size() + 64, '\0');
        std::vector<unsigned> items;
        for (int i = 0; i < buffer.items; ++i) {
            const unsigned item = unsigned(i) * 40503u + 11u;
            items.push_back(buffer.itemSize == 1   ? item & 0xFF
                            : buffer.itemSize == 2 ? item & 0xFFFF
                                                   : item * 65537u);
            QByteArray wire;
            if (buffer.itemSize == 1)
                frames::put8(wire, items.back());
            else if (buffer.itemSize == 2)
                frames::put16(wire, items.back());
            else
                frames::putDouble(wire, items.back());
            reply.replace(i * buffer.itemSize, buffer.itemSize, wire);
        }
        alone(buffer.areaType, 0, 0, int(reply.size()));
        store(reply);
        EXPECT_TRUE(imageIs(buffer.areaType, 0, items));
    }
}

TEST_F(FixedImageStorage, ExtremePositionsAreHarmless)
{
    fillImage(0x11);
    for (int areaType : {1, 5, 10}) {
        for (int start : {INT_MAX, INT_MAX - 1, INT_MAX - 3, 1000}) {
            alone(areaType, 0, start, 8);
            store("01 02 03 04 05 06 07 08");
            EXPECT_TRUE(imageIs(areaType, 0, {}, 0x11)) << start;
        }
        for (int start : {INT_MIN, INT_MIN + 1, -1000}) {
            alone(areaType, 0, start, 8);
            store("01 02 03 04 05 06 07 08");
            EXPECT_TRUE(imageIs(areaType, 0, {}, 0x11)) << start;
        }
    }
}

TEST_F(FixedImageStorage, AnExtremeLengthStoresWhatTheReplyHolds)
{
    for (int len : {INT_MAX, INT_MAX - 3, 1 << 20}) {
        fillImage(0x11);
        alone(5, 3, 1, len);
        store("EE 12 34 56 78 9A");
        EXPECT_TRUE(imageIs(5, 3, {0x1234, 0x5678}, 0x11)) << len;
        fillImage(0x11);
        alone(1, 8, 1, len);
        store("EE 12 34");
        EXPECT_TRUE(imageIs(1, 1, {0x12, 0x34}, 0x11)) << len;
        fillImage(0x11);
        alone(10, 8, 1, len);
        store("EE 12 34 56 78");
        EXPECT_TRUE(imageIs(10, 8, {0x56781234}, 0x11)) << len;
    }
}

TEST_F(FixedImageStorage, AMissingVariableStoresNothing)
{
    store("01 02 03 04 05 06 07 08");
    EXPECT_TRUE(imageIs(5, 0, {})) << "nothing was ever in flight";
    alone(5, 0, 0, 2);
    iRet_ValidStar[1] = 2;
    iRet_ValidLen[1] = 2;
    settings.groupExtra = 3;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
    EXPECT_EQ(iTimes, 4);
}

TEST_F(FixedImageStorage, AGroupSizeBeyondFiveIsLookedAtUpToFiveOnly)
{
    for (int extra : {6, 7, 100, INT_MAX}) {
        SCOPED_TRACE(extra);
        fillImage(0);
        CurrentRWVar.clear();
        for (int i = 0; i < 6; ++i)
            inFlight(variable(5, i, 1), 2 * i, 2);
        for (int i = 6; i < 12; ++i)
            CurrentRWVar.append(variable(5, i, 1));
        settings.groupExtra = extra;
        store("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10");
        EXPECT_TRUE(imageIs(5, 0, {0x0102, 0x0304, 0x0506, 0x0708, 0x090A, 0x0B0C}));
    }
}

TEST_F(FixedImageStorage, ANullReplyIsAnEmptyOne)
{
    alone(5, 0, 0, 2);
    SaveToLocalDataErea(nullptr);
    EXPECT_TRUE(imageIs(5, 0, {}));
    EXPECT_EQ(iTimes, 1);
}

TEST_F(FixedImageStorage, WithoutSettingsOneVariableGoesIntoTheFixedImage)
{
    inFlight(variable(5, 0, 1), 0, 2);
    inFlight(variable(5, 1, 1), 2, 2);
    PLC_driver.settings = nullptr;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102}));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(FixedImageStorage, SettingsVariablesAndPositionsStayAsTheyAre)
{
    inFlight(distinctVariable(5, 3, 1), 1, 2);
    inFlight(distinctVariable(1, 8, 1), 3, 1);
    const COMINFO before = settings;
    store("EE 12 34 56");
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof before), 0);
    EXPECT_TRUE(sameVariable(CurrentRWVar.first(), distinctVariable(5, 3, 1)));
    EXPECT_TRUE(sameVariable(CurrentRWVar.last(), distinctVariable(1, 8, 1)));
    EXPECT_EQ(iRet_ValidStar[1], 3);
    EXPECT_EQ(iRet_ValidLen[1], 1);
    EXPECT_EQ(built(), 0);
}

TEST_F(FixedImageStorage, TheHostsMemoryIsNotTouched)
{
    QByteArray memory(64, '\x11');
    FlashLocalRegister(memory.data(), memory.data(), memory.data());
    alone(5, 0, 0, 8);
    store("01 02 03 04 05 06 07 08");
    EXPECT_EQ(hex(memory), hex(QByteArray(64, '\x11')));
}

TEST_F(FixedImageStorage, TheReplyIsNotChanged)
{
    QByteArray reply = bytes("01 02 03 04");
    alone(5, 0, 0, 4);
    SaveToLocalDataErea(&reply);
    EXPECT_EQ(hex(reply), "01 02 03 04");
}

// --- what the requests leave behind

TEST_F(FixedImageStorage, AWordReadIsStoredUnderTheLastGroup)
{
    RW_VAR block = variable(6, 40, 3), word = variable(5, 7, 3);
    ReadRegister1(&block);
    PLC_driver.ProtocolList.clear();
    ReadRegister(&word);
    QByteArray reply = frames::readReply(1, {{5, 7, 3}}, {bytes("01 02 03 04 05 06")});
    EXPECT_EQ(DealDataOfLocalArea(&reply, int(reply.size())), 1);
    EXPECT_TRUE(imageIs(6, 40, {0x0102, 0x0304, 0x0506}));
}

TEST_F(FixedImageStorage, ADoubleWordReadIsStoredUnderTheLastBitRead)
{
    RW_VAR bits = variable(1, 16, 2), doubles = variable(10, 7, 4);
    ReadRegister(&bits);
    PLC_driver.ProtocolList.clear();
    ReadRegister(&doubles);
    QByteArray reply = frames::readReply(1, {{10, 7, 2}}, {bytes("01 02 03 04")});
    EXPECT_EQ(DealDataOfLocalArea(&reply, int(reply.size())), 1);
    EXPECT_TRUE(imageIs(1, 2, {0x01, 0x02}));
}

TEST_F(FixedImageStorage, OnlyTheFirstVariableOfTheLastGroupTakesAWordRead)
{
    RW_VAR first = variable(6, 40, 1), second = variable(6, 50, 1), word = variable(5, 7, 4);
    ReadRegister2(&first, &second);
    PLC_driver.ProtocolList.clear();
    ReadRegister(&word); // the scheduler has set groupExtra to 0
    QByteArray reply = frames::readReply(1, {{5, 7, 4}}, {bytes("01 02 03 04 05 06 07 08")});
    EXPECT_EQ(DealDataOfLocalArea(&reply, int(reply.size())), 1);
    EXPECT_TRUE(imageIs(6, 40, {0x0102}));
}

TEST_F(FixedImageStorage, BeforeAnyGroupAWordReadIsStoredNowhere)
{
    RW_VAR word = variable(5, 7, 1);
    ReadRegister(&word);
    QByteArray reply = frames::readReply(1, {{5, 7, 1}}, {bytes("01 02")});
    EXPECT_EQ(DealDataOfLocalArea(&reply, int(reply.size())), 1);
    EXPECT_TRUE(imageIs(5, 0, {}));
}

TEST_F(FixedImageStorage, ABroadcastGroupKeepsTheOlderPositions)
{
    RW_VAR older = variable(5, 7, 2), broadcast = variable(6, 9, 1, 0), word = variable(5, 0, 2);
    ReadRegister1(&older);
    ReadRegister1(&broadcast);
    PLC_driver.ProtocolList.clear();
    ReadRegister(&word);
    QByteArray reply = frames::readReply(1, {{5, 0, 2}}, {bytes("01 02 03 04")});
    DealDataOfLocalArea(&reply, int(reply.size()));
    EXPECT_TRUE(imageIs(6, 9, {0x0102, 0x0304})) << "the broadcast's variable, the older one's length";
}

// The value is made of a byte before the reply and its first byte: nothing says what it is.
TEST_F(FixedImageStorage, AnItemHalfBeforeTheReplyIsHarmless)
{
    for (int mode : {0, 1}) {
        settings.stationMode = mode;
        for (int areaType : {1, 5, 10}) {
            for (int start : {-1, -2, -3}) {
                alone(areaType, 0, start, 8);
                store("01 02 03 04 05 06 07 08");
            }
        }
    }
    EXPECT_EQ(iTimes, 1);
}

} // namespace
