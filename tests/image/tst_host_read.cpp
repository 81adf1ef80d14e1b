// GetRegisterData: the host reads values out of the image.
#include "support/image_check.h"

#include <climits>

namespace
{

class HostRead : public DriverTest
{
protected:
    static QByteArray read(int areaType, const char *address, int length, int station = 1,
                           QByteArray out = QByteArray(), int expected = 1)
    {
        EXPECT_EQ(GetRegisterData(0, areaType, QString::fromLatin1(address), station, &out, length), expected);
        EXPECT_TRUE(locksAreFree());
        return out;
    }
};

class FixedImage : public HostRead
{
};

TEST_F(FixedImage, OctalSeventeenIsBitSevenOfTheSecondByte)
{
    PLC_driver.ucArea0[1] = 0x80;
    EXPECT_EQ(hex(read(0, "17", 1)), "01");
    EXPECT_EQ(hex(read(0, "16", 3)), "00 01 00");
}

TEST_F(FixedImage, TheSameTextIsAnotherBitInADecimalArea)
{
    PLC_driver.ucArea2[2] = 0x02;
    EXPECT_EQ(hex(read(2, "17", 1)), "01");
}

TEST_F(FixedImage, ATextThatIsNoNumberReadsFromAddressZero)
{
    PLC_driver.usArea5[0] = 0x1234;
    PLC_driver.ucArea1[0] = 0x01;
    EXPECT_EQ(hex(read(5, "D100", 1)), "34 12");
    EXPECT_EQ(hex(read(5, "", 1)), "34 12");
    EXPECT_EQ(hex(read(5, "2147483648", 1)), "34 12");
    EXPECT_EQ(hex(read(1, "8", 1)), "01");
}

TEST_F(FixedImage, BlanksAndASignAreAllowed)
{
    PLC_driver.usArea5[7] = 0x1234;
    EXPECT_EQ(hex(read(5, " +7 ", 1)), "34 12");
}

TEST_F(FixedImage, ANegativeAddressIsRefusedAndTheArrayLeftAlone)
{
    EXPECT_EQ(hex(read(5, "-3", 2, 1, bytes("EE"), 0)), "EE");
    EXPECT_EQ(hex(read(1, "-1", 2, 1, bytes("EE"), 0)), "EE");
}

TEST_F(FixedImage, ANegativeAddressIsRefusedWithoutTheLock)
{
    QByteArray out;
    PLC_driver.ImageMutex.lock(); // taking it again would wait for ever
    EXPECT_EQ(GetRegisterData(0, 5, QString::fromLatin1("-3"), 1, &out, 1), 0);
    PLC_driver.ImageMutex.unlock();
}

TEST_F(FixedImage, ALengthBelowOneReadsNothing)
{
    for (int length : {0, -1, INT_MIN})
        for (int type = 0; type < 14; ++type)
            EXPECT_EQ(hex(read(type, "0", length, 1, bytes("EE"))), "EE") << type;
}

TEST_F(FixedImage, AnUnknownAreaReadsNothing)
{
    for (int type : {14, 255, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(hex(read(type, "0", 5, 1, bytes("EE"))), "EE") << type;
        EXPECT_EQ(hex(read(type, "-1", 5, 1, bytes("EE"))), "EE") << type; // its address counts as 0
    }
}

TEST_F(FixedImage, BytesBeyondTheValuesStay)
{
    PLC_driver.usArea5[3] = 0x1234;
    EXPECT_EQ(hex(read(5, "3", 1, 1, bytes("EE EE EE EE"))), "34 12 EE EE");
    EXPECT_EQ(hex(read(5, "2", 2, 1, bytes("EE"))), "00 00 34 12");
}

TEST_F(FixedImage, TheStationAndTheFirstArgumentDoNotMatter)
{
    PLC_driver.usArea5[3] = 0x1234;
    for (int any : {0, 77, INT_MIN}) {
        QByteArray out;
        EXPECT_EQ(GetRegisterData(any, 5, QString::fromLatin1("3"), any, &out, 1), 1);
        EXPECT_EQ(hex(out), "34 12");
    }
}

TEST_F(FixedImage, AreaTenCountsWords)
{
    PLC_driver.uiArea10[3] = 0x12345678;
    PLC_driver.uiArea10[4] = 0x9ABCDEF0;
    EXPECT_EQ(hex(read(10, "3", 1)), "78 56");
    EXPECT_EQ(hex(read(10, "3", 2)), "78 56 34 12");
    EXPECT_EQ(hex(read(10, "3", 3)), "78 56 34 12");
    EXPECT_EQ(hex(read(10, "3", 4)), "78 56 34 12 F0 DE BC 9A");
    EXPECT_EQ(hex(read(10, "3", 5)), "78 56 34 12 F0 DE BC 9A");
}

TEST_F(FixedImage, AreaTenIsNotShiftedBy200)
{
    PLC_driver.uiArea10[250] = 0x12345678;
    EXPECT_EQ(hex(read(10, "250", 2)), "78 56 34 12");
}

TEST_F(FixedImage, ReadingChangesNothing)
{
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    for (int type = 0; type < 15; ++type)
        read(type, "1", 9);
    EXPECT_TRUE(sameImage(image));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
}

TEST_F(FixedImage, ValuesThatStationsKeptApartAreNotSeen)
{
    addStored(1, 5, 0, "34 12");
    EXPECT_EQ(hex(read(5, "0", 1)), "00 00");
}

TEST_F(FixedImage, TheListLockIsNotNeeded)
{
    PLC_driver.ListMutex.lock(); // taking it again would wait for ever
    QByteArray out;
    EXPECT_EQ(GetRegisterData(0, 5, QString::fromLatin1("0"), 1, &out, 1), 1);
    PLC_driver.ListMutex.unlock();
    EXPECT_EQ(hex(out), "00 00");
}

TEST_F(FixedImage, NullAndMissingSettingsAreHarmless)
{
    for (int type : {0, 2, 5, 10, 14})
        EXPECT_EQ(GetRegisterData(0, type, QString::fromLatin1("1"), 1, nullptr, 4), 1);
    EXPECT_EQ(GetRegisterData(0, 5, QString::fromLatin1("-1"), 1, nullptr, 4), 0);
    EXPECT_TRUE(locksAreFree());
    PLC_driver.settings = nullptr;
    PLC_driver.usArea5[3] = 0x1234;
    EXPECT_EQ(hex(read(5, "3", 1)), "34 12");
}

/// One area of the fixed image, from its first to its last address.
class FixedArea : public HostRead, public ::testing::WithParamInterface<int>
{
};

TEST_P(FixedArea, IsReadFromItsOwnBufferToItsEnd)
{
    const AreaBuffer &buffer = area(GetParam());
    for (int i = 0; i < buffer.size(); ++i)
        static_cast<unsigned char *>(buffer.start)[i] = static_cast<unsigned char>(i * 7 + GetParam());
    const QByteArray content = buffer.content(); // the machine is little-endian, as the strings are
    QByteArray expected = content;
    if (buffer.isBits()) {
        expected.clear();
        for (int bit = 0; bit < buffer.items * 8; ++bit)
            expected.append(char((content.at(bit / 8) >> (bit % 8)) & 1));
    }
    EXPECT_TRUE(sameBytes(read(GetParam(), "0", 100000), expected));
    const int last = (buffer.isBits() ? buffer.items * 8 : buffer.items) - 1;
    const QByteArray lastText = QByteArray::number(last, GetParam() < 2 ? 8 : 10);
    const int width = buffer.isBits() ? 1 : buffer.itemSize;
    EXPECT_EQ(hex(read(GetParam(), lastText, 100)), hex(expected.right(width)));
    EXPECT_EQ(hex(read(GetParam(), "2147483647", 100)), GetParam() < 2 ? hex(expected.left(100)) : "");
}

INSTANTIATE_TEST_SUITE_P(AllAreas, FixedArea, ::testing::Range(0, 14),
                         [](const ::testing::TestParamInfo<int> &area) {
                             return "Area" + std::to_string(area.param);
                         });

class StationStorage : public HostRead
{
protected:
    StationStorage() { settings.stationMode = 1; }
};

TEST_F(StationStorage, WordsComeFromTheStationsOwnEntries)
{
    addStored(1, 5, 100, "34 12");
    addStored(2, 5, 100, "78 56");
    addStored(1, 6, 100, "BC 9A");
    EXPECT_EQ(hex(read(5, "100", 1, 1)), "34 12");
    EXPECT_EQ(hex(read(5, "100", 1, 2)), "78 56");
    EXPECT_EQ(hex(read(6, "100", 1, 1)), "BC 9A");
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 3);
}

TEST_F(StationStorage, AWordNeverStoredIsZeroAndMakesAnEntry)
{
    EXPECT_EQ(hex(read(5, "100", 1, 7)), "00 00");
    EXPECT_EQ(stored(), "7/5@100 = 00 00 00 00\n");
    read(5, "100", 1, 7);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 1);
}

