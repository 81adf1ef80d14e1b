// The fixed areas at both ends: what lies inside is handled, what lies outside is skipped.
#include "support/image_check.h"

#include <climits>

namespace
{

/// One of the fourteen areas, reached through the conversion routines of its kind.
class AreaEnds : public DriverTest, public ::testing::WithParamInterface<int>
{
protected:
    const AreaBuffer &buffer() const { return area(GetParam()); }
    bool isDouble() const { return buffer().itemSize == 4; }
    /// Addresses in the area: bits, words or double words.
    int capacity() const { return buffer().isBits() ? buffer().items * 8 : buffer().items; }
    /// The bytes of one address in a string between host and driver.
    int width() const { return buffer().isBits() ? 1 : buffer().itemSize; }
    /// As many of the routine's units as addresses; a double word is two.
    int units(int addresses) const { return isDouble() ? 2 * addresses : addresses; }

    QByteArray get(int start, int count, QByteArray out = QByteArray()) const
    {
        if (buffer().isBits())
            GetBitFromUC(out, static_cast<unsigned char *>(buffer().start), start, count);
        else if (isDouble())
            GetWordFromUI(out, static_cast<unsigned int *>(buffer().start), start, count);
        else
            GetWordFromUS(out, static_cast<unsigned short *>(buffer().start), start, count);
        return out;
    }

    void set(int start, int count, QByteArray in) const
    {
        if (buffer().isBits())
            SetBitToUC(start, static_cast<unsigned char *>(buffer().start), &in, count);
        else if (isDouble())
            SetWordToUI(start, static_cast<unsigned int *>(buffer().start), &in, count);
        else
            SetWordToUS(start, static_cast<unsigned short *>(buffer().start), &in, count);
    }

    /// The image, with 0xFF bytes in this area alone at these addresses.
    QByteArray expected(int first, int last) const
    {
        QByteArray all;
        for (const AreaBuffer &other : areaBuffers()) {
            QByteArray content(other.size(), 0);
            for (int i = first; other.areaType == GetParam() && i <= last; ++i)
                mark(content, i);
            all += content;
        }
        return all;
    }

    void mark(QByteArray &content, int address) const
    {
        if (buffer().isBits())
            content[address / 8] = static_cast<char>(content.at(address / 8) | (1 << (address % 8)));
        else
            content.replace(address * width(), width(), QByteArray(width(), '\xFF'));
    }

