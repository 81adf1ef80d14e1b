// Traces of every form that the standard allows, and of some that it does not.
#include "formats/pcapng_reader.h"
#include "pcapng_bytes.h"

#include <gtest/gtest.h>
#include <limits>
#include <sstream>

using namespace formats;

namespace
{

struct Reading {
    std::vector<TracedFrame> frames;
    std::uint64_t foreign = 0;
    std::string error; ///< empty: none
};

Reading read(const std::string &bytes)
{
    std::istringstream source(bytes);
    PcapngReader reader(source);
    Reading reading;
    try {
        while (std::optional<TracedFrame> frame = reader.next())
            reading.frames.push_back(std::move(*frame));
    } catch (const PcapngError &error) {
        reading.error = error.what();
        EXPECT_FALSE(reader.next()) << "something comes after an error";
    }
    reading.foreign = reader.foreignPackets();
    return reading;
}

std::string bigSection()
{
    return fromHex("0A0D0D0A 0000001C 1A2B3C4D 0001 0000 FFFFFFFFFFFFFFFF 0000001C");
}

std::string smallSection()
{
    return fromHex("0A0D0D0A 1C000000 4D3C2B1A 0100 0000 FFFFFFFFFFFFFFFF 1C000000");
}

/// A little-endian interface of our link type with one option.
std::string interfaceWith(const std::string &option)
{
    const std::string content = fromHex("FC00 0000 00000000") + fromHex(option) + fromHex("0000 0000");
    const std::string length = {char(content.size() + 12), 0, 0, 0};
    return fromHex("01000000") + length + content + length;
}

/// A little-endian packet with one byte on the line, at this time in units of its interface, least significant
/// first.
std::string packetAt(const std::string &high, const std::string &low)
{
    return fromHex("06000000 34000000 00000000" + high + low +
                   "11000000 11000000 000C 0004 66677300 0023 0000 0000 0000 41 000000 34000000");
}

std::int64_t timeOf(const std::string &option, const std::string &high, const std::string &low)
{
    const Reading reading = read(smallSection() + interfaceWith(option) + packetAt(high, low));
    EXPECT_EQ(reading.error, "");
    return reading.frames.empty() ? -1 : reading.frames.front().time;
}

} // namespace

TEST(PcapngReader, ReadsFrames)
{
    const Reading reading = read(sectionBytes() + interfaceBytes() + requestBytes() + silenceBytes());
    ASSERT_EQ(reading.error, "");
    ASSERT_EQ(reading.frames.size(), 2U);
    const TracedFrame &request = reading.frames[0], &silence = reading.frames[1];
    EXPECT_EQ(request.interface->name, "/dev/ttyUSB0");
    EXPECT_EQ(request.interface->description, "19200,8E1");
    EXPECT_EQ(request.time, 1700000000000000123);
    EXPECT_EQ(request.direction, Direction::Outbound);
    EXPECT_EQ(request.bytes, fromHex("01FE0108026400AABE"));
    EXPECT_EQ(request.comment, "");
    EXPECT_EQ(request.offset, 44U + 64U);
    EXPECT_EQ(silence.direction, Direction::Inbound);
    EXPECT_EQ(silence.bytes, "");
    EXPECT_EQ(silence.comment, "no reply");
}

TEST(PcapngReader, ReadsTheOtherByteOrder)
{
    const Reading reading =
        read(bigSection() + fromHex("00000001 00000020 00FC 0000 00000000"
                                    "0002 0004 6C696E65 0000 0000 00000020"
                                    "00000006 00000044 00000000 00000000 000F4241 00000015 00000015"
                                    "000C 0004 66677300  0023 0004 00000001  0000 0000"
                                    "41 000000"
                                    "0002 0004 00000001 0000 0000 00000044"));
    ASSERT_EQ(reading.error, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0].interface->name, "line");
    EXPECT_EQ(reading.frames[0].time, 1000001000) << "microseconds, if nothing else is said";
    EXPECT_EQ(reading.frames[0].direction, Direction::Inbound);
    EXPECT_EQ(reading.frames[0].bytes, "A");
}

