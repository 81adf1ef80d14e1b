// ComCommunication: which job is next.
#include "support/polling.h"

#include <climits>

namespace
{

class Scheduler : public PollingTest
{
protected:
    /// Number of variables in the read request at the head.
    static int groupSize() { return head().frame.size() > 2 ? head().frame.at(2) : 0; }
};

TEST_F(Scheduler, WithNothingToDoReturnsNullAndAPassIsComplete)
{
    PLC_driver.WriteTimes = 3;
    PLC_driver.OnceReadTimes = 4;
    EXPECT_EQ(next(), nullptr);
    EXPECT_EQ(settings.cycleDone, 1);
    EXPECT_EQ(PLC_driver.WriteTimes, 0);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 0);
    EXPECT_EQ(PLC_driver.CurrentSource, 100);
}

TEST_F(Scheduler, ReturnsTheHeadOfTheBuiltRequests)
{
    cyclic({1});
    const Protocol *request = next();
    ASSERT_EQ(PLC_driver.ProtocolList.size(), 1);
    EXPECT_EQ(request, &PLC_driver.ProtocolList.first());
    EXPECT_EQ(hex(request->frame.left(7)), "01 FE 01 08 01 00 00");
    EXPECT_EQ(request->frameLen, 9);
}

TEST_F(Scheduler, AWaitingRequestIsReturnedAgainAndNoCounterMoves)
{
    cyclic({1, 2});
    const Protocol *request = next();
    PLC_driver.WriteTimes = 2;
    PLC_driver.OnceReadTimes = 3;
    PLC_driver.CurrentSource = 77;
    writes(1);
    onceReads(1);
    const COMINFO before = settings;
    EXPECT_EQ(next(), request);
    EXPECT_EQ(next(), request);
    EXPECT_EQ(PLC_driver.ProtocolList.size(), 1);
    EXPECT_EQ(PLC_driver.WriteTimes, 2);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 3);
    EXPECT_EQ(PLC_driver.CurrentSource, 77);
    EXPECT_EQ(changedWords(before, settings), std::vector<int>());
}

TEST_F(Scheduler, AWaitingRequestIsReturnedWithoutTheLock)
{
    cyclic({1});
    const Protocol *request = next();
    PLC_driver.ListMutex.lock(); // taking it again would wait for ever
    EXPECT_EQ(ComCommunication(), request);
    PLC_driver.ListMutex.unlock();
}

TEST_F(Scheduler, ALaterFrameOfAJobIsTheHeadOnceTheFirstIsGone)
{
    cyclic({1});
    next();
    Protocol second;
    second.frame = bytes("77");
    PLC_driver.ProtocolList.append(second);
    PLC_driver.ProtocolList.removeFirst();
    EXPECT_EQ(hex(next()->frame), "77");
}

TEST_F(Scheduler, SixNeighboursOfOneStationAreOneGroup)
{
    cyclic({3, 3, 3, 3, 3, 3, 3});
    next();
    EXPECT_EQ(settings.groupExtra, 5);
    EXPECT_EQ(groupSize(), 6);
    EXPECT_EQ(head().frameLen, 29);
    EXPECT_EQ(column(CurrentRWVar), "0 10 20 30 40 50");
}

TEST_F(Scheduler, EveryGroupSizeHasItsRequest)
{
    for (int size = 1; size <= 6; ++size) {
        SCOPED_TRACE(size);
        reset();
        for (int i = 0; i < size; ++i)
            cyclic({3});
        next();
        EXPECT_EQ(settings.groupExtra, size - 1);
        EXPECT_EQ(groupSize(), size);
        EXPECT_EQ(head().frameLen, 4 * size + 5);
        EXPECT_EQ(CurrentRWVar.size(), size);
    }
}

TEST_F(Scheduler, AnotherStationEndsTheGroupEvenIfTheFirstOneComesAgain)
{
    cyclic({3, 3, 4, 3});
    next();
    EXPECT_EQ(settings.groupExtra, 1);
    EXPECT_EQ(column(CurrentRWVar), "0 10");
}

TEST_F(Scheduler, AGroupMayMixAreas)
{
    PLC_driver.ReadVarList.append(variable(5, 100, 4));
    PLC_driver.ReadVarList.append(variable(1, 16, 2));
    EXPECT_EQ(hex(next()->frame), "01 FE 02 08 04 64 00 01 10 10 00 3E F5");
    EXPECT_EQ(head().replyLen, 19);
}

TEST_F(Scheduler, AGroupDoesNotReachAroundTheEndOfTheList)
{
    cyclic({3, 4, 3});
    next();
    EXPECT_EQ(settings.groupExtra, 0);
    answerWell();
    next();
    EXPECT_EQ(column(CurrentRWVar), "10");
    answerWell();
    next(); // 3, 3, 4 by now
    EXPECT_EQ(column(CurrentRWVar), "20 0");
}

