// The driver object: as it is after loading, and the small start-up calls.
#include "support/fake_controller.h"
#include "support/fixture.h"

#include <climits>

namespace
{

/// What the object held before the first test, even before main(): the library is loaded by then.
struct Fresh {
    COMINFO *settings = PLC_driver.settings;
    QList<RW_VAR> readVars = PLC_driver.ReadVarList, writeVars = PLC_driver.WriteVarList;
    QList<RW_VAR> onceVars = PLC_driver.OnceReadVarList, spareVars = PLC_driver.SpareVarList;
    QList<RW_VAR> currentVars = CurrentRWVar;
    QList<Protocol> protocols = PLC_driver.ProtocolList;
    QList<EXTENDVAR> extendVars = PLC_driver.ExtendVarList;
    void (*callBack)(int, int, int, int) = PLC_driver.CallBackFunc;
    int callBackContext = PLC_driver.CallBackContext;
    RW_VAR retVar = PLC_driver.RetVar;
    int currentSource = PLC_driver.CurrentSource, writeTimes = PLC_driver.WriteTimes;
    int onceReadTimes = PLC_driver.OnceReadTimes, cycleReadCount = PLC_driver.CycleReadCount;
    int commFailFlag = PLC_driver.CommFailFlag, spareFlag = PLC_driver.spareFlag;
    bool listMutexFree = isFree(PLC_driver.ListMutex), imageMutexFree = isFree(PLC_driver.ImageMutex);
    QByteArray image = wholeImage();
    int globals = iTimes | lengthsAndStarts();
    bool hostMemory = LB || LW || RWI;

    static bool isFree(QMutex &mutex)
    {
        if (!mutex.tryLock())
            return false;
        const bool recursive = mutex.tryLock();
        if (recursive)
            mutex.unlock();
        mutex.unlock();
        return !recursive;
    }

    static int lengthsAndStarts()
    {
        int any = 0;
        for (int i = 0; i < 6; ++i)
            any |= iRet_ValidLen[i] | iRet_ValidStar[i];
        return any;
    }
};

const Fresh fresh;

class FreshDriver : public ::testing::Test
{
};

TEST_F(FreshDriver, HasNoSettingsAndNoCallback)
{
    EXPECT_EQ(fresh.settings, nullptr);
    EXPECT_EQ(fresh.callBack, nullptr);
    EXPECT_EQ(fresh.callBackContext, 0);
    EXPECT_FALSE(fresh.hostMemory);
}

TEST_F(FreshDriver, HasOnlyEmptyLists)
{
    EXPECT_EQ(fresh.readVars.size() + fresh.writeVars.size() + fresh.onceVars.size() + fresh.spareVars.size(), 0);
    EXPECT_EQ(fresh.protocols.size() + fresh.extendVars.size() + fresh.currentVars.size(), 0);
}

TEST_F(FreshDriver, HasServedNothing)
{
    EXPECT_EQ(fresh.currentSource, 100);
    EXPECT_EQ(fresh.writeTimes, 0);
    EXPECT_EQ(fresh.onceReadTimes, 0);
    EXPECT_EQ(fresh.cycleReadCount, 0);
    EXPECT_EQ(fresh.commFailFlag, 0);
    EXPECT_EQ(fresh.spareFlag, 0);
    EXPECT_EQ(fresh.globals, 0);
}

TEST_F(FreshDriver, ReportsSuccessAndNoVariable)
{
    RW_VAR expected;
    expected.result = 1;
    EXPECT_TRUE(sameVariable(fresh.retVar, expected));
}

TEST_F(FreshDriver, HasTwoFreeLocksThatAreNotRecursive)
{
    EXPECT_TRUE(fresh.listMutexFree);
    EXPECT_TRUE(fresh.imageMutexFree);
}

TEST_F(FreshDriver, HasAnImageOfZeros)
{
    EXPECT_EQ(fresh.image.size(), 2664 + 2 * 11040 + 4 * 256);
    EXPECT_EQ(fresh.image.count('\0'), fresh.image.size());
}

/// Memory that is not zero, for an object to begin in.
template <typename Object>
struct Dirty {
    alignas(Object) unsigned char bytes[sizeof(Object)];
    Object *object;

