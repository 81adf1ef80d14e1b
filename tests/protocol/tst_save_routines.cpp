// The save routines on a caller's own buffer and on the image's.
#include "support/frames_storage.h"

#include <climits>

namespace
{

class SaveRoutines : public frames::StorageTest
{
};

TEST_F(SaveRoutines, ServeTheVariableThatITimesNames)
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
    EXPECT_TRUE(imageIs(5, 0, {}));
}

TEST_F(SaveRoutines, ACallersOwnBufferIsBoundedByNoArea)
{
    std::vector<unsigned char> bits(3000, 0);
    std::vector<unsigned short> words(12000, 0);
    std::vector<unsigned int> doubles(3000, 0);
    QByteArray reply = bytes("01 02 03 04 05 06 07 08");
    alone(0, 8 * 2900, 0, 2);
    SaveBitToUC(&reply, bits.data());
    EXPECT_EQ(bits[2900], 1);
    EXPECT_EQ(bits[2901], 2);
    EXPECT_EQ(bits[2902], 0);
    alone(12, 11998, 0, 4);
    SaveWordToUS(&reply, words.data());
    EXPECT_EQ(words[11998], 0x0102);
    EXPECT_EQ(words[11999], 0x0304);
    alone(10, 2998, 0, 8);
    SaveWordToUI(&reply, doubles.data());
    EXPECT_EQ(doubles[2998], 0x03040102u);
    EXPECT_EQ(doubles[2999], 0x07080506u);
}

TEST_F(SaveRoutines, TheBoundBelongsToTheBufferNotToTheVariablesArea)
{
    fillImage(0xC3);
    QByteArray reply = bytes("01 02 03 04");
    alone(5, 7, 0, 4); // area 5 has word 8, usArea12 has not
    SaveWordToUS(&reply, PLC_driver.usArea12);
    EXPECT_TRUE(imageIs(12, 7, {0x0102}, 0xC3));
    fillImage(0xC3);
    alone(2, 139 * 8, 0, 2);
    SaveBitToUC(&reply, PLC_driver.ucArea11);
    EXPECT_TRUE(imageIs(11, 139, {0x01}, 0xC3));
    fillImage(0xC3);
    alone(12, 200, 0, 4); // and area 12 lacks word 200, usArea7 has it
    SaveWordToUS(&reply, PLC_driver.usArea7);
    EXPECT_TRUE(imageIs(7, 200, {0x0102, 0x0304}, 0xC3));
}

TEST_F(SaveRoutines, TheAreaTypeOfTheVariableDoesNotMatter)
{
    unsigned short words[2] = {};
    QByteArray reply = bytes("01 02 03 04");
    for (int areaType : {0, 10, 14, -1}) {
        words[1] = 0;
        alone(areaType, 1, 0, 2);
        SaveWordToUS(&reply, words);
        EXPECT_EQ(words[1], 0x0102) << areaType;
    }
}

TEST_F(SaveRoutines, TheRoutinesDoNotLookAtTheStationSwitch)
{
    settings.stationMode = 1;
    unsigned short words[2] = {};
    QByteArray reply = bytes("01 02");
    alone(5, 1, 0, 2);
    SaveWordToUS(&reply, words);
    EXPECT_EQ(words[1], 0x0102);
    EXPECT_TRUE(PLC_driver.ExtendVarList.isEmpty());
}

TEST_F(SaveRoutines, AMissingVariableStoresNothing)
{
    unsigned char bits[8] = {};
    unsigned short words[8] = {};
    unsigned int doubles[8] = {};
    QByteArray reply = bytes("01 02 03 04");
    alone(5, 0, 0, 4);
    for (int i = 1; i < 6; ++i)
        iRet_ValidLen[i] = 4;
    for (int index : {1, 5, 6, 100, -1, INT_MAX, INT_MIN}) {
        iTimes = index;
        SaveBitToUC(&reply, bits);
        SaveWordToUS(&reply, words);
        SaveWordToUI(&reply, doubles);
        EXPECT_EQ(bits[0] + words[0] + int(doubles[0]), 0) << index;
    }
}

TEST_F(SaveRoutines, NullPointersAreHarmless)
{
    unsigned short words[2] = {};
    unsigned char bits[2] = {};
    unsigned int doubles[2] = {};
    QByteArray reply = bytes("01 02 03 04");
    alone(5, 0, 0, 4);
    SaveBitToUC(&reply, nullptr);
    SaveWordToUS(&reply, nullptr);
    SaveWordToUI(&reply, nullptr);
    SaveBitToUC(nullptr, bits);
    SaveWordToUS(nullptr, words);
    SaveWordToUI(nullptr, doubles);
    SpecialRegisterSave(nullptr, nullptr);
    EXPECT_EQ(bits[0] + words[0] + int(doubles[0]), 0);
}

TEST_F(SaveRoutines, TheSpecialRegisterHookDoesNothing)
{
    unsigned short words[2] = {7, 8};
    QByteArray reply = bytes("01 02 03 04");
    alone(5, 0, 0, 4);
    SpecialRegisterSave(&reply, words);
    EXPECT_EQ(words[0], 7);
    EXPECT_EQ(words[1], 8);
    EXPECT_EQ(hex(reply), "01 02 03 04");
    EXPECT_EQ(iTimes, 0);
    EXPECT_TRUE(imageIs(5, 0, {}));
}

} // namespace
