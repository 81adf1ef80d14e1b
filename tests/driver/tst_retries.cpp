// DataCom: failed requests are repeated, and in the end given up with what waits behind them.
#include "support/polling.h"

#include <climits>

namespace
{

class Retries : public PollingTest
{
protected:
    Retries() { settings.retryLimit = 2; }
};

TEST_F(Retries, TwoFailuresAreRepeatedTheThirdEndsTheJob)
{
    readInFlight();
    const Protocol *request = next();
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_EQ(settings.retryCount, 1);
    EXPECT_EQ(next(), request);
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_EQ(settings.retryCount, 2);
    EXPECT_EQ(next(), request);
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(settings.retryCount, 0);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
}

TEST_F(Retries, EveryKindOfFailureCounts)
{
    readInFlight();
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_EQ(answer(bytes("01 02")), 0);
    EXPECT_EQ(answer(QByteArray(9, 0)), 11);
}

TEST_F(Retries, ASuccessDoesNotForgetFailures)
{
    readInFlight();
    EXPECT_EQ(noAnswer(), 0);
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(settings.retryCount, 1);
    next();
    EXPECT_EQ(noAnswer(), 0);
    next();
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(settings.retryCount, 0);
}

TEST_F(Retries, AFailureToBeRepeatedTouchesNoListAndOnlyTheResult)
{
    cyclic({1, 2});
    writes(1);
    onceReads(1);
    next();
    RW_VAR expected = distinctVariable(5, 1, 2, 3);
    PLC_driver.RetVar = expected;
    PLC_driver.CycleReadCount = 2;
    settings.cycleDone = 1;
    EXPECT_EQ(noAnswer(), 0);
    expected.result = 0;
    EXPECT_TRUE(sameVariable(PLC_driver.RetVar, expected));
    EXPECT_EQ(PLC_driver.WriteVarList.size() + PLC_driver.OnceReadVarList.size(), 2);
    EXPECT_EQ(column(PLC_driver.ReadVarList), "0 10");
    EXPECT_EQ(PLC_driver.CommFailFlag, 1);
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    EXPECT_EQ(settings.cycleDone, 0);
    EXPECT_EQ(settings.frameDone, 0);
}

TEST_F(Retries, TheNextSuccessClearsTheFailure)
{
    readInFlight();
    noAnswer();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(PLC_driver.CommFailFlag, 0);
}

TEST_F(Retries, TheFailureIsOneForAllStations)
{
    settings.stationMode = 1;
    settings.retryLimit = 0;
    readInFlight();
    EXPECT_EQ(noAnswer(), 41);
    PLC_driver.WriteVarList.append(variable(5, 7, 1, 2, bytes("34 12")));
    EXPECT_NE(next(), nullptr);
    EXPECT_EQ(stored(), ""); // a write to station 2 does not reach the image, for station 1 was silent
    EXPECT_EQ(answerWell(), 1);
    PLC_driver.WriteVarList.append(variable(5, 7, 1, 2, bytes("34 12")));
    EXPECT_NE(next(), nullptr);
    EXPECT_EQ(stored(), "2/5@7 = 34 12\n");
}

TEST_F(Retries, WithoutExtraAttemptsTheFirstFailureEndsTheJob)
{
    for (int limit : {0, -1, INT_MIN}) {
        SCOPED_TRACE(limit);
        reset();
        settings.retryLimit = limit;
        readInFlight();
        EXPECT_EQ(noAnswer(), 41) << limit;
        EXPECT_EQ(settings.retryCount, 0);
    }
}

TEST_F(Retries, AllFramesOfAFailedJobAreDropped)
{
    settings.retryLimit = 0;
    readInFlight();
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
}

TEST_F(Retries, CountersAtTheEndOfTheNumbersAreNoReasonToFail)
{
    readInFlight();
    settings.retryLimit = INT_MAX;
    settings.retryCount = INT_MAX;
    noAnswer();
    readInFlight();
    settings.frameDone = INT_MAX;
    answerWell();
    readInFlight();
    PLC_driver.CycleReadCount = INT_MAX;
    answerWell();
    SUCCEED();
}

class Frames : public PollingTest
{
};

TEST_F(Frames, AJobOfSeveralFramesStaysOpenUntilTheLast)
{
    cyclic({1, 2});
    next();
    settings.frameTotal = 3;
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    RW_VAR expected = distinctVariable(5, 1, 2, 3);
    PLC_driver.RetVar = expected;
    expected.result = 1;
    for (int done = 1; done <= 2; ++done) {
        SCOPED_TRACE(done);
        EXPECT_EQ(answerWell(), 1);
        EXPECT_EQ(settings.frameDone, done);
        EXPECT_EQ(PLC_driver.ProtocolList.size(), 3 - done);
        EXPECT_EQ(column(PLC_driver.ReadVarList), "0 10");
        EXPECT_EQ(PLC_driver.CycleReadCount, 0);
        EXPECT_TRUE(sameVariable(PLC_driver.RetVar, expected));
        EXPECT_EQ(next(), &PLC_driver.ProtocolList.first());
    }
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(column(PLC_driver.ReadVarList), "10 0");
    EXPECT_EQ(PLC_driver.CycleReadCount, 1);
    EXPECT_EQ(PLC_driver.RetVar.address, 0);
}

TEST_F(Frames, AFailureInTheMiddleOfAJobDropsItsOtherFrames)
{
    writes(1);
    next();
    settings.frameTotal = 3;
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    PLC_driver.ProtocolList.append(PLC_driver.ProtocolList.first());
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 1);
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
}