TEST(PcapngReader, ReadsSectionsOfBothByteOrdersInOneFile)
{
    const Reading reading = read(sectionBytes() + interfaceBytes() + requestBytes() + bigSection() +
                                 smallSection() + interfaceBytes() + interfaceBytes() + silenceBytes());
    ASSERT_EQ(reading.error, "");
    EXPECT_EQ(reading.frames.size(), 2U);
}

TEST(PcapngReader, KnowsEveryResolutionOfTimes)
{
    EXPECT_EQ(timeOf("0900 0100 00 000000", "00000000", "02000000"), 2000000000);
    EXPECT_EQ(timeOf("0900 0100 03 000000", "00000000", "02000000"), 2000000);
    EXPECT_EQ(timeOf("0900 0100 09 000000", "01000000", "02000000"), 4294967298);
    EXPECT_EQ(timeOf("0900 0100 0C 000000", "00000000", "D0070000"), 2) << "picoseconds";
    EXPECT_EQ(timeOf("0900 0100 14 000000", "FFFFFFFF", "FFFFFFFF"), 184467440) << "20 digits";
    EXPECT_EQ(timeOf("0900 0100 7F 000000", "FFFFFFFF", "FFFFFFFF"), 0);
    EXPECT_EQ(timeOf("0900 0100 80 000000", "00000000", "03000000"), 3000000000);
    EXPECT_EQ(timeOf("0900 0100 81 000000", "00000000", "03000000"), 1500000000);
    EXPECT_EQ(timeOf("0900 0100 A0 000000", "01000000", "00000080"), 1500000000) << "2^-32 s";
    EXPECT_EQ(timeOf("0900 0100 BF 000000", "000000C0", "00000000"), 1500000000) << "2^-63 s";
    EXPECT_EQ(timeOf("0900 0100 FF 000000", "FFFFFFFF", "FFFFFFFF"), 0);
}

TEST(PcapngReader, AddsTheOffsetOfTimes)
{
    EXPECT_EQ(timeOf("0E00 0800 0100000000000000", "00000000", "01000000"), 1000001000);
    EXPECT_EQ(timeOf("0E00 0800 FFFFFFFFFFFFFFFF", "00000000", "01000000"), -999999000);
}

TEST(PcapngReader, KeepsTimesWithinTheirRange)
{
    EXPECT_EQ(timeOf("0900 0100 00 000000", "FFFFFFFF", "FFFFFFFF"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(timeOf("0E00 0800 0000000000000080", "00000000", "00000000"),
              std::numeric_limits<std::int64_t>::min());
}

TEST(PcapngReader, TakesTheDirectionFromTheTagsToo)
{
    const Reading reading = read(smallSection() + interfaceWith("") +
                                 fromHex("06000000 38000000 00000000 00000000 00000000 15000000 15000000"
                                         "0023 0004 00000001  000C 0004 66677300 0000 0000 41 000000 38000000"));
    ASSERT_EQ(reading.error, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0].direction, Direction::Inbound);
}

TEST(PcapngReader, JoinsComments)
{
    const Reading reading = read(smallSection() + interfaceWith("") +
                                 fromHex("06000000 44000000 00000000 00000000 00000000 0D000000 0D000000"
                                         "000C 0004 66677300 0000 0000 41 000000"
                                         "0100 0100 61 000000 0100 0300 626364 00 0000 0000 44000000"));
    ASSERT_EQ(reading.error, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0].comment, "a\nbcd");
    EXPECT_EQ(reading.frames[0].direction, Direction::Unknown);
}

TEST(PcapngReader, PassesOverWhatItDoesNotKnow)
{
    const std::string statistics = fromHex("05000000 18000000 00000000 01000000 02000000 18000000");
    const std::string custom = fromHex("AD0B0000 10000000 01020304 10000000");
    const std::string unknownOption = interfaceWith("FF7F 0300 414243 00");
    const Reading reading =
        read(smallSection() + custom + unknownOption + statistics + packetAt("00000000", "00000000") + custom);
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.foreign, 0U);
}