TEST_F(StationStorage, EightBitsShareAnEntry)
{
    addStored(1, 2, 8, "A5");
    EXPECT_EQ(hex(read(2, "8", 8)), "01 00 01 00 00 01 00 01");
    EXPECT_EQ(hex(read(2, "15", 1)), "01");
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 1);
    EXPECT_EQ(hex(read(2, "15", 3)), "01 00 00");
    EXPECT_EQ(stored(), "1/2@8 = A5\n1/2@16 = 00 00 00 00\n");
}

TEST_F(StationStorage, EveryBitAreaIsReadByBits)
{
    for (int type : {0, 1, 2, 3, 4, 11}) {
        addStored(1, type, 8, "06");
        EXPECT_EQ(hex(read(type, type < 2 ? "10" : "8", 4)), "00 01 01 00") << type;
    }
}

TEST_F(StationStorage, EveryWordAreaIsReadByWords)
{
    for (int type : {5, 6, 7, 8, 9, 12, 13}) {
        addStored(1, type, 1, "34 12");
        addStored(1, type, 2, "78 56");
        EXPECT_EQ(hex(read(type, "1", 2)), "34 12 78 56") << type;
    }
}

TEST_F(StationStorage, AreaTenCountsDoubleWords)
{
    addStored(1, 10, 3, "78 56 34 12");
    addStored(1, 10, 4, "F0 DE BC 9A");
    EXPECT_EQ(hex(read(10, "3", 1)), "78 56 34 12");
    EXPECT_EQ(hex(read(10, "3", 2)), "78 56 34 12 F0 DE BC 9A");
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 2);
}

