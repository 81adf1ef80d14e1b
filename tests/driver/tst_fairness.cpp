// ComCommunication: whose turn it is.
#include "support/polling.h"

namespace
{

class Fairness : public PollingTest
{
};

TEST_F(Fairness, SevenWritesAreServedFiveThenOneCyclicThenTwo)
{
    writes(7);
    cyclic({1});
    EXPECT_EQ(jobs(10), "wwwwwcwwcc");
}

TEST_F(Fairness, SevenOneShotReadsAreServedFiveThenOneCyclicThenTwo)
{
    onceReads(7);
    cyclic({1});
    EXPECT_EQ(jobs(10), "ooooocoocc");
}

TEST_F(Fairness, FiveWritesThenFiveOneShotReadsThenOneCyclic)
{
    writes(7);
    onceReads(7);
    cyclic({1});
    EXPECT_EQ(jobs(17), "wwwwwooooocwwoocc");
}

TEST_F(Fairness, FewerThanFiveAreFollowedByTheNextKind)
{
    writes(2);
    onceReads(3);
    cyclic({1});
    EXPECT_EQ(jobs(7), "wwooocc");
}

TEST_F(Fairness, WithoutCyclicReadsTheRunsAreSetApartByOneIdleCall)
{
    writes(7);
    onceReads(7);
    EXPECT_EQ(jobs(16), "wwwwwooooo-wwoo-");
    reset();
    writes(12);
    EXPECT_EQ(jobs(15), "wwwww-wwwww-ww-");
}

TEST_F(Fairness, AWriteThatComesLateWaitsForTheCyclicRead)
{
    writes(5);
    onceReads(2);
    cyclic({1});
    EXPECT_EQ(jobs(6), "wwwwwo");
    writes(1);
    EXPECT_EQ(jobs(4), "ocwc");
}

TEST_F(Fairness, AWriteGoesBeforeOneShotReadsUntilFiveWereServed)
{
    onceReads(4);
    cyclic({1});
    EXPECT_EQ(jobs(1), "o");
    writes(2);
    EXPECT_EQ(jobs(6), "wwoooc");
}

TEST_F(Fairness, TheCountersShowTheJobsInARow)
{
    writes(2);
    onceReads(1);
    cyclic({1});
    jobs(2);
    EXPECT_EQ(PLC_driver.WriteTimes, 2);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 0);
    jobs(1);
    EXPECT_EQ(PLC_driver.WriteTimes, 2);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 1);
    jobs(1);
    EXPECT_EQ(PLC_driver.WriteTimes, 0);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 0);
}

} // namespace
