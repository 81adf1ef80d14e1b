// The rows of the live table: every number whole, on every screen.
#include "tools/fgs/keys.h"
#include "tools/fgs/sparkline.h"
#include "tools/fgs/table_layout.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

const Time Now = 100s;

Variable variable(const char *text)
{
    return parseVariable(QString::fromLatin1(text));
}

Reading reading(const char *place, const std::vector<quint32> &values)
{
    Reading made;
    made.variable = variable(place);
    made.quality = Quality::Good;
    made.time = Now - 1500ms;
    made.values = values;
    return made;
}

std::vector<std::string> rows(const Reading &of, int columns, const std::vector<bool> &marked = {},
                              Format format = Format::Unsigned)
{
    std::vector<std::string> texts;
    for (const QString &row :
         TableLayout({{of.variable}}, format, columns).rows({of.variable}, of, QString(), marked, Now))
        texts.push_back(row.toStdString());
    return texts;
}

using Rows = std::vector<std::string>;

TEST(TableLayout, ShowsAgePlaceWireAndValues)
{
    EXPECT_EQ(rows(reading("5:100x4", {10804, 39108, 29855, 50205}), 80),
              (Rows{"   1.500  5:100x4@1  0x08:100   10804  39108  29855  50205"}));
}

TEST(TableLayout, TellsTheWireAddressOfRemoteFrames)
{
    const Reading one = reading("1:17x4", {1, 0, 0, 1});
    const TableLayout layout({{one.variable}}, Format::Unsigned, 80, TableView(), true);
    EXPECT_TRUE(
        layout.rows({one.variable}, one, QString(), {}, Now).at(0).contains(QLatin1String("1:17x4@1  1:15 ")));
}

/// 31 columns before the values, then four words of five digits, each with its mark and a space but for the last.
TEST(TableLayout, FillsARowToItsLastColumn)
{
    const Reading four = reading("5:100x4", {10804, 39108, 29855, 50205});
    EXPECT_EQ(rows(four, 31 + 4 * 7 - 1).size(), 1u);
    EXPECT_EQ(rows(four, 31 + 4 * 7 - 2).size(), 2u);
}

TEST(TableLayout, ContinuesOnRowsThatNameTheirFirstAddress)
{
    EXPECT_EQ(
        rows(reading("10:0x3", {4294967295u, 1, 2147483648u}), 55),
        (Rows{"   1.500  10:0x3@1  0x13:0   4294967295           1", "          10:2@1    0x13:2   2147483648"}));
    EXPECT_EQ(rows(reading("1:10x12", std::vector<quint32>(12, 1)), 58)[1].substr(10, 7), "1:20@1 ");
}

/// Of the tag's type; the places of further rows name it too.
TEST(TableLayout, ShowsTypedValues)
{
    const auto shown = [](const char *text, const std::vector<quint32> &elements, int columns,
                          const std::vector<bool> &marked) {
        const Tag tag = parseTag(QString::fromLatin1(text));
        Reading made = reading("5:0", elements);
        made.variable = tag.variable;
        const TableLayout layout({tag}, Format::Unsigned, columns);
        const QStringList of = layout.rows(tag, made, QString(), marked, Now);
        EXPECT_EQ(of.size(), layout.rowCount(tag, made, QString()));
        Rows texts;
        for (const QString &row : of)
            texts.push_back(row.toStdString());
        return texts;
    };
    EXPECT_EQ(shown("5:100x2:f32", {0, 0x4148, 0, 0xBF80}, 80, {false, false, false, true}),
              (Rows{"   1.500  5:100x2@1:f32  0x08:100             12.5             *-1"}));
    EXPECT_EQ(shown("5:100x2:f32", {0, 0x4148, 0, 0xBF80}, 56, {}),
              (Rows{"   1.500  5:100x2@1:f32  0x08:100             12.5",
                    "          5:102@1:f32    0x08:102               -1"}));
    EXPECT_EQ(shown("5:1x3:text", {0x5550, 0x504D, 0x3120}, 80, {true, false, false}),
              (Rows{"   1.500  5:1x3@1:text  0x08:1  *PUMP 1"}));
    EXPECT_EQ(shown("5:1x3:text", {0x5550, 0x504D, 0x3120}, 36, {}),
              (Rows{"   1.500  5:1x3@1:text  0x08:1   PUM", "                                P 1"}));
}

TEST(TableLayout, MarksWhatHasChanged)
{
    EXPECT_EQ(rows(reading("5:1x2", {7, 8}), 80, {false, true}),
              (Rows{"   1.500  5:1x2@1   0x08:1       7     *8"}));
}

/// Whatever the width, a value's digits stand together or are not there.
TEST(TableLayout, ShowsANumberWholeOrNotAtAll)
{
    const std::vector<quint32> values = {4294967295u, 3123456789u, 2987654321u, 1000000007u, 4000000001u};
    for (int columns = 1; columns <= 120; ++columns)
        for (const std::string &row : rows(reading("10:65530x5", values), columns, std::vector<bool>(5, true))) {
            if (row.size() > std::size_t(columns)) {
                EXPECT_EQ(row.find('*'), std::string::npos) << columns << ": " << row;
            }
            for (std::size_t at = row.find('*'); at != std::string::npos; at = row.find('*', at + 1))
                EXPECT_NE(std::find(values.begin(), values.end(), std::stoul(row.substr(at + 1, 10))), values.end())
                    << columns << ": " << row;
        }
}

