// The eight routines between a buffer and a byte string, on buffers of the caller's own.
#include "support/fixture.h"

#include <climits>

namespace
{

class Conversion : public DriverTest
{
};

TEST_F(Conversion, GetBitFromUCGivesOneByteABit)
{
    unsigned char buffer[] = {0xA5, 0x01, 0x80};
    QByteArray out;
    GetBitFromUC(out, buffer, 0, 8);
    EXPECT_EQ(hex(out), "01 00 01 00 00 01 00 01");
    out.clear();
    GetBitFromUC(out, buffer, 7, 3);
    EXPECT_EQ(hex(out), "01 01 00");
    out.clear();
    GetBitFromUC(out, buffer, 22, 2);
    EXPECT_EQ(hex(out), "00 01");
}

TEST_F(Conversion, GetBitFromUSCountsSixteenBitsAWord)
{
    unsigned short buffer[] = {0x8001, 0x0102};
    QByteArray out;
    GetBitFromUS(out, buffer, 0, 2);
    EXPECT_EQ(hex(out), "01 00");
    out.clear();
    GetBitFromUS(out, buffer, 14, 5);
    EXPECT_EQ(hex(out), "00 01 00 01 00");
    out.clear();
    GetBitFromUS(out, buffer, 24, 1);
    EXPECT_EQ(hex(out), "01");
}

TEST_F(Conversion, GetWordFromUSGivesTheLowByteFirst)
{
    unsigned short buffer[] = {0x1234, 0xABCD, 0x00FF};
    QByteArray out;
    GetWordFromUS(out, buffer, 0, 3);
    EXPECT_EQ(hex(out), "34 12 CD AB FF 00");
    out.clear();
    GetWordFromUS(out, buffer, 1, 1);
    EXPECT_EQ(hex(out), "CD AB");
}

TEST_F(Conversion, GetWordFromUICountsWords)
{
    unsigned int buffer[] = {0x12345678, 0x9ABCDEF0, 0x00000001};
    const struct {
        int start, count;
        const char *expected;
    } rows[] = {
        {0, 1, "78 56"},
        {1, 1, "F0 DE"},
        {0, 2, "78 56 34 12"},
        {0, 3, "78 56 34 12"},
        {0, 4, "78 56 34 12 F0 DE BC 9A"},
        {0, 5, "78 56 34 12 F0 DE BC 9A"},
        {1, 4, "F0 DE BC 9A 01 00 00 00"},
        {0, 0, ""},
        {0, -1, ""},
    };
    for (const auto &row : rows) {
        QByteArray out;
        GetWordFromUI(out, buffer, row.start, row.count);
        EXPECT_EQ(hex(out), row.expected) << row.start << ", " << row.count;
    }
}

TEST_F(Conversion, SetBitToUCTakesOnlyOneForOn)
{
    unsigned char buffer[] = {0xFF, 0x00};
    QByteArray in = bytes("02 01 FF 00 81 01");
    SetBitToUC(0, buffer, &in, 6);
    EXPECT_EQ(buffer[0], 0xE2); // bits 1 and 5 on, 6 and 7 as they were
    in = bytes("01 01 01");
    SetBitToUC(7, buffer, &in, 3);
    EXPECT_EQ(buffer[0], 0xE2);
    EXPECT_EQ(buffer[1], 0x03);
}

TEST_F(Conversion, SetBitToUSCountsSixteenBitsAWord)
{
    unsigned short buffer[] = {0xFFFF, 0x0000};
    QByteArray in = bytes("00 01 01 02");
    SetBitToUS(15, buffer, &in, 4);
    EXPECT_EQ(buffer[0], 0x7FFF);
    EXPECT_EQ(buffer[1], 0x0003);
}

TEST_F(Conversion, SetWordToUSSkipsAWordWithoutBothBytes)
{
    unsigned short buffer[] = {0x1111, 0x2222, 0x3333, 0x4444};
    QByteArray in = bytes("34 12 CD AB 77");
    SetWordToUS(0, buffer, &in, 3);
    EXPECT_EQ(buffer[0], 0x1234);
    EXPECT_EQ(buffer[1], 0xABCD);
    EXPECT_EQ(buffer[2], 0x3333);
    in = bytes("FF FF");
    SetWordToUS(3, buffer, &in, 1);
    EXPECT_EQ(buffer[3], 0xFFFF);
}

TEST_F(Conversion, SetWordToUIIgnoresASingleWord)
{
    unsigned int buffer[] = {0x11111111};
    QByteArray in = bytes("78 56 34 12");
    for (int count : {1, 0, -2, INT_MIN})
        SetWordToUI(0, buffer, &in, count);
    EXPECT_EQ(buffer[0], 0x11111111u);
}

TEST_F(Conversion, SetWordToUIWritesWholeDoubleWords)
{
    unsigned int buffer[] = {1, 2, 3};
    QByteArray in = bytes("78 56 34 12 F0 DE BC 9A");
    SetWordToUI(0, buffer, &in, 3);
    EXPECT_EQ(buffer[0], 0x12345678u);
    EXPECT_EQ(buffer[1], 2u);
    SetWordToUI(1, buffer, &in, 4);
    EXPECT_EQ(buffer[1], 0x12345678u);
    EXPECT_EQ(buffer[2], 0x9ABCDEF0u);
}

TEST_F(Conversion, SetWordToUISkipsADoubleWordWithoutAllFourBytes)
{
    unsigned int buffer[] = {1, 2};
    QByteArray in = bytes("78 56 34 12 F0 DE BC");
    SetWordToUI(0, buffer, &in, 4);
    EXPECT_EQ(buffer[0], 0x12345678u);
    EXPECT_EQ(buffer[1], 2u);
}

TEST_F(Conversion, ItemsThatTheStringLacksStayAsTheyAre)
{
    unsigned char uc[] = {0x00};
    unsigned short us[] = {0x0000, 0x5555};
    QByteArray in = bytes("01 01 01");
    SetBitToUC(0, uc, &in, 8);
    EXPECT_EQ(uc[0], 0x07);
    in = bytes("01 01");
    SetBitToUS(0, us, &in, 16);
    EXPECT_EQ(us[0], 0x0003);
    in.clear();
    SetWordToUS(1, us, &in, 1);
    EXPECT_EQ(us[1], 0x5555);
}

TEST_F(Conversion, ACountBelowOneDoesNothing)
{
    for (int count : {0, -1, INT_MIN}) {
        unsigned char uc[] = {0xFF};
        unsigned short us[] = {0xFFFF};
        unsigned int ui[] = {0xFFFFFFFF};
        QByteArray out = bytes("99"), in = bytes("00 00 00 00");
        GetBitFromUC(out, uc, 0, count);
        GetBitFromUS(out, us, 0, count);
        GetWordFromUS(out, us, 0, count);
        GetWordFromUI(out, ui, 0, count);
        EXPECT_EQ(hex(out), "99");
        SetBitToUC(0, uc, &in, count);
        SetBitToUS(0, us, &in, count);
        SetWordToUS(0, us, &in, count);
        SetWordToUI(0, ui, &in, count);
        EXPECT_EQ(uc[0], 0xFF);
        EXPECT_EQ(us[0], 0xFFFF);
        EXPECT_EQ(ui[0], 0xFFFFFFFFu);
    }
}

TEST_F(Conversion, WhatStandsInTheStringIsOverwrittenFromTheStartAndNeverShortened)
{
    unsigned char uc[] = {0x05};
    unsigned short us[] = {0x1234};
    unsigned int ui[] = {0x12345678};
    QByteArray out = bytes("EE EE EE EE EE EE");
    GetBitFromUC(out, uc, 0, 3);
    EXPECT_EQ(hex(out), "01 00 01 EE EE EE");
    GetWordFromUS(out, us, 0, 1);
    EXPECT_EQ(hex(out), "34 12 01 EE EE EE");
    GetBitFromUS(out, us, 4, 1);
    EXPECT_EQ(hex(out), "01 12 01 EE EE EE");
    GetWordFromUI(out, ui, 0, 1);
    EXPECT_EQ(hex(out), "78 56 01 EE EE EE");
    GetWordFromUI(out, ui, 0, 2);
    EXPECT_EQ(hex(out), "78 56 34 12 EE EE");
}

TEST_F(Conversion, AStringThatIsTooShortGrows)
{
    unsigned short us[] = {0x1234, 0x5678};
    QByteArray out = bytes("EE EE EE");
    GetWordFromUS(out, us, 0, 2);
    EXPECT_EQ(hex(out), "34 12 78 56");
}

TEST_F(Conversion, ASharedStringIsNotChangedBehindItsOtherOwner)
{
    unsigned short us[] = {0x1234};
    QByteArray out = bytes("EE EE");
    const QByteArray other = out;
    GetWordFromUS(out, us, 0, 1);
    EXPECT_EQ(hex(other), "EE EE");
    EXPECT_EQ(hex(out), "34 12");
}

// The byte is found by a division that rounds toward zero, the bit by the low three or four bits.
TEST_F(Conversion, BitNumbersBelowZeroReachBackFromTheMiddleOfABuffer)
{
    unsigned char uc[] = {0x01, 0x80};
    QByteArray out;
    GetBitFromUC(out, uc + 1, -1, 1); // byte 0, bit 7
    EXPECT_EQ(hex(out), "01");
    out.clear();
    GetBitFromUC(out, uc + 1, -8, 1); // byte -1, bit 0
    EXPECT_EQ(hex(out), "01");
    unsigned short us[] = {0x0001, 0x8000};
    out.clear();
    GetBitFromUS(out, us + 1, -1, 1);
    EXPECT_EQ(hex(out), "01");
    out.clear();
    GetBitFromUS(out, us + 1, -16, 1);
    EXPECT_EQ(hex(out), "01");
}

TEST_F(Conversion, WordIndexesBelowZeroReachBackFromTheMiddleOfABuffer)
{
    unsigned short us[] = {0x1234, 0x5678};
    unsigned int ui[] = {0x12345678, 0};
    QByteArray out, in = bytes("01 02 03 04");
    GetWordFromUS(out, us + 1, -1, 2);
    EXPECT_EQ(hex(out), "34 12 78 56");
    out.clear();
    GetWordFromUI(out, ui + 1, -1, 2);
    EXPECT_EQ(hex(out), "78 56 34 12");
    SetWordToUS(-1, us + 1, &in, 1);
    EXPECT_EQ(us[0], 0x0201);
    SetWordToUI(-1, ui + 1, &in, 2);
    EXPECT_EQ(ui[0], 0x04030201u);
}

TEST_F(Conversion, ABufferOfTheCallersOwnIsNotBoundedByAnyArea)
{
    std::vector<unsigned short> us(20000, 0x1234);
    QByteArray out;
    GetWordFromUS(out, us.data(), 0, 20000);
    EXPECT_EQ(out.size(), 40000);
    EXPECT_EQ(hex(out.right(2)), "34 12");
    std::vector<unsigned char> uc(3000);
    QByteArray in(24000, 1);
    SetBitToUC(0, uc.data(), &in, 24000);
    EXPECT_EQ(uc, std::vector<unsigned char>(3000, 0xFF));
}

// The caller's own buffer bounds nothing, but the values of such a count fit into no string: nothing is read.
TEST_F(Conversion, MoreThanAStringCanHoldIsNotRead)
{
    unsigned char uc[] = {0xFF};
    unsigned short us[] = {0xFFFF};
    unsigned int ui[] = {0xFFFFFFFF};
    QByteArray out = bytes("EE");
    GetBitFromUC(out, uc, 0, INT_MAX);
    GetBitFromUS(out, us, 0, INT_MAX);
    GetWordFromUS(out, us, 0, INT_MAX);
    GetWordFromUI(out, ui, 0, INT_MAX);
    EXPECT_EQ(hex(out), "EE");
}

TEST_F(Conversion, NullPointersAreHarmless)
{
    unsigned char uc[] = {0x5A};
    unsigned short us[] = {0x5A5A};
    unsigned int ui[] = {0x5A5A5A5A};
    QByteArray out = bytes("EE"), in = bytes("01 01 01 01");
    GetBitFromUC(out, nullptr, 0, 1);
    GetBitFromUS(out, nullptr, 0, 1);
    GetWordFromUS(out, nullptr, 0, 1);
    GetWordFromUI(out, nullptr, 0, 2);
    EXPECT_EQ(hex(out), "EE");
    SetBitToUC(0, nullptr, &in, 1);
    SetBitToUS(0, nullptr, &in, 1);
    SetWordToUS(0, nullptr, &in, 1);
    SetWordToUI(0, nullptr, &in, 2);
    SetBitToUC(0, uc, nullptr, 8);
    SetBitToUS(0, us, nullptr, 16);
    SetWordToUS(0, us, nullptr, 1);
    SetWordToUI(0, ui, nullptr, 2);
    EXPECT_EQ(uc[0], 0x5A);
    EXPECT_EQ(us[0], 0x5A5A);
    EXPECT_EQ(ui[0], 0x5A5A5A5Au);
}

} // namespace
