#include "sim/crc.h"
#include "sim/describe.h"
#include "sim/frame.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;

namespace
{

std::string refusal(const Bytes &frame)
{
    try {
        parseRequest(frame);
    } catch (const Refusal &refused) {
        return refused.what();
    }
    return "accepted";
}

const Area &area(int number)
{
    return areas()[std::size_t(number)];
}

} // namespace

TEST(Slice, PastTheEndIsZeroAndPartsAreClipped)
{
    const Bytes data = {1, 2, 3};
    const Slice slice(data);
    EXPECT_EQ(slice.u8(3), 0);
    EXPECT_EQ(slice.le16(2), 3u);
    EXPECT_EQ(slice.be16(2), 0x300u);
    EXPECT_EQ(slice.be16(SIZE_MAX - 1), 0u);
    EXPECT_EQ(slice.from(2).size(), 1u);
    EXPECT_TRUE(slice.from(99).empty());
    EXPECT_EQ(slice.first(99).size(), 3u);
    EXPECT_EQ(hex(slice), "01 02 03");
    EXPECT_EQ(hex(slice, 2), "01 02 ... (3 bytes)");
}

TEST(Crc, PublishedCheckValue)
{
    const std::string digits = "123456789";
    EXPECT_EQ(crc16(Bytes(digits.begin(), digits.end())), 0x4B37u);
}

// The check code as the protocol description prints it: 01 03 00 00 00 01 is followed by 84 0A.
TEST(Crc, WorkedFrame)
{
    Bytes frame = bytes("01 03 00 00 00 01");
    appendCrc(frame);
    EXPECT_EQ(hex(frame), "01 03 00 00 00 01 84 0A");
    EXPECT_TRUE(hasGoodCrc(frame));
    frame[2] ^= 1;
    EXPECT_FALSE(hasGoodCrc(frame));
}

TEST(Crc, FewerThanTwoBytesCarryNone)
{
    EXPECT_FALSE(hasGoodCrc(Slice()));
    EXPECT_FALSE(hasGoodCrc(bytes("FF")));
    EXPECT_TRUE(hasGoodCrc(bytes("FF FF")));
}

// Requests printed in the protocol description.
TEST(ReadRequest, TenWords)
{
    const Request request = parseRequest(bytes("03 FE 01 08 0A 02 01 E2 DC"));
    EXPECT_EQ(request.station, 3u);
    EXPECT_FALSE(request.write);
    ASSERT_EQ(request.entries.size(), 1u);
    EXPECT_EQ(request.entries[0].area->number, 5);
    EXPECT_EQ(request.entries[0].count, 10u);
    EXPECT_EQ(request.entries[0].address, 0x0102u);
}

TEST(ReadRequest, WordsAndBitsTogether)
{
    const Request request = parseRequest(bytes("01 FE 02 08 04 64 00 01 10 10 00 3E F5"));
    ASSERT_EQ(request.entries.size(), 2u);
    EXPECT_EQ(request.entries[0].area->number, 5);
    EXPECT_EQ(request.entries[0].address, 100u);
    EXPECT_EQ(request.entries[1].area->number, 1);
    EXPECT_EQ(request.entries[1].count, 16u);
    EXPECT_EQ(request.entries[1].address, 16u);
    EXPECT_EQ(describe(request), "station 1 reads area 5 from 100, 4 words; area 1 from 20, 16 bits");
}

TEST(ReadRequest, BitsOfAreaThree)
{
    const Request request = parseRequest(bytes("07 FE 01 05 10 18 00 4E D7"));
    ASSERT_EQ(request.entries.size(), 1u);
    EXPECT_EQ(request.entries[0].area->number, 3);
    EXPECT_EQ(request.entries[0].count, 16u);
    EXPECT_EQ(request.entries[0].address, 24u);
}

