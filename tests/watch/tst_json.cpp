// Readings, results and events as JSON.
#include "watch/json.h"
#include "watch/watch_test.h"

using namespace fgs;

namespace
{

class JsonTest : public ::testing::Test
{
protected:
    JsonTest() { qputenv("TZ", "UTC0"), tzset(); }

    Json json(const Reading &reading, Format format = Format::Unsigned) const
    {
        return jsonOf({reading.variable}, reading, {format, clock, link.now()}, link.now());
    }

    Json typed(const char *text, const std::vector<quint32> &elements) const
    {
        const Tag tag = parseTag(QString::fromLatin1(text));
        return jsonOf(tag, reading("5:0", elements), {Format::Unsigned, clock, link.now()}, link.now());
    }

    Reading reading(const char *place, const std::vector<quint32> &values) const
    {
        Reading made;
        made.variable = parseVariable(QString::fromLatin1(place));
        made.quality = Quality::Good;
        made.time = link.now() - 1500ms;
        made.values = values;
        return made;
    }

    FakeLink link;
    WallClock clock{link, [] { return std::chrono::system_clock::time_point(std::chrono::seconds(1795292103)); }};
};

TEST_F(JsonTest, AGoodReading)
{
    EXPECT_EQ(
        json(reading("5:100x2", {1234, 4321})).dump(),
        R"({"variable":"5:100x2@1","area":5,"kind":"word","station":1,"wireCode":8,"wireAddress":100,"count":2,)"
        R"("values":[1234,4321],"quality":"good","time":"2026-11-21T20:15:01.500+00:00","ageMs":1500.0})");
}

TEST_F(JsonTest, AnUnknownReadingHasNoValuesAndNoTime)
{
    Reading unknown = reading("5:100x2", {});
    unknown.quality = Quality::Unknown;
    unknown.reason = {Reason::Failed, Outcome::Incomplete, 12, 25};
    const Json made = json(unknown);
    EXPECT_TRUE(made["values"].is_null());
    EXPECT_EQ(made["quality"], "unknown");
    EXPECT_EQ(made["reason"], "incomplete");
    EXPECT_EQ(made["received"], 12);
    EXPECT_EQ(made["expected"], 25);
    EXPECT_FALSE(made.contains("time"));
}

TEST_F(JsonTest, PlacesThatAreLeftOutAreNamed)
{
    Reading silent = reading("5:19998x4", {});
    silent.quality = Quality::Unknown;
    silent.reason.kind = Reason::PlaceSilent;
    silent.reason.places = {parseVariable(QStringLiteral("5:20000"))};
    EXPECT_EQ(json(silent)["reason"], "placeSilent");
    EXPECT_EQ(json(silent)["places"].dump(), R"(["5:20000@1"])");
    EXPECT_EQ(textOf(silent.reason).toStdString(), "5:20000@1 does not answer; its neighbours do");
    for (int address : {20001, 20003, 20005})
        silent.reason.places.push_back({5, address, 1, 1});
    EXPECT_EQ(json(silent)["places"].dump(), R"(["5:20000@1","5:20001@1","5:20003@1","5:20005@1"])");
    EXPECT_EQ(textOf(silent.reason).toStdString(),
              "5:20000@1, 5:20001@1, 5:20003@1 and 1 more do not answer; their neighbours do");
}

TEST_F(JsonTest, NumbersAreNumbersInEveryFormat)
{
    EXPECT_EQ(json(reading("2:5x2", {1, 0}), Format::Hex)["values"].dump(), "[1,0]");
    EXPECT_EQ(json(reading("5:5x2", {1, 65535}), Format::Hex)["values"].dump(), R"(["0x0001","0xffff"])");
    EXPECT_EQ(json(reading("5:5", {65535}), Format::Signed)["values"].dump(), "[-1]");
    EXPECT_EQ(json(reading("10:5", {4294967295u}))["values"].dump(), "[4294967295]");
}

TEST_F(JsonTest, FloatsKeepTheirSignAndWhatIsNoNumberIsAText)
{
    const std::vector<quint32> bits = {0x80000000, 0x41480000, 0x7FC00000, 0x7F800000, 0xFF800000, 0x4B800000};
    EXPECT_EQ(json(reading("10:0x6", bits), Format::Float)["values"].dump(),
              R"([-0.0,12.5,"nan","inf","-inf",16777216.0])");
}

TEST_F(JsonTest, ATypeIsNamedAndGivesTheValues)
{
    const Json two = typed("5:100x2:f32", {0x0000, 0x4148, 0x0000, 0x7FC0});
    EXPECT_EQ(two["variable"], "5:100x2@1:f32");
    EXPECT_EQ(two["type"], "f32");
    EXPECT_EQ(two["count"], 4) << "in elements";
    EXPECT_EQ(two["values"].dump(), R"([12.5,"nan"])");
    EXPECT_EQ(typed("5:100x3:text", {0x5550, 0x504D, 0x3122})["values"].dump(), R"(["PUMP\"1"])");
    EXPECT_EQ(typed("5:100:s16", {65535})["values"].dump(), "[-1]");
    EXPECT_EQ(typed("5:100:x32", {0x86A0, 1})["values"].dump(), R"(["0x000186a0"])");
    EXPECT_FALSE(json(reading("5:100", {1})).contains("type"));
}

