// SetRegisterData: the host writes values, into the image or to the controller.
#include "lists/blocks.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class HostWrite : public DriverTest
{
protected:
    HostWrite() { settings.blockWords = 32; }

    static int write(int areaType, const char *address, const QByteArray &values, int length, int station = 1)
    {
        QByteArray copy = values;
        const int result = SetRegisterData(QString::fromLatin1("a text"), areaType, QString::fromLatin1(address),
                                           station, &copy, length, 21, 22);
        EXPECT_TRUE(sameBytes(copy, values)) << "the caller's values";
        EXPECT_TRUE(locksAreFree());
        return result;
    }

    static const QList<RW_VAR> &queue() { return PLC_driver.WriteVarList; }
};

class WriteToImage : public HostWrite
{
};

TEST_F(WriteToImage, EveryModeButTwoChangesTheImageAlone)
{
    for (int mode : {0, 1, 3, -1, INT_MIN}) {
        settings.writeMode = mode;
        PLC_driver.usArea5[100] = 0;
        EXPECT_EQ(write(5, "100", bytes("34 12"), 1), 1) << mode;
        EXPECT_EQ(PLC_driver.usArea5[100], 0x1234) << mode;
        EXPECT_TRUE(queue().isEmpty()) << mode;
    }
}

TEST_F(WriteToImage, AreasThatTheHostCannotWriteElsewhereAreTaken)
{
    EXPECT_EQ(write(0, "17", bytes("01"), 1), 1);
    EXPECT_EQ(PLC_driver.ucArea0[1], 0x80);
    EXPECT_EQ(write(8, "17", bytes("34 12"), 1), 1);
    EXPECT_EQ(PLC_driver.usArea8[17], 0x1234);
    EXPECT_TRUE(queue().isEmpty());
}

TEST_F(WriteToImage, EveryAreaIsTaken)
{
    for (int type = 0; type < 14; ++type) {
        fillImage(0);
        EXPECT_EQ(write(type, "1", QByteArray(8, '\1'), 2), 1) << type;
        const unsigned expected = area(type).isBits() ? 0x06u : area(type).itemSize == 2 ? 0x0101u : 0x01010101u;
        EXPECT_EQ(area(type).at(area(type).isBits() ? 0 : 1), expected) << type;
    }
}

TEST_F(WriteToImage, ASingleWordOfAreaTenIsIgnored)
{
    EXPECT_EQ(write(10, "3", bytes("78 56 34 12"), 1), 1);
    EXPECT_EQ(PLC_driver.uiArea10[3], 0u);
}

TEST_F(WriteToImage, WhatIsOddIsAnsweredWithOneAndChangesNothing)
{
    const QByteArray image = wholeImage();
    EXPECT_EQ(write(5, "3", bytes("34 12"), 0), 1);
    EXPECT_EQ(write(5, "3", bytes("34 12"), INT_MIN), 1);
    EXPECT_EQ(write(5, "3", QByteArray(), 4), 1);
    EXPECT_EQ(write(14, "3", bytes("34 12"), 1), 1);
    EXPECT_EQ(write(-1, "3", bytes("34 12"), 1), 1);
    EXPECT_TRUE(sameImage(image));
}

TEST_F(WriteToImage, ANegativeAddressIsRefused)
{
    const QByteArray image = wholeImage();
    EXPECT_EQ(write(5, "-1", bytes("34 12 34 12"), 2), 0);
    EXPECT_TRUE(sameImage(image));
}

TEST_F(WriteToImage, TheLinkDoesNotMatter)
{
    PLC_driver.CommFailFlag = 1;
    EXPECT_EQ(write(5, "3", bytes("34 12"), 1), 1);
    EXPECT_EQ(PLC_driver.usArea5[3], 0x1234);
}

TEST_F(WriteToImage, WithPerStationStorageTheStationIsTheCallers)
{
    settings.stationMode = 1;
    settings.defaultStation = 99;
    EXPECT_EQ(write(5, "3", bytes("34 12"), 1, 7), 1);
    EXPECT_EQ(write(2, "3", bytes("01"), 1, 7), 1);
    EXPECT_EQ(stored(), "7/5@3 = 34 12\n7/2@0 = 08\n");
}