// The values of the description; check codes worked out by hand with an independent program.
TEST(WriteRequest, TwoWordsGoHighByteFirst)
{
    const Request request = parseRequest(bytes("01 FF 01 08 02 64 00 12 34 56 78 6B 0D"));
    EXPECT_TRUE(request.write);
    EXPECT_EQ(request.entries[0].area->number, 5);
    EXPECT_EQ(request.entries[0].address, 100u);
    EXPECT_EQ(request.values, (std::vector<std::uint32_t>{0x1234, 0x5678}));
    EXPECT_EQ(describe(request), "station 1 writes area 5 from 100: 4660 22136");
}

TEST(WriteRequest, DoubleWordGoesLowWordFirst)
{
    const Request request = parseRequest(bytes("01 FF 01 13 01 07 00 56 78 12 34 F6 F3"));
    EXPECT_EQ(request.entries[0].area->number, 10);
    EXPECT_EQ(request.values, (std::vector<std::uint32_t>{0x12345678}));
}

TEST(WriteRequest, OneBitWhateverTheCountSays)
{
    EXPECT_EQ(parseRequest(bytes("01 FF 01 02 01 0D 00 01 A7 26")).values, (std::vector<std::uint32_t>{1}));
    for (const char *count : {"00", "01", "05", "FF"})
        EXPECT_EQ(parseRequest(sealed(std::string("01 FF 01 02 ") + count + " 0D 00 01")).values.size(), 1u)
            << count;
}

// Worked by hand: four words 17, 18, 19, 0x1234 and sixteen bits 0000000110100000 from the lowest on.
TEST(Reply, WordsAndBits)
{
    const Request request = parseRequest(bytes("01 FE 02 08 04 64 00 01 10 10 00 3E F5"));
    const Bytes reply = readReply(request, [](const Area &of, unsigned address) -> std::uint32_t {
        if (of.number == 1)
            return address == 16 || address == 18 || address == 31;
        return address == 103 ? 0x1234 : address - 83;
    });
    EXPECT_EQ(hex(reply), "01 FE 02 08 04 00 11 00 12 00 13 12 34 01 10 05 80 72 AF");
    EXPECT_EQ(describeReply(request, reply),
              "station 1 answers area 5 from 100: 17 18 19 4660; area 1 from 20: 1010000000000001");
}

TEST(Reply, DoubleWords)
{
    const Request request = parseRequest(sealed("02 FE 01 13 02 07 00"));
    const Bytes reply = readReply(request, [](const Area &, unsigned address) -> std::uint32_t {
        return address == 7 ? 0x12345678 : 0xFFFFFFFE;
    });
    EXPECT_EQ(hex(reply), "02 FE 01 13 02 56 78 12 34 FF FE FF FF DD 8A");
    EXPECT_EQ(describeReply(request, reply), "station 2 answers area 10 from 7: 305419896 4294967294");
}

TEST(Reply, CountZeroBringsNoData)
{
    const auto none = [](const Area &, unsigned) -> std::uint32_t { return 1; };
    EXPECT_EQ(hex(readReply(parseRequest(bytes("01 FE 01 13 00 00 00 27 5A")), none)), "01 FE 01 13 00 74 D8");
}

TEST(Reply, LengthsOfTheLargestRead)
{
    std::string text = "01 FE 06";
    for (int i = 0; i < 6; ++i)
        text += " 13 FF 00 00";
    const Bytes reply = readReply(parseRequest(sealed(text)), [](const Area &, unsigned) { return 7u; });
    EXPECT_EQ(reply.size(), 5u + 6 * (2 + 255 * 4));
    EXPECT_TRUE(hasGoodCrc(reply));
}

TEST(Reply, AcknowledgementHasThreeBytes)
{
    EXPECT_EQ(hex(writeReply(parseRequest(sealed("05 FF 01 08 01 00 00 00 01")))), "05 FF 20");
}

struct Coded {
    int number;
    const char *code;
    AreaKind kind;
    bool writable;
};

