// Storing the reply to a remote read: one variable, placed by the request at the head of the list.
#include "support/fixture.h"
#include "support/frames.h"

#include <climits>

namespace
{

class RemoteStorage : public DriverTest
{
protected:
    RemoteStorage()
    {
        // What the local path would use must not matter.
        for (int i = 0; i < 6; ++i) {
            CurrentRWVar.append(variable(6, 100 + i, 1));
            iRet_ValidStar[i] = 0;
            iRet_ValidLen[i] = 2;
        }
        iTimes = 3;
        settings.groupExtra = 5;
    }

    void TearDown() override
    {
        EXPECT_EQ(iTimes, 3);
        EXPECT_EQ(int(CurrentRWVar.size()), 6);
    }

    /// Puts a request at the head whose len data bytes begin at start.
    static void inFlight(int areaType, int address, int start, int len, int station = 1)
    {
        Protocol request;
        request.var = variable(areaType, address, 0, station);
        request.var.remoteStoreMark = -1;
        request.dataStart = start;
        request.dataLen = len;
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(request);
    }

    static void store(const char *reply)
    {
        QByteArray data = bytes(reply);
        SaveToRemoteDataErea(&data);
    }
};

class RemotePerStation : public RemoteStorage
{
protected:
    RemotePerStation() { settings.stationMode = 1; }
};

// --- fixed image

TEST_F(RemoteStorage, EveryAreaHasItsBuffer)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0);
        inFlight(buffer.areaType, buffer.addressOf(3), 3, 2 * buffer.itemSize);
        store("EE EE EE 12 34 56 78 9A BC DE F0 11 22");
        if (buffer.itemSize == 1)
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x12, 0x34}));
        else if (buffer.itemSize == 2)
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x1234, 0x5678}));
        else
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x56781234, 0xDEF09ABC}));
    }
}

TEST_F(RemoteStorage, TwoWordsAreStoredFromTheDataStart)
{
    inFlight(5, 10, 3, 4);
    store("EE EE EE 01 02 03 04 EE EE");
    EXPECT_TRUE(imageIs(5, 10, {0x0102, 0x0304}));
}

TEST_F(RemoteStorage, AnUnknownAreaStoresNothing)
{
    for (int areaType : {14, -1, 15, 256, 261, INT_MAX, INT_MIN}) {
        inFlight(areaType, 0, 0, 4);
        store("01 02 03 04");
        EXPECT_TRUE(imageIs(5, 0, {})) << areaType;
    }
}

TEST_F(RemoteStorage, TheHeadRequestIsServedAndNoOther)
{
    inFlight(5, 10, 0, 2);
    Protocol later = head();
    later.var.address = 20;
    PLC_driver.ProtocolList.append(later);
    store("01 02");
    EXPECT_TRUE(imageIs(5, 10, {0x0102}));
    EXPECT_EQ(built(), 2) << "the request stays";
}

TEST_F(RemoteStorage, TheLengthOfTheVariableIsNotRead)
{
    inFlight(5, 10, 0, 2);
    PLC_driver.ProtocolList.first().var.length = 100;
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 10, {0x0102}));
}

TEST_F(RemoteStorage, ABitAddressIsCutToItsByteAndBytesAreCopiedWhole)
{
    for (int address : {8, 13, 15}) {
        fillImage(0xFF);
        inFlight(1, address, 0, 2);
        store("A5 00");
        EXPECT_TRUE(imageIs(1, 1, {0xA5, 0x00}, 0xFF)) << address;
    }
}