TEST_F(Scheduler, TheListIsServedRoundAndRound)
{
    cyclic({1, 1, 1, 1, 1, 1, 1, 1});
    std::vector<std::string> served;
    for (int i = 0; i < 4; ++i) {
        next();
        served.push_back(column(CurrentRWVar));
        answerWell();
    }
    EXPECT_EQ(served, (std::vector<std::string>{"0 10 20 30 40 50", "60 70 0 10 20 30", "40 50 60 70 0 10",
                                                "20 30 40 50 60 70"}));
}

TEST_F(Scheduler, AnEntryStaysInItsListWhileItIsServed)
{
    writes(1);
    next();
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 1);
    answerWell();
    onceReads(1);
    next();
    EXPECT_EQ(PLC_driver.OnceReadVarList.size(), 1);
    answerWell();
    cyclic({1, 2});
    next();
    EXPECT_EQ(column(PLC_driver.ReadVarList), "0 10");
}

TEST_F(Scheduler, TheSourceOfTheJobIsKept)
{
    writes(1);
    onceReads(1);
    cyclic({1});
    for (int source : {1, 2, 0}) {
        SCOPED_TRACE(source);
        next();
        EXPECT_EQ(PLC_driver.CurrentSource, source);
        answerWell();
    }
}

TEST_F(Scheduler, EachKindOfJobHasItsBuilder)
{
    PLC_driver.WriteVarList.append(variable(5, 0x0102, 2, 3, bytes("34 12 78 56")));
    PLC_driver.OnceReadVarList.append(variable(5, 0x0102, 10, 3));
    cyclic({3});
    EXPECT_EQ(hex(next()->frame.left(11)), "03 FF 01 08 02 02 01 12 34 56 78");
    answerWell();
    EXPECT_EQ(hex(next()->frame), "03 FE 01 08 0A 02 01 E2 DC");
    EXPECT_EQ(head().dataStart, 5); // that of a single read
    answerWell();
    EXPECT_EQ(hex(next()->frame.left(7)), "03 FE 01 08 01 00 00");
    EXPECT_EQ(head().dataStart, 0); // that of a grouped read
}

TEST_F(Scheduler, AOneShotReadIsAGroupOfOne)
{
    cyclic({1, 1, 1});
    next();
    answerWell();
    EXPECT_EQ(settings.groupExtra, 2);
    onceReads(1);
    next();
    EXPECT_EQ(settings.groupExtra, 0);
}

TEST_F(Scheduler, AWriteLeavesTheGroupSizeAsItWas)
{
    settings.groupExtra = 4;
    writes(1);
    next();
    EXPECT_EQ(settings.groupExtra, 4);
}

TEST_F(Scheduler, AWriteReachesTheImageWhenItIsBuilt)
{
    writes(1);
    next();
    EXPECT_EQ(PLC_driver.usArea5[1000], 0x1234);
}

TEST_F(Scheduler, WhileTheLinkIsDownAWriteDoesNotReachTheImage)
{
    PLC_driver.CommFailFlag = 1;
    writes(1);
    EXPECT_NE(next(), nullptr);
    EXPECT_EQ(PLC_driver.usArea5[1000], 0);
}

// A host that keeps copies of the list shares its records; the request in flight stays where it is all the same.
TEST_F(Scheduler, ACopyOfTheListDoesNotMoveTheRequest)
{
    settings.retryLimit = 3;
    cyclic({1});
    const Protocol *const request = next();
    const QList<Protocol> copy = PLC_driver.ProtocolList;
    EXPECT_EQ(next(), request);
    QByteArray none;
    EXPECT_EQ(DataCom(&none, 0)->result, 0);
    const QList<Protocol> another = PLC_driver.ProtocolList;
    EXPECT_EQ(next(), request);
    EXPECT_EQ(&copy.at(0), request);
    EXPECT_EQ(&another.at(0), request);
}

// The builder works on the record in the queue, not on a copy.
TEST_F(Scheduler, AOneShotReadOfDoubleWordsHalvesItsLengthInTheQueue)
{
    PLC_driver.OnceReadVarList.append(variable(10, 7, 4));
    next();
    EXPECT_EQ(PLC_driver.OnceReadVarList.at(0).length, 2);
    next();
    EXPECT_EQ(PLC_driver.OnceReadVarList.at(0).length, 2);
    EXPECT_EQ(head().var.length, 2);
}

TEST_F(Scheduler, ACyclicReadDoesNotCompleteAPassByItself)
{
    cyclic({1});
    next();
    EXPECT_EQ(settings.cycleDone, 0);
}

TEST_F(Scheduler, AWriteThatNothingIsBuiltForBlocksThoseBehindIt)
{
    PLC_driver.WriteVarList.append(variable(8, 7, 1, 1, bytes("34 12")));
    writes(1);
    cyclic({1});
    for (int i = 1; i <= 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(next(), nullptr);
        EXPECT_EQ(PLC_driver.WriteTimes, i);
        EXPECT_EQ(PLC_driver.CurrentSource, 1);
        EXPECT_EQ(column(PLC_driver.WriteVarList), "7 1000");
    }
    EXPECT_EQ(PLC_driver.usArea8[7], 0x1234);
    EXPECT_EQ(jobs(7), "c-----c");
    EXPECT_EQ(column(PLC_driver.WriteVarList), "7 1000");
}