    Dirty() : object((std::memset(bytes, 0xA5, sizeof bytes), new (bytes) Object)) {}
    ~Dirty() { object->~Object(); }
};

/// The areas of the object that hold something.
std::vector<int> nonZeroAreas(const Tarn_FGsSeries &object)
{
    std::vector<int> areas;
    for (const AreaBuffer &buffer : areaBuffers()) {
        const auto start = reinterpret_cast<const char *>(&object) +
                           (static_cast<const char *>(buffer.start) - reinterpret_cast<const char *>(&PLC_driver));
        if (std::any_of(start, start + buffer.size(), [](char byte) { return byte != 0; }))
            areas.push_back(buffer.areaType);
    }
    return areas;
}

TEST_F(FreshDriver, MayStandBesideOthersThatBeginTheSame)
{
    const Dirty<Tarn_FGsSeries> dirty;
    Tarn_FGsSeries &own = *dirty.object;
    RW_VAR expected;
    expected.result = 1;
    EXPECT_TRUE(sameVariable(own.RetVar, expected));
    EXPECT_EQ(own.settings, nullptr);
    EXPECT_EQ(own.CallBackFunc, nullptr);
    EXPECT_EQ(own.CallBackContext | own.WriteTimes | own.OnceReadTimes | own.CycleReadCount, 0);
    EXPECT_EQ(own.CommFailFlag | own.spareFlag, 0);
    EXPECT_EQ(own.CurrentSource, 100);
    EXPECT_EQ(own.ReadVarList.size() + own.WriteVarList.size() + own.OnceReadVarList.size(), 0);
    EXPECT_EQ(own.SpareVarList.size() + own.ProtocolList.size() + own.ExtendVarList.size(), 0);
    EXPECT_TRUE(Fresh::isFree(own.ListMutex));
    EXPECT_TRUE(Fresh::isFree(own.ImageMutex));
    EXPECT_EQ(nonZeroAreas(own), std::vector<int>());
}

class State : public DriverTest
{
protected:
    static constexpr int pattern = 0x5EED0000;

    /// Fills the record so that every word tells its own place.
    static void mark(COMINFO &info)
    {
        int words[20];
        for (int i = 0; i < 20; ++i)
            words[i] = pattern + i;
        std::memcpy(&info, words, sizeof info);
    }
};

TEST_F(State, SetComInfoKeepsTheAddressAndClearsWords10And13Alone)
{
    COMINFO before, info;
    mark(before);
    mark(info);
    SetComInfo(&info);
    EXPECT_EQ(PLC_driver.settings, &info);
    EXPECT_EQ(changedWords(before, info), (std::vector<int>{10, 13}));
    EXPECT_EQ(info.status10, 0);
    EXPECT_EQ(info.status13, 0);
}

TEST_F(State, SetComInfoTakesAnotherRecordAndNull)
{
    COMINFO first = COMINFO(), second = COMINFO();
    SetComInfo(&first);
    SetComInfo(&second);
    EXPECT_EQ(PLC_driver.settings, &second);
    SetComInfo(nullptr);
    EXPECT_EQ(PLC_driver.settings, nullptr);
}

TEST_F(State, SetComInfoResetsNothingElse)
{
    PLC_driver.ReadVarList.append(variable(5, 1, 1));
    PLC_driver.CurrentSource = 2;
    PLC_driver.CycleReadCount = 7;
    COMINFO info = COMINFO();
    SetComInfo(&info);
    EXPECT_EQ(PLC_driver.ReadVarList.size(), 1);
    EXPECT_EQ(PLC_driver.CurrentSource, 2);
    EXPECT_EQ(PLC_driver.CycleReadCount, 7);
}

/// Everything that a host can ask for, in both storage schemes: polling, writing, failing, rebuilding.
class Session : public State
{
protected:
    void run(COMINFO &info)
    {
        SetComInfo(&info);
        QList<HOST_VAR> vars;
        for (int type = 0; type < 14; ++type) {
            HOST_VAR var;
            var.areaType = static_cast<unsigned char>(type);
            var.station = 1;
            var.address = QString::fromLatin1("10");
            var.length = 4;
            vars.append(var);
        }
        ReCreatReadVarList(&vars);
        ask();
        for (int i = 0; i < 20; ++i)
            poll(i % 5 != 4);
        ReCreatReadVarList(&vars);
        poll(true);
    }

private:
    static void ask()
    {
        QByteArray values = bytes("01 01 01 01"), out;
        for (int type = 0; type < 14; ++type) {
            SetRegisterData(QString(), type, QString::fromLatin1("10"), 1, &values, 2, 1, 2);
            GetRegisterData(0, type, QString::fromLatin1("10"), 1, &out, 2);
        }
        RW_VAR once = variable(1, 0, 4);
        AddListOnceReadVar(&once, 0);
    }