TEST_F(RemoteStorage, AnOddByteIsIgnoredAndTooFewStoreNothing)
{
    struct Row {
        int areaType, len;
        std::vector<unsigned> items;
    };
    const Row rows[] = {
        {5, 3, {0x0102}},
        {5, 2, {0x0102}},
        {5, 1, {}},
        {5, 0, {}},
        {5, -2, {}},
        {5, INT_MIN, {}},
        {10, 7, {0x03040102}},
        {10, 4, {0x03040102}},
        {10, 3, {}},
        {10, 0, {}},
        {10, -4, {}},
        {10, INT_MIN, {}},
        {1, 1, {0x01}},
        {1, 0, {}},
        {1, -1, {}},
        {1, INT_MIN, {}},
    };
    for (const Row &row : rows) {
        fillImage(0x11);
        inFlight(row.areaType, 0, 0, row.len);
        store("01 02 03 04 05 06 07 08");
        EXPECT_TRUE(imageIs(row.areaType, 0, row.items, 0x11)) << row.areaType << " " << row.len;
    }
}

TEST_F(RemoteStorage, AShortReplyStoresWhatItHolds)
{
    struct Row {
        int areaType, len;
        const char *reply;
        std::vector<unsigned> items;
    };
    const Row rows[] = {
        {5, 4, "EE 12 34 56", {0x1234}},  {5, 4, "EE 12", {}}, {5, 4, "", {}},
        {1, 3, "EE 12 34", {0x12, 0x34}}, {1, 3, "EE", {}},    {10, 8, "EE 12 34 56 78 9A BC DE", {0x56781234}},
        {10, 8, "EE 12 34 56", {}},
    };
    for (const Row &row : rows) {
        fillImage(0x77);
        inFlight(row.areaType, 0, 1, row.len);
        store(row.reply);
        EXPECT_TRUE(imageIs(row.areaType, 0, row.items, 0x77)) << row.areaType << ": " << row.reply;
    }
}

TEST_F(RemoteStorage, ItemsInsideAnAreaAreStoredAndThoseOutsideSkipped)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        const char *reply = "01 02 03 04 05 06 07 08 09 0A 0B 0C";
        fillImage(0xC3);
        inFlight(buffer.areaType, buffer.addressOf(buffer.items - 1), 0, 3 * buffer.itemSize);
        store(reply);
        EXPECT_TRUE(imageIs(buffer.areaType, buffer.items - 1,
                            {buffer.itemSize == 1   ? 0x01u
                             : buffer.itemSize == 2 ? 0x0102u
                                                    : 0x03040102u},
                            0xC3));
        fillImage(0xC3);
        inFlight(buffer.areaType, buffer.addressOf(-2), 0, 3 * buffer.itemSize);
        store(reply);
        EXPECT_TRUE(imageIs(buffer.areaType, 0,
                            {buffer.itemSize == 1   ? 0x03u
                             : buffer.itemSize == 2 ? 0x0506u
                                                    : 0x0B0C090Au},
                            0xC3));
        fillImage(0xC3);
        for (int address : {buffer.addressOf(buffer.items), buffer.addressOf(-3), 1 << 20, INT_MAX, INT_MIN}) {
            inFlight(buffer.areaType, address, 0, 3 * buffer.itemSize);
            store(reply);
            ASSERT_TRUE(imageIs(buffer.areaType, 0, {}, 0xC3)) << address;
        }
    }
}

TEST_F(RemoteStorage, ExtremePositionsAreHarmless)
{
    fillImage(0x11);
    for (int areaType : {1, 5, 10}) {
        for (int start : {INT_MAX, INT_MAX - 3, 1000, INT_MIN, -1000}) {
            inFlight(areaType, 0, start, 8);
            store("01 02 03 04 05 06 07 08");
            EXPECT_TRUE(imageIs(areaType, 0, {}, 0x11)) << start;
        }
    }
    inFlight(5, 0, 0, INT_MAX);
    store("01 02 03 04");
    EXPECT_TRUE(imageIs(5, 0, {0x0102, 0x0304}, 0x11));
}

TEST_F(RemoteStorage, NothingIsStoredWithoutARequestOrAReply)
{
    store("01 02 03 04");
    inFlight(5, 0, 0, 4);
    SaveToRemoteDataErea(nullptr);
    EXPECT_TRUE(imageIs(5, 0, {}));
}

