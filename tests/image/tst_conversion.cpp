// The eight routines between a buffer and a byte string, on buffers of the caller's own.
#include "support/fixture.h"

#include <climits>

namespace
{

class Conversion : public DriverTest
{
protected:
    /// What the string holds after a routine has read into it.
    template <typename Item>
    static std::string got(void (*get)(QByteArray &, Item *, int, int), Item *buffer, int start, int count,
                           const char *before = "")
    {
        QByteArray out = bytes(before);
        get(out, buffer, start, count);
        return hex(out);
    }

    template <typename Item>
    static void set(void (*routine)(int, Item *, QByteArray *, int), int start, Item *buffer, const char *values,
                    int count)
    {
        QByteArray in = bytes(values);
        routine(start, buffer, &in, count);
        EXPECT_EQ(hex(in), hex(bytes(values)));
    }
};

TEST_F(Conversion, GetBitFromUCGivesOneByteABit)
{
    unsigned char buffer[] = {0xA5, 0x01, 0x80};
    EXPECT_EQ(got(GetBitFromUC, buffer, 0, 8), "01 00 01 00 00 01 00 01");
    EXPECT_EQ(got(GetBitFromUC, buffer, 7, 3), "01 01 00");
    EXPECT_EQ(got(GetBitFromUC, buffer, 22, 2), "00 01");
}

TEST_F(Conversion, GetBitFromUSCountsSixteenBitsAWord)
{
    unsigned short buffer[] = {0x8001, 0x0102};
    EXPECT_EQ(got(GetBitFromUS, buffer, 0, 2), "01 00");
    EXPECT_EQ(got(GetBitFromUS, buffer, 14, 5), "00 01 00 01 00");
    EXPECT_EQ(got(GetBitFromUS, buffer, 24, 1), "01");
}

TEST_F(Conversion, GetWordFromUSGivesTheLowByteFirst)
{
    unsigned short buffer[] = {0x1234, 0xABCD, 0x00FF};
    EXPECT_EQ(got(GetWordFromUS, buffer, 0, 3), "34 12 CD AB FF 00");
    EXPECT_EQ(got(GetWordFromUS, buffer, 1, 1), "CD AB");
}

TEST_F(Conversion, GetWordFromUICountsWords)
{
    unsigned int buffer[] = {0x12345678, 0x9ABCDEF0, 0x00000001};
    EXPECT_EQ(got(GetWordFromUI, buffer, 0, 1), "78 56");
    EXPECT_EQ(got(GetWordFromUI, buffer, 1, 1), "F0 DE");
    EXPECT_EQ(got(GetWordFromUI, buffer, 0, 2), "78 56 34 12");
    EXPECT_EQ(got(GetWordFromUI, buffer, 0, 3), "78 56 34 12");
    EXPECT_EQ(got(GetWordFromUI, buffer, 0, 4), "78 56 34 12 F0 DE BC 9A");
    EXPECT_EQ(got(GetWordFromUI, buffer, 0, 5), "78 56 34 12 F0 DE BC 9A");
    EXPECT_EQ(got(GetWordFromUI, buffer, 1, 4), "F0 DE BC 9A 01 00 00 00");
}

TEST_F(Conversion, SetBitToUCTakesOnlyOneForOn)
{
    unsigned char buffer[] = {0xFF, 0x00};
    set(SetBitToUC, 0, buffer, "02 01 FF 00 81 01", 6);
    EXPECT_EQ(buffer[0], 0xE2); // bits 1 and 5 on, 6 and 7 as they were
    set(SetBitToUC, 7, buffer, "01 01 01", 3);
    EXPECT_EQ(buffer[0], 0xE2);
    EXPECT_EQ(buffer[1], 0x03);
}

TEST_F(Conversion, SetBitToUSCountsSixteenBitsAWord)
{
    unsigned short buffer[] = {0xFFFF, 0x0000};
    set(SetBitToUS, 15, buffer, "00 01 01 02", 4);
    EXPECT_EQ(buffer[0], 0x7FFF);
    EXPECT_EQ(buffer[1], 0x0003);
}

TEST_F(Conversion, SetWordToUSSkipsAWordWithoutBothBytes)
{
    unsigned short buffer[] = {0x1111, 0x2222, 0x3333, 0x4444};
    set(SetWordToUS, 0, buffer, "34 12 CD AB 77", 3);
    EXPECT_EQ(buffer[0], 0x1234);
    EXPECT_EQ(buffer[1], 0xABCD);
    EXPECT_EQ(buffer[2], 0x3333);
    set(SetWordToUS, 3, buffer, "FF FF", 1);
    EXPECT_EQ(buffer[3], 0xFFFF);
}

TEST_F(Conversion, SetWordToUIIgnoresASingleWord)
{
    unsigned int buffer[] = {0x11111111};
    for (int count : {1, 0, -2, INT_MIN})
        set(SetWordToUI, 0, buffer, "78 56 34 12", count);
    EXPECT_EQ(buffer[0], 0x11111111u);
}

TEST_F(Conversion, SetWordToUIWritesWholeDoubleWords)
{
    unsigned int buffer[] = {1, 2, 3};
    set(SetWordToUI, 0, buffer, "78 56 34 12 F0 DE BC 9A", 3);
    EXPECT_EQ(buffer[0], 0x12345678u);
    EXPECT_EQ(buffer[1], 2u);
    set(SetWordToUI, 1, buffer, "78 56 34 12 F0 DE BC 9A", 4);
    EXPECT_EQ(buffer[1], 0x12345678u);
    EXPECT_EQ(buffer[2], 0x9ABCDEF0u);
}

TEST_F(Conversion, SetWordToUISkipsADoubleWordWithoutAllFourBytes)
{
    unsigned int buffer[] = {1, 2};
    set(SetWordToUI, 0, buffer, "78 56 34 12 F0 DE BC", 4);
    EXPECT_EQ(buffer[0], 0x12345678u);
    EXPECT_EQ(buffer[1], 2u);
}

TEST_F(Conversion, ItemsThatTheStringLacksStayAsTheyAre)
{
    unsigned char uc[] = {0x00};
    unsigned short us[] = {0x0000, 0x5555};
    set(SetBitToUC, 0, uc, "01 01 01", 8);
    EXPECT_EQ(uc[0], 0x07);
    set(SetBitToUS, 0, us, "01 01", 16);
    EXPECT_EQ(us[0], 0x0003);
    set(SetWordToUS, 1, us, "", 1);
    EXPECT_EQ(us[1], 0x5555);
}

TEST_F(Conversion, ACountBelowOneDoesNothing)
{
    unsigned char uc[] = {0xFF};
    unsigned short us[] = {0xFFFF};
    unsigned int ui[] = {0xFFFFFFFF};
    for (int count : {0, -1, INT_MIN}) {
        EXPECT_EQ(got(GetBitFromUC, uc, 0, count, "99"), "99") << count;
        EXPECT_EQ(got(GetBitFromUS, us, 0, count, "99"), "99") << count;
        EXPECT_EQ(got(GetWordFromUS, us, 0, count, "99"), "99") << count;
        EXPECT_EQ(got(GetWordFromUI, ui, 0, count, "99"), "99") << count;
        set(SetBitToUC, 0, uc, "00 00 00 00", count);
        set(SetBitToUS, 0, us, "00 00 00 00", count);
        set(SetWordToUS, 0, us, "00 00 00 00", count);
        set(SetWordToUI, 0, ui, "00 00 00 00", count);
        EXPECT_EQ(uc[0], 0xFF) << count;
        EXPECT_EQ(us[0], 0xFFFF) << count;
        EXPECT_EQ(ui[0], 0xFFFFFFFFu) << count;
    }
}

TEST_F(Conversion, WhatStandsInTheStringIsOverwrittenFromTheStartAndNeverShortened)
{
    unsigned char uc[] = {0x05};
    unsigned short us[] = {0x1234};
    unsigned int ui[] = {0x12345678};
    EXPECT_EQ(got(GetBitFromUC, uc, 0, 3, "EE EE EE EE"), "01 00 01 EE");
    EXPECT_EQ(got(GetWordFromUS, us, 0, 1, "EE EE EE"), "34 12 EE");
    EXPECT_EQ(got(GetBitFromUS, us, 4, 1, "EE EE"), "01 EE");
    EXPECT_EQ(got(GetWordFromUI, ui, 0, 1, "EE EE EE"), "78 56 EE");
    EXPECT_EQ(got(GetWordFromUI, ui, 0, 2, "EE EE EE EE EE"), "78 56 34 12 EE");
}

TEST_F(Conversion, AStringThatIsTooShortGrows)
{
    unsigned short us[] = {0x1234, 0x5678};
    EXPECT_EQ(got(GetWordFromUS, us, 0, 2, "EE EE EE"), "34 12 78 56");
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
    EXPECT_EQ(got(GetBitFromUC, uc + 1, -1, 1), "01"); // byte 0, bit 7
    EXPECT_EQ(got(GetBitFromUC, uc + 1, -8, 1), "01"); // byte -1, bit 0
    unsigned short us[] = {0x0001, 0x8000};
    EXPECT_EQ(got(GetBitFromUS, us + 1, -1, 1), "01");
    EXPECT_EQ(got(GetBitFromUS, us + 1, -16, 1), "01");
}

TEST_F(Conversion, WordIndexesBelowZeroReachBackFromTheMiddleOfABuffer)
{
    unsigned short us[] = {0x1234, 0x5678};
    unsigned int ui[] = {0x12345678, 0};
    EXPECT_EQ(got(GetWordFromUS, us + 1, -1, 2), "34 12 78 56");
    EXPECT_EQ(got(GetWordFromUI, ui + 1, -1, 2), "78 56 34 12");
    set(SetWordToUS, -1, us + 1, "01 02", 1);
    EXPECT_EQ(us[0], 0x0201);
    set(SetWordToUI, -1, ui + 1, "01 02 03 04", 2);
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
    EXPECT_EQ(got(GetBitFromUC, uc, 0, INT_MAX, "EE"), "EE");
    EXPECT_EQ(got(GetBitFromUS, us, 0, INT_MAX, "EE"), "EE");
    EXPECT_EQ(got(GetWordFromUS, us, 0, INT_MAX, "EE"), "EE");
    EXPECT_EQ(got(GetWordFromUI, ui, 0, INT_MAX, "EE"), "EE");
}

TEST_F(Conversion, NullPointersAreHarmless)
{
    unsigned char uc[] = {0x5A}, *const noBytes = nullptr;
    unsigned short us[] = {0x5A5A}, *const noWords = nullptr;
    unsigned int ui[] = {0x5A5A5A5A}, *const noDoubleWords = nullptr;
    EXPECT_EQ(got(GetBitFromUC, noBytes, 0, 1, "EE"), "EE");
    EXPECT_EQ(got(GetBitFromUS, noWords, 0, 1, "EE"), "EE");
    EXPECT_EQ(got(GetWordFromUS, noWords, 0, 1, "EE"), "EE");
    EXPECT_EQ(got(GetWordFromUI, noDoubleWords, 0, 2, "EE"), "EE");
    set(SetBitToUC, 0, noBytes, "01", 1);
    set(SetBitToUS, 0, noWords, "01", 1);
    set(SetWordToUS, 0, noWords, "01 01", 1);
    set(SetWordToUI, 0, noDoubleWords, "01 01 01 01", 2);
    SetBitToUC(0, uc, nullptr, 8);
    SetBitToUS(0, us, nullptr, 16);
    SetWordToUS(0, us, nullptr, 1);
    SetWordToUI(0, ui, nullptr, 2);
    EXPECT_EQ(uc[0], 0x5A);
    EXPECT_EQ(us[0], 0x5A5A);
    EXPECT_EQ(ui[0], 0x5A5A5A5Au);
}

} // namespace
