// WriteDataToLocal: the data of a write record goes into the image.
#include "support/image_check.h"

#include <climits>

namespace
{

class WriteLocal : public DriverTest
{
protected:
    static void write(RW_VAR var)
    {
        const RW_VAR before = var;
        WriteDataToLocal(&var);
        EXPECT_TRUE(sameVariable(var, before)) << "the caller's record";
        EXPECT_TRUE(locksAreFree());
    }
};

class WriteFixedImage : public WriteLocal
{
};

TEST_F(WriteFixedImage, EveryBitAreaTakesBits)
{
    for (int type : {0, 1, 2, 3, 4, 11}) {
        fillImage(0);
        area(type).put(1, 0xFF);
        write(variable(type, 9, 4, 1, bytes("00 01 02 01")));
        EXPECT_TRUE(imageIs(type, 1, {0xF5}));
    }
}

TEST_F(WriteFixedImage, EveryWordAreaTakesWords)
{
    for (int type : {5, 6, 7, 8, 9, 12, 13}) {
        fillImage(0);
        write(variable(type, 3, 2, 1, bytes("34 12 78 56")));
        EXPECT_TRUE(imageIs(type, 3, {0x1234, 0x5678}));
    }
}

TEST_F(WriteFixedImage, AreaTenTakesWholeDoubleWords)
{
    write(variable(10, 3, 3, 1, bytes("78 56 34 12 F0 DE BC 9A")));
    EXPECT_EQ(PLC_driver.uiArea10[3], 0x12345678u);
    EXPECT_EQ(PLC_driver.uiArea10[4], 0u);
    write(variable(10, 3, 1, 1, bytes("01 00 00 00")));
    EXPECT_EQ(PLC_driver.uiArea10[3], 0x12345678u);
}

TEST_F(WriteFixedImage, UnknownAreasAndEmptyLengthsChangeNothing)
{
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    for (int type : {14, 255, -1, INT_MIN, INT_MAX})
        write(variable(type, 0, 2, 1, bytes("01 01 01 01")));
    for (int length : {0, -1, INT_MIN})
        for (int type = 0; type < 14; ++type)
            write(variable(type, 0, length, 1, bytes("01 01 01 01")));
    for (int type = 0; type < 14; ++type)
        write(variable(type, 0, 5, 1));
    EXPECT_TRUE(sameImage(image));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(WriteFixedImage, ADataStringThatIsTooShortLeavesTheRest)
{
    PLC_driver.usArea5[1] = 0x5555;
    write(variable(5, 0, 3, 1, bytes("34 12 78")));
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
    EXPECT_EQ(PLC_driver.usArea5[1], 0x5555);
    write(variable(2, 0, 8, 1, bytes("01 01")));
    EXPECT_EQ(PLC_driver.ucArea2[0], 0x03);
}

TEST_F(WriteFixedImage, TheLengthBoundsTheData)
{
    write(variable(5, 0, 1, 1, bytes("34 12 78 56")));
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
    EXPECT_EQ(PLC_driver.usArea5[1], 0);
}

TEST_F(WriteFixedImage, NothingIsWrittenBeyondAnArea)
{
    fillImage(0x5A);
    const QByteArray data(100, '\1');
    for (int type = 0; type < 14; ++type) {
        const QByteArray image = wholeImage();
        const int capacity = area(type).isBits() ? area(type).items * 8 : area(type).items;
        write(variable(type, capacity, 40, 1, data));
        write(variable(type, -40, 40, 1, data));
        write(variable(type, INT_MAX, INT_MAX, 1, data));
        write(variable(type, INT_MIN, INT_MAX, 1, data));
        EXPECT_TRUE(sameImage(image)) << type;
        write(variable(type, capacity - 1, 40, 1, data));
        EXPECT_EQ(area(type).at(area(type).items - 1), area(type).isBits()        ? 0xDAu
                                                       : area(type).itemSize == 2 ? 0x0101u
                                                                                  : 0x01010101u)
            << type;
        fillImage(0x5A);
    }
}

TEST_F(WriteFixedImage, TheStationDoesNotMatter)
{
    write(variable(5, 7, 1, -99, bytes("34 12")));
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

TEST_F(WriteFixedImage, NullAndMissingSettingsAreHarmless)
{
    WriteDataToLocal(nullptr);
    EXPECT_TRUE(locksAreFree());
    PLC_driver.settings = nullptr;
    write(variable(5, 7, 1, 1, bytes("34 12")));
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

TEST_F(WriteFixedImage, TheListLockMayBeHeld)
{
    RW_VAR var = variable(5, 7, 1, 1, bytes("34 12"));
    PLC_driver.ListMutex.lock(); // taking it again would wait for ever
    WriteDataToLocal(&var);
    PLC_driver.ListMutex.unlock();
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

class WriteStationStorage : public WriteLocal
{
protected:
    WriteStationStorage() { settings.stationMode = 1; }
};

TEST_F(WriteStationStorage, WordsReplaceTheWholeValue)
{
    ExtendFindSameVar(3, 5, 100);
    write(variable(5, 100, 2, 3, bytes("34 12 78 56")));
    EXPECT_EQ(stored(), "3/5@100 = 34 12\n3/5@101 = 78 56\n");
}

TEST_F(WriteStationStorage, EveryWordAreaTakesWords)
{
    for (int type : {5, 6, 7, 8, 9, 12, 13}) {
        PLC_driver.ExtendVarList.clear();
        write(variable(type, 1, 1, 1, bytes("34 12")));
        EXPECT_EQ(stored(), "1/" + std::to_string(type) + "@1 = 34 12\n");
    }
}

TEST_F(WriteStationStorage, AnItemWithoutAllItsBytesIsSkipped)
{
    write(variable(5, 100, 3, 1, bytes("34 12 78")));
    write(variable(10, 7, 4, 1, bytes("78 56 34 12 F0 DE BC")));
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n1/10@7 = 78 56 34 12\n");
}

TEST_F(WriteStationStorage, AreaTenTakesHalfAsManyDoubleWordsAsWords)
{
    write(variable(10, 7, 5, 1, bytes("78 56 34 12 F0 DE BC 9A 01 02 03 04")));
    EXPECT_EQ(stored(), "1/10@7 = 78 56 34 12\n1/10@8 = F0 DE BC 9A\n");
}

TEST_F(WriteStationStorage, AreaTenTakesNothingForASingleWord)
{
    for (int length : {1, 0, -2, INT_MIN})
        write(variable(10, 7, length, 1, bytes("78 56 34 12")));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(WriteStationStorage, BitsBecomeOneByteOfTheirOldFirstByte)
{
    ExtendFindSameVar(1, 2, 8);
    PLC_driver.ExtendVarList[0].value = bytes("F0 11 22 33");
    write(variable(2, 9, 1, 1, bytes("01")));
    EXPECT_EQ(stored(), "1/2@8 = F2\n");
    write(variable(2, 14, 3, 1, bytes("02 00 01")));
    EXPECT_EQ(stored(), "1/2@8 = 32\n1/2@16 = 01\n");
}

TEST_F(WriteStationStorage, EveryBitAreaTakesBits)
{
    for (int type : {0, 1, 2, 3, 4, 11}) {
        PLC_driver.ExtendVarList.clear();
        write(variable(type, 9, 1, 1, bytes("01")));
        EXPECT_EQ(stored(), "1/" + std::to_string(type) + "@8 = 02\n");
    }
}

TEST_F(WriteStationStorage, AnEmptyBitEntryStaysEmpty)
{
    ExtendFindSameVar(1, 2, 8);
    PLC_driver.ExtendVarList[0].value.clear();
    write(variable(2, 8, 2, 1, bytes("01 01")));
    EXPECT_EQ(stored(), "1/2@8 = \n");
}

TEST_F(WriteStationStorage, ABitWithoutItsByteOnlyMakesTheEntry)
{
    write(variable(2, 8, 9, 1, bytes("01")));
    EXPECT_EQ(stored(), "1/2@8 = 01\n1/2@16 = 00 00 00 00\n");
}

TEST_F(WriteStationStorage, UnknownAreasAndEmptyLengthsMakeNoEntry)
{
    for (int type : {14, 255, -1, INT_MIN, INT_MAX})
        write(variable(type, 0, 2, 1, bytes("01 01 01 01")));
    for (int length : {0, -1, INT_MIN})
        for (int type : {2, 5, 10})
            write(variable(type, 0, length, 1, bytes("01 01 01 01")));
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(WriteStationStorage, StationsAreKeptApartAndTheFixedImageStays)
{
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    write(variable(5, 1, 1, 1, bytes("34 12")));
    write(variable(5, 1, 1, 2, bytes("78 56")));
    EXPECT_EQ(stored(), "1/5@1 = 34 12\n2/5@1 = 78 56\n");
    EXPECT_TRUE(sameImage(image));
}

TEST_F(WriteStationStorage, OneWriteIsOfAtMost65536Items)
{
    write(variable(5, 0, 70000, 1, QByteArray(140000, '\1')));
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.last().address, 65535);
    PLC_driver.ExtendVarList.clear();
    write(variable(2, 0, INT_MAX, 1, QByteArray(70000, '\1')));
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 8192);
}

TEST_F(WriteStationStorage, TheEndsOfTheNumbersAreNoReasonToFail)
{
    for (int type : {2, 5, 10})
        for (int address : {INT_MAX, INT_MIN})
            write(variable(type, address, 100, 1, QByteArray(400, '\1')));
    EXPECT_FALSE(PLC_driver.ExtendVarList.isEmpty());
}

} // namespace
