// WriteRegister and the three write builders: frames, expected acknowledgement, and the image at build time.
#include "support/frames.h"
#include "support/frames_request.h"
#include "support/image_check.h"

#include <climits>

namespace
{

using Builder = void (*)(RW_VAR *);

class Writes : public frames::RequestTest
{
protected:
    static const Protocol &build(Builder builder, RW_VAR var)
    {
        PLC_driver.ProtocolList.clear();
        builder(&var);
        static Protocol request;
        request = head();
        return request;
    }

    /// The bytes from the count on, without the CRC's two.
    static std::string body(Builder builder, const RW_VAR &var)
    {
        const QByteArray frame = build(builder, var).frame;
        return hex(frame.mid(4, frame.size() - 6));
    }
};

/// 1 2 3 ... as many as asked.
QByteArray counting(int size)
{
    QByteArray data(size, '\0');
    for (int i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 7 + 1);
    return data;
}

// --- the dispatch

TEST_F(Writes, ReadOnlyAndUnknownAreasAreNotSent)
{
    markSettings();
    const COMINFO before = settings;
    for (int areaType : {0, 8, 14, -1, 15, 257, 261, INT_MAX, INT_MIN}) {
        build(WriteRegister, variable(areaType, 3, 2, 5, bytes("01 02 03 04")));
        EXPECT_EQ(built(), 0) << areaType;
    }
    EXPECT_EQ(std::memcmp(&settings, &before, sizeof before), 0);
}

TEST_F(Writes, AreaZeroAndEightStillChangeTheImageWhileTheLinkIsUp)
{
    build(WriteRegister, variable(0, 10, 1, 5, bytes("01")));
    build(WriteRegister, variable(8, 10, 1, 5, bytes("34 12")));
    EXPECT_EQ(built(), 0);
    EXPECT_EQ(PLC_driver.ucArea0[1], 0x04);
    EXPECT_EQ(PLC_driver.usArea8[10], 0x1234);
}

TEST_F(Writes, AnUnknownAreaChangesNothing)
{
    for (int areaType : {14, -1, INT_MAX, INT_MIN})
        build(WriteRegister, variable(areaType, 0, 4, 5, bytes("01 01 01 01 01 01 01 01")));
    EXPECT_TRUE(imageIsEmpty());
}

TEST_F(Writes, WhileTheLinkIsDownTheFrameIsBuiltAndTheImageKept)
{
    PLC_driver.CommFailFlag = 1;
    fillImage(0x33);
    const QByteArray before = wholeImage();
    for (int areaType = -1; areaType <= 14; ++areaType) {
        const bool sent = frames::area(areaType).writeCode >= 0;
        build(WriteRegister, variable(areaType, 3, 2, 5, bytes("01 01 01 01")));
        EXPECT_EQ(built(), sent ? 1 : 0) << areaType;
    }
    EXPECT_TRUE(sameImage(before));
    settings.stationMode = 1;
    build(WriteRegister, variable(5, 200, 1, 7, bytes("FF FF")));
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(PLC_driver.CommFailFlag, 1);
}

// --- bits

TEST_F(Writes, OnlyTheValueOneIsOn)
{
    for (int value = 0; value < 256; ++value) {
        const RW_VAR var = variable(2, 0, 1, 6, QByteArray(1, static_cast<char>(value)));
        EXPECT_EQ(body(WriteBool, var), value == 1 ? "01 00 00 01" : "01 00 00 00") << value;
    }
}

TEST_F(Writes, BitAreaCodesComeFromTheTableOfTypes1To11)
{
    const int codes[] = {1, 2, 5, 4, 0, 0, 0, 0, 0, 0, 3};
    for (int areaType = 1; areaType <= 11; ++areaType)
        EXPECT_EQ(int(build(WriteBool, variable(areaType, 0, 1)).frame.at(3)), codes[areaType - 1]) << areaType;
    for (int areaType : {0, 12, 13, 14, -1, 257, INT_MAX, INT_MIN})
        EXPECT_EQ(int(build(WriteBool, variable(areaType, 0, 1)).frame.at(3)), 0) << areaType;
}

// --- words

TEST_F(Writes, WordAreaCodesComeFromTheWriteTableWithoutType8)
{
    const int codes[] = {8, 18, 17, 0, 7, 0, 0, 9, 16};
    for (int areaType = 5; areaType <= 13; ++areaType)
        EXPECT_EQ(int(build(WriteAnalog, variable(areaType, 0, 1)).frame.at(3)), codes[areaType - 5]) << areaType;
    for (int areaType : {0, 1, 4, 14, -1, 261, INT_MAX, INT_MIN})
        EXPECT_EQ(int(build(WriteAnalog, variable(areaType, 0, 1)).frame.at(3)), 0) << areaType;
}

TEST_F(Writes, WordCountsAreCutToEightBitsButTheDataIsNot)
{
    const Protocol &request = build(WriteAnalog, variable(5, 0, 300, 1, counting(600)));
    EXPECT_EQ(int(request.frame.at(4)), 300 & 0xFF);
    EXPECT_EQ(request.frameLen, 609);
    EXPECT_EQ(hex(request.frame), hex(frames::writeRequest(1, {5, 0, 300}, counting(600))));
}

// --- double words

TEST_F(Writes, AnOddLengthIsRoundedUpToWholeDoubleWords)
{
    struct Row {
        int length, doubles;
    };
    for (const Row &row : {Row{1, 1}, Row{2, 1}, Row{3, 2}, Row{4, 2}, Row{5, 3}, Row{511, 256}, Row{512, 256}}) {
        const Protocol &request =
            build(WriteAnalog_32CV, variable(10, 0, row.length, 1, counting(4 * row.doubles)));
        EXPECT_EQ(static_cast<unsigned char>(request.frame.at(4)), row.doubles & 0xFF) << row.length;
        EXPECT_EQ(request.frameLen, 4 * row.doubles + 9) << row.length;
        EXPECT_EQ(hex(request.frame), hex(frames::writeRequest(1, {10, 0, row.length}, counting(4 * row.doubles))));
    }
}

TEST_F(Writes, ADoubleWordSendsItsCodeForAnyType)
{
    for (int areaType : {10, 0, 5, 8, 14, -1, INT_MAX, INT_MIN})
        EXPECT_EQ(int(build(WriteAnalog_32CV, variable(areaType, 0, 2)).frame.at(3)), 19) << areaType;
}

// --- lengths at the ends of the range

TEST_F(Writes, AnOddNegativeNumberOfDoubleWordsGivesHeadAndCrcOnly)
{
    for (int length : {-1, -3, INT_MIN + 1}) {
        const Protocol &request = build(WriteAnalog_32CV, variable(10, 3, length, 9, counting(16)));
        EXPECT_EQ(request.frameLen, 9) << length;
        EXPECT_EQ(hex(request.frame), hex(frames::sealed(request.frame.left(7)))) << length;
    }
}

// The CRC's length is a 16-bit number: a frame of 65536 bytes and more is covered in part only.
TEST_F(Writes, TheCrcCoversTheFrameLengthModulo65536)
{
    struct Row {
        Builder builder;
        int length, items, frameLen;
    };
    const Row rows[] = {
        {WriteAnalog, 32764, 32764, 65537}, // 65535 bytes before the CRC: all of them
        {WriteAnalog, 32765, 32765, 65539}, // 65537: the first
        {WriteAnalog, 40000, 40000, 80009},      {WriteAnalog, 65536, 65536, 131081},
        {WriteAnalog_32CV, 32764, 16382, 65537}, // 65535 again
        {WriteAnalog_32CV, 32765, 16383, 65541}, {WriteAnalog_32CV, 65536, 32768, 131081},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.frameLen);
        const Protocol &request = build(row.builder, variable(5, 3, row.length, 9, counting(2 * row.length + 2)));
        const int covered = row.frameLen - 2;
        ASSERT_EQ(request.frameLen, row.frameLen);
        ASSERT_EQ(int(request.frame.size()), row.frameLen);
        EXPECT_EQ(static_cast<unsigned char>(request.frame.at(4)), row.items & 0xFF);
        const QByteArray crc = frames::sealed(request.frame.left(covered % 65536)).right(2);
        EXPECT_EQ(hex(request.frame.right(2)), hex(crc));
    }
}