TEST_F(Scheduler, AOneShotReadThatNothingIsBuiltForIsCountedAndStays)
{
    settings.groupExtra = 3;
    PLC_driver.OnceReadVarList.append(variable(14, 7, 1));
    onceReads(1);
    for (int i = 1; i <= 5; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(next(), nullptr);
        EXPECT_EQ(PLC_driver.OnceReadTimes, i);
        EXPECT_EQ(PLC_driver.CurrentSource, 2);
        EXPECT_EQ(settings.groupExtra, 0);
    }
    EXPECT_EQ(next(), nullptr);
    EXPECT_EQ(PLC_driver.OnceReadTimes, 0);
    EXPECT_EQ(PLC_driver.OnceReadVarList.size(), 2);
}

TEST_F(Scheduler, AnUnknownAreaInTheCyclicListIsSentWithoutData)
{
    PLC_driver.ReadVarList.append(variable(14, 7, 5));
    EXPECT_EQ(hex(next()->frame.left(7)), "01 FE 01 00 00 07 00");
    EXPECT_EQ(head().replyLen, 7);
}

TEST_F(Scheduler, AFrameThatTheHostKeepsStaysAsItWas)
{
    cyclic({1, 2});
    const QByteArray kept = next()->frame;
    const std::string was = hex(kept);
    answerWell();
    EXPECT_NE(hex(next()->frame), was);
    EXPECT_EQ(hex(kept), was);
}

TEST_F(Scheduler, EveryBuilderMakesAJobOfOneFrame)
{
    writes(1);
    onceReads(1);
    cyclic({1});
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        settings.frameTotal = settings.frameDone = 9;
        next();
        EXPECT_EQ(settings.frameTotal, 1);
        EXPECT_EQ(settings.frameDone, 0);
        answerWell();
    }
}

class RemoteScheduler : public Scheduler
{
protected:
    RemoteScheduler() { settings.remoteMode = 1; }
};

TEST_F(RemoteScheduler, CyclicEntriesAreServedOneByOne)
{
    cyclic({3, 3, 3});
    for (int address : {0, 10, 20, 0}) {
        SCOPED_TRACE(address);
        settings.groupExtra = 5;
        ASSERT_NE(next(), nullptr);
        EXPECT_EQ(settings.groupExtra, 0);
        EXPECT_EQ(head().var.address, address);
        EXPECT_EQ(head().frameLen, 22);
        EXPECT_EQ(answerWell(), 1);
    }
}

TEST_F(RemoteScheduler, EveryJobIsBuiltForTheRemotePath)
{
    writes(1);
    onceReads(1);
    cyclic({1});
    EXPECT_EQ(hex(next()->frame.left(11)), "18 00 00 00 01 00 05 00 00 03 E8");
    EXPECT_EQ(PLC_driver.CurrentSource, 1);
    answerWell();
    EXPECT_EQ(hex(next()->frame.left(11)), "16 00 00 00 01 00 02 00 00 00 00");
    EXPECT_EQ(PLC_driver.CurrentSource, 2);
    answerWell();
    EXPECT_EQ(hex(next()->frame.left(11)), "16 00 00 00 01 00 05 00 00 00 00");
    EXPECT_EQ(PLC_driver.CurrentSource, 0);
}

TEST_F(RemoteScheduler, AnyValueButZeroIsRemote)
{
    for (int mode : {-1, 2, INT_MIN}) {
        SCOPED_TRACE(mode);
        reset();
        settings.remoteMode = mode;
        cyclic({1});
        EXPECT_EQ(next()->frameLen, 22);
    }
}

TEST_F(RemoteScheduler, TheOrderOfTheJobsIsTheSame)
{
    writes(7);
    onceReads(7);
    cyclic({1});
    EXPECT_EQ(jobs(17), "wwwwwooooocwwoocc");
}

class UnsetScheduler : public Scheduler
{
protected:
    UnsetScheduler() { PLC_driver.settings = nullptr; }
};

TEST_F(UnsetScheduler, HasNothingToDo)
{
    EXPECT_EQ(next(), nullptr);
}

TEST_F(UnsetScheduler, ServesTheListsAsIfEverySettingWereZero)
{
    writes(1);
    onceReads(1);
    cyclic({1, 1});
    EXPECT_NE(next(), nullptr);
    PLC_driver.ProtocolList.clear();
    PLC_driver.WriteVarList.clear();
    EXPECT_NE(next(), nullptr);
    PLC_driver.ProtocolList.clear();
    PLC_driver.OnceReadVarList.clear();
    EXPECT_EQ(next()->frameLen, 13);
}

} // namespace