class EveryArea : public testing::TestWithParam<Coded>
{
};

TEST_P(EveryArea, HasItsCodeKindAndDirection)
{
    const Coded &expected = GetParam();
    const std::string count = expected.kind == AreaKind::Bit ? "08" : "02";
    const Request read = parseRequest(sealed(std::string("01 FE 01 ") + expected.code + " " + count + " 10 00"));
    EXPECT_EQ(read.entries[0].area->number, expected.number);
    EXPECT_EQ(read.entries[0].area->kind, expected.kind);
    EXPECT_EQ(readReply(read, [](const Area &, unsigned) { return 0u; }).size(),
              7u + (expected.kind == AreaKind::Bit ? 1u : 2 * bitsOf(expected.kind) / 8));
    const std::string data = expected.kind == AreaKind::Bit    ? "01"
                             : expected.kind == AreaKind::Word ? "00 01"
                                                               : "00 01 00 00";
    const std::string cause = refusal(sealed(std::string("01 FF 01 ") + expected.code + " 01 10 00 " + data));
    EXPECT_EQ(cause, expected.writable
                         ? "accepted"
                         : "write to area " + std::to_string(expected.number) + ", which is read-only");
}

INSTANTIATE_TEST_SUITE_P(
    Codes, EveryArea,
    testing::Values(Coded{0, "00", AreaKind::Bit, false}, Coded{1, "01", AreaKind::Bit, true},
                    Coded{2, "02", AreaKind::Bit, true}, Coded{3, "05", AreaKind::Bit, true},
                    Coded{4, "04", AreaKind::Bit, true}, Coded{5, "08", AreaKind::Word, true},
                    Coded{6, "12", AreaKind::Word, true}, Coded{7, "11", AreaKind::Word, true},
                    Coded{8, "06", AreaKind::Word, false}, Coded{9, "07", AreaKind::Word, true},
                    Coded{10, "13", AreaKind::DoubleWord, true}, Coded{11, "03", AreaKind::Bit, true},
                    Coded{12, "09", AreaKind::Word, true}, Coded{13, "10", AreaKind::Word, true}),
    [](const auto &row) { return "Area" + std::to_string(row.param.number); });

TEST(Areas, CodesThatNoAreaHas)
{
    std::size_t known = 0;
    for (unsigned code = 0; code < 256; ++code)
        known += areaOfCode(Byte(code)) != nullptr;
    EXPECT_EQ(known, areas().size());
    EXPECT_EQ(areaOfCode(0x0A), nullptr);
    EXPECT_EQ(areaOfCode(0x14), nullptr);
}

TEST(Areas, AddressTexts)
{
    EXPECT_EQ(addressText(area(0), 0), "0");
    EXPECT_EQ(addressText(area(1), 15), "17");
    EXPECT_EQ(addressText(area(1), 65535), "177777");
    EXPECT_EQ(addressText(area(2), 15), "15");
}

struct Refused {
    const char *name, *frame, *cause;
};

class Malformed : public testing::TestWithParam<Refused>
{
};

