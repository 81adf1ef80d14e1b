// Address texts: the host's numbering and the controller's.
#include "support/fixture.h"

#include <climits>

namespace
{

struct Text {
    int areaType;
    const char *text;
    int hosts, controllers; // PLCAddressChangeIntef, StringAddressToInt
};

void PrintTo(const Text &row, std::ostream *out)
{
    *out << "area " << row.areaType << ", '" << row.text << "'";
}

class Addresses : public DriverTest, public ::testing::WithParamInterface<Text>
{
};

TEST_P(Addresses, AreTheseNumbers)
{
    const Text &row = GetParam();
    EXPECT_EQ(PLCAddressChangeIntef(row.areaType, QString::fromLatin1(row.text)), row.hosts);
    EXPECT_EQ(StringAddressToInt(row.areaType, QString::fromLatin1(row.text)), row.controllers);
}

INSTANTIATE_TEST_SUITE_P(Octal, Addresses,
                         ::testing::Values(Text{0, "17", 15, 15}, Text{1, "17", 15, 15}, Text{0, "18", 0, 0},
                                           Text{1, "9", 0, 0}, Text{0, "0017", 15, 15}, Text{1, "-17", -15, -15},
                                           Text{0, "+17", 15, 15}, Text{1, "17777777777", INT_MAX, INT_MAX},
                                           Text{1, "20000000000", 0, 0}, Text{0, "0x7", 0, 0}));
INSTANTIATE_TEST_SUITE_P(Decimal, Addresses,
                         ::testing::Values(Text{2, "17", 17, 17}, Text{3, "17", 17, 17}, Text{4, "17", 17, 17},
                                           Text{5, "17", 17, 17}, Text{6, "17", 17, 17}, Text{7, "17", 17, 17},
                                           Text{8, "17", 17, 17}, Text{9, "17", 17, 17}, Text{11, "17", 17, 17},
                                           Text{12, "17", 17, 17}, Text{13, "17", 17, 17}, Text{5, "18", 18, 18},
                                           Text{5, "017", 17, 17}, Text{5, "-3", -3, -3}, Text{5, "+3", 3, 3},
                                           Text{5, "2147483647", INT_MAX, INT_MAX},
                                           Text{5, "-2147483648", INT_MIN, INT_MIN}));
INSTANTIATE_TEST_SUITE_P(NoNumbers, Addresses,
                         ::testing::Values(Text{5, "", 0, 0}, Text{5, "D100", 0, 0}, Text{5, "1 0", 0, 0},
                                           Text{5, "1.5", 0, 0}, Text{5, "0x10", 0, 0}, Text{5, "2147483648", 0, 0},
                                           Text{5, "4294967297", 0, 0}, Text{10, "4294967297", -1, 0},
                                           Text{0, "40000000001", 0, 0}, Text{5, "18446744073709551617", 0, 0},
                                           Text{5, "-", 0, 0}, Text{0, "", 0, 0}, Text{2, "12a", 0, 0}));
INSTANTIATE_TEST_SUITE_P(Blanks, Addresses,
                         ::testing::Values(Text{5, "  17", 17, 17}, Text{5, "17  ", 17, 17},
                                           Text{0, " \t17\n", 15, 15}, Text{10, " 250 ", 50, 250}));
// The host counts area 10 from 200, the controller from 0.
INSTANTIATE_TEST_SUITE_P(AreaTen, Addresses,
                         ::testing::Values(Text{10, "250", 50, 250}, Text{10, "200", 0, 200},
                                           Text{10, "199", -1, 199}, Text{10, "0", -1, 0}, Text{10, "-5", -1, -5},
                                           Text{10, "x", -1, 0}, Text{10, "", -1, 0}, Text{10, "2147483648", -1, 0},
                                           Text{10, "2147483647", INT_MAX - 200, INT_MAX},
                                           Text{10, "-2147483648", -1, INT_MIN}));
INSTANTIATE_TEST_SUITE_P(UnknownAreas, Addresses,
                         ::testing::Values(Text{14, "17", 0, 0}, Text{14, "x", 0, 0}, Text{-1, "17", 0, 0},
                                           Text{255, "17", 0, 0}, Text{INT_MAX, "17", 0, 0},
                                           Text{INT_MIN, "-17", 0, 0}));

class AddressTexts : public DriverTest
{
};

TEST_F(AddressTexts, ANullTextIsNoNumber)
{
    EXPECT_EQ(PLCAddressChangeIntef(5, QString()), 0);
    EXPECT_EQ(PLCAddressChangeIntef(10, QString()), -1);
    EXPECT_EQ(StringAddressToInt(5, QString()), 0);
}

TEST_F(AddressTexts, NoSettingsAreNeeded)
{
    PLC_driver.settings = nullptr;
    EXPECT_EQ(PLCAddressChangeIntef(10, QString::fromLatin1("250")), 50);
    EXPECT_EQ(StringAddressToInt(10, QString::fromLatin1("250")), 250);
}

} // namespace
