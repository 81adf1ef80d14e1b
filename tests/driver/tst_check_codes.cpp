// The check codes and the two digit converters.
#include "support/fixture.h"
#include "support/frames.h"

#include <climits>

namespace
{

unsigned char *raw(QByteArray &data)
{
    return reinterpret_cast<unsigned char *>(data.data());
}

unsigned short crcOf(QByteArray data)
{
    return CalCRC(raw(data), static_cast<unsigned short>(data.size()));
}
unsigned short sumOf(QByteArray data)
{
    return CalSUM(raw(data), static_cast<unsigned short>(data.size()));
}
int lrcOf(QByteArray data)
{
    return CalLRC(raw(data), static_cast<unsigned short>(data.size()));
}
unsigned short xorOf(QByteArray data)
{
    return CalXOR(raw(data), static_cast<unsigned short>(data.size()));
}

/// Bytes without a pattern, the same on every run.
QByteArray mixed(int size)
{
    QByteArray data(size, '\0');
    unsigned value = 0x2545F491u;
    for (int i = 0; i < size; ++i) {
        value = value * 1664525u + 1013904223u;
        data[i] = static_cast<char>(value >> 24);
    }
    return data;
}

TEST(CalCRC, GivesTheCheckValueOfItsParameters)
{
    EXPECT_EQ(crcOf("123456789"), 0x4B37);
}

TEST(CalCRC, GivesKnownValues)
{
    EXPECT_EQ(crcOf(bytes("01 03 00 00 00 01")), 0x0A84);
    EXPECT_EQ(crcOf(bytes("03 FE 01 08 0A 02 01")), 0xDCE2);
    EXPECT_EQ(crcOf(bytes("01 FE 02 08 04 64 00 01 10 10 00")), 0xF53E);
    EXPECT_EQ(crcOf(bytes("07 FE 01 05 10 18 00")), 0xD74E);
    EXPECT_EQ(crcOf(bytes("00")), 0x40BF);
    EXPECT_EQ(crcOf(bytes("FF")), 0x00FF);
}

TEST(CalCRC, OfNothingIsItsInitialValue)
{
    unsigned char byte = 0x12;
    EXPECT_EQ(CalCRC(&byte, 0), 0xFFFF);
    EXPECT_EQ(CalCRC(nullptr, 0), 0xFFFF);
}

TEST(CalCRC, OfEverySingleByteAgreesWithTheBitwiseRule)
{
    for (int value = 0; value < 256; ++value) {
        const QByteArray data(1, static_cast<char>(value));
        ASSERT_EQ(crcOf(data), frames::crc(data)) << value;
    }
}

TEST(CalCRC, OfEveryLengthAgreesWithTheBitwiseRule)
{
    const QByteArray data = mixed(300);
    for (int length = 0; length <= int(data.size()); ++length)
        ASSERT_EQ(crcOf(data.left(length)), frames::crc(data.left(length))) << length;
    EXPECT_EQ(crcOf(mixed(65535)), frames::crc(mixed(65535)));
}

TEST(CalCRC, IsZeroOverAFrameAndItsOwnCrcLowByteFirst)
{
    EXPECT_EQ(crcOf(bytes("01 03 00 00 00 01 84 0A")), 0);
    EXPECT_EQ(crcOf(bytes("03 FE 01 08 0A 02 01 E2 DC")), 0);
}

TEST(CalCRC, LeavesTheBytesAlone)
{
    QByteArray data = mixed(64);
    CalCRC(raw(data), 64);
    EXPECT_EQ(hex(data), hex(mixed(64)));
}

TEST(CalSUM, AddsTheBytes)
{
    EXPECT_EQ(sumOf(bytes("01 02 03")), 6);
    EXPECT_EQ(sumOf(bytes("FF 80")), 0x17F);
    EXPECT_EQ(sumOf(bytes("16 02 00 03 01 00 05 00 00 12 34 00 0A 00 00 00 00 00 00 00 00")), 0x71);
}

TEST(CalSUM, OfNothingIsZero)
{
    unsigned char byte = 0x12;
    EXPECT_EQ(CalSUM(&byte, 0), 0);
    EXPECT_EQ(CalSUM(nullptr, 0), 0);
}

TEST(CalSUM, IsTakenModulo65536)
{
    EXPECT_EQ(sumOf(QByteArray(257, '\xFF')), 65535);
    EXPECT_EQ(sumOf(QByteArray(257, '\xFF') + '\x01'), 0);
    EXPECT_EQ(sumOf(QByteArray(300, '\xFF')), 10964);
    EXPECT_EQ(sumOf(QByteArray(65535, '\xFF')), (65535 * 255) % 65536);
}

TEST(CalLRC, IsTheComplementOfTheLowByteOfTheSumPlusOne)
{
    EXPECT_EQ(lrcOf(bytes("FF")), 1);
    EXPECT_EQ(lrcOf(bytes("01")), 255);
    EXPECT_EQ(lrcOf(bytes("01 02 03")), 250);
    EXPECT_EQ(lrcOf(bytes("80 81")), 255);
    EXPECT_EQ(lrcOf(bytes("FF FF 01")), 1);
}

TEST(CalLRC, IsNotReducedToAByte)
{
    EXPECT_EQ(lrcOf(bytes("00")), 256);
    EXPECT_EQ(lrcOf(bytes("80 80")), 256);
    EXPECT_EQ(lrcOf(QByteArray(256, '\xFF')), 256);
}

TEST(CalLRC, OfNothingIs256)
{
    unsigned char byte = 0x12;
    EXPECT_EQ(CalLRC(&byte, 0), 256);
    EXPECT_EQ(CalLRC(nullptr, 0), 256);
}

TEST(CalLRC, OfEverySingleByteIsWhatIsMissingTo256)
{
    for (int value = 0; value < 256; ++value)
        ASSERT_EQ(lrcOf(QByteArray(1, static_cast<char>(value))), 256 - value) << value;
}

TEST(CalXOR, CombinesAllBytes)
{
    EXPECT_EQ(xorOf(bytes("01 02 04")), 7);
    EXPECT_EQ(xorOf(bytes("FF 0F F0")), 0);
    EXPECT_EQ(xorOf(bytes("AA 55")), 0xFF);
    EXPECT_EQ(xorOf(QByteArray(65535, '\x5A')), 0x5A);
}

TEST(CalXOR, OfLengthZeroOrOneIsTheFirstByte)
{
    unsigned char data[] = {0xC3, 0x3C};
    EXPECT_EQ(CalXOR(data, 0), 0xC3);
    EXPECT_EQ(CalXOR(data, 1), 0xC3);
}

TEST(CheckCodes, TakeANullArrayAsEmpty)
{
    EXPECT_EQ(CalCRC(nullptr, 5), 0xFFFF);
    EXPECT_EQ(CalSUM(nullptr, 5), 0);
    EXPECT_EQ(CalLRC(nullptr, 5), 256);
    CalXOR(nullptr, 0);
    CalXOR(nullptr, 5);
}

TEST(DigitalToASCII, GivesTheHexadecimalDigits)
{
    const std::string digits = "0123456789ABCDEF";
    for (int value = 0; value < 16; ++value)
        EXPECT_EQ(DigitalToASCII(value), digits[size_t(value)]) << value;
}

TEST(DigitalToASCII, TestsNoRange)
{
    EXPECT_EQ(DigitalToASCII(16), 'G');
    EXPECT_EQ(DigitalToASCII(255), 255 + 0x37);
    EXPECT_EQ(DigitalToASCII(-1), 0x2F);
    EXPECT_EQ(DigitalToASCII(-0x30), 0);
    EXPECT_EQ(DigitalToASCII(-1000), -1000 + 0x30);
    EXPECT_EQ(DigitalToASCII(INT_MIN), INT_MIN + 0x30);
    DigitalToASCII(INT_MAX); // what it gives is not fixed, but it is no undefined behaviour
}

TEST(ASCIIToDigital, GivesTheValueOfADigit)
{
    const std::string digits = "0123456789ABCDEF";
    for (int value = 0; value < 16; ++value)
        EXPECT_EQ(ASCIIToDigital(digits[size_t(value)]), value) << value;
}

TEST(ASCIIToDigital, GivesZeroBelowTheDigitsAndForTheAtSign)
{
    for (int character : {INT_MIN, -1, 0, int(' '), int('/'), 0x40})
        EXPECT_EQ(ASCIIToDigital(character), 0) << character;
}

TEST(ASCIIToDigital, CountsOnAfterTheDigits)
{
    const std::string following = ":;<=>?";
    for (size_t i = 0; i < following.size(); ++i)
        EXPECT_EQ(ASCIIToDigital(following[i]), 10 + int(i)) << following[i];
}

TEST(ASCIIToDigital, SubtractsTheSameFromEveryLaterCharacter)
{
    for (int character = 0x41; character < 0x200; ++character)
        ASSERT_EQ(ASCIIToDigital(character), character - 0x37) << character;
    EXPECT_EQ(ASCIIToDigital('G'), 16);
    EXPECT_EQ(ASCIIToDigital('a'), 42);
    EXPECT_EQ(ASCIIToDigital('f'), 47);
    EXPECT_EQ(ASCIIToDigital(INT_MAX), INT_MAX - 0x37);
}

} // namespace
