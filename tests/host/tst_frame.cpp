// Frames in words, and how long a reply says that it is.
#include "host/frame_text.h"
#include "host/trace.h"
#include "support/fixture.h"

using namespace fgs;

namespace
{

FrameView view(const QByteArray &frame)
{
    return {frame.constData(), int(frame.size())};
}

struct Row {
    const char *frame;
    const char *text;
};
void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.frame;
}

class RequestText : public ::testing::TestWithParam<Row>
{
};

TEST_P(RequestText, Says)
{
    const QByteArray frame = bytes(GetParam().frame);
    EXPECT_EQ(describeRequest(view(frame)).toStdString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RequestText,
    ::testing::Values(
        Row{"01 FE 01 08 02 64 00 AA BE", "station 1, read area 5 100x2 (wire 0x08:100)"},
        Row{"01 FE 02 08 04 64 00 01 10 10 00 3E F5",
            "station 1, read area 5 100x4 (wire 0x08:100), area 1 20x16 (wire 0x01:16)"},
        Row{"00 FE 01 13 02 00 00 86 9A", "all stations, read area 10 0x2 (wire 0x13:0)"},
        Row{"01 FE 01 0A 02 64 00 00 00", "station 1, read unknown area code 0x0A 100x2 (wire 0x0A:100)"},
        Row{"01 FF 01 08 02 64 00 12 34 56 78 6B 0D", "station 1, write area 5 100x2 (wire 0x08:100) = 1234 5678"},
        Row{"01 FF 01 13 01 05 00 56 78 12 34 F7 11", "station 1, write area 10 5x1 (wire 0x13:5) = 12345678"},
        Row{"01 FF 01 02 01 05 00 01 26 E4", "station 1, write area 2 5x1 (wire 0x02:5) = 01"},
        Row{"", "not a request"}, Row{"01 FE", "not a request"},
        Row{"01 FE 06 08 04 64 00 00 00", "not a request"}));

class ReplyText : public ::testing::TestWithParam<Row>
{
};

TEST_P(ReplyText, Says)
{
    const QByteArray frame = bytes(GetParam().frame);
    EXPECT_EQ(describeReply(view(frame)).toStdString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, ReplyText,
    ::testing::Values(Row{"01 FE 01 08 02 12 34 56 78 9A D4", "station 1, area 5 x2: 1234 5678"},
                      Row{"01 FE 02 08 04 00 01 00 02 00 03 12 34 01 10 81 01 59 0E",
                          "station 1, area 5 x4: 0001 0002 0003 1234, area 1 x16: 81 01"},
                      Row{"01 FE 01 13 02 56 78 12 34 00 01 00 00 D9 DD",
                          "station 1, area 10 x2: 12345678 00000001"},
                      Row{"01 FF 20", "station 1, write done"}, Row{"01 FF 21", "station 1, write refused"},
                      Row{"01 FE 01 08 02 12 34 56 78 9A", "not a reply"},
                      Row{"01 FE 07 08 02 12 34", "not a reply"}));

TEST(ReplySize, IsWhatTheCountsSay)
{
    const auto sizeOf = [](const char *text) { return replySize(view(bytes(text))); };
    EXPECT_EQ(sizeOf("01 FE 01 08 02"), 11);
    EXPECT_EQ(sizeOf("01 FE 01 02 11"), 10); // 17 bits are three bytes
    EXPECT_EQ(sizeOf("01 FE 01 13 FF"), 7 + 4 * 255);
    EXPECT_EQ(sizeOf("01 FF 20 00 00"), 3);
    EXPECT_EQ(sizeOf("01 FE 01 08"), 0);
    EXPECT_EQ(sizeOf("01 FE 02 08 01 00 00 13"), 0);
    EXPECT_EQ(sizeOf("01 FE 00"), 0);
    EXPECT_EQ(sizeOf("01 FE 01 0A 02"), 0);
    EXPECT_EQ(sizeOf("01"), 0);
    EXPECT_EQ(sizeOf(""), 0);
}

TEST(CheckCode, IsTestedOverTheWholeFrame)
{
    EXPECT_TRUE(hasGoodCheck(view(bytes("31 32 33 34 35 36 37 38 39 37 4B"))));
    EXPECT_FALSE(hasGoodCheck(view(bytes("31 32 33 34 35 36 37 38 39 4B 37"))));
    EXPECT_TRUE(hasGoodCheck(view(bytes("FF FF"))));
    EXPECT_FALSE(hasGoodCheck(view(bytes("FF"))));
    EXPECT_FALSE(hasGoodCheck(view(QByteArray())));
}

TEST(TraceText, ShowsBytesAndMeaning)
{
    const auto text = [](TraceEntry::Event event, const char *hexText, Outcome outcome = Outcome::Good,
                         int at = 0) {
        const QByteArray frame = bytes(hexText);
        return describe(TraceEntry{event, Time(0), view(frame), outcome, at}).toStdString();
    };
    EXPECT_EQ(text(TraceEntry::Sent, "01FE01080264 00AABE"),
              "> 01 FE 01 08 02 64 00 AA BE  station 1, read area 5 100x2 (wire 0x08:100)");
    EXPECT_EQ(text(TraceEntry::Received, "01FF20"), "< 01 FF 20  station 1, write done");
    EXPECT_EQ(text(TraceEntry::Received, "AABB01FF20", Outcome::Good, 2),
              "< AA BB 01 FF 20  2 bytes skipped; station 1, write done");
    EXPECT_EQ(text(TraceEntry::Received, "", Outcome::NoReply), "< -  no reply");
    EXPECT_EQ(text(TraceEntry::Received, ""), "< -  none expected");
    EXPECT_EQ(text(TraceEntry::Received, "01FE", Outcome::Incomplete), "< 01 FE  incomplete");
    EXPECT_EQ(text(TraceEntry::Stray, "01"), "< 01  thrown away: came without a question");
}

TEST(RequestSize, FollowsFromItsOwnCounts)
{
    EXPECT_EQ(requestSize(view(bytes("01 FE 01 08 02 64 00 AA BE"))), 9);
    EXPECT_EQ(requestSize(view(bytes("01 FE 02 08 04 64 00 01 10 10 00 3E F5"))), 13);
    EXPECT_EQ(requestSize(view(bytes("01 FF 01 08 02 64 00 12 34 56 78 6B 0D"))), 13);
    EXPECT_EQ(requestSize(view(bytes("01 FF 01 13 01 05 00 56 78 12 34 F7 11"))), 13);
    EXPECT_EQ(requestSize(view(bytes("01 FF 01 02 01 05 00 01 26 E4"))), 10);
    for (const char *none :
         {"", "01 FE", "01 FE 07", "01 FE 00", "01 FD 01", "01 FF 20", "01 FF 02 08 02", "01 FF 01 0A 02"})
        EXPECT_EQ(requestSize(view(bytes(none))), 0) << none;
}

TEST(CheckCode, IsThatOfTheKnownText)
{
    const QByteArray text("123456789");
    EXPECT_EQ(checkCode(view(text)), 0x4B37);
}

} // namespace
