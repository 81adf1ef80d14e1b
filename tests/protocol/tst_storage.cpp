// Storing the reply to one variable, on the local and on the remote path: in the fixed image, in the per-station
// list, and by the save routines on a caller's own buffer.
#include "support/frames_storage.h"
#include "support/image_check.h"

#include <climits>
#include <cstdio>
#include <map>
#include <random>
#include <sstream>

namespace
{

using frames::Path;

const auto bothPaths = ::testing::Values(Path::Local, Path::Remote);

/// 01 02 03 ... as many as asked.
QByteArray counting(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<char>(i + 1);
    return data;
}

/// Items of one, two or four bytes as they stand in a reply.
std::vector<unsigned> decoded(int itemSize, const QByteArray &reply)
{
    std::vector<unsigned> items;
    for (int at = 0; at < int(reply.size()); at += itemSize) {
        const auto byte = [&reply, at](int i) { return unsigned(static_cast<unsigned char>(reply.at(at + i))); };
        items.push_back(itemSize == 1   ? byte(0)
                        : itemSize == 2 ? byte(0) << 8 | byte(1)
                                        : byte(2) << 24 | byte(3) << 16 | byte(0) << 8 | byte(1));
    }
    return items;
}

// --- the fixed image

/// A variable in flight, a reply, and the items of its area that are stored, from item first on.
struct Fixed {
    int areaType, address, start, len;
    const char *reply;
    int first;
    std::vector<unsigned> items;
};

class FixedImageStorage : public frames::OneVariableStorageTest
{
protected:
    void stores(const std::vector<Fixed> &rows)
    {
        for (const Fixed &row : rows)
            storesItems(row.areaType, row.address, row.start, row.len, bytes(row.reply), row.first, row.items);
    }

    void storesItems(int areaType, int address, int start, int len, const QByteArray &reply, int first,
                     const std::vector<unsigned> &items)
    {
        SCOPED_TRACE("area " + std::to_string(areaType) + ", address " + std::to_string(address) + ": " +
                     std::to_string(len) + " bytes from " + std::to_string(start) + " of " + hex(reply.left(16)));
        fillImage(background);
        alone(areaType, address, start, len, 77); // the station does not matter
        store(reply);
        EXPECT_TRUE(imageIs(areaType, first, items, background));
        EXPECT_EQ(stored(), "");
    }

    /// Three items, from this one of the area on, of a reply that counts: stored are some of them, from item first
    /// on.
    void storesOfThree(const AreaBuffer &buffer, int from, int first, const std::vector<unsigned> &items)
    {
        storesItems(buffer.areaType, buffer.addressOf(from), 0, 3 * buffer.itemSize, counting(12), first, items);
    }
    static std::vector<unsigned> three(const AreaBuffer &buffer)
    {
        return decoded(buffer.itemSize, counting(3 * buffer.itemSize));
    }

