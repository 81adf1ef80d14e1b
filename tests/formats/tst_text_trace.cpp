// Text as a source of what was on a line: every form, and everything that is none.
#include "formats/text_trace.h"
#include "pcapng_bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <sstream>

using namespace formats;

namespace
{

const std::string Request = fromHex("01FE01080264 00AABE");

struct Reading {
    std::vector<TracedText> texts;
    std::string fault;
};

Reading read(const std::string &text)
{
    std::istringstream source(text);
    TextTraceReader reader(source);
    Reading reading;
    try {
        while (std::optional<TracedText> traced = reader.next())
            reading.texts.push_back(std::move(*traced));
    } catch (const TextTraceError &error) {
        reading.fault = error.what();
        EXPECT_FALSE(reader.next()) << "bytes after an error";
    }
    return reading;
}

TracedText only(const std::string &text)
{
    const Reading reading = read(text);
    EXPECT_EQ(reading.fault, "");
    EXPECT_EQ(reading.texts.size(), 1u) << text;
    return reading.texts.empty() ? TracedText{} : reading.texts.front();
}

std::string faultOf(const std::string &text)
{
    return read(text).fault;
}

class Hex : public ::testing::TestWithParam<const char *>
{
};

} // namespace

TEST_P(Hex, IsReadHoweverItIsWritten)
{
    const TracedText traced = only(GetParam());
    EXPECT_EQ(traced.bytes, Request);
    EXPECT_EQ(traced.direction, Direction::Unknown);
    EXPECT_FALSE(traced.time);
    EXPECT_EQ(traced.line, 1u);
}

INSTANTIATE_TEST_SUITE_P(Forms, Hex,
                         ::testing::Values("01FE0108026400AABE", "01fe0108026400aabe\n",
                                           "01 FE 01  08 02 64 00  AA BE\r\n", "01:fe:01:08:02:64:00:aa:be",
                                           "01-FE-01-08-02-64-00-AA-BE",
                                           "0x01, 0xFE, 0x01, 0x08, 0x02, 0x64, 0x00, 0xAA, 0xBE",
                                           "\t01FE01 08026400AABE "));

TEST(Line, TellsItsDirection)
{
    const Reading reading = read("> 01 FE\n< 02\n\n# nothing\n03\n");
    ASSERT_EQ(reading.texts.size(), 3u);
    EXPECT_EQ(reading.texts[0].direction, Direction::Outbound);
    EXPECT_EQ(reading.texts[1].direction, Direction::Inbound);
    EXPECT_EQ(reading.texts[2].direction, Direction::Unknown);
    EXPECT_EQ(reading.texts[2].line, 5u);
}

TEST(Candump, HasTimeLineAndDirection)
{
    const TracedText sent = only("(1700000000.000123) ttyUSB0 O 01FE0108026400AABE\n");
    EXPECT_EQ(sent.time, 1700000000000123000);
    EXPECT_EQ(sent.lineName, "ttyUSB0");
    EXPECT_EQ(sent.direction, Direction::Outbound);
    EXPECT_EQ(sent.bytes, Request);
    EXPECT_TRUE(sent.mayBePart);
    const TracedText received = only("(1700000000.5) ttyUSB0 I");
    EXPECT_EQ(received.time, 1700000000500000000);
    EXPECT_EQ(received.direction, Direction::Inbound);
    EXPECT_EQ(received.bytes, "");
}

namespace
{

/// The local zone is that of the test.
class Socat : public ::testing::Test
{
protected:
    Socat()
    {
        ::setenv("TZ", "UTC-1", 1);
        ::tzset();
    }
    ~Socat() override
    {
        ::unsetenv("TZ");
        ::tzset();
    }
};

} // namespace