class Purge : public PollingTest
{
protected:
    static void fill()
    {
        for (int station : {1, 2, 1, 3}) {
            PLC_driver.WriteVarList.append(variable(5, station, 1, station, bytes("34 12")));
            PLC_driver.OnceReadVarList.append(variable(5, station, 1, station));
        }
        cyclic({1, 2});
    }
    static std::string queues()
    {
        return column(PLC_driver.WriteVarList, &RW_VAR::station) + " / " +
               column(PLC_driver.OnceReadVarList, &RW_VAR::station);
    }
};

TEST_F(Purge, WithTheFixedImageBothQueuesAreEmptied)
{
    fill();
    next();
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(queues(), " / ");
    EXPECT_EQ(column(PLC_driver.ReadVarList), "0 10");
}

TEST_F(Purge, WithPerStationStorageTheFailedStationAloneLosesItsEntries)
{
    settings.stationMode = 1;
    fill();
    next();
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(PLC_driver.RetVar.station, 1);
    EXPECT_EQ(queues(), "2 3 / 2 3");
    EXPECT_EQ(column(PLC_driver.ReadVarList, &RW_VAR::station), "1 2");
}

TEST_F(Purge, AFailedOneShotReadPurgesItsStation)
{
    settings.stationMode = 1;
    fill();
    PLC_driver.OnceReadVarList.removeFirst(); // station 2 comes first
    PLC_driver.WriteTimes = 5;
    next();
    EXPECT_EQ(PLC_driver.CurrentSource, 2);
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(queues(), "1 1 3 / 1 3");
}

TEST_F(Purge, AFailedCyclicReadPurgesItsStation)
{
    settings.stationMode = 1;
    fill();
    PLC_driver.ReadVarList.removeFirst(); // station 2 comes first
    PLC_driver.WriteTimes = PLC_driver.OnceReadTimes = 5;
    next();
    EXPECT_EQ(PLC_driver.CurrentSource, 0);
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(queues(), "1 1 3 / 1 1 3");
}

TEST_F(Purge, TheStationIsThatOfTheStatusBlock)
{
    settings.stationMode = 1;
    fill();
    next();
    PLC_driver.CurrentSource = 100; // no list, so the status block keeps its variable
    PLC_driver.RetVar.station = 3;
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_EQ(queues(), "1 2 1 / 1 2 1");
}

TEST_F(Purge, AFailureToBeRepeatedPurgesNothing)
{
    settings.retryLimit = 1;
    fill();
    next();
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_EQ(queues(), "1 2 1 3 / 1 2 1 3");
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(queues(), "2 1 3 / 1 2 1 3");
}

} // namespace