    static constexpr unsigned char background = 0xC3;
};

INSTANTIATE_TEST_SUITE_P(Path, FixedImageStorage, bothPaths, frames::pathName);

TEST_P(FixedImageStorage, EveryAreaHasItsBuffer)
{
    for (const AreaBuffer &buffer : areaBuffers())
        storesOfThree(buffer, 3, 3, three(buffer));
}

TEST_P(FixedImageStorage, WordsComeHighByteFirstAndDoubleWordsLowWordFirst)
{
    stores({{5, 0, 0, 2, "12 34", 0, {0x1234}},
            {10, 0, 0, 4, "12 34 56 78", 0, {0x56781234}},
            {5, 10, 3, 4, "EE EE EE 01 02 03 04 EE EE", 10, {0x0102, 0x0304}}});
}

TEST_P(FixedImageStorage, TheLengthOfTheVariableIsNotReadOnlyThePositions)
{
    stores({{5, 0, 0, 2, "01 02 03 04 05 06", 0, {0x0102}}}); // the variable says 100
}

TEST_P(FixedImageStorage, AnUnknownAreaStoresNothing)
{
    for (int areaType : {14, -1, 15, 256, 261, INT_MAX, INT_MIN})
        stores({{areaType, 0, 0, 4, "01 02 03 04", 0, {}}});
}

TEST_P(FixedImageStorage, AnOddByteIsIgnored)
{
    const char *reply = "01 02 03 04 05 06 07 08";
    stores({{5, 0, 0, 3, reply, 0, {0x0102}},
            {10, 0, 0, 5, reply, 0, {0x03040102}},
            {10, 0, 0, 6, reply, 0, {0x03040102}},
            {10, 0, 0, 7, reply, 0, {0x03040102}}});
}

TEST_P(FixedImageStorage, TooFewBytesForOneItemStoreNothing)
{
    const std::map<int, std::vector<int>> tooFew = {
        {1, {0, -1, INT_MIN}}, {5, {1, 0, -2, INT_MIN}}, {10, {3, 1, 0, -4, INT_MIN}}};
    for (const auto &lengths : tooFew)
        for (int len : lengths.second)
            stores({{lengths.first, 0, 0, len, "01 02 03 04 05 06 07 08", 0, {}}});
}

TEST_P(FixedImageStorage, ABitAddressIsCutToItsByteAndBytesAreCopiedWhole)
{
    for (int address : {8, 9, 13, 15})
        stores({{1, address, 0, 2, "A5 00", 1, {0xA5, 0x00}}});
}

// Division toward zero: bits -7 .. -1 lie in byte 0.
TEST_P(FixedImageStorage, ANegativeBitAddressIsRoundedTowardZero)
{
    stores({{4, -7, 0, 1, "5A", 0, {0x5A}}, {4, -1, 0, 1, "5A", 0, {0x5A}}, {4, -15, 0, 2, "5A A5", 0, {0xA5}}});
}

TEST_P(FixedImageStorage, AShortReplyStoresWhatItHolds)
{
    stores({{5, 0, 1, 4, "EE 12 34 56 78", 0, {0x1234, 0x5678}},
            {5, 0, 1, 4, "EE 12 34 56", 0, {0x1234}},
            {5, 0, 1, 4, "EE 12 34", 0, {0x1234}},
            {5, 0, 1, 4, "EE 12", 0, {}},
            {5, 0, 1, 4, "EE", 0, {}},
            {5, 0, 1, 4, "", 0, {}},
            {1, 0, 1, 3, "EE 12 34 56", 0, {0x12, 0x34, 0x56}},
            {1, 0, 1, 3, "EE 12 34", 0, {0x12, 0x34}},
            {1, 0, 1, 3, "EE", 0, {}},
            {10, 0, 1, 8, "EE 12 34 56 78 9A BC DE F0", 0, {0x56781234, 0xDEF09ABC}},
            {10, 0, 1, 8, "EE 12 34 56 78 9A BC DE", 0, {0x56781234}},
            {10, 0, 1, 8, "EE 12 34 56 78", 0, {0x56781234}},
            {10, 0, 1, 8, "EE 12 34 56", 0, {}},
            {10, 0, 1, 8, "", 0, {}}});
}

TEST_P(FixedImageStorage, TheLastItemOfEveryAreaIsStoredAndNothingBehindIt)
{
    for (const AreaBuffer &buffer : areaBuffers())
        storesOfThree(buffer, buffer.items - 1, buffer.items - 1, {three(buffer)[0]});
}

TEST_P(FixedImageStorage, ItemsBeforeAnAreaAreSkippedAndThoseInsideStored)
{
    for (const AreaBuffer &buffer : areaBuffers())
        storesOfThree(buffer, -2, 0, {three(buffer)[2]});
}

TEST_P(FixedImageStorage, ItemsOutsideAnAreaAreSkipped)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        std::vector<int> addresses = {INT_MAX, INT_MIN, INT_MAX - 1, INT_MIN + 1};
        for (int first : {buffer.items, buffer.items + 1, 20000, -3, INT_MAX / 8 - 1, INT_MIN / 8 + 1})
            addresses.push_back(buffer.addressOf(first));
        for (int address : addresses)
            storesItems(buffer.areaType, address, 0, 3 * buffer.itemSize, counting(12), 0, {});
    }
}