/// The least width that hides nothing is the one that is said.
TEST(TableLayout, TellsHowManyColumnsAreMissing)
{
    const std::vector<Tag> tags = {{variable("5:1")}, {variable("10:65530")}};
    const int missing = TableLayout(tags, Format::Unsigned, 20).missingColumns();
    ASSERT_GT(missing, 0);
    const int needed = 20 + missing;
    EXPECT_EQ(TableLayout(tags, Format::Unsigned, needed - 1).missingColumns(), 1);
    EXPECT_EQ(TableLayout(tags, Format::Unsigned, needed).missingColumns(), 0);
    const QStringList shown = TableLayout(tags, Format::Unsigned, needed)
                                  .rows(tags[1], reading("10:65530", {4294967295u}), QString(), {true}, Now);
    EXPECT_EQ(shown.last().right(11).toStdString(), "*4294967295");
    EXPECT_EQ(shown.last().size(), needed);
}

TEST(TableLayout, CountsItsRows)
{
    for (int columns : {30, 60, 80, 132})
        for (const char *reason :
             {"", "(stale: no reply)", "incomplete: 12 of 25 bytes within 1000 ms; try --timeout"}) {
            const Reading one = reading("5:0x37", std::vector<quint32>(37, 60000));
            const TableLayout layout({{one.variable}}, Format::Unsigned, columns);
            const QString text = QString::fromLatin1(reason);
            EXPECT_EQ(layout.rowCount({one.variable}, one, text),
                      layout.rows({one.variable}, one, text, {}, Now).size())
                << columns << reason;
        }
}

TEST(TableLayout, GivesTheReasonWhereThereAreNoValues)
{
    Reading unknown;
    unknown.variable = variable("5:1");
    const TableLayout layout({{unknown.variable}}, Format::Unsigned, 80);
    const QStringList made = layout.rows({unknown.variable}, unknown, QStringLiteral("-  no reply"), {}, Now);
    ASSERT_EQ(made.size(), 1);
    EXPECT_EQ(made[0].toStdString(), "       -  5:1@1     0x08:1  - no reply");
}

ValueStatistics statisticsOf(const Tag &tag, const std::vector<std::vector<quint32>> &readings)
{
    ValueStatistics statistics;
    Time now = 1s;
    for (const std::vector<quint32> &values : readings) {
        Reading one = reading("5:0", values);
        one.time = now;
        statistics.add(tag, Format::Unsigned, one, now);
        now += 1s;
    }
    return statistics;
}

Rows rowsOf(const TableLayout &layout, const Tag &tag, const Reading &of, const ValueStatistics &statistics)
{
    Rows texts{layout.header().toStdString()};
    for (const QString &row : layout.rows(tag, of, QString(), {}, Now, statistics))
        texts.push_back(row.toStdString());
    return texts;
}

TEST(TableView, EachValueHasARowOfItsOwn)
{
    const Tag tag{variable("5:9x3")};
    const TableLayout layout({tag}, Format::Unsigned, 80, {true, false, false});
    EXPECT_EQ(rowsOf(layout, tag, reading("5:9x3", {1, 22, 333}), {}),
              (Rows{"   AGE s  VARIABLE  WIRE      VALUE", "   1.500  5:9x3@1   0x08:9        1",
                    "          5:10@1    0x08:10      22", "          5:11@1    0x08:11     333"}));
    EXPECT_EQ(layout.rowCount(tag, reading("5:9x3", {1, 22, 333}), QString()), 3);
}

TEST(TableView, ShowsTheRangeAndTheTrendOfEachValue)
{
    const Tag tag{variable("5:9x2")};
    const ValueStatistics statistics = statisticsOf(tag, {{5, 60000}, {10, 60001}, {7, 60003}});
    const TableLayout layout({tag}, Format::Unsigned, 90, {false, true, true});
    const std::string levels[] = {sparkline({5, 10, 7}, sparkLevels()).toStdString(),
                                  sparkline({60000, 60001, 60003}, sparkLevels()).toStdString()};
    EXPECT_EQ(rowsOf(layout, tag, reading("5:9x2", {7, 60003}), statistics),
              (Rows{"   AGE s  VARIABLE  WIRE      VALUE     MIN    MEAN     MAX TREND",
                    "   1.500  5:9x2@1   0x08:9        7       5     7.3      10 " + levels[0],
                    "          5:10@1    0x08:10   60003   60000 60001.3   60003 " + levels[1]}));
}

