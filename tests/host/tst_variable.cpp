// Variables as people write them.
#include "host/text_error.h"
#include "host/variable.h"

#include <gtest/gtest.h>
#include <ostream>
#include <QtCore/QByteArray>

using namespace fgs;

namespace
{

struct Good {
    const char *text;
    int area, address, count, station;
    const char *canonical;
};
void PrintTo(const Good &row, std::ostream *out)
{
    *out << row.text;
}

class GoodVariable : public ::testing::TestWithParam<Good>
{
};

TEST_P(GoodVariable, IsReadAndWrittenBack)
{
    const Variable variable = parseVariable(QString::fromLatin1(GetParam().text), 3);
    EXPECT_EQ(variable.area, GetParam().area);
    EXPECT_EQ(variable.address, GetParam().address);
    EXPECT_EQ(variable.count, GetParam().count);
    EXPECT_EQ(variable.station, GetParam().station);
    EXPECT_EQ(textOf(variable).toStdString(), GetParam().canonical);
    EXPECT_EQ(textOf(parseVariable(textOf(variable))), textOf(variable));
}

INSTANTIATE_TEST_SUITE_P(
    Variables, GoodVariable,
    ::testing::Values(Good{"5:100", 5, 100, 1, 3, "5:100@3"}, Good{"5:100x4", 5, 100, 4, 3, "5:100x4@3"},
                      Good{"5:100@255", 5, 100, 1, 255, "5:100@255"}, Good{"5:100x4@0", 5, 100, 4, 0, "5:100x4@0"},
                      Good{"0:17x10@2", 0, 15, 10, 2, "0:17x10@2"}, Good{"1:177777", 1, 65535, 1, 3, "1:177777@3"},
                      Good{"2:17", 2, 17, 1, 3, "2:17@3"}, Good{"10:5", 10, 5, 1, 3, "10:5@3"},
                      Good{"13:0x65536", 13, 0, 65536, 3, "13:0x65536@3"}));

struct Bad {
    const char *text;
    const char *message;
};
void PrintTo(const Bad &row, std::ostream *out)
{
    *out << row.text;
}

class BadVariable : public ::testing::TestWithParam<Bad>
{
};

TEST_P(BadVariable, IsRefusedWithTheRemedy)
{
    try {
        parseVariable(QString::fromLatin1(GetParam().text));
        FAIL() << "accepted";
    } catch (const TextError &error) {
        EXPECT_STREQ(error.what(), GetParam().message);
    }
}

#define FORM "not of the form AREA:ADDRESS[xCOUNT][@STATION]; for example 5:100x4@1"
INSTANTIATE_TEST_SUITE_P(
    Variables, BadVariable,
    ::testing::Values(
        Bad{"", "variable '': " FORM}, Bad{"5", "variable '5': " FORM}, Bad{"5:-1", "variable '5:-1': " FORM},
        Bad{"5:1 ", "variable '5:1 ': " FORM}, Bad{"5:0x", "variable '5:0x': " FORM},
        Bad{"5:1@1x2", "variable '5:1@1x2': " FORM},
        Bad{"14:0", "variable '14:0': there is no area 14; areas are 0..13"},
        Bad{"99999999999:0", "variable '99999999999:0': there is no area 99999999999; areas are 0..13"},
        Bad{"0:18", "variable '0:18': 18 is not octal; addresses of areas 0 and 1 are written in octal"},
        Bad{"5:65536", "variable '5:65536': address 65536 is too high; the highest is 65535"},
        Bad{"1:200000", "variable '1:200000': address 200000 is too high; the highest is 177777"},
        Bad{"5:99999999999", "variable '5:99999999999': address 99999999999 is too high; the highest is 65535"},
        Bad{"5:0x0", "variable '5:0x0': count 0 must be at least 1"},
        Bad{"5:65535x2",
            "variable '5:65535x2': count 2 reaches beyond the last address, 65535; from 65535 on at most 1 fits"},
        Bad{"0:177770x9",
            "variable '0:177770x9': count 9 reaches beyond the last address, 177777; from 177770 on at most 8 fit"},
        Bad{"5:0@256", "variable '5:0@256': station 256 must be 0..255"}));

TEST(Areas, HaveTheCodesOfTheProtocol)
{
    const int codes[AreaCount] = {0x00, 0x01, 0x02, 0x05, 0x04, 0x08, 0x12,
                                  0x11, 0x06, 0x07, 0x13, 0x03, 0x09, 0x10};
    for (int number = 0; number < AreaCount; ++number) {
        SCOPED_TRACE(number);
        EXPECT_EQ(areaOf(number)->number, number);
        EXPECT_EQ(areaOf(number)->code, codes[number]);
        EXPECT_EQ(areaOfCode(codes[number]), areaOf(number));
    }
    EXPECT_EQ(areaOf(-1), nullptr);
    EXPECT_EQ(areaOf(14), nullptr);
    EXPECT_EQ(areaOfCode(0x0A), nullptr);
}

} // namespace