TEST_P(Malformed, IsRefusedWithItsCause)
{
    EXPECT_EQ(refusal(sealed(GetParam().frame)), GetParam().cause);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, Malformed,
    testing::Values(Refused{"NoEntry", "01 FE 00", "read of 0 entries; 1 to 6 are allowed"},
                    Refused{"SevenEntries", "01 FE 07 08 01 00 00", "read of 7 entries; 1 to 6 are allowed"},
                    Refused{"TwoWrites", "01 FF 02 08 01 00 00 00 01", "write of 2 entries; a write has 1"},
                    Refused{"UnknownCommand", "01 03 00 00 00 01", "unknown command 0x03"},
                    Refused{"ReadOfUnknownCode", "01 FE 01 0A 01 00 00", "unknown area code 0x0A"},
                    Refused{"SecondEntryUnknown", "01 FE 02 08 01 00 00 77 01 00 00", "unknown area code 0x77"},
                    Refused{"WriteOfUnknownCode", "01 FF 01 0A 01 00 00 00 01", "write to unknown area code 0x0A"},
                    Refused{"BitsNotByEights", "01 FE 01 01 0C 00 00", "area 1: bits are read by eights, not 12"},
                    Refused{"WordsPassTheEnd", "01 FE 01 08 02 FF FF",
                            "area 5: 2 words from address 65535 pass the end of the area"},
                    Refused{"BitsPassTheEnd", "01 FE 01 01 08 F9 FF",
                            "area 1: 8 bits from address 177771 pass the end of the area"},
                    Refused{"DoubleWordsPassTheEnd", "01 FE 01 13 FF 02 FF",
                            "area 10: 255 double words from address 65282 pass the end of the area"},
                    Refused{"WritePassesTheEnd", "01 FF 01 08 02 FF FF 00 01 00 02",
                            "area 5: 2 words from address 65535 pass the end of the area"},
                    Refused{"WriteOfNoWords", "01 FF 01 08 00 00 00", "write of 0 words"},
                    Refused{"WriteOfNoDoubleWords", "01 FF 01 13 00 00 00", "write of 0 double words"},
                    Refused{"BitValueTwo", "01 FF 01 02 01 0D 00 02", "bit value 0x02; 0 and 1 are allowed"},
                    Refused{"TooShort", "01 FE 01 08 01 00", "wrong length, 8 bytes"},
                    Refused{"TooLong", "01 FE 01 08 01 00 00 00", "wrong length, 10 bytes"},
                    Refused{"OnlyACrc", "", "wrong length, 2 bytes"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(Malformed, LastAddressesAreStillInside)
{
    EXPECT_EQ(refusal(sealed("01 FE 01 08 01 FF FF")), "accepted");
    EXPECT_EQ(refusal(sealed("01 FE 01 01 08 F8 FF")), "accepted");
    EXPECT_EQ(refusal(sealed("01 FE 01 13 FF 01 FF")), "accepted");
    EXPECT_EQ(refusal(sealed("01 FF 01 02 FF FF FF 01")), "accepted");
}

TEST(Malformed, WrongCrc)
{
    EXPECT_EQ(refusal(bytes("03 FE 01 08 0A 02 01 E2 DD")), "bad CRC");
    EXPECT_EQ(refusal(bytes("03 FE 01 08 0A 02 01 DC E2")), "bad CRC");
}

TEST(Malformed, EveryCutAndEveryFlippedBitOfAGoodRequestIsRefused)
{
    const Bytes good = bytes("01 FF 01 08 02 64 00 12 34 56 78 6B 0D");
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_NE(refusal(Slice(good).first(length).copy()), "accepted") << length;
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
        Bytes flipped = good;
        flipped[bit / 8] = Byte(flipped[bit / 8] ^ 1u << bit % 8);
        EXPECT_NE(refusal(flipped), "accepted") << bit;
    }
}

TEST(Extent, IsKnownAsSoonAsTheBytesTellIt)
{
    const Bytes read = bytes("01 FE 06");
    EXPECT_EQ(requestExtent(Slice(read).first(1)).state, Extent::State::Open);
    EXPECT_EQ(requestExtent(Slice(read).first(2)).state, Extent::State::Open);
    EXPECT_EQ(requestExtent(read).length, 29u);
    const Bytes write = bytes("01 FF 01 13 FF");
    EXPECT_EQ(requestExtent(Slice(write).first(4)).state, Extent::State::Open);
    EXPECT_EQ(requestExtent(write).length, 1029u);
    EXPECT_EQ(requestExtent(bytes("01 FF 01 01 FF")).length, 10u);
    EXPECT_EQ(requestExtent(bytes("01 FF 01 09 03")).length, 15u);
    EXPECT_EQ(requestExtent(bytes("01 00")).state, Extent::State::Impossible);
}
