// Readings as rows of CSV.
#include "watch/csv.h"
#include "watch/watch_test.h"

using namespace fgs;

namespace
{

class Csv : public ::testing::Test
{
protected:
    Csv() { qputenv("TZ", "UTC0"), tzset(); }

    std::vector<std::string> rows(const char *text, Quality quality, const std::vector<quint32> &elements,
                                  const Reason &reason = Reason()) const
    {
        const Tag tag = parseTag(QString::fromLatin1(text));
        Reading reading;
        reading.variable = tag.variable;
        reading.quality = quality;
        reading.reason = reason;
        reading.time = link.now() - 1500ms;
        reading.values = elements;
        std::vector<std::string> texts;
        for (const QString &row : csvRows(tag, reading, Format::Unsigned, clock, link.now()))
            texts.push_back(row.toStdString());
        return texts;
    }

    FakeLink link;
    WallClock clock{link, [] { return std::chrono::system_clock::time_point(std::chrono::seconds(1795292103)); }};
};

using Rows = std::vector<std::string>;

TEST_F(Csv, ARowForEachValueWithItsOwnPlace)
{
    EXPECT_EQ(csvHeader().toStdString(), "time,variable,name,value,unit,quality,reason");
    EXPECT_EQ(rows("5:100x2", Quality::Good, {1234, 0}), (Rows{"2026-11-21T20:15:01.500+00:00,5:100@1,,1234,,good,",
                                                               "2026-11-21T20:15:01.500+00:00,5:101@1,,0,,good,"}));
    EXPECT_EQ(rows("5:100x2@3:f32", Quality::Good, {0, 0x4148, 0, 0x7FC0}),
              (Rows{"2026-11-21T20:15:01.500+00:00,5:100@3:f32,,12.5,,good,",
                    "2026-11-21T20:15:01.500+00:00,5:102@3:f32,,nan,,good,"}));
}

TEST_F(Csv, WhatIsNotKnownIsEmpty)
{
    EXPECT_EQ(rows("5:100x2", Quality::Unknown, {}, {Reason::Failed, Outcome::NoReply}),
              (Rows{"2026-11-21T20:15:03.000+00:00,5:100@1,,,,unknown,noReply",
                    "2026-11-21T20:15:03.000+00:00,5:101@1,,,,unknown,noReply"}));
    EXPECT_EQ(rows("5:1x3:text", Quality::Unknown, {}, {Reason::Failed, Outcome::BadCheck}),
              (Rows{"2026-11-21T20:15:03.000+00:00,5:1x3@1:text,,,,unknown,badCheck"}));
}

TEST_F(Csv, NamesAndUnitsStandBesideScaledValues)
{
    Tag tag = parseTag(QStringLiteral("5:101x2:s16"));
    tag.name = QStringLiteral("oven_temp");
    tag.unit = QStringLiteral("°C, inside");
    tag.scaling = {0.1, 0};
    Reading reading;
    reading.variable = tag.variable;
    reading.quality = Quality::Good;
    reading.time = link.now();
    reading.values = {215, 0xFFFF};
    const QStringList made = csvRows(tag, reading, Format::Unsigned, clock, link.now());
    EXPECT_EQ(made.at(0).toStdString(),
              "2026-11-21T20:15:03.000+00:00,5:101@1:s16,oven_temp,21.5,\"°C, inside\",good,");
    EXPECT_EQ(made.at(1).toStdString(),
              "2026-11-21T20:15:03.000+00:00,5:102@1:s16,oven_temp,-0.1,\"°C, inside\",good,");
}

/// With the time at which that was found.
TEST_F(Csv, OldValuesAreMarked)
{
    EXPECT_EQ(rows("5:1", Quality::Stale, {7}, {Reason::Failed, Outcome::LinkLost}),
              (Rows{"2026-11-21T20:15:03.000+00:00,5:1@1,,7,,stale,linkLost"}));
}

TEST_F(Csv, QuotesWhatWouldBreakARow)
{
    EXPECT_EQ(rows("5:1x2:text", Quality::Good, {0x2C41, 0x2242}),
              (Rows{"2026-11-21T20:15:01.500+00:00,5:1x2@1:text,,\"A,B\"\"\",,good,"}));
    EXPECT_EQ(csvField(QStringLiteral("plain text")).toStdString(), "plain text");
    EXPECT_EQ(csvField(QStringLiteral("two\r\nlines")).toStdString(), "\"two\r\nlines\"");
}

} // namespace
