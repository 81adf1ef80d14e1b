// Which values are known, and since when.
#include "host/freshness.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

Age ageOf(const Freshness &freshness, const char *text)
{
    return freshness.of(parseVariable(QString::fromLatin1(text)));
}

TEST(Freshness, IsUnknownBeforeAReply)
{
    Freshness freshness;
    EXPECT_FALSE(ageOf(freshness, "5:0").isKnown());
    EXPECT_EQ(ageOf(freshness, "5:0").tried, Never);
}

TEST(Freshness, CountsBytesInTheUnitOfTheArea)
{
    Freshness freshness;
    freshness.stored(1, 5, 100, 8, 7s);
    EXPECT_EQ(ageOf(freshness, "5:100x4").stored, 7s);
    EXPECT_FALSE(ageOf(freshness, "5:100x5").isKnown());
    EXPECT_FALSE(ageOf(freshness, "5:99x2").isKnown());
    EXPECT_FALSE(ageOf(freshness, "5:100@2").isKnown());
    EXPECT_FALSE(ageOf(freshness, "6:100").isKnown());

    freshness.stored(1, 10, 3, 8, 8s);
    EXPECT_EQ(ageOf(freshness, "10:3x2").stored, 8s);
    EXPECT_FALSE(ageOf(freshness, "10:3x3").isKnown());

    freshness.stored(1, 2, 16, 2, 9s);
    EXPECT_EQ(ageOf(freshness, "2:16x16").stored, 9s);
    EXPECT_EQ(ageOf(freshness, "2:31").stored, 9s);
    EXPECT_FALSE(ageOf(freshness, "2:15x2").isKnown());
    EXPECT_FALSE(ageOf(freshness, "2:31x2").isKnown());
}

TEST(Freshness, IsThatOfTheOldestPart)
{
    Freshness freshness;
    freshness.stored(1, 5, 0, 20, 1s);
    freshness.stored(1, 5, 5, 2, 2s);
    EXPECT_EQ(ageOf(freshness, "5:5").stored, 2s);
    EXPECT_EQ(ageOf(freshness, "5:4x2").stored, 1s);
}

TEST(Freshness, KeepsTheValueAndTheReasonOfAFailure)
{
    Freshness freshness;
    freshness.stored(1, 5, 0, 4, 1s);
    freshness.failed(1, 5, 0, 4, 2s, Outcome::BadCheck);
    EXPECT_EQ(ageOf(freshness, "5:0x2").stored, 1s);
    EXPECT_EQ(ageOf(freshness, "5:0x2").tried, 2s);
    EXPECT_EQ(ageOf(freshness, "5:0x2").outcome, Outcome::BadCheck);
    freshness.stored(1, 5, 0, 4, 3s);
    EXPECT_EQ(ageOf(freshness, "5:0x2").outcome, Outcome::Good);
    EXPECT_EQ(ageOf(freshness, "5:0x2").tried, 3s);
}

TEST(Freshness, IgnoresPlacesThatDoNotExist)
{
    Freshness freshness;
    freshness.stored(1, 14, 0, 4, 1s);
    freshness.stored(1, -1, 0, 4, 1s);
    freshness.stored(1, 5, -3, 4, 1s);
    freshness.failed(1, 14, 0, 4, 1s, Outcome::NoReply);
    freshness.stored(1, 5, 0, 0, 1s);
    EXPECT_FALSE(ageOf(freshness, "5:0").isKnown());
}

} // namespace