TEST_F(WriteToImage, WithoutSettingsTheImageIsChanged)
{
    PLC_driver.settings = nullptr;
    EXPECT_EQ(write(5, "3", bytes("34 12"), 1), 1);
    EXPECT_EQ(PLC_driver.usArea5[3], 0x1234);
}

TEST_F(WriteToImage, NullValuesAreNoValues)
{
    const QByteArray image = wholeImage();
    EXPECT_EQ(SetRegisterData(QString(), 5, QString::fromLatin1("3"), 1, nullptr, 2, 0, 0), 1);
    EXPECT_TRUE(sameImage(image));
    EXPECT_TRUE(locksAreFree());
}

TEST_F(WriteToImage, TheLargestLengthIsCut)
{
    EXPECT_EQ(write(5, "9998", QByteArray(100, '\1'), INT_MAX), 1);
    EXPECT_EQ(PLC_driver.usArea5[9999], 0x0101);
    EXPECT_EQ(PLC_driver.usArea12[0], 0);
    settings.stationMode = 1;
    EXPECT_EQ(write(5, "0", QByteArray(140000, '\1'), 70000), 1);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 65536);
}

class WriteToController : public HostWrite
{
protected:
    WriteToController() { settings.writeMode = 2; }
};

TEST_F(WriteToController, BitsAreQueuedOneByOne)
{
    EXPECT_EQ(write(2, "5", bytes("01 00 01"), 3), 3);
    EXPECT_EQ(blocks(queue()), "2@5+1 2@6+1 2@7+1");
    EXPECT_EQ(hex(queue().at(0).data), "01");
    EXPECT_EQ(hex(queue().at(1).data), "00");
    EXPECT_EQ(hex(queue().at(2).data), "01");
}

TEST_F(WriteToController, EveryWritableBitAreaIsQueuedByBits)
{
    for (int type : {1, 2, 3, 4, 11}) {
        PLC_driver.WriteVarList.clear();
        EXPECT_EQ(write(type, "10", bytes("05 01"), 2), 2) << type;
        const std::string at = std::to_string(type) + "@";
        EXPECT_EQ(blocks(queue()), type == 1 ? at + "8+1 " + at + "9+1" : at + "10+1 " + at + "11+1");
        EXPECT_EQ(hex(queue().at(0).data), "05"); // as the host gave it
    }
}

TEST_F(WriteToController, WordsAreCutIntoBlocks)
{
    QByteArray values;
    for (int i = 0; i < 80; ++i)
        values.append(char(i));
    EXPECT_EQ(write(5, "100", values, 40), 2);
    EXPECT_EQ(blocks(queue()), "5@100+32 5@132+8");
    EXPECT_EQ(hex(queue().at(0).data), hex(values.left(64)));
    EXPECT_EQ(hex(queue().at(1).data), hex(values.mid(64)));
}

TEST_F(WriteToController, EveryWritableWordAreaIsCutIntoBlocks)
{
    for (int type : {5, 6, 7, 9, 10, 12, 13}) {
        PLC_driver.WriteVarList.clear();
        EXPECT_EQ(write(type, "1", QByteArray(130, '\1'), 65), 3) << type;
        const std::string at = std::to_string(type) + "@";
        EXPECT_EQ(blocks(queue()), at + "1+32 " + at + "33+32 " + at + "65+1") << type;
        EXPECT_EQ(hex(queue().at(2).data), "01 01") << type;
    }
}

TEST_F(WriteToController, ReadOnlyAreasAreRefused)
{
    fillImage(0x5A);
    const QByteArray image = wholeImage();
    for (bool failed : {false, true}) {
        PLC_driver.CommFailFlag = failed;
        for (int type : {0, 8, 14, 255, -1, INT_MAX, INT_MIN})
            EXPECT_EQ(write(type, "1", bytes("01 01 01 01"), 2), 0) << type;
    }
    EXPECT_TRUE(queue().isEmpty());
    EXPECT_TRUE(sameImage(image));
}