/// First the wire address goes, then the trend, then the range; nothing is cut.
TEST(TableView, LeavesOutWholeColumnsOnANarrowScreen)
{
    const Tag tag{variable("10:65530")};
    const ValueStatistics statistics = statisticsOf(tag, {{4294967295u}, {1}});
    for (int columns = 1; columns <= 130; ++columns) {
        const TableLayout layout({tag}, Format::Unsigned, columns, {false, true, true});
        const std::string row = rowsOf(layout, tag, reading("10:65530", {4294967295u}), statistics)[1];
        const auto has = [&row](const char *text) { return row.find(text) != std::string::npos; };
        const bool range = has("2147483648.0"), wire = has("0x13:65530"), value = has("4294967295");
        if (value) {
            EXPECT_LE(QString::fromStdString(row).size(), columns) << row;
        }
        EXPECT_EQ(layout.missingColumns() > 0, columns < 89) << columns;
        EXPECT_EQ(range, columns >= 72) << columns << row;
        EXPECT_EQ(wire, columns >= 101) << columns << row;
        EXPECT_EQ(value, columns >= 33) << columns << row;
    }
}

TEST(TableView, ATextHasNoRange)
{
    const Tag tag = parseTag(QStringLiteral("5:1x3:text"));
    const TableLayout layout({tag}, Format::Unsigned, 80, {false, true, true});
    Reading text = reading("5:1", {0x5550, 0x504D, 0x3120});
    text.variable = tag.variable;
    EXPECT_EQ(rowsOf(layout, tag, text, statisticsOf(tag, {text.values}))[1],
              "   1.500  5:1x3@1:text  0x08:1   PUMP 1");
}

/// A part of the rows is what it is in the whole.
TEST(TableLayout, MakesTheRowsThatAreAskedFor)
{
    const Reading one = reading("5:0x37", std::vector<quint32>(37, 60000));
    for (const bool each : {false, true}) {
        const TableLayout layout({{one.variable}}, Format::Unsigned, 60, {each, false, false});
        const QString reason = QStringLiteral("(stale: no reply, and more to say than fits into one row)");
        const QStringList all = layout.rows({one.variable}, one, reason, {}, Now);
        for (int first = 0; first < all.size(); ++first)
            for (int last = first; last <= all.size(); ++last)
                EXPECT_EQ(layout.rows({one.variable}, one, reason, {}, Now, {}, {first, last}),
                          all.mid(first, last - first));
    }
}

TEST(Sparkline, GoesFromTheLowestToTheHighestLevel)
{
    EXPECT_EQ(sparkline({0, 7, 3.5, 1}, BlockLevels).toStdString(), "▁█▄▂");
    EXPECT_EQ(sparkline({-1, 3}, AsciiLevels).toStdString(), "_^");
    EXPECT_EQ(sparkline({5, 5}, AsciiLevels).toStdString(), "--");
    EXPECT_TRUE(sparkline({}, AsciiLevels).isEmpty());
    EXPECT_EQ(sparkline({-3.4e38F, 3.4e38F}, AsciiLevels).toStdString(), "_^");
}

TEST(Wrapped, BreaksBetweenWords)
{
    const QStringList lines = wrapped(QStringLiteral("incomplete: 12 of 25 bytes"), 14);
    EXPECT_EQ(lines.join(QLatin1Char('|')).toStdString(), "incomplete: 12|of 25 bytes");
    EXPECT_TRUE(wrapped(QString(), 10).isEmpty());
}

struct Typed {
    const char *name;
    std::string bytes;
    std::vector<Key> keys;
    std::string rest;
};

class Keys : public ::testing::TestWithParam<Typed>
{
};

TEST_P(Keys, AreTakenFromWhatIsTyped)
{
    std::string input = GetParam().bytes;
    EXPECT_EQ(takeKeys(input), GetParam().keys);
    EXPECT_EQ(input, GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(Sequences, Keys,
                         ::testing::Values(Typed{"Letter", "q", {Key::Quit}, ""},
                                           Typed{"Arrows", "\x1b[A\x1b[B", {Key::Up, Key::Down}, ""},
                                           Typed{"OfApplicationMode", "\x1bOA\x1bOF", {Key::Up, Key::End}, ""},
                                           Typed{"Pages", "\x1b[5~\x1b[6~", {Key::PageUp, Key::PageDown}, ""},
                                           Typed{"HomeAndEnd", "\x1b[1~\x1b[4~", {Key::Home, Key::End}, ""},
                                           Typed{"Columns", "ert", {Key::Each, Key::Range, Key::Trend}, ""},
                                           Typed{"OtherLetters", "xyz", {}, ""},
                                           Typed{"BrokenAfterEscape", "\x1b", {}, "\x1b"},
                                           Typed{"BrokenAfterBracket", "\x1b[", {}, "\x1b["},
                                           Typed{"BrokenAfterNumber", "\x1b[5", {}, "\x1b[5"},
                                           Typed{"EscapeAndLetter", "\x1bq", {Key::Quit}, ""},
                                           Typed{"ArrowWithControl", "\x1b[1;5Aq", {Key::Quit}, ""}),
                         [](const auto &typed) { return std::string(typed.param.name); });

// Named, not shown as bytes, in which there are pointers.
void PrintTo(const Typed &typed, std::ostream *out)
{
    *out << typed.name;
}

} // namespace