TEST(PcapngReader, CountsPacketsThatAreNotOurs)
{
    const std::string ethernet = fromHex("01000000 14000000 0100 0000 00000000 14000000");
    const std::string ofEthernet =
        fromHex("06000000 24000000 00000000 00000000 00000000 02000000 02000000 4142 0000 24000000");
    const std::string simple = fromHex("03000000 14000000 01000000 41 000000 14000000");
    const std::string other = fromHex("06000000 30000000 01000000 00000000 00000000 0D000000 0D000000"
                                      "000C 0004 64687300 0000 0000 41 000000 30000000");
    const std::string withoutTags = fromHex("06000000 24000000 01000000 00000000 00000000 02000000 02000000"
                                            "4142 0000 24000000");
    const Reading reading =
        read(smallSection() + ethernet + interfaceWith("") + ofEthernet + simple + other + withoutTags);
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.frames.size(), 0U);
    EXPECT_EQ(reading.foreign, 4U);
}

TEST(PcapngReader, TakesAnEmptyFileForOneWithoutFrames)
{
    const Reading reading = read("");
    EXPECT_EQ(reading.error, "");
    EXPECT_TRUE(reading.frames.empty());
}

TEST(PcapngReader, GivesWhatIsWholeOfAFileThatWasCutOff)
{
    const std::string whole = sectionBytes() + interfaceBytes() + requestBytes();
    for (std::size_t left = 1; left < silenceBytes().size(); ++left) {
        const Reading reading = read(whole + silenceBytes().substr(0, left));
        EXPECT_EQ(reading.frames.size(), 1U);
        EXPECT_EQ(reading.error, "offset 184: the file ends at offset " + std::to_string(184 + left) +
                                     " within the block that begins here, so it was cut off; the packets before "
                                     "this one are whole");
    }
}

TEST(PcapngReader, SaysWhatKindOfFileItCannotRead)
{
    EXPECT_EQ(read("GIF89a").error, "offset 0: this is no pcapng file: it does not begin with a section header");
    EXPECT_EQ(read(fromHex("D4C3B2A1 0200 0400")).error,
              "offset 0: this is pcap, the older format; convert it: editcap -F pcapng OLD NEW");
    EXPECT_EQ(read(fromHex("0A0D0D0A 1C000000 00000000")).error,
              "offset 0: a section header without the mark of its byte order, so the file is damaged from here on");
}

TEST(PcapngReader, SaysWhereAFileIsDamaged)
{
    const std::string start = smallSection() + interfaceWith(""); // 28 and 24 bytes
    const auto errorOf = [&start](const std::string &block) { return read(start + fromHex(block)).error; };
    EXPECT_EQ(errorOf("06000000 0D000000"),
              "offset 52: a block cannot be 13 bytes long, so the file is damaged from here on");
    EXPECT_EQ(errorOf("06000000 08000000 08000000"),
              "offset 52: a block cannot be 8 bytes long, so the file is damaged from here on");
    EXPECT_EQ(errorOf("06000000 04000001"),
              "offset 52: a block of 16777220 bytes, longer than any sensible one, so "
              "the file is damaged from here on");
    EXPECT_EQ(errorOf("05000000 10000000 00000000 14000000"),
              "offset 52: the block gives its length as 16 at its beginning and as 20 at its end, so the file is "
              "damaged from here on");
    EXPECT_EQ(errorOf("06000000 10000000 00000000 10000000"),
              "offset 52: the block is too short for a packet, so the file is damaged from here on");
    EXPECT_EQ(errorOf("06000000 20000000 00000000 00000000 00000000 01000000 01000000 20000000"),
              "offset 52: the block is too short for its packet, so the file is damaged from here on");
    EXPECT_EQ(errorOf("06000000 20000000 02000000 00000000 00000000 00000000 00000000 20000000"),
              "offset 52: a packet of interface 2, which the file has not described; the section has 1");
    EXPECT_EQ(errorOf("01000000 18000000 FC00 0000 00000000 0200 FF00 18000000"),
              "offset 52: the block is too short for an option, so the file is damaged from here on");
}

TEST(PcapngReader, BoundsTheInterfacesOfASection)
{
    std::string file = smallSection();
    for (std::size_t i = 0; i < PcapngReader::MostInterfaces; ++i)
        file += interfaceWith("");
    EXPECT_EQ(read(file).error, "");
    EXPECT_EQ(read(file + interfaceWith("")).error,
              "offset " + std::to_string(file.size()) +
                  ": more than 1024 interfaces in one section; split the file");
}
