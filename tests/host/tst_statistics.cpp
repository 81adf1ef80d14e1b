// Round trips and the health of stations.
#include "host/station_health.h"
#include "host/statistics.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

TEST(RoundTrips, AreEmptyAtFirst)
{
    const RoundTrips times;
    EXPECT_EQ(times.count(), 0u);
    EXPECT_EQ(times.mean(), Time(0));
    EXPECT_EQ(times.quantile(0.99), Time(0));
}

TEST(RoundTrips, KnowTheirEndsAndTheirMean)
{
    RoundTrips times;
    for (Time time : {3ms, 1ms, 8ms})
        times.add(time);
    EXPECT_EQ(times.count(), 3u);
    EXPECT_EQ(times.min(), 1ms);
    EXPECT_EQ(times.max(), 8ms);
    EXPECT_EQ(times.mean(), 4ms);
}

TEST(RoundTrips, AreCountedByTheirBounds)
{
    RoundTrips times;
    for (Time time : {Time(1), Time(100us), Time(100us + 1ns), Time(1ms), Time(10s), Time(10s + 1ns), Time(1h)})
        times.add(time);
    RoundTripCounts expected = {};
    expected[0] = 2;  // to 0.1 ms
    expected[1] = 1;  // to 0.25 ms
    expected[3] = 1;  // to 1 ms
    expected[15] = 1; // to 10 s
    expected[16] = 2; // beyond
    EXPECT_EQ(times.histogram(), expected);
}

TEST(BetterTimeout, IsProposedWhenTheSlowOnesComeNear)
{
    RoundTrips times;
    EXPECT_EQ(betterTimeout(times, 1s), Time(0)) << "nothing is known";
    for (int i = 0; i < 100; ++i)
        times.add(200ms);
    EXPECT_EQ(betterTimeout(times, 1s), Time(0));
    EXPECT_EQ(betterTimeout(times, 400ms), Time(600ms));
}

TEST(RoundTrips, QuantilesAreAtMostSixPercentTooLong)
{
    for (int unit : {1, 37, 1000, 123457}) {
        RoundTrips times;
        for (int i = 1; i <= 1000; ++i)
            times.add(Time(qint64(i) * unit));
        for (int percent : {1, 50, 90, 99, 100}) {
            const Time exact(qint64(percent) * 10 * unit);
            EXPECT_GE(times.quantile(percent / 100.0), exact) << percent << " % of " << unit;
            EXPECT_LE(times.quantile(percent / 100.0), exact * 17 / 16 + Time(1)) << percent << " % of " << unit;
        }
    }
}

TEST(RoundTrips, TakeAnyTime)
{
    RoundTrips times;
    times.add(Time(0));
    times.add(Time(-5));
    times.add(Time::max());
    EXPECT_EQ(times.count(), 3u);
    EXPECT_EQ(times.quantile(1), Time::max());
}

TEST(Outcomes, HaveNames)
{
    EXPECT_STREQ(nameOf(Outcome::Good), "good");
    EXPECT_STREQ(nameOf(Outcome::LinkLost), "link lost");
    EXPECT_STREQ(keyOf(Outcome::NoReply), "noReply");
    EXPECT_STREQ(keyOf(Outcome::OtherReply), "otherReply");
}

using Stations = std::set<int>;

/// Those that are asked now.
Stations active(const StationHealth &health, Time now)
{
    Stations stations = health.awake();
    if (const int due = health.dueProbe(now))
        stations.insert(due);
    return stations;
}

TEST(StationHealth, AStationRestsAfterSomeFailuresInARow)
{
    StationHealth health(2, 10s, 10s);
    health.watch({1, 2, 3});
    EXPECT_FALSE(health.isTroubled());
    health.gaveUp(2, 5s, 0s);
    EXPECT_TRUE(health.isTroubled());
    EXPECT_FALSE(health.isProbed(2));
    EXPECT_EQ(active(health, 5s), (Stations{1, 2, 3}));
    health.answered(2);
    EXPECT_FALSE(health.isTroubled());
    health.gaveUp(2, 6s, 0s);
    health.gaveUp(2, 7s, 0s);
    EXPECT_EQ(active(health, 7s), (Stations{1, 3}));
    EXPECT_TRUE(health.isProbed(2));
    EXPECT_EQ(active(health, 17s), (Stations{1, 2, 3}));
    health.gaveUp(2, 18s, 0s);
    EXPECT_EQ(active(health, 18s), (Stations{1, 3})) << "the next rest begins at once";
    health.answered(2);
    EXPECT_EQ(active(health, 18s), (Stations{1, 2, 3}));
}