    void poll(bool answered)
    {
        const Protocol *request = ComCommunication();
        QByteArray reply = request && answered ? controller.answer(request->frame) : QByteArray();
        DataCom(&reply, int(reply.size()));
    }

    FakeController controller;
};

TEST_F(Session, LeavesTheHostsWordsAlone)
{
    const std::vector<int> driversWords = {8, 10, 11, 12, 13, 17, 19};
    for (int stationMode : {0, 1})
        for (int remoteMode : {0, 1})
            for (int writeMode : {0, 2}) {
                reset();
                COMINFO before, info;
                mark(before);
                before.blockWords = 32;
                before.defaultStation = 1;
                before.retryLimit = 1;
                before.retryCount = before.frameTotal = before.frameDone = before.cycleDone = before.groupExtra = 0;
                before.stationMode = stationMode;
                before.remoteMode = remoteMode;
                before.writeMode = writeMode;
                info = before;
                run(info);
                for (int word : changedWords(before, info))
                    EXPECT_TRUE(std::count(driversWords.begin(), driversWords.end(), word)) << word;
            }
}

void someCallback(int, int, int, int) {}

TEST_F(State, RegistCallBackFuncIntfKeepsBoth)
{
    RegistCallBackFuncIntf(someCallback, 4711);
    EXPECT_EQ(PLC_driver.CallBackFunc, someCallback);
    EXPECT_EQ(PLC_driver.CallBackContext, 4711);
    RegistCallBackFuncIntf(nullptr, INT_MIN);
    EXPECT_EQ(PLC_driver.CallBackFunc, nullptr);
    EXPECT_EQ(PLC_driver.CallBackContext, INT_MIN);
}

TEST_F(State, FlashLocalRegisterKeepsThreePointersAndReturns452)
{
    int lb = 1, lw = 2, rwi = 3;
    EXPECT_EQ(FlashLocalRegister(&lb, &lw, &rwi), 452);
    EXPECT_EQ(LB, &lb);
    EXPECT_EQ(LW, &lw);
    EXPECT_EQ(RWI, &rwi);
    EXPECT_EQ(FlashLocalRegister(nullptr, nullptr, nullptr), 452);
    EXPECT_EQ(LB, nullptr);
    EXPECT_EQ(LW, nullptr);
    EXPECT_EQ(RWI, nullptr);
}

TEST_F(Session, LeavesTheHostsMemoryAlone)
{
    QByteArray lb(3000, '\x5A'), lw = lb, rwi = lb;
    const QByteArray before(3000, '\x5A');
    FlashLocalRegister(lb.data(), lw.data(), rwi.data());
    COMINFO info = COMINFO();
    info.blockWords = 32;
    info.defaultStation = 1;
    run(info);
    EXPECT_EQ(lb, before);
    EXPECT_EQ(lw, before);
    EXPECT_EQ(rwi, before);
}

TEST_F(State, QueryFinishFlagIsAlwaysOne)
{
    EXPECT_EQ(QueryFinishFlag(), 1);
    PLC_driver.settings = nullptr;
    PLC_driver.CommFailFlag = 1;
    EXPECT_EQ(QueryFinishFlag(), 1);
}

TEST_F(State, AddListReadVarAppendsACopyWithoutAnyCheck)
{
    RW_VAR var = distinctVariable(200, -7, 0, 3);
    EXPECT_EQ(AddListReadVar(&var), 1);
    EXPECT_EQ(AddListReadVar(&var), 2);
    var.address = 99;
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(0), distinctVariable(200, -7, 0, 3)));
    EXPECT_TRUE(sameVariable(PLC_driver.ReadVarList.at(1), distinctVariable(200, -7, 0, 3)));
}

TEST_F(State, AddListReadVarTakesNoLock)
{
    RW_VAR var = variable(5, 1, 1);
    PLC_driver.ListMutex.lock(); // taking it again would wait for ever
    PLC_driver.ImageMutex.lock();
    EXPECT_EQ(AddListReadVar(&var), 1);
    PLC_driver.ImageMutex.unlock();
    PLC_driver.ListMutex.unlock();
}

TEST_F(State, AddListReadVarOfNullAddsNothing)
{
    AddListReadVar(nullptr);
    EXPECT_TRUE(PLC_driver.ReadVarList.isEmpty());
}

TEST_F(State, CopiesOfAVariableHaveAllFifteenFields)
{
    const RW_VAR var = distinctVariable(5, 1, 2, 3);
    const RW_VAR copy = var;
    EXPECT_TRUE(sameVariable(copy, distinctVariable(5, 1, 2, 3)));
}

} // namespace