TEST_P(FixedImageStorage, AWholeAreaIsStoredAtOnce)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        std::mt19937 random(unsigned(buffer.areaType));
        QByteArray reply(buffer.size() + 64, '\0');
        for (int i = 0; i < buffer.size(); ++i)
            reply[i] = static_cast<char>(random());
        storesItems(buffer.areaType, 0, 0, int(reply.size()), reply, 0,
                    decoded(buffer.itemSize, reply.left(buffer.size())));
    }
}

TEST_P(FixedImageStorage, ExtremePositionsAreHarmless)
{
    for (int areaType : {1, 5, 10})
        for (int start : {INT_MAX, INT_MAX - 1, INT_MAX - 3, 1000, INT_MIN, INT_MIN + 1, -1000})
            stores({{areaType, 0, start, 8, "01 02 03 04 05 06 07 08", 0, {}}});
}

TEST_P(FixedImageStorage, AnExtremeLengthStoresWhatTheReplyHolds)
{
    for (int len : {INT_MAX, INT_MAX - 3, 1 << 20})
        stores({{5, 3, 1, len, "EE 12 34 56 78 9A", 3, {0x1234, 0x5678}},
                {1, 8, 1, len, "EE 12 34", 1, {0x12, 0x34}},
                {10, 8, 1, len, "EE 12 34 56 78", 8, {0x56781234}}});
}

TEST_P(FixedImageStorage, NothingIsStoredWithoutAVariableOrAReply)
{
    alone(5, 0, 0, 2);
    store(static_cast<QByteArray *>(nullptr));
    nothingInFlight();
    store("01 02 03 04");
    EXPECT_TRUE(imageIsEmpty());
}

TEST_P(FixedImageStorage, WithoutSettingsTheFixedImageIsUsed)
{
    alone(5, 10, 0, 2);
    PLC_driver.settings = nullptr;
    store("01 02");
    EXPECT_TRUE(imageIs(5, 10, {0x0102}));
    EXPECT_EQ(stored(), "");
}

TEST_P(FixedImageStorage, SettingsAndTheHostsMemoryStayAsTheyAre)
{
    QByteArray memory(64, '\x11');
    FlashLocalRegister(memory.data(), memory.data(), memory.data());
    alone(5, 0, 0, 8);
    const COMINFO before = settings;
    store("01 02 03 04 05 06 07 08");
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof before), 0);
    EXPECT_EQ(hex(memory), hex(QByteArray(64, '\x11')));
}

// --- the per-station list

/// The list before, a variable in flight, a reply, and the list after it; both as stored() writes them.
struct PerStation {
    const char *before;
    int station, areaType, address, start, len;
    const char *reply, *after;
};

class PerStationStorage : public frames::OneVariableStorageTest
{
protected:
    PerStationStorage() { settings.stationMode = 1; }

    void stores(const std::vector<PerStation> &rows)
    {
        for (const PerStation &row : rows) {
            SCOPED_TRACE("area " + std::to_string(row.areaType) + ": " + std::to_string(row.len) + " bytes from " +
                         std::to_string(row.start) + " of " + row.reply);
            putStored(row.before);
            alone(row.areaType, row.address, row.start, row.len, row.station);
            store(row.reply);
            EXPECT_EQ(stored(), row.after);
            EXPECT_TRUE(imageIsEmpty());
        }
    }

