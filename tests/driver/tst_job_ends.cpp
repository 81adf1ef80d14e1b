// DataCom: a job ends, and what that does to the list it came from.
#include "support/polling.h"

#include <climits>

namespace
{

class JobEnds : public PollingTest
{
};

TEST_F(JobEnds, TheStatusBlockCarriesTheVariableServedWithoutItsData)
{
    PLC_driver.WriteVarList.append(distinctVariable(5, 1, 2, 3));
    PLC_driver.WriteVarList[0].linkNo = 0;
    RW_VAR expected = PLC_driver.WriteVarList.at(0);
    next();
    EXPECT_EQ(answerWell(), 1);
    expected.data.clear();
    expected.result = 1;
    EXPECT_TRUE(sameVariable(PLC_driver.RetVar, expected));
}

TEST_F(JobEnds, AWriteLeavesTheHeadOfItsQueue)
{
    writes(3);
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(column(PLC_driver.WriteVarList), "1001 1002");
    EXPECT_EQ(PLC_driver.RetVar.address, 1000);
}

TEST_F(JobEnds, AOneShotReadLeavesTheHeadOfItsQueue)
{
    onceReads(3);
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(column(PLC_driver.OnceReadVarList), "8 16");
    EXPECT_EQ(PLC_driver.RetVar.areaType, 2);
    EXPECT_EQ(PLC_driver.RetVar.address, 0);
}

TEST_F(JobEnds, AGroupGoesToTheBackInItsOrder)
{
    cyclic({1, 1, 1, 2, 2});
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(column(PLC_driver.ReadVarList), "30 40 0 10 20");
    EXPECT_EQ(PLC_driver.RetVar.address, 0);
}

TEST_F(JobEnds, AFailedGroupGoesToTheBackToo)
{
    cyclic({1, 1, 2});
    next();
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(column(PLC_driver.ReadVarList), "20 0 10");
    EXPECT_EQ(PLC_driver.RetVar.address, 0);
}

TEST_F(JobEnds, AGroupIsTurnedAsOftenAsItIsLongWhateverTheListHoldsByNow)
{
    cyclic({1, 1, 1});
    next();
    PLC_driver.ReadVarList.clear();
    cyclic({1, 1});
    answerWell();
    EXPECT_EQ(column(PLC_driver.ReadVarList), "10 0");
    next();
    PLC_driver.ReadVarList.clear();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
}

TEST_F(JobEnds, AnyGroupSizeInTheSettingsIsHarmless)
{
    const struct {
        int extra;
        const char *order;
    } rows[] = {{-1, "0 10"}, {-7, "0 10"}, {INT_MIN, "0 10"}, {6, "10 0"}, {100, "10 0"}, {INT_MAX, "0 10"}};
    for (const auto &row : rows) {
        reset();
        cyclic({1, 2});
        next();
        settings.groupExtra = row.extra;
        EXPECT_EQ(answerWell(), 1) << row.extra;
        EXPECT_EQ(column(PLC_driver.ReadVarList), row.order) << row.extra;
    }
}

TEST_F(JobEnds, AJobOfNoListChangesNoList)
{
    cyclic({1, 2});
    next();
    writes(1);
    onceReads(1);
    RW_VAR expected = distinctVariable(5, 1, 2, 3);
    for (int source : {100, 3, -1}) {
        SCOPED_TRACE(source);
        PLC_driver.CurrentSource = source;
        PLC_driver.RetVar = expected;
        PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
        EXPECT_EQ(answerWell(), 1);
        expected.result = 1;
        EXPECT_TRUE(sameVariable(PLC_driver.RetVar, expected));
        EXPECT_EQ(column(PLC_driver.ReadVarList), "0 10");
        EXPECT_EQ(PLC_driver.WriteVarList.size() + PLC_driver.OnceReadVarList.size(), 2);
    }
}

TEST_F(JobEnds, AQueueThatWasEmptiedMeanwhileIsNoReasonToFail)
{
    for (int source : {0, 1, 2}) {
        SCOPED_TRACE(source);
        reset();
        readInFlight();
        PLC_driver.ReadVarList.clear();
        PLC_driver.CurrentSource = source;
        EXPECT_EQ(answerWell(), 1);
    }
}

class Passes : public PollingTest
{
};

TEST_F(Passes, APassIsCompleteWhenMoreJobsWereDoneThanThereAreEntries)
{
    cyclic({1, 2});
    for (int job = 1; job <= 2; ++job) {
        SCOPED_TRACE(job);
        jobs(1);
        EXPECT_EQ(PLC_driver.CycleReadCount, job);
        EXPECT_EQ(settings.cycleDone, 0);
    }
    jobs(1);
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    EXPECT_EQ(settings.cycleDone, 1);
    jobs(3);
    EXPECT_EQ(PLC_driver.CycleReadCount, 0); // counted no more
    EXPECT_EQ(settings.cycleDone, 1);
}

TEST_F(Passes, WritesAndOneShotReadsCountTowardsThePassToo)
{
    cyclic({1, 2});
    writes(2);
    onceReads(1);
    jobs(2);
    EXPECT_EQ(PLC_driver.CycleReadCount, 2);
    jobs(1);
    EXPECT_EQ(settings.cycleDone, 1);
}

TEST_F(Passes, AGroupCountsAsOneJob)
{
    cyclic({1, 1, 1, 1});
    jobs(4);
    EXPECT_EQ(PLC_driver.CycleReadCount, 4);
    jobs(1);
    EXPECT_EQ(settings.cycleDone, 1);
}

TEST_F(Passes, AFailureStartsThePassAgain)
{
    cyclic({1, 2});
    jobs(2);
    next();
    noAnswer();
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    jobs(2);
    EXPECT_EQ(settings.cycleDone, 0);
    jobs(1);
    EXPECT_EQ(settings.cycleDone, 1);
    next();
    noAnswer();
    EXPECT_EQ(settings.cycleDone, 0);
}

TEST_F(Passes, ARebuiltListStartsThePassAgain)
{
    cyclic({1});
    jobs(2);
    EXPECT_EQ(settings.cycleDone, 1);
    QList<HOST_VAR> none;
    ReCreatReadVarList(&none);
    EXPECT_EQ(settings.cycleDone, 0);
}

} // namespace