TEST(StationHealth, ARestDoublesUpToALimit)
{
    StationHealth health(1, 1s, 5s);
    health.watch({1, 2});
    Time now = 0s;
    for (Time rest : {1s, 2s, 4s, 5s, 5s}) {
        health.gaveUp(2, now, 0s);
        EXPECT_EQ(active(health, now + rest - 1ns), (Stations{1})) << rest.count();
        EXPECT_EQ(active(health, now + rest), (Stations{1, 2})) << rest.count();
        now += rest;
    }
    health.answered(2);
    health.gaveUp(2, now, 0s);
    EXPECT_EQ(active(health, now + 1s), (Stations{1, 2})) << "an answer forgets the rests";
}

TEST(StationHealth, OneStationIsProbedAtATimeAndProbesTakeABoundedShare)
{
    StationHealth health(1, 1s, 1s);
    health.watch({1, 2, 3, 4});
    health.gaveUp(3, 0s, 300ms);
    health.gaveUp(2, 100ms, 300ms);
    EXPECT_EQ(active(health, 2s), (Stations{1, 3, 4})) << "the one whose rest ended first";
    health.gaveUp(3, 2s, 500ms);
    const Time next = 2s + (ProbeBudget::Share - 1) * 500ms;
    EXPECT_EQ(active(health, next - 1ns), (Stations{1, 4}));
    EXPECT_EQ(active(health, next), (Stations{1, 2, 4}));
}

TEST(StationHealth, AllAreAskedWhileNoneAnswers)
{
    StationHealth health(1, 10s, 10s);
    health.watch({1, 2});
    health.gaveUp(1, 0s, 0s);
    EXPECT_EQ(active(health, 0s), (Stations{2}));
    health.gaveUp(2, 0s, 0s);
    EXPECT_EQ(active(health, 0s), (Stations{1, 2}));
}

TEST(StationHealth, AllAreTriedOnceTheLineIsBack)
{
    StationHealth health(1, 10s, 10s);
    health.watch({1, 2, 3});
    for (int station : {1, 2, 3})
        health.gaveUp(station, 0s, 0s);
    health.answered(2);
    EXPECT_EQ(active(health, 0s), (Stations{1, 2, 3}));
    health.gaveUp(1, 1s, 0s);
    EXPECT_EQ(active(health, 1s), (Stations{2, 3}));
}

TEST(StationHealth, WhatIsKnownOfAStationStaysWhileOthersAreWatched)
{
    StationHealth health(1, 10s, 40s);
    health.watch({1, 2});
    health.gaveUp(2, 0s, 100ms);
    EXPECT_TRUE(health.hasJustFailed(2));
    health.watch({});
    health.watch({1});
    EXPECT_FALSE(health.isTroubled());
    EXPECT_EQ(active(health, 20s), Stations{1});
    health.watch({1, 2, 3});
    EXPECT_TRUE(health.isTroubled());
    EXPECT_FALSE(health.hasJustFailed(2));
    EXPECT_EQ(active(health, 9s), (Stations{1, 3}));
    EXPECT_EQ(active(health, 10s), (Stations{1, 2, 3}));
    health.gaveUp(2, 10s, 100ms);
    EXPECT_EQ(active(health, 29s), (Stations{1, 3})) << "twice as long";
    health.watch({2});
    EXPECT_EQ(active(health, 11s), Stations{2}) << "alone it is asked";
}

TEST(StationHealth, StrangersDoNotCount)
{
    StationHealth health(1, 10s, 10s);
    health.watch({1, 2});
    health.gaveUp(7, 0s, 0s);
    health.answered(7);
    EXPECT_FALSE(health.isTroubled());
    EXPECT_EQ(active(health, 0s), (Stations{1, 2}));
}

} // namespace