// As socat 1.7.4 printed it, but for the date.
TEST_F(Socat, PrintsDirectionLocalTimeAndBytes)
{
    const Reading reading =
        read("> 2023/11/14 23:13:20.000579411  length=9 from=0 to=8\n 01 fe 01 08 02 64 00 aa be\n"
             "< 2023/11/14 23:13:20.000876888  length=3 from=0 to=2\n 01 ff 20\n");
    EXPECT_EQ(reading.fault, "");
    ASSERT_EQ(reading.texts.size(), 2u);
    EXPECT_EQ(reading.texts[0].bytes, Request);
    EXPECT_EQ(reading.texts[0].direction, Direction::Outbound);
    EXPECT_EQ(reading.texts[0].time, 1700000000579411000) << "microseconds, with three zeros in front";
    EXPECT_EQ(reading.texts[1].direction, Direction::Inbound);
    EXPECT_EQ(reading.texts[1].line, 3u);
}

TEST_F(Socat, OfOlderVersionsHasSixDigits)
{
    EXPECT_EQ(only("> 2023/11/14 23:13:20.579411  length=1 from=0 to=0\n 01\n").time, 1700000000579411000);
}

// With -v: rows of 16 that also end with each line feed, and the characters beside them.
TEST_F(Socat, MayPrintCharactersToo)
{
    const TracedText traced = only("> 2023/11/14 23:13:20.000887341  length=24 from=0 to=23\n"
                                   " 01 fe 01 08 02 64 00 aa be 01 02 03 04 05 06 07  .....d..........\n"
                                   " 08 09 0a                                         ...\n"
                                   " 0b 0c 0d 0e 0f                                   .....\n"
                                   "--\n");
    EXPECT_EQ(traced.bytes, Request + fromHex("0102030405060708090A0B0C0D0E0F"));
}

TEST_F(Socat, ThatIsCutOffSaysSo)
{
    const Reading reading = read("> 2023/11/14 23:13:20.000579411  length=1 from=0 to=0\n 01\n"
                                 "< 2023/11/14 23:13:20.000579411  length=9 from=0 to=8\n 01 fe");
    EXPECT_EQ(reading.texts.size(), 1u);
    EXPECT_EQ(reading.fault, "line 4: length=9 in line 3, but 2 bytes until the text ends: it is cut off");
}

TEST_F(Socat, WithOtherBytesThanItCountsSaysSo)
{
    EXPECT_EQ(faultOf("> 2023/11/14 23:13:20.000579411  length=1 from=0 to=0\n 01 02\n"),
              "line 2: length=1 in line 1, but 2 bytes stand below it: bytes are missing or inserted");
}

TEST(TextThatIsNone, IsRefusedWithItsLineAndAReason)
{
    EXPECT_EQ(faultOf("01 FE\n01 F\n"),
              "line 2: an odd number of hexadecimal digits, so half a byte at the end; write "
              "each byte with two digits");
    EXPECT_EQ(faultOf("1 2\n"),
              "line 1: a single digit ends at character 1: half a byte; write each byte with two digits");
    EXPECT_EQ(faultOf("root:x:0\n"), "line 1: 'r' at character 1 is no hexadecimal digit");
    EXPECT_EQ(faultOf("01 \x1b[2J\n"), "line 1: the byte 0x1B at character 4 is no hexadecimal digit");
    EXPECT_EQ(faultOf("(1436509052.249713) vcan0 044#2A366C2BBA\n"),
              "line 1: this is not (SECONDS.FRACTION) LINE O|I HEX, as in (1700000000.000123) ttyUSB0 O 01FE01");
    EXPECT_EQ(faultOf("> 2023/11/14 23:13 length=1\n"),
              "line 1: this is not as socat -x prints it: > YYYY/MM/DD HH:MM:SS.FRACTION  length=N from=N to=N");
}

TEST(Text, WithALineThatDoesNotEndIsNotReadIntoMemory)
{
    EXPECT_EQ(faultOf(std::string(1000000, '0')).substr(0, 38), "line 1: longer than 65536 characters, ");
}

TEST(Text, WithoutAnythingHasNothing)
{
    EXPECT_TRUE(read("").texts.empty());
    EXPECT_TRUE(read("\n \n# only words\n").texts.empty());
}