    static void putStored(const std::string &text)
    {
        PLC_driver.ExtendVarList.clear();
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            int station = 0, areaType = 0, address = 0, value = 0;
            ASSERT_EQ(std::sscanf(line.c_str(), "%d/%d@%d = %n", &station, &areaType, &address, &value), 3) << line;
            addStored(station, areaType, address, line.c_str() + value);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Path, PerStationStorage, bothPaths, frames::pathName);

TEST_P(PerStationStorage, EveryValueGetsItsEntryLowByteFirst)
{
    const std::map<int, const char *> values = {{1, "12"}, {2, "34 12"}, {4, "34 12 78 56"}};
    for (const AreaBuffer &buffer : areaBuffers()) {
        const std::string after =
            "7/" + std::to_string(buffer.areaType) + "@16 = " + values.at(buffer.itemSize) + "\n";
        stores({{"", 7, buffer.areaType, 16, 1, buffer.itemSize, "EE 12 34 56 78", after.c_str()}});
    }
}

TEST_P(PerStationStorage, TheLastEntryOfEveryKindGrowsToTheLengthOfAll)
{
    stores({{"", 1, 1, 8, 0, 3, "12 34 56", "1/1@8 = 12\n1/1@16 = 34\n1/1@24 = 56 00 00\n"},
            {"", 1, 5, 100, 0, 4, "12 34 56 78", "1/5@100 = 34 12\n1/5@101 = 78 56 00 00\n"},
            {"", 1, 10, 8, 0, 8, "12 34 56 78 9A BC DE F0",
             "1/10@8 = 34 12 78 56\n1/10@9 = BC 9A F0 DE 00 00 00 00\n"},
            {"", 1, 5, 100, 0, 3, "12 34 56", "1/5@100 = 34 12 00\n"}, // by an odd byte too
            {"", 1, 10, 100, 0, 7, "12 34 56 78 9A BC DE", "1/10@100 = 34 12 78 56 00 00 00\n"}});
}

TEST_P(PerStationStorage, BitsAreKeyedByTheirAddressAsItStandsInStepsOfEight)
{
    stores({{"", 1, 2, 16, 0, 2, "01 02", "1/2@16 = 01\n1/2@24 = 02 00\n"},
            {"", 1, 2, 13, 0, 2, "01 02", "1/2@13 = 01\n1/2@21 = 02 00\n"}});
}

TEST_P(PerStationStorage, AnExistingEntryIsRewritten)
{
    stores({{"1/5@100 = AA BB CC DD EE\n2/5@100 = AA BB\n1/6@100 = AA BB\n", 1, 5, 100, 0, 2, "12 34",
             "1/5@100 = 34 12\n2/5@100 = AA BB\n1/6@100 = AA BB\n"}});
}

TEST_P(PerStationStorage, AValueThatTheReplyLacksIsClearedAndFilledWithZeroAtTheEnd)
{
    const char *before = "1/5@100 = AA BB\n1/5@101 = CC DD\n";
    stores({{before, 1, 5, 100, 1, 4, "EE 12 34 56", "1/5@100 = 34 12\n1/5@101 = 00 00 00 00\n"},
            {before, 1, 5, 100, 1, 4, "EE 12", "1/5@100 = \n1/5@101 = 00 00 00 00\n"},
            {"", 1, 5, 8, 0, 2, "12", "1/5@8 = 00 00\n"},
            {"", 1, 10, 8, 0, 4, "12 34 56", "1/10@8 = 00 00 00 00\n"},
            {"", 1, 1, 8, 5, 2, "", "1/1@8 = \n1/1@16 = 00 00\n"},
            {"", 1, 10, 8, 5, 4, "", "1/10@8 = 00 00 00 00\n"}});
    putStored("");
    alone(5, 8, 5, 2);
    store(static_cast<QByteArray *>(nullptr));
    EXPECT_EQ(stored(), "1/5@8 = 00 00\n");
}

TEST_P(PerStationStorage, WithoutAPassEntryZeroIsResized)
{
    const char *before = "9/9@9 = AA BB CC DD\n8/8@8 = AA BB CC DD\n";
    stores({{before, 1, 5, 100, 0, 1, "12 34", "9/9@9 = AA\n8/8@8 = AA BB CC DD\n"},
            {"9/9@9 = AA\n", 1, 10, 100, 0, 3, "12 34 56", "9/9@9 = AA 00 00\n"}});
    for (int areaType : {1, 5, 10})
        for (int len : {0, -1, -4, INT_MIN}) // less than nothing is nothing
            stores({{before, 1, areaType, 100, 0, len, "12 34", "9/9@9 = \n8/8@8 = AA BB CC DD\n"}});
}

TEST_P(PerStationStorage, WithoutAPassEntryZeroIsResizedAfterAnotherReplyToo)
{
    putStored("9/9@9 = AA BB CC DD\n");
    alone(5, 100, 0, 2);
    store("12 34");
    alone(5, 100, 0, 1);
    store("12 34");
    EXPECT_EQ(stored(), "9/9@9 = AA\n1/5@100 = 34 12\n");
}

TEST_P(PerStationStorage, WithoutAPassAnEmptyListStaysEmpty)
{
    for (int areaType : {1, 5, 10})
        for (int len : {0, -1, -4, INT_MIN})
            stores({{"", 1, areaType, 100, 0, len, "12 34", ""}});
    stores({{"", 1, 10, 100, 0, 3, "12 34 56", ""}, {"", 1, 5, 100, 0, 1, "12 34", ""}});
}

TEST_P(PerStationStorage, APieceOfNoElementDoesNotHideAnEntryThatTheHostMoved)
{
    putStored("1/5@100 = 11 11\n");
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    PLC_driver.ExtendVarList[0].address = 200;
    alone(5, 100, 0, 0);
    store("12 34");
    EXPECT_EQ(ExtendFindSameVar(1, 5, 200), 0);
    EXPECT_EQ(stored(), "1/5@200 = \n");
}

TEST_P(PerStationStorage, WithoutAVariableOrOfAnUnknownAreaNothingIsStoredOrResized)
{
    const char *before = "9/9@9 = AA BB\n";
    for (int areaType : {14, -1, 256, INT_MAX, INT_MIN})
        stores({{before, 1, areaType, 100, 0, 1, "12 34", before}});
    nothingInFlight();
    store("12 34");
    EXPECT_EQ(stored(), before);
}

TEST_P(PerStationStorage, AnyNonzeroSwitchChoosesTheList)
{
    for (int mode : {1, 2, -1, INT_MIN}) {
        settings.stationMode = mode;
        stores({{"", 1, 5, 100, 0, 2, "12 34", "1/5@100 = 34 12\n"}});
    }
}

TEST_P(PerStationStorage, StationsAndAddressesOfAnySizeAreKeys)
{
    stores({{"", -1, 5, -3, 0, 2, "12 34", "-1/5@-3 = 34 12\n"},
            {"", 100000, 5, 70000, 0, 2, "12 34", "100000/5@70000 = 34 12\n"},
            {"", 0, 5, 20000, 0, 2, "12 34", "0/5@20000 = 34 12\n"}}); // no area bounds the list
}

TEST_P(PerStationStorage, OneVariableHasAtMost65536Items)
{
    struct Row {
        int areaType, len, replied, lastAddress;
        const char *lastButOne;
    };
    for (const Row &row : {Row{1, 100000, 100000, 8 * 65535, "5A"}, Row{5, 200000, 200000, 65535, "5A 5A"},
                           Row{10, 400000, 16, 65535, ""}, Row{1, INT_MAX, 4, 8 * 65535, ""},
                           Row{5, INT_MAX, 4, 65535, ""}, Row{10, INT_MAX, 4, 65535, ""}}) {
        SCOPED_TRACE(std::to_string(row.areaType) + " " + std::to_string(row.len));
        putStored("");
        alone(row.areaType, 0, 0, row.len);
        store(QByteArray(row.replied, '\x5A'));
        ASSERT_EQ(int(PLC_driver.ExtendVarList.size()), 65536);
        EXPECT_EQ(PLC_driver.ExtendVarList.last().address, row.lastAddress);
        EXPECT_EQ(hex(PLC_driver.ExtendVarList.at(65534).value), row.lastButOne);
    }
}

TEST_P(PerStationStorage, ExtremePositionsAreHarmless)
{
    for (int areaType : {1, 5, 10}) {
        for (int start : {INT_MAX, INT_MAX - 3, INT_MIN, -1000}) {
            putStored("");
            alone(areaType, 8, start, 8);
            store(counting(8));
            ASSERT_FALSE(PLC_driver.ExtendVarList.isEmpty()) << areaType << " " << start;
            EXPECT_EQ(hex(PLC_driver.ExtendVarList.last().value), "00 00 00 00 00 00 00 00")
                << areaType << " " << start;
        }
        for (int address : {INT_MAX, INT_MAX - 3, INT_MIN}) {
            putStored("");
            alone(areaType, address, 0, 8);
            store(counting(8));
        }
    }
}

// The value is made of a byte before the reply and its first byte: nothing says what it is.
TEST_P(PerStationStorage, AnItemHalfBeforeTheReplyIsHarmlessInEitherScheme)
{
    for (int mode : {0, 1}) {
        settings.stationMode = mode;
        for (int areaType : {1, 5, 10}) {
            for (int start : {-1, -2, -3}) {
                alone(areaType, 0, start, 8);
                store(counting(8));
            }
        }
    }
}

// --- the routines

class SaveRoutines : public frames::OneVariableStorageTest
{
protected:
    void saveBits(QByteArray *from, unsigned char *to)
    {
        isLocal() ? SaveBitToUC(from, to) : SaveBitToUCRemote(from, to);
    }
    void saveWords(QByteArray *from, unsigned short *to)
    {
        isLocal() ? SaveWordToUS(from, to) : SaveWordToUSRemote(from, to);
    }
    void saveDoubles(QByteArray *from, unsigned int *to)
    {
        isLocal() ? SaveWordToUI(from, to) : SaveWordToUIRemote(from, to);
    }