TEST_F(RemoteStorage, WithoutSettingsTheFixedImageIsUsed)
{
    inFlight(5, 10, 0, 2);
    PLC_driver.settings = nullptr;
    store("01 02");
    EXPECT_TRUE(imageIs(5, 10, {0x0102}));
}

// --- the routines on a caller's own buffer

TEST_F(RemoteStorage, TheRoutinesTakePositionAndAddressFromTheHeadRequest)
{
    std::vector<unsigned char> bits(3000, 0);
    std::vector<unsigned short> words(12000, 0);
    std::vector<unsigned int> doubles(3000, 0);
    QByteArray reply = bytes("EE 01 02 03 04 05 06 07 08");
    inFlight(12, 2990, 1, 8);
    SaveWordToUSRemote(&reply, words.data());
    EXPECT_EQ(words[2990], 0x0102);
    EXPECT_EQ(words[2993], 0x0708);
    SaveWordToUIRemote(&reply, doubles.data());
    EXPECT_EQ(doubles[2990], 0x03040102u);
    EXPECT_EQ(doubles[2991], 0x07080506u);
    inFlight(12, 8 * 2990, 1, 3);
    SaveBitToUCRemote(&reply, bits.data());
    EXPECT_EQ(bits[2990], 1);
    EXPECT_EQ(bits[2992], 3);
    EXPECT_EQ(bits[2993], 0);
    EXPECT_TRUE(imageIs(5, 0, {}));
}

TEST_F(RemoteStorage, TheBoundBelongsToTheBufferNotToTheVariablesArea)
{
    fillImage(0xC3);
    QByteArray reply = bytes("01 02 03 04");
    inFlight(5, 7, 0, 4);
    SaveWordToUSRemote(&reply, PLC_driver.usArea13);
    EXPECT_TRUE(imageIs(13, 7, {0x0102}, 0xC3));
    fillImage(0xC3);
    inFlight(12, 200, 0, 4);
    SaveWordToUSRemote(&reply, PLC_driver.usArea9);
    EXPECT_TRUE(imageIs(9, 200, {0x0102, 0x0304}, 0xC3));
}

TEST_F(RemoteStorage, TheRoutinesTakeNullPointersAndNoRequest)
{
    unsigned char bits[2] = {};
    unsigned short words[2] = {};
    unsigned int doubles[2] = {};
    QByteArray reply = bytes("01 02 03 04");
    for (bool request : {false, true}) {
        if (request)
            inFlight(5, 0, 0, 4);
        SaveBitToUCRemote(&reply, request ? nullptr : bits);
        SaveWordToUSRemote(&reply, request ? nullptr : words);
        SaveWordToUIRemote(&reply, request ? nullptr : doubles);
        SaveBitToUCRemote(nullptr, bits);
        SaveWordToUSRemote(nullptr, words);
        SaveWordToUIRemote(nullptr, doubles);
    }
    EXPECT_EQ(bits[0] + words[0] + int(doubles[0]), 0);
}

// --- per-station list

TEST_F(RemotePerStation, EveryValueGetsItsEntryAndTheLastGrowsToTheWholeLength)
{
    inFlight(1, 16, 1, 3, 7);
    store("EE 12 34 56 78");
    EXPECT_EQ(stored(), "7/1@16 = 12\n7/1@24 = 34\n7/1@32 = 56 00 00\n");
    PLC_driver.ExtendVarList.clear();
    inFlight(5, 16, 1, 4, 7);
    store("EE 12 34 56 78");
    EXPECT_EQ(stored(), "7/5@16 = 34 12\n7/5@17 = 78 56 00 00\n");
    PLC_driver.ExtendVarList.clear();
    inFlight(10, 16, 1, 8, 7);
    store("EE 12 34 56 78 9A BC DE F0");
    EXPECT_EQ(stored(), "7/10@16 = 34 12 78 56\n7/10@17 = BC 9A F0 DE 00 00 00 00\n");
    EXPECT_TRUE(imageIs(5, 0, {}));
}