TEST_F(JsonTest, AResultTellsWhatWasAskedAndWhatIsHeld)
{
    WriteReport report;
    report.assignment = {{parseVariable(QStringLiteral("5:100x2"))}, {1, 2}};
    report.held = reading("5:100x2", {1, 3});
    report.result = WriteResult::Different;
    const Json made = jsonOf(report, {Format::Unsigned, clock, link.now()}, link.now());
    EXPECT_EQ(made["assigned"].dump(), "[1,2]");
    EXPECT_EQ(made["values"].dump(), "[1,3]");
    EXPECT_EQ(made["result"], "different");
    EXPECT_EQ(made["verified"], false);
}

TEST_F(JsonTest, WhatIsNotReadBackIsNeitherVerifiedNorNot)
{
    WriteReport report;
    report.assignment = {{parseVariable(QStringLiteral("5:100"))}, {1}};
    report.held.variable = report.assignment.tag.variable;
    report.result = WriteResult::NotAcknowledged;
    report.reason = {Reason::Failed, Outcome::NoReply};
    const Json made = jsonOf(report, {Format::Unsigned, clock, link.now()}, link.now());
    EXPECT_TRUE(made["verified"].is_null());
    EXPECT_EQ(made["why"], "noReply");
}

TEST_F(JsonTest, Events)
{
    const JsonStyle style = {Format::Unsigned, clock, link.now() - 2500ms};
    LineEvent lost = {};
    lost.kind = LineEvent::LinkLost;
    lost.time = link.now();
    lost.text = QStringLiteral("closed by the other side");
    EXPECT_EQ(
        jsonOf(lost, style).dump(),
        R"({"event":"lost","time":"2026-11-21T20:15:03.000+00:00","seconds":2.5,"reason":"closed by the other side"})");
    LineEvent down = {};
    down.kind = LineEvent::StationDown;
    down.time = link.now();
    down.station = 7;
    EXPECT_EQ(jsonOf(down, style)["event"], "stationDown");
    EXPECT_EQ(jsonOf(down, style)["station"], 7);
    LineEvent unasked = {};
    unasked.kind = LineEvent::UnaskedAnswers;
    unasked.time = link.now();
    EXPECT_EQ(jsonOf(unasked, style).dump(),
              R"({"event":"unaskedAnswers","time":"2026-11-21T20:15:03.000+00:00","seconds":2.5})");
}

TEST_F(JsonTest, TheSummaryCountsEveryOutcome)
{
    Statistics statistics;
    statistics.requests = 3;
    statistics.outcomes[std::size_t(Outcome::Refused)] = 3;
    const Json made = jsonOf(statistics, {Format::Unsigned, clock, link.now() - 1s}, link.now())["summary"];
    EXPECT_EQ(made["start"], "2026-11-21T20:15:02.000+00:00");
    EXPECT_EQ(made["end"], "2026-11-21T20:15:03.000+00:00");
    EXPECT_EQ(made["seconds"], 1.0);
    EXPECT_EQ(made["requests"], 3);
    EXPECT_EQ(made["outcomes"]["refused"], 3);
    EXPECT_EQ(made["outcomes"].size(), std::size_t(OutcomeCount));
}

TEST_F(JsonTest, TheSummaryTellsHowLongRoundTripsTake)
{
    Statistics statistics;
    for (Time time : {3ms, 4ms, 700ms})
        statistics.roundTrips.add(time);
    const Time start = link.now() - 1s;
    const Json made = jsonOf(statistics, {Format::Unsigned, clock, start, 1s}, link.now())["summary"];
    EXPECT_EQ(made["roundTripMs"]["max"], 700.0);
    EXPECT_EQ(made["roundTripMs"]["p99"], 700.0);
    EXPECT_NEAR(made["roundTripMs"]["p50"].get<double>(), 4, 0.25);
    const Json &counts = made["roundTrips"];
    ASSERT_EQ(counts.size(), RoundTripBounds.size() + 1);
    EXPECT_EQ(counts[5].dump(), R"({"upToMs":5.0,"count":2})");
    EXPECT_EQ(counts[12].dump(), R"({"upToMs":1000.0,"count":1})");
    EXPECT_EQ(counts[16].dump(), R"({"upToMs":null,"count":0})");
    EXPECT_EQ(made["betterTimeoutMs"], 2100.0);
    EXPECT_FALSE(jsonOf(statistics, {Format::Unsigned, clock, start, 2s}, link.now())["summary"].contains(
        "betterTimeoutMs"));
}

TEST(JsonLine, IsOneLineOfUtf8WhateverTheTextHolds)
{
    Json json;
    json["text"] = "a\nb \xff";
    EXPECT_EQ(lineOf(json).toStdString(), "{\"text\":\"a\\nb \xef\xbf\xbd\"}");
}

} // namespace