TEST_F(StationStorage, EveryItemHasAnEntry)
{
    read(5, "7", 3, 2);
    read(10, "7", 2, 2);
    read(1, "7", 2, 2);
    EXPECT_EQ(stored(), "2/5@7 = 00 00 00 00\n2/5@8 = 00 00 00 00\n2/5@9 = 00 00 00 00\n"
                        "2/10@7 = 00 00 00 00\n2/10@8 = 00 00 00 00\n"
                        "2/1@0 = 00 00 00 00\n2/1@8 = 00 00 00 00\n");
}

TEST_F(StationStorage, AValueWithoutAllItsBytesIsZero)
{
    addStored(1, 5, 1, "34");
    addStored(1, 5, 2, "");
    addStored(1, 10, 1, "78 56 34");
    addStored(1, 2, 0, "");
    EXPECT_EQ(hex(read(5, "1", 2)), "00 00 00 00");
    EXPECT_EQ(hex(read(10, "1", 1)), "00 00 00 00");
    EXPECT_EQ(hex(read(2, "0", 2)), "00 00");
}

TEST_F(StationStorage, MoreBytesThanNeededDoNotMatter)
{
    addStored(1, 5, 1, "34 12 99 99 99");
    addStored(1, 10, 1, "78 56 34 12 99");
    addStored(1, 2, 0, "01 FF");
    EXPECT_EQ(hex(read(5, "1", 1)), "34 12");
    EXPECT_EQ(hex(read(10, "1", 1)), "78 56 34 12");
    EXPECT_EQ(hex(read(2, "0", 2)), "01 00");
}

TEST_F(StationStorage, ZerosOverwriteWhatTheArrayHeld)
{
    EXPECT_EQ(hex(read(5, "1", 1, 1, bytes("EE EE EE"))), "00 00 EE");
    EXPECT_EQ(hex(read(2, "1", 2, 1, bytes("EE EE EE"))), "00 00 EE");
}

TEST_F(StationStorage, NothingToReadMakesNoEntry)
{
    EXPECT_EQ(hex(read(5, "-3", 2, 1, bytes("EE"), 0)), "EE");
    for (int length : {0, -1, INT_MIN})
        for (int type : {2, 5, 10})
            EXPECT_EQ(hex(read(type, "3", length, 1, bytes("EE"))), "EE");
    for (int type : {14, -1, 255})
        EXPECT_EQ(hex(read(type, "3", 5, 1, bytes("EE"))), "EE");
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(StationStorage, TheFixedImageIsNotLookedAt)
{
    fillImage(0xFF);
    EXPECT_EQ(hex(read(5, "3", 1)), "00 00");
    EXPECT_EQ(hex(read(2, "3", 1)), "00");
    EXPECT_EQ(hex(read(10, "3", 1)), "00 00 00 00");
}

TEST_F(StationStorage, NoAreaEndsHere)
{
    addStored(1, 12, 1000000, "34 12");
    EXPECT_EQ(hex(read(12, "1000000", 1)), "34 12");
}

TEST_F(StationStorage, TheSwitchIsReadOnEveryAccess)
{
    PLC_driver.usArea5[3] = 0x1111;
    addStored(1, 5, 3, "22 22");
    EXPECT_EQ(hex(read(5, "3", 1)), "22 22");
    settings.stationMode = 0;
    EXPECT_EQ(hex(read(5, "3", 1)), "11 11");
    settings.stationMode = -5;
    EXPECT_EQ(hex(read(5, "3", 1)), "22 22");
}

TEST_F(StationStorage, OneReadIsOfAtMost65536Items)
{
    EXPECT_EQ(read(5, "0", INT_MAX).size(), 2 * 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 65536);
    EXPECT_EQ(read(2, "0", 65537).size(), 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 65536 + 8192);
}

TEST_F(StationStorage, TheEndsOfTheNumbersAreNoReasonToFail)
{
    for (int type : {2, 5, 10})
        for (int station : {INT_MIN, INT_MAX})
            read(type, "2147483647", 3, station);
    EXPECT_EQ(PLC_driver.ExtendVarList.first().address, 2147483640);
}

TEST_F(StationStorage, NullIsHarmless)
{
    for (int type : {2, 5, 10})
        EXPECT_EQ(GetRegisterData(0, type, QString::fromLatin1("1"), 1, nullptr, 4), 1);
    EXPECT_TRUE(locksAreFree());
}

} // namespace