TEST_F(RemotePerStation, OneElementKeepsItsSize)
{
    for (int areaType = 0; areaType <= 13; ++areaType) {
        PLC_driver.ExtendVarList.clear();
        const int size = area(areaType).itemSize;
        inFlight(areaType, 16, 0, size, 7);
        store("12 34 56 78");
        EXPECT_EQ(stored(), "7/" + std::to_string(areaType) + "@16 = " +
                                (size == 1   ? "12"
                                 : size == 2 ? "34 12"
                                             : "34 12 78 56") +
                                "\n");
    }
}

TEST_F(RemotePerStation, WithoutAPassEntryZeroIsResized)
{
    for (int areaType : {1, 5, 10}) {
        PLC_driver.ExtendVarList.clear();
        addStored(9, 9, 9, "AA BB CC DD");
        addStored(8, 8, 8, "AA BB CC DD");
        inFlight(areaType, 100, 0, 0);
        store("12 34");
        EXPECT_EQ(stored(), "9/9@9 = \n8/8@8 = AA BB CC DD\n") << areaType;
    }
    inFlight(10, 100, 0, 3);
    store("12 34 56");
    EXPECT_EQ(stored(), "9/9@9 = 00 00 00\n8/8@8 = AA BB CC DD\n");
    inFlight(5, 100, 0, 1);
    store("12 34 56");
    EXPECT_EQ(stored(), "9/9@9 = 00\n8/8@8 = AA BB CC DD\n");
}

// Unlike the local path, it starts from entry 0 for every reply.
TEST_F(RemotePerStation, WithoutAPassEntryZeroIsResizedAfterAnotherVariableToo)
{
    addStored(9, 9, 9, "AA BB CC DD");
    inFlight(5, 100, 0, 2);
    store("12 34");
    inFlight(5, 100, 0, 0);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = \n1/5@100 = 34 12\n");
}

TEST_F(RemotePerStation, WithoutAPassAnEmptyListStaysEmpty)
{
    for (int areaType : {1, 5, 10}) {
        for (int len : {0, -1, -4, INT_MIN}) {
            inFlight(areaType, 100, 0, len);
            store("12 34");
            EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
        }
    }
}

TEST_F(RemotePerStation, ANegativeLengthCountsAsZero)
{
    for (int len : {-1, -4, INT_MIN}) {
        PLC_driver.ExtendVarList.clear();
        addStored(9, 9, 9, "AA BB");
        inFlight(5, 100, 0, len);
        store("12 34");
        EXPECT_EQ(stored(), "9/9@9 = \n") << len;
    }
}

TEST_F(RemotePerStation, AnUnknownAreaNeitherStoresNorResizes)
{
    for (int areaType : {14, -1, INT_MAX, INT_MIN}) {
        PLC_driver.ExtendVarList.clear();
        addStored(9, 9, 9, "AA BB");
        inFlight(areaType, 100, 0, 1);
        store("12 34");
        EXPECT_EQ(stored(), "9/9@9 = AA BB\n") << areaType;
    }
}

TEST_F(RemotePerStation, AValueThatTheReplyLacksIsClearedAndTheLastFilledWithZero)
{
    addStored(1, 5, 100, "AA BB");
    addStored(1, 5, 101, "CC DD");
    inFlight(5, 100, 1, 4);
    store("EE 12");
    EXPECT_EQ(stored(), "1/5@100 = \n1/5@101 = 00 00 00 00\n");
    PLC_driver.ExtendVarList.clear();
    inFlight(10, 100, 1, 4);
    SaveToRemoteDataErea(nullptr);
    EXPECT_EQ(stored(), "1/10@100 = 00 00 00 00\n");
}

