// What is made of requests that a station leaves unanswered; no driver, no line.
#include "host/suspects.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

/// Words of area 5 of station 1.
Span words(int first, int end)
{
    return {1, 5, first, end};
}

class SuspectsTest : public ::testing::Test
{
protected:
    SuspectsTest() { suspects.watch({words(0, 8), words(20, 24), words(100, 104)}); }

    /// The same request is left unanswered twice, and the station answers something in between.
    void fail(const Spans &blocks)
    {
        suspects.gaveUp(blocks, 3);
        suspects.answered(1, {}, 0s);
        suspects.gaveUp(blocks, 1);
    }

    /// Asks until nothing is open; what reaches one of these is not answered.
    int search(const Spans &missing)
    {
        int probes = 0;
        for (; const auto probe = suspects.nextProbe(0s, {}); ++probes) {
            bool answered = true;
            for (const Span &block : probe->blocks)
                answered = answered && !anyOverlaps(missing, block);
            if (answered)
                suspects.probeAnswered();
            else
                suspects.probeSilent(0s, 1s);
            suspects.answered(1, {words(100, 104)}, 0s);
        }
        return probes;
    }

    Suspects suspects{64, 1s, 60s};
};

TEST_F(SuspectsTest, AreQuietAtFirst)
{
    EXPECT_TRUE(suspects.isQuiet());
    EXPECT_FALSE(suspects.nextProbe(0s, {}));
}

TEST_F(SuspectsTest, OneFailureIsADoubtOnly)
{
    suspects.gaveUp({words(0, 24)}, 3);
    EXPECT_TRUE(suspects.isOpen(words(3, 4)));
    EXPECT_FALSE(suspects.isOpen(words(10, 12))) << "nobody wants it";
    EXPECT_TRUE(suspects.needsSignOfLife(1));
    EXPECT_FALSE(suspects.isDoubted({words(0, 24)}));
    suspects.answered(1, {}, 0s);
    EXPECT_FALSE(suspects.needsSignOfLife(1));
    EXPECT_TRUE(suspects.isDoubted({words(0, 24)}));
    EXPECT_FALSE(suspects.nextProbe(0s, {}));
    suspects.heard({words(0, 24)});
    EXPECT_TRUE(suspects.isQuiet()) << "a passing fault";
}

TEST_F(SuspectsTest, FewRequestsAreNotEnough)
{
    suspects.gaveUp({words(0, 24)}, 1);
    suspects.answered(1, {}, 0s);
    EXPECT_FALSE(suspects.gaveUp({words(0, 24)}, 1));
    EXPECT_TRUE(suspects.gaveUp({words(0, 24)}, 1));
}

TEST_F(SuspectsTest, WithoutASignOfLifeNothingIsSearched)
{
    for (int i = 0; i < 10; ++i)
        EXPECT_FALSE(suspects.gaveUp({words(0, 24)}, 3)) << i;
    EXPECT_FALSE(suspects.nextProbe(0s, {}));
}

TEST_F(SuspectsTest, OnePlaceIsFound)
{
    fail({words(0, 24), words(100, 104)});
    EXPECT_LE(search({words(5, 6)}), 10);
    EXPECT_EQ(suspects.silentPlaces(), Spans{words(5, 6)});
    EXPECT_EQ(suspects.leftOut(), Spans{words(5, 6)});
    const std::vector<Finding> findings = suspects.takeFindings();
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].kind, LineEvent::PlaceSilent);
    EXPECT_TRUE(suspects.takeFindings().empty());
}

TEST_F(SuspectsTest, AGapIsFound)
{
    fail({words(0, 24)});
    search({words(15, 16)});
    EXPECT_TRUE(suspects.leftOut().empty());
    EXPECT_EQ(suspects.barriers(), Spans{words(8, 20)});
    EXPECT_EQ(suspects.takeFindings().at(0).kind, LineEvent::GapSilent);
}

