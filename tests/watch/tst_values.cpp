// Values, tags and assignments as people write them.
#include "host/text_error.h"
#include "watch/assignment.h"

#include <gtest/gtest.h>
#include <ostream>

using namespace fgs;

namespace
{

constexpr AreaKind Bit = AreaKind::Bit, Word = AreaKind::Word, DoubleWord = AreaKind::DoubleWord;

TEST(ValueTexts, FollowKindAndFormat)
{
    const auto text = [](AreaKind kind, Format format, quint32 value) {
        return valueTexts(typeFor(kind, format), kind, {value}).join(QLatin1Char('|')).toStdString();
    };
    EXPECT_EQ(text(Bit, Format::Hex, 1), "1");
    EXPECT_EQ(text(Word, Format::Unsigned, 65535), "65535");
    EXPECT_EQ(text(Word, Format::Signed, 65535), "-1");
    EXPECT_EQ(text(Word, Format::Signed, 32767), "32767");
    EXPECT_EQ(text(Word, Format::Hex, 0x1F), "0x001f");
    EXPECT_EQ(text(Word, Format::Float, 31), "31");
    EXPECT_EQ(text(DoubleWord, Format::Unsigned, 4294967295u), "4294967295");
    EXPECT_EQ(text(DoubleWord, Format::Signed, 4294967295u), "-1");
    EXPECT_EQ(text(DoubleWord, Format::Hex, 0x12345678), "0x12345678");
    EXPECT_EQ(text(DoubleWord, Format::Float, 0x41480000), "12.5");
}

/// What the registers hold, and the values that they make.
struct Typed {
    const char *tag;
    std::vector<quint32> elements;
    const char *values;
};
void PrintTo(const Typed &row, std::ostream *out)
{
    *out << row.tag << " = " << row.values;
}

class TypedValues : public ::testing::TestWithParam<Typed>
{
};

TEST_P(TypedValues, AreShown)
{
    const Tag tag = parseTag(QString::fromLatin1(GetParam().tag));
    EXPECT_EQ(valuesText(tag, Format::Unsigned, GetParam().elements).toStdString(), GetParam().values);
}

TEST_P(TypedValues, AreReadAsTheSameRegisters)
{
    const bool isText = QLatin1String(GetParam().tag).endsWith(QLatin1String(":text"));
    QString values = QString::fromLatin1(GetParam().values);
    const QString text = QString::fromLatin1(GetParam().tag) + QLatin1Char('=') +
                         (isText ? values : values.replace(QLatin1Char(' '), QLatin1Char(',')));
    EXPECT_EQ(parseAssignment(text, 1, Format::Unsigned).values, GetParam().elements);
}

INSTANTIATE_TEST_SUITE_P(
    Types, TypedValues,
    ::testing::Values(Typed{"2:5x2:bit", {1, 0}, "1 0"}, Typed{"5:1x2:u16", {65535, 1}, "65535 1"},
                      Typed{"5:1:s16", {65535}, "-1"}, Typed{"5:1:s16", {0x8000}, "-32768"},
                      Typed{"5:1:x16", {0x1F}, "0x001f"}, Typed{"10:4:u32", {4294967295u}, "4294967295"},
                      Typed{"10:4:s32", {0x80000000u}, "-2147483648"}, Typed{"10:4:x32", {0xAB}, "0x000000ab"},
                      Typed{"10:4:f32", {0x41480000u}, "12.5"}, Typed{"5:1:u32", {0x86A0, 1}, "100000"},
                      Typed{"5:1:u32h", {1, 0x86A0}, "100000"}, Typed{"5:1:s32", {0xFFFE, 0xFFFF}, "-2"},
                      Typed{"5:1:s32h", {0xFFFF, 0xFFFE}, "-2"}, Typed{"5:1:x32h", {0x1234, 0xABCD}, "0x1234abcd"},
                      Typed{"5:1x2:f32", {0, 0x4148, 0, 0xBF80}, "12.5 -1"},
                      Typed{"5:1x2:f32h", {0x4148, 0, 0xBF80, 0}, "12.5 -1"},
                      Typed{"5:1x3:text", {0x5550, 0x504D, 0x3120}, "PUMP 1"},
                      Typed{"5:1x4:text", {0x2C61, 0x0A62, 0xFF5C, 0}, "a,b\\x0a\\x5c\\xff"},
                      Typed{"5:1x2:text", {0x4100, 0}, "\\x00A"}, Typed{"5:1x2:text", {0, 0}, ""}));

TEST(Tag, IsToldAsItIsRead)
{
    for (const char *text : {"5:100@1", "5:100x2@3:f32", "0:17x3@2:bit", "10:4@1:s32", "5:20x8@1:text"})
        EXPECT_EQ(textOf(parseTag(QString::fromLatin1(text))).toStdString(), text);
    EXPECT_EQ(parseTag(QStringLiteral("5:100x2@3:f32")).variable.count, 4);
    EXPECT_EQ(parseTag(QStringLiteral("5:20x8:text")).variable.count, 8);
    EXPECT_EQ(parseTag(QStringLiteral("5:65534:f32"), 7).variable.station, 7);
}

TEST(Tag, ThatIsWrongIsRefusedWithTheRemedy)
{
    const auto fault = [](const char *text) -> std::string {
        try {
            parseTag(QString::fromLatin1(text));
        } catch (const TextError &error) {
            return error.what();
        }
        return "accepted";
    };
    const std::string types = "bit, u16, s16, x16, u32, s32, x32, f32, u32h, s32h, x32h, f32h, text";
    EXPECT_EQ(fault("5:1:float"), "variable '5:1:float': 'float' is no type; types are " + types);
    EXPECT_EQ(fault("5:1:"), "variable '5:1:': '' is no type; types are " + types);
    EXPECT_EQ(fault("0:1:u16"), "variable '0:1:u16': a bit cannot hold values of type u16");
    EXPECT_EQ(fault("10:1:s16"), "variable '10:1:s16': a double word cannot hold values of type s16");
    EXPECT_EQ(fault("10:1:f32h"), "variable '10:1:f32h': a double word cannot hold values of type f32h");
    EXPECT_EQ(fault("5:1:bit"), "variable '5:1:bit': a word cannot hold values of type bit");
    EXPECT_EQ(fault("5:65530x4:f32"),
              "variable '5:65530x4:f32': 4 values of 2 words reach beyond the end of area 5; 3 fit");
    EXPECT_EQ(fault("5:1:f32@2"), "variable '5:1:f32@2': 'f32@2' is no type; types are " + types);
    EXPECT_EQ(fault("five"), "variable 'five': not of the form AREA:ADDRESS[xCOUNT][@STATION][:TYPE]; for example "
                             "5:100x4@1:s16");
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
    EXPECT_EQ(textOf(assignment.tag).toStdString(), GetParam().variable);
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
                      Good{"5:100=12", Format::Float, "5:100@3", {12}},
                      Good{"5:100:f32=12.5,-1", Format::Unsigned, "5:100x2@3:f32", {0, 0x4148, 0, 0xBF80}},
                      Good{"5:100:x16=7", Format::Unsigned, "5:100@3:x16", {7}},
                      Good{"5:100:text=PUMP 1", Format::Unsigned, "5:100x3@3:text", {0x5550, 0x504D, 0x3120}},
                      Good{"5:100:text=", Format::Unsigned, "5:100@3:text", {0}},
                      Good{"5:100x2:text=", Format::Unsigned, "5:100x2@3:text", {0, 0}},
                      Good{"5:100x4:text=a,b", Format::Unsigned, "5:100x4@3:text", {0x2C61, 0x62, 0, 0}}));

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
        Bad{"5:1:u16=-1", "assignment '5:1:u16=-1': value 1, '-1' is no number from 0 to 65535, as a u16 takes it"},
        Bad{"5:1:s16=32768",
            "assignment '5:1:s16=32768': value 1, '32768' is no number from -32768 to 32767, as a s16 takes it"},
        Bad{"5:1x2:f32=1", "assignment '5:1x2:f32=1': 1 values for 2 places; give as many, or leave the count out"},
        Bad{"5:65534:f32=1,2", "assignment '5:65534:f32=1,2': 2 values reach beyond the end of area 5"},
        Bad{"5:1x2:text=ABCDE", "assignment '5:1x2:text=ABCDE': the text takes 3 words, there are 2"},
        Bad{"5:1:text=a\nb",
            "assignment '5:1:text=a\nb': value 1, 'a\nb': '\n' is no printable ASCII character; write "
            "its bytes as \\xNN"},
        Bad{"14:1=1", "variable '14:1': there is no area 14; areas are 0..13"}));

} // namespace
