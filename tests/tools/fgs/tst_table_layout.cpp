// The rows of the live table: every number whole, on every screen.
#include "tools/fgs/keys.h"
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