TEST_F(Writes, ALengthAbove65536IsBuiltAs65536)
{
    const QByteArray data = counting(2 * 65537);
    for (Builder builder : {Builder(WriteAnalog), Builder(WriteAnalog_32CV)}) {
        const QByteArray longest = build(builder, variable(5, 3, 65536, 9, data)).frame;
        for (int length : {65537, 65538, 100000, 1 << 20, INT_MAX - 1, INT_MAX}) {
            const Protocol &request = build(builder, variable(5, 3, length, 9, data));
            EXPECT_EQ(request.frameLen, 131081) << length;
            EXPECT_TRUE(sameBytes(request.frame, longest)) << length;
            EXPECT_EQ(request.var.length, length) << "the copy keeps the length as given";
        }
    }
}

TEST_F(Writes, WordsOfTheLongestFrameLieInOrder)
{
    const QByteArray data = counting(2 * 65536);
    const QByteArray frame = build(WriteAnalog, variable(5, 3, 65536, 9, data)).frame;
    for (int i : {0, 1, 32767, 32768, 65535}) {
        EXPECT_EQ(frame.at(7 + 2 * i), data.at(2 * i + 1)) << i;
        EXPECT_EQ(frame.at(8 + 2 * i), data.at(2 * i)) << i;
    }
}

} // namespace