    void saveAll(QByteArray *from)
    {
        saveBits(from, bits.data());
        saveWords(from, words.data());
        saveDoubles(from, doubles.data());
    }

    SaveRoutines() { iTimes = 0; }

    std::vector<unsigned char> bits = std::vector<unsigned char>(3000, 0);
    std::vector<unsigned short> words = std::vector<unsigned short>(12000, 0);
    std::vector<unsigned int> doubles = std::vector<unsigned int>(3000, 0);
    QByteArray reply = counting(8);
};

INSTANTIATE_TEST_SUITE_P(Path, SaveRoutines, bothPaths, frames::pathName);

TEST_P(SaveRoutines, ACallersOwnBufferIsBoundedByNoArea)
{
    alone(0, 8 * 2900, 0, 2);
    saveBits(&reply, bits.data());
    EXPECT_EQ(bits[2900], 1);
    EXPECT_EQ(bits[2901], 2);
    EXPECT_EQ(bits[2902], 0);
    alone(12, 11998, 0, 4);
    saveWords(&reply, words.data());
    EXPECT_EQ(words[11998], 0x0102);
    EXPECT_EQ(words[11999], 0x0304);
    alone(10, 2998, 0, 8);
    saveDoubles(&reply, doubles.data());
    EXPECT_EQ(doubles[2998], 0x03040102u);
    EXPECT_EQ(doubles[2999], 0x07080506u);
    EXPECT_TRUE(imageIsEmpty());
}

TEST_P(SaveRoutines, TheBoundBelongsToTheBufferNotToTheVariablesArea)
{
    reply = bytes("01 02 03 04");
    fillImage(0xC3);
    alone(5, 7, 0, 4); // area 5 has word 8, usArea12 has not
    saveWords(&reply, PLC_driver.usArea12);
    EXPECT_TRUE(imageIs(12, 7, {0x0102}, 0xC3));
    fillImage(0xC3);
    alone(2, 139 * 8, 0, 2);
    saveBits(&reply, PLC_driver.ucArea11);
    EXPECT_TRUE(imageIs(11, 139, {0x01}, 0xC3));
    fillImage(0xC3);
    alone(12, 200, 0, 4); // and area 12 lacks word 200, usArea7 has it
    saveWords(&reply, PLC_driver.usArea7);
    EXPECT_TRUE(imageIs(7, 200, {0x0102, 0x0304}, 0xC3));
}

TEST_P(SaveRoutines, NeitherTheAreaTypeNorTheStationSwitchMatters)
{
    settings.stationMode = 1;
    for (int areaType : {0, 5, 10, 14, -1}) {
        words[1] = 0;
        alone(areaType, 1, 0, 2);
        saveWords(&reply, words.data());
        EXPECT_EQ(words[1], 0x0102) << areaType;
    }
    EXPECT_EQ(stored(), "");
}

TEST_P(SaveRoutines, WithoutAVariableOrAReplyOrABufferNothingIsStored)
{
    alone(5, 0, 0, 4);
    saveAll(nullptr);
    saveBits(&reply, nullptr);
    saveWords(&reply, nullptr);
    saveDoubles(&reply, nullptr);
    nothingInFlight();
    saveAll(&reply);
    EXPECT_EQ(bits[0] + words[0] + int(doubles[0]), 0);
}

class LocalSaveRoutines : public frames::GroupStorageTest
{
};

TEST_F(LocalSaveRoutines, ServeTheVariableThatITimesNames)
{
    unsigned char bits[4] = {};
    unsigned short words[4] = {};
    unsigned int doubles[4] = {};
    inFlight(variable(1, 0, 1), 0, 4);
    inFlight(variable(5, 2, 1), 1, 4);
    QByteArray reply = bytes("EE 01 02 03 04");
    iTimes = 1;
    SaveWordToUS(&reply, words);
    EXPECT_EQ(words[0] + words[1], 0);
    EXPECT_EQ(words[2], 0x0102);
    EXPECT_EQ(words[3], 0x0304);
    CurrentRWVar[1].address = 3;
    SaveWordToUI(&reply, doubles);
    EXPECT_EQ(doubles[0] + doubles[1] + doubles[2], 0u);
    EXPECT_EQ(doubles[3], 0x03040102u);
    CurrentRWVar[1].address = 0;
    SaveBitToUC(&reply, bits);
    EXPECT_EQ(hex(QByteArray(reinterpret_cast<char *>(bits), 4)), "01 02 03 04");
    EXPECT_EQ(iTimes, 1);
    EXPECT_TRUE(imageIsEmpty());
}

TEST_F(LocalSaveRoutines, StoreNothingWhereITimesNamesNoVariable)
{
    unsigned char bits[8] = {};
    unsigned short words[8] = {};
    unsigned int doubles[8] = {};
    QByteArray reply = bytes("01 02 03 04");
    inFlight(variable(5, 0, 1), 0, 4);
    std::fill(std::begin(iRet_ValidLen), std::end(iRet_ValidLen), 4);
    for (int index : {1, 5, 6, 100, -1, INT_MAX, INT_MIN}) {
        iTimes = index;
        SaveBitToUC(&reply, bits);
        SaveWordToUS(&reply, words);
        SaveWordToUI(&reply, doubles);
        EXPECT_EQ(bits[0] + words[0] + int(doubles[0]), 0) << index;
    }
}

TEST_F(LocalSaveRoutines, TheSpecialRegisterHookDoesNothing)
{
    unsigned short words[2] = {7, 8};
    QByteArray reply = bytes("01 02 03 04");
    inFlight(variable(5, 0, 1), 0, 4);
    SpecialRegisterSave(&reply, words);
    SpecialRegisterSave(nullptr, nullptr);
    EXPECT_EQ(words[0], 7);
    EXPECT_EQ(words[1], 8);
    EXPECT_EQ(hex(reply), "01 02 03 04");
    EXPECT_EQ(iTimes, 0);
    EXPECT_TRUE(imageIsEmpty());
}

} // namespace