TEST_F(WriteToController, ANegativeAddressIsRefused)
{
    EXPECT_EQ(write(5, "-1", bytes("34 12 34 12"), 2), 0);
    EXPECT_EQ(write(1, "-1", bytes("01 01"), 2), 0);
    EXPECT_TRUE(queue().isEmpty());
}

TEST_F(WriteToController, ALengthBelowOneIsAnsweredWithZero)
{
    PLC_driver.WriteVarList.append(variable(9, 1, 1));
    for (int length : {0, -1, INT_MIN})
        for (int type : {2, 5, 10})
            EXPECT_EQ(write(type, "1", bytes("01 01"), length), 0) << type << " x " << length;
    EXPECT_EQ(queue().size(), 1);
}

TEST_F(WriteToController, MissingValuesAreSentAsZeros)
{
    EXPECT_EQ(write(2, "5", bytes("01"), 3), 3);
    EXPECT_EQ(hex(queue().at(1).data), "00");
    EXPECT_EQ(hex(queue().at(2).data), "00");
    PLC_driver.WriteVarList.clear();
    EXPECT_EQ(write(5, "5", bytes("34 12 78"), 3), 1);
    EXPECT_EQ(hex(queue().at(0).data), "34 12 78 00 00 00");
    PLC_driver.WriteVarList.clear();
    settings.blockWords = 2;
    EXPECT_EQ(write(5, "5", bytes("34 12 78"), 3), 2);
    EXPECT_EQ(hex(queue().at(0).data), "34 12 78 00");
    EXPECT_EQ(hex(queue().at(1).data), "00 00");
    PLC_driver.WriteVarList.clear();
    EXPECT_EQ(SetRegisterData(QString(), 5, QString::fromLatin1("3"), 1, nullptr, 2, 0, 0), 1);
    EXPECT_EQ(hex(queue().at(0).data), "00 00 00 00");
}

TEST_F(WriteToController, ARecordIsFilledFromTheCallAndTheSettings)
{
    settings.defaultStation = 9;
    settings.remoteMode = 11;
    settings.localLinkNo = 12;
    write(5, "100", bytes("34 12"), 1, 3);
    RW_VAR expected = variable(5, 100, 1, 9, bytes("34 12"));
    expected.hostType = 21;
    expected.hostAddr = 22;
    expected.hostField3 = 1;
    expected.remoteModeCopy = 11;
    expected.linkNo = 12;
    expected.text1 = QString::fromLatin1("a text");
    expected.addressText = QString::fromLatin1("100");
    ASSERT_EQ(queue().size(), 1);
    EXPECT_TRUE(sameVariable(queue().at(0), expected));
}

TEST_F(WriteToController, EveryBlockCarriesTheSameTexts)
{
    write(5, "100", QByteArray(128, '\1'), 64, 3);
    ASSERT_EQ(queue().size(), 2);
    EXPECT_EQ(queue().at(1).addressText, QString::fromLatin1("100"));
    EXPECT_EQ(queue().at(1).text1, QString::fromLatin1("a text"));
    EXPECT_EQ(queue().at(1).hostAddr, 22);
}

TEST_F(WriteToController, WithPerStationStorageTheStationIsTheCallers)
{
    settings.stationMode = 1;
    settings.defaultStation = 9;
    write(5, "100", bytes("34 12"), 1, 300);
    EXPECT_EQ(queue().at(0).station, 300);
}

TEST_F(WriteToController, AQueuedWriteOfTheSamePlaceTakesTheNewValue)
{
    PLC_driver.WriteVarList.append(variable(9, 1, 1));
    EXPECT_EQ(write(5, "100", bytes("01 00"), 1, 1), 2);
    EXPECT_EQ(write(5, "100", bytes("02 00"), 1, 1), 2);
    EXPECT_EQ(hex(queue().at(1).data), "02 00");
}