    /// So many addresses, all on.
    QByteArray ones(int addresses) const
    {
        return QByteArray(addresses * width(), buffer().isBits() ? '\1' : '\xFF');
    }
};

TEST_P(AreaEnds, TheFirstAndTheLastAddressAreRead)
{
    fillImage(0xFF);
    EXPECT_TRUE(sameBytes(get(0, units(1)), ones(1)));
    EXPECT_TRUE(sameBytes(get(capacity() - 1, units(1)), ones(1)));
    EXPECT_TRUE(sameBytes(get(0, units(capacity())), ones(capacity())));
}

TEST_P(AreaEnds, ReadingBeyondTheEndGivesWhatLiesInside)
{
    fillImage(0xFF);
    EXPECT_TRUE(sameBytes(get(capacity() - 2, units(5)), ones(2)));
    EXPECT_TRUE(sameBytes(get(capacity(), units(1)), QByteArray()));
    EXPECT_TRUE(sameBytes(get(capacity() - 1, INT_MAX), ones(1)));
    EXPECT_TRUE(sameBytes(get(0, INT_MAX), ones(capacity())));
    EXPECT_TRUE(sameBytes(get(INT_MAX, INT_MAX), QByteArray()));
}

TEST_P(AreaEnds, ReadingBeyondTheEndKeepsWhatTheArrayHolds)
{
    fillImage(0xFF);
    const QByteArray old(4 * width(), '\x77');
    EXPECT_TRUE(sameBytes(get(capacity() - 1, units(3), old), ones(1) + old.mid(width())));
    EXPECT_TRUE(sameBytes(get(capacity(), units(3), old), old));
}

TEST_P(AreaEnds, ReadingBeforeTheStartGivesWhatLiesInside)
{
    fillImage(0xFF);
    const QByteArray old(3 * width(), '\x77');
    EXPECT_TRUE(sameBytes(get(-2, units(4), old), old.left(2 * width()) + ones(2)));
    EXPECT_TRUE(sameBytes(get(-3, units(3), old), old));
    EXPECT_TRUE(sameBytes(get(-1, units(1)), QByteArray()));
    EXPECT_TRUE(sameBytes(get(INT_MIN, units(1)), QByteArray()));
    EXPECT_TRUE(sameBytes(get(INT_MIN, INT_MAX), QByteArray()));
}

TEST_P(AreaEnds, TheFirstAndTheLastAddressAreWritten)
{
    set(0, units(1), ones(1));
    EXPECT_TRUE(sameImage(expected(0, 0)));
    fillImage(0);
    set(capacity() - 1, units(1), ones(1));
    EXPECT_TRUE(sameImage(expected(capacity() - 1, capacity() - 1)));
    set(0, units(capacity()), ones(capacity()));
    EXPECT_TRUE(sameImage(expected(0, capacity() - 1)));
}

TEST_P(AreaEnds, WritingBeyondTheEndChangesNoOtherArea)
{
    set(capacity() - 2, units(100), ones(100));
    EXPECT_TRUE(sameImage(expected(capacity() - 2, capacity() - 1)));
    fillImage(0);
    set(capacity(), units(100), ones(100));
    set(INT_MAX, INT_MAX, ones(100));
    EXPECT_TRUE(sameImage(expected(0, -1)));
}

TEST_P(AreaEnds, WritingBeforeTheStartChangesNoOtherArea)
{
    set(-2, units(4), ones(4));
    EXPECT_TRUE(sameImage(expected(0, 1)));
    fillImage(0);
    set(-100, units(100), ones(100));
    set(INT_MIN, INT_MAX, ones(100));
    set(-1, units(1), ones(1));
    EXPECT_TRUE(sameImage(expected(0, -1)));
}

TEST_P(AreaEnds, WritingTakesItemsByTheirOwnPlace)
{
    // Item 3 of the string belongs to address 1 when the start is -2.
    QByteArray in(4 * width(), 0);
    in.replace(3 * width(), width(), ones(1));
    set(-2, units(4), in);
    EXPECT_TRUE(sameImage(expected(1, 1)));
}

TEST_P(AreaEnds, TheLargestCountEndsWithTheArea)
{
    set(0, INT_MAX, ones(capacity() + 50));
    EXPECT_TRUE(sameImage(expected(0, capacity() - 1)));
}

INSTANTIATE_TEST_SUITE_P(AllAreas, AreaEnds, ::testing::Range(0, 14),
                         [](const ::testing::TestParamInfo<int> &area) {
                             return "Area" + std::to_string(area.param);
                         });

class OddAreaEnds : public DriverTest
{
};

TEST_F(OddAreaEnds, AHalfDoubleWordIsBoundedToo)
{
    fillImage(0xFF);
    QByteArray out;
    GetWordFromUI(out, PLC_driver.uiArea10, 255, 1);
    EXPECT_EQ(hex(out), "FF FF");
    out.clear();
    GetWordFromUI(out, PLC_driver.uiArea10, 256, 1);
    GetWordFromUI(out, PLC_driver.uiArea10, -1, 1);
    GetWordFromUI(out, PLC_driver.uiArea10, INT_MIN, 1);
    GetWordFromUI(out, PLC_driver.uiArea10, INT_MAX, 1);
    EXPECT_TRUE(out.isEmpty());
}

// Not even the bits of the first byte that rounding toward zero would reach.
TEST_F(OddAreaEnds, BitsBelowZeroLieOutside)
{
    PLC_driver.ucArea2[0] = 0xFF;
    QByteArray out, in = bytes("00 00 00 00 00 00 00");
    GetBitFromUC(out, PLC_driver.ucArea2, -7, 7);
    EXPECT_TRUE(out.isEmpty());
    SetBitToUC(-7, PLC_driver.ucArea2, &in, 7);
    EXPECT_EQ(PLC_driver.ucArea2[0], 0xFF);
}

TEST_F(OddAreaEnds, WordBuffersOfTheDriverAreBoundedInBitsToo)
{
    fillImage(0xFF);
    QByteArray out, in(100, 0);
    GetBitFromUS(out, PLC_driver.usArea12, 126, 100);
    EXPECT_EQ(hex(out), "01 01");
    out.clear();
    GetBitFromUS(out, PLC_driver.usArea12, -3, 3);
    EXPECT_TRUE(out.isEmpty());
    const QByteArray others = area(5).content() + area(13).content();
    SetBitToUS(127, PLC_driver.usArea12, &in, 100);
    SetBitToUS(-5, PLC_driver.usArea13, &in, 5);
    EXPECT_EQ(PLC_driver.usArea12[7], 0x7FFF);
    EXPECT_EQ(area(5).content() + area(13).content(), others);
}

} // namespace
