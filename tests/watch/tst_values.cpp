// Values and assignments as people write them.
#include "host/text_error.h"
#include "watch/assignment.h"

#include <gtest/gtest.h>
#include <ostream>

using namespace fgs;

namespace
{

std::string text(AreaKind kind, Format format, quint32 value)
{
    return valueText(kind, format, value).toStdString();
}

TEST(ValueText, FollowsKindAndFormat)
{
    EXPECT_EQ(text(AreaKind::Bit, Format::Hex, 1), "1");
    EXPECT_EQ(text(AreaKind::Word, Format::Unsigned, 65535), "65535");
    EXPECT_EQ(text(AreaKind::Word, Format::Signed, 65535), "-1");
    EXPECT_EQ(text(AreaKind::Word, Format::Signed, 32767), "32767");
    EXPECT_EQ(text(AreaKind::Word, Format::Hex, 0x1F), "0x001f");
    EXPECT_EQ(text(AreaKind::Word, Format::Float, 31), "31");
    EXPECT_EQ(text(AreaKind::DoubleWord, Format::Unsigned, 4294967295u), "4294967295");
    EXPECT_EQ(text(AreaKind::DoubleWord, Format::Signed, 4294967295u), "-1");
    EXPECT_EQ(text(AreaKind::DoubleWord, Format::Hex, 0x12345678), "0x12345678");
    EXPECT_EQ(text(AreaKind::DoubleWord, Format::Float, 0x41480000), "12.5");
    EXPECT_EQ(valuesText(AreaKind::Word, Format::Unsigned, {1, 2}).toStdString(), "1 2");
}

struct Good {
    const char *text;
    Format format;
    const char *variable;
    std::vector<quint32> values;
};
void PrintTo(const Good &row, std::ostream *out)
{
    *out << row.text;
}

class GoodAssignment : public ::testing::TestWithParam<Good>
{
};

TEST_P(GoodAssignment, IsRead)
{
    const Assignment assignment = parseAssignment(QString::fromLatin1(GetParam().text), 3, GetParam().format);
    EXPECT_EQ(textOf(assignment.variable).toStdString(), GetParam().variable);
    EXPECT_EQ(assignment.values, GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(
    Assignments, GoodAssignment,
    ::testing::Values(Good{"5:100=7", Format::Unsigned, "5:100@3", {7}},
                      Good{"5:100@2=1,2,0x1F", Format::Unsigned, "5:100x3@2", {1, 2, 31}},
                      Good{"5:100x2=-1,-32768", Format::Hex, "5:100x2@3", {65535, 32768}},
                      Good{"1:17=1,0", Format::Unsigned, "1:17x2@3", {1, 0}},
                      Good{"10:5=-1,0XFFFFFFFF", Format::Unsigned, "10:5x2@3", {4294967295u, 4294967295u}},
                      Good{"10:5=12.5,-1", Format::Float, "10:5x2@3", {0x41480000u, 0xBF800000u}},
                      Good{"5:100=12", Format::Float, "5:100@3", {12}}));

struct Bad {
    const char *text;
    const char *message;
};
void PrintTo(const Bad &row, std::ostream *out)
{
    *out << row.text;
}

class BadAssignment : public ::testing::TestWithParam<Bad>
{
};

TEST_P(BadAssignment, IsRefusedWithTheRemedy)
{
    try {
        parseAssignment(QString::fromLatin1(GetParam().text), 1, Format::Float);
        FAIL() << "accepted";
    } catch (const TextError &error) {
        EXPECT_STREQ(error.what(), GetParam().message);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Assignments, BadAssignment,
    ::testing::Values(
        Bad{"5:100", "assignment '5:100': assigns nothing; write VAR=VALUE[,VALUE...], for example 5:100=1,2"},
        Bad{"5:100=", "assignment '5:100=': value 1 is empty; write a number, or one comma less"},
        Bad{"5:1=1,,2", "assignment '5:1=1,,2': value 2 is empty; write a number, or one comma less"},
        Bad{"5:100=65536",
            "assignment '5:100=65536': value 1, '65536' is no number from -32768 to 65535, as a word takes it"},
        Bad{"5:100=-32769",
            "assignment '5:100=-32769': value 1, '-32769' is no number from -32768 to 65535, as a word takes it"},
        Bad{"5:1=1,0x10000",
            "assignment '5:1=1,0x10000': value 2, '0x10000' is no number from -32768 to 65535, as a word takes it"},
        Bad{"5:1=0x-1",
            "assignment '5:1=0x-1': value 1, '0x-1' is no number from -32768 to 65535, as a word takes it"},
        Bad{"2:5=2", "assignment '2:5=2': value 1, '2' is no number from 0 to 1, as a bit takes it"},
        Bad{"2:5=-1", "assignment '2:5=-1': value 1, '-1' is no number from 0 to 1, as a bit takes it"},
        Bad{"10:5=abc", "assignment '10:5=abc': value 1, 'abc' is no decimal fraction like 12.5"},
        Bad{"10:1=1e39", "assignment '10:1=1e39': value 1, '1e39' is beyond the greatest number of single "
                         "precision, 3.4028235e+38"},
        Bad{"10:1=16777217", "assignment '10:1=16777217': value 1, '16777217' has too many digits for single "
                             "precision; the nearest number is 16777216"},
        Bad{"5:100x2=1", "assignment '5:100x2=1': 1 values for 2 places; give as many, or leave the count out"},
        Bad{"5:100x1=1,2", "assignment '5:100x1=1,2': 2 values for 1 places; give as many, or leave the count out"},
        Bad{"5:65535=1,2", "assignment '5:65535=1,2': 2 values reach beyond the end of area 5"},
        Bad{"0:17=1", "assignment '0:17=1': area 0 is read-only"},
        Bad{"8:1=1", "assignment '8:1=1': area 8 is read-only"},
        Bad{"14:1=1", "variable '14:1': there is no area 14; areas are 0..13"}));

} // namespace