TEST_F(SuspectsTest, APassingFaultIsForgotten)
{
    fail({words(0, 24), words(100, 104)});
    search({});
    EXPECT_TRUE(suspects.isQuiet());
    EXPECT_TRUE(suspects.takeFindings().empty());
}

TEST_F(SuspectsTest, AProbeCountsOnlyIfTheStationAnswersNext)
{
    fail({words(0, 8)});
    const Spans asked = suspects.nextProbe(0s, {})->blocks;
    suspects.probeSilent(0s, 1s);
    EXPECT_TRUE(suspects.needsSignOfLife(1));
    EXPECT_FALSE(suspects.nextProbe(0s, {}));
    suspects.stayedSilent(1);
    suspects.answered(1, {}, 0s);
    EXPECT_EQ(suspects.nextProbe(0s, {})->blocks, asked) << "it is asked again";
}

TEST_F(SuspectsTest, AStationThatSleepsIsNotAsked)
{
    fail({words(0, 8)});
    EXPECT_FALSE(suspects.nextProbe(0s, {1}));
    EXPECT_TRUE(suspects.nextProbe(0s, {2}));
}

TEST_F(SuspectsTest, ASilentPlaceIsProbedAtGrowingDistances)
{
    fail({words(0, 8)});
    search({words(5, 6)});
    suspects.takeFindings();
    Time now = 1s;
    for (Time rest : {2s, 4s, 8s, 16s, 32s, 60s, 60s}) {
        SCOPED_TRACE(rest.count());
        ASSERT_TRUE(suspects.nextProbe(now, {}));
        suspects.probeSilent(now, 1ms);
        EXPECT_FALSE(suspects.nextProbe(now + rest - 1ns, {}));
        now += rest;
    }
    ASSERT_TRUE(suspects.nextProbe(now, {}));
    suspects.probeAnswered();
    EXPECT_EQ(suspects.takeFindings().at(0).kind, LineEvent::PlaceBack);
    EXPECT_TRUE(suspects.isQuiet());
}

TEST_F(SuspectsTest, ProbesOfSilentPlacesTakeABoundedShare)
{
    fail({words(0, 8)});
    search({words(5, 6), words(7, 8)});
    ASSERT_TRUE(suspects.nextProbe(10s, {}));
    suspects.probeSilent(10s, 1s);
    EXPECT_FALSE(suspects.nextProbe(10s + (ProbeBudget::Share - 1) * 1s - 1ns, {}));
    EXPECT_TRUE(suspects.nextProbe(10s + (ProbeBudget::Share - 1) * 1s, {}));
}

TEST_F(SuspectsTest, WhatIsKnownOutlivesAChangeOfWhatIsWanted)
{
    fail({words(0, 8)});
    search({words(5, 6)});
    suspects.watch({words(0, 6)});
    EXPECT_EQ(suspects.silentPlaces(), Spans{words(5, 6)});
    fail({words(0, 3)});
    suspects.watch({words(0, 6)});
    EXPECT_FALSE(suspects.isOpen(words(0, 3))) << "but a search does not";
}

TEST(Spans, AreUnitedCutAndCompared)
{
    EXPECT_EQ(united({words(5, 8), words(0, 5), words(10, 12)}), (Spans{words(0, 8), words(10, 12)}));
    EXPECT_EQ(united({words(0, 8), words(2, 4)}), Spans{words(0, 8)});
    EXPECT_EQ(without({words(0, 10)}, {words(2, 3), words(8, 12)}), (Spans{words(0, 2), words(3, 8)}));
    EXPECT_EQ(common({words(0, 10), words(20, 30)}, {words(5, 25)}), (Spans{words(5, 10), words(20, 25)}));
    EXPECT_EQ(common({words(0, 10)}, {{2, 5, 0, 10}}), Spans());
}

TEST(Spans, CountBitsByWholeBytes)
{
    const Span bits = spanOf(parseVariable(QStringLiteral("2:7x2")));
    EXPECT_EQ(bits, (Span{1, 2, 0, 2}));
    EXPECT_EQ(textOf(variableOf(bits)), QStringLiteral("2:0x16@1"));
}

} // namespace