TEST_F(RemotePerStation, OneReplyHasAtMost65536Items)
{
    inFlight(5, 0, 0, 200000);
    store("12 34");
    EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
    PLC_driver.ExtendVarList.clear();
    inFlight(1, 0, 0, INT_MAX);
    store("12 34");
    EXPECT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
}

TEST_F(RemotePerStation, WithoutARequestNothingIsStored)
{
    addStored(9, 9, 9, "AA BB");
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA BB\n");
}

// --- judged and stored

class RemoteReplies : public RemoteStorage
{
protected:
    /// Builds a remote read of two words at 10; the reply with this text as its data.
    static void read(int mark, int station = 1)
    {
        PLC_driver.ProtocolList.clear();
        RW_VAR var = variable(5, 10, 2, station);
        var.hostType = 4;
        var.linkNo = 3;
        var.remoteStoreMark = mark;
        Remote_ReadVar(&var);
    }
    static QByteArray reply() { return frames::sealed(bytes("01 FE 01 12 34 56 78")); }
    static int judged(QByteArray data) { return DealDataOfRemoteArea(&data, int(data.size())); }
};

TEST_F(RemoteReplies, AGoodReplyWithTheMarkIsStored)
{
    read(-1);
    EXPECT_EQ(judged(reply()), 1);
    EXPECT_TRUE(imageIs(5, 10, {0x1234, 0x5678}));
    EXPECT_TRUE(locksAreFree());
}

TEST_F(RemoteReplies, AGoodReplyWithTheMarkGives100OnceAFrameIsDone)
{
    for (int done : {1, 0, 2, -1}) {
        read(-1);
        settings.frameDone = done;
        EXPECT_EQ(judged(reply()), done == 1 ? 100 : 1) << done;
    }
}

TEST_F(RemoteReplies, WithoutTheMarkNothingIsStored)
{
    for (int mark : {0, 1, -2, INT_MAX, INT_MIN}) {
        read(mark);
        EXPECT_EQ(judged(reply()), 100) << mark;
        EXPECT_TRUE(imageIs(5, 10, {})) << mark;
    }
}

TEST_F(RemoteReplies, FailuresHaveTheRemoteCodes)
{
    read(-1);
    EXPECT_EQ(judged(QByteArray()), 145);
    EXPECT_EQ(judged(reply().left(8)), 175);
    EXPECT_EQ(judged(reply() + '\0'), 175);
    EXPECT_EQ(judged(QByteArray(9, '\0')), 115);
    EXPECT_EQ(DealDataOfRemoteArea(nullptr, 0), 145);
    EXPECT_EQ(DealDataOfRemoteArea(nullptr, 9), 115);
    EXPECT_TRUE(imageIs(5, 10, {}));
}

TEST_F(RemoteReplies, AreCheckedByCrcAndNotByTheSumOfTheirRequests)
{
    read(-1);
    EXPECT_EQ(judged(frames::summed(bytes("01 FE 01 12 34 56 78 00"))), 115);
}

TEST_F(RemoteReplies, NoReplyToABroadcastIsASuccess)
{
    read(0, 0);
    EXPECT_EQ(judged(QByteArray()), 100);
    read(-1, 0);
    EXPECT_EQ(judged(QByteArray()), 1);
    EXPECT_TRUE(imageIs(5, 10, {}));
}

TEST_F(RemoteReplies, AnAcknowledgementOfThreeBytesIsASuccessWhereThreeAreDue)
{
    read(0);
    PLC_driver.ProtocolList.first().replyLen = 3;
    EXPECT_EQ(judged(bytes("01 FF 20")), 100);
    PLC_driver.ProtocolList.first().var.remoteStoreMark = -1;
    EXPECT_EQ(judged(bytes("01 FF 20")), 1) << "and nothing of it is stored, there are no data bytes";
    EXPECT_TRUE(imageIs(5, 10, {}));
}

} // namespace
