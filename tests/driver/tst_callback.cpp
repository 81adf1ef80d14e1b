// The host's callback: when a one-shot read ends, and what it may do.
#include "support/polling.h"

#include <functional>

namespace
{

std::vector<std::vector<int>> calls;
std::function<void()> duringCall;

void record(int handle, int hostType, int hostAddr, int status)
{
    calls.push_back({handle, hostType, hostAddr, status});
    if (duringCall)
        duringCall();
}

class Callback : public PollingTest
{
protected:
    using Calls = std::vector<std::vector<int>>;

    Callback()
    {
        calls.clear();
        duringCall = nullptr;
        RegistCallBackFuncIntf(record, 4711);
        settings.hostHandle = 99;
    }
    static void onceRead(int hostType, int hostAddr, int address = 0)
    {
        RW_VAR var = variable(2, address, 1);
        var.hostType = hostType;
        var.hostAddr = hostAddr;
        PLC_driver.OnceReadVarList.append(var);
    }
};

TEST_F(Callback, TellsOfAOneShotReadThatIsDone)
{
    onceRead(3, 88);
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(calls, (Calls{{99, 3, 88, 1}}));
}

TEST_F(Callback, TellsOfAOneShotReadThatFailed)
{
    settings.retryLimit = 1;
    onceRead(3, 88);
    next();
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(noAnswer(), 44); // hostType 3
    EXPECT_EQ(calls, (Calls{{99, 3, 88, 2}}));
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
}

TEST_F(Callback, AReadRepeatedWithSuccessIsDone)
{
    settings.retryLimit = 1;
    onceRead(3, 88);
    next();
    noAnswer();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_EQ(calls, (Calls{{99, 3, 88, 1}}));
}

TEST_F(Callback, WaitsForTheLastEntryOfOneHostVariable)
{
    onceRead(3, 88, 0);
    onceRead(4, 88, 8);
    onceRead(3, 88, 16);
    next();
    answerWell();
    EXPECT_TRUE(calls.empty());
    next();
    answerWell();
    next();
    answerWell();
    EXPECT_EQ(calls, (Calls{{99, 4, 88, 1}, {99, 3, 88, 1}}));
}

TEST_F(Callback, TypeAndNumberTellHostVariablesApart)
{
    onceRead(3, 88);
    onceRead(3, 89);
    onceRead(4, 88);
    next();
    answerWell();
    EXPECT_EQ(calls, (Calls{{99, 3, 88, 1}}));
}

TEST_F(Callback, IsNotMadeForAFailureWhileMoreEntriesOfTheVariableWait)
{
    onceRead(3, 88, 0);
    onceRead(3, 88, 8);
    next();
    EXPECT_EQ(noAnswer(), 44);
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
}

TEST_F(Callback, IsNotMadeForOtherJobs)
{
    writes(1);
    cyclic({1});
    jobs(2);
    next();
    noAnswer();
    EXPECT_TRUE(calls.empty());
}

TEST_F(Callback, IsNotMadeForARemoteReply)
{
    onceRead(3, 88);
    PLC_driver.OnceReadVarList[0].linkNo = 5;
    next();
    EXPECT_EQ(answerWell(), 100);
    EXPECT_TRUE(calls.empty());
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
    EXPECT_EQ(PLC_driver.RetVar.hostAddr, 88);
}

TEST_F(Callback, NeedsAnEntryAndAFunction)
{
    onceRead(3, 88);
    next();
    PLC_driver.OnceReadVarList.clear();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_TRUE(calls.empty());
    RegistCallBackFuncIntf(nullptr, 0);
    onceRead(3, 88);
    next();
    EXPECT_EQ(answerWell(), 1);
    EXPECT_TRUE(PLC_driver.OnceReadVarList.isEmpty());
}

TEST_F(Callback, RunsWithTheListLockHeldAndTheEntryStillThere)
{
    bool listFree = true;
    int waiting = 0;
    duringCall = [&] {
        listFree = PLC_driver.ListMutex.tryLock();
        waiting = int(PLC_driver.OnceReadVarList.size());
    };
    onceRead(3, 88);
    next();
    answerWell();
    EXPECT_FALSE(listFree);
    EXPECT_EQ(waiting, 1);
}

TEST_F(Callback, MayReadRegisters)
{
    QByteArray out;
    int result = 0;
    duringCall = [&] { result = GetRegisterData(0, 2, QString::fromLatin1("1"), 1, &out, 2); };
    onceRead(3, 88);
    next();
    answer(frames::sealed(bytes("01 FE 01 02 08 06")));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(hex(out), "01 01"); // what just arrived
}

} // namespace