TEST_F(WriteToController, WithTheLinkUpTheImageWaitsForTheRequest)
{
    const QByteArray image = wholeImage();
    write(5, "100", bytes("34 12"), 1);
    write(2, "5", bytes("01 01"), 2);
    EXPECT_TRUE(sameImage(image));
}

TEST_F(WriteToController, WithTheLinkDownTheImageChangesAtOnce)
{
    PLC_driver.CommFailFlag = 1;
    settings.blockWords = 1;
    EXPECT_EQ(write(5, "100", bytes("34 12 78 56"), 2), 2);
    EXPECT_EQ(PLC_driver.usArea5[100], 0x1234);
    EXPECT_EQ(PLC_driver.usArea5[101], 0x5678);
    write(2, "5", bytes("01 00 01"), 3);
    EXPECT_EQ(PLC_driver.ucArea2[0], 0xA0);
}

TEST_F(WriteToController, WithTheLinkDownMissingValuesAreZerosInTheImageToo)
{
    PLC_driver.CommFailFlag = 1;
    PLC_driver.usArea5[101] = 0x5555;
    write(5, "100", bytes("34 12"), 2);
    EXPECT_EQ(PLC_driver.usArea5[101], 0);
}

TEST_F(WriteToController, AFullQueueDropsTheWriteButNotItsImage)
{
    for (int i = 0; i < 1024; ++i)
        PLC_driver.WriteVarList.append(variable(9, i, 1));
    PLC_driver.CommFailFlag = 1;
    EXPECT_EQ(write(5, "100", bytes("34 12"), 1), 1024);
    EXPECT_EQ(queue().last().areaType, 9);
    EXPECT_EQ(PLC_driver.usArea5[100], 0x1234);
}

TEST_F(WriteToController, ABlockSizeBelowOneSendsOneBlock)
{
    for (int size : {0, -1, INT_MIN}) {
        PLC_driver.WriteVarList.clear();
        settings.blockWords = size;
        EXPECT_EQ(write(5, "100", QByteArray(600, '\1'), 300), 1) << size;
        EXPECT_EQ(blocks(queue()), "5@100+300") << size;
        EXPECT_TRUE(sameBytes(queue().at(0).data, QByteArray(600, '\1'))) << size;
    }
}

TEST_F(WriteToController, AtMost65536ItemsAreQueued)
{
    settings.blockWords = 0;
    EXPECT_EQ(write(5, "0", bytes("34 12"), INT_MAX), 1);
    EXPECT_EQ(blocks(queue()), "5@0+65536");
    EXPECT_EQ(queue().at(0).data.size(), 2 * 65536);
    PLC_driver.WriteVarList.clear();
    settings.blockWords = 65535;
    EXPECT_EQ(write(5, "0", bytes("34 12"), 70000), 2);
    EXPECT_EQ(blocks(queue()), "5@0+65535 5@65535+1");
}

TEST_F(WriteToController, AtMost65536BitsAreTaken)
{
    settings.stationMode = 1;
    PLC_driver.CommFailFlag = 1; // every bit that is taken reaches the storage, whatever the queue holds
    EXPECT_EQ(write(2, "0", bytes("01"), 65536 + 8), 1024);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 8192);
}

TEST_F(WriteToController, TheEndsOfTheNumbersAreNoReasonToFail)
{
    for (int size : {1, 7, INT_MAX})
        for (int type : {5, 10}) {
            PLC_driver.WriteVarList.clear();
            settings.blockWords = size;
            EXPECT_GE(write(type, "2147483647", bytes("34 12"), 100000), 1) << type << " by " << size;
        }
    PLC_driver.WriteVarList.clear();
    EXPECT_GE(write(2, "2147483647", bytes("01"), 100), 1);
}

TEST_F(WriteToController, AreaTenIsQueuedInWordsEvenForOne)
{
    EXPECT_EQ(write(10, "3", bytes("78 56"), 1), 1);
    EXPECT_EQ(blocks(queue()), "10@3+1");
    EXPECT_EQ(hex(queue().at(0).data), "78 56");
}

} // namespace
