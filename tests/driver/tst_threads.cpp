// Host threads beside the polling thread: nobody sees a reply half stored, nothing is lost, and every call waits
// for the locks that it needs and for no other.
#include "support/fake_controller.h"
#include "support/polling.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#ifdef __SANITIZE_THREAD__
#include <sanitizer/tsan_interface.h>
#define TELL_TSAN(call) __tsan_##call

// Qt's strings count their owners atomically, but inside Qt's own library, where the sanitizer sees nothing of it
// but the release of the memory by the last owner.
extern "C" const char *__tsan_default_suppressions()
{
    return "race:^QString::operator=(QString const&)$\n";
}
#else
#define TELL_TSAN(call) static_cast<void>(0)
#endif

namespace
{

// Qt's mutex is a stranger to the thread sanitizer, so it is told what this file locks itself.

bool tryHold(QMutex &mutex)
{
    const bool held = mutex.tryLock();
    if (held)
        TELL_TSAN(acquire(&mutex));
    return held;
}

void hold(QMutex &mutex)
{
    mutex.lock();
    TELL_TSAN(acquire(&mutex));
}

void release(QMutex &mutex)
{
    TELL_TSAN(release(&mutex));
    mutex.unlock();
}

constexpr int hostThreads = 4;
constexpr int rounds = 2000; ///< of each host thread, at least
constexpr int firstWord = 100;
constexpr int blockWords = 32;
constexpr int words = 6 * blockWords;

std::atomic<int> callbacks;

void countCallback(int, int, int, int)
{
    ++callbacks;
}

/// One polling thread with a controller in memory, whose words all carry the number of the reply that brought them.
class Poller
{
public:
    /// Polls until told to stop, until there were several replies, and until nothing is left to write or to read
    /// once.
    void run()
    {
        while (!stop || generation < 2 || jobsWait())
            step();
    }

    std::atomic<bool> stop{false};
    std::atomic<unsigned> generation{0};
    std::atomic<int> failures{0};
    FakeController controller;

private:
    static bool jobsWait()
    {
        hold(PLC_driver.ListMutex);
        const bool wait = !PLC_driver.WriteVarList.isEmpty() || !PLC_driver.OnceReadVarList.isEmpty();
        release(PLC_driver.ListMutex);
        return wait;
    }

    void step()
    {
        const Protocol *request = ComCommunication();
        if (!request)
            return;
        if (frames::byteAt(request->frame, 1) == 0xFE && frames::byteAt(request->frame, 3) == 0x08)
            nextGeneration();
        QByteArray reply = controller.answer(request->frame);
        failures += DataCom(&reply, int(reply.size()))->result != 1;
    }

    void nextGeneration()
    {
        const unsigned value = ++generation & 0xFFFF;
        for (int i = 0; i < words; ++i)
            controller.at(1, 0x08, firstWord + i) = value;
    }
};

/// A thread of the host: reads, writes and rebuilds, over and over.
class Host
{
public:
    explicit Host(int own) : number(own) {}

    void run()
    {
        for (int i = 0; i < rounds || !seen; ++i)
            act((i + number) % 6, i);
    }

    /// The values that this thread wrote last, for places of its own.
    unsigned lastSet = 0, lastAdded = 0;
    int halfStored = 0, seen = 0, refused = 0;

private:
    void act(int what, int round)
    {
        switch (what) {
        case 0:
            return rebuild();
        case 1:
            return set(unsigned(round) & 0xFFFF);
        case 2:
            return add(unsigned(round) & 0xFFFF);
        case 3:
            return readOnce(round);
        default:
            return read();
        }
    }

    static void rebuild()
    {
        QList<HOST_VAR> vars;
        for (int i = 0; i < 6; ++i) {
            HOST_VAR var;
            var.areaType = 5;
            var.station = 1;
            var.address = QString::number(firstWord + i * blockWords);
            var.length = blockWords;
            vars.append(var);
        }
        ReCreatReadVarList(&vars);
    }

    static QByteArray littleEndian(unsigned value)
    {
        QByteArray word;
        frames::put16LowFirst(word, value);
        return word;
    }

    void set(unsigned value)
    {
        lastSet = value;
        QByteArray values = littleEndian(value);
        refused +=
            SetRegisterData(QString::fromLatin1("set"), 7, QString::number(number), 1, &values, 1, 0, number) < 1;
    }

    void add(unsigned value)
    {
        lastAdded = value;
        RW_VAR var = variable(9, number, 1, 1, littleEndian(value));
        refused += AddListWriteVar(&var, 0) < 1;
    }

    void readOnce(int round)
    {
        RW_VAR var = variable(2, 0, 16);
        var.addressText = QString::number(8 * (round % 20));
        var.hostAddr = number;
        refused += AddListOnceReadVar(&var, 0) < 1;
    }

    void read()
    {
        QByteArray out;
        GetRegisterData(0, 5, QString::number(firstWord), 1, &out, words);
        seen += out.left(2) != QByteArray(2, 0);
        for (int i = 2; i < int(out.size()); i += 2)
            if (out.at(i) != out.at(0) || out.at(i + 1) != out.at(1)) {
                ++halfStored;
                return;
            }
    }

    const int number;
};

class Threads : public PollingTest, public ::testing::WithParamInterface<int>
{
protected:
    Threads()
    {
        callbacks = 0;
        settings.stationMode = GetParam();
        settings.blockWords = blockWords;
        settings.defaultStation = 1;
        settings.writeMode = 2;
        RegistCallBackFuncIntf(countCallback, 0);
    }

    void runAll()
    {
        std::vector<std::thread> threads;
        for (Host &host : hosts)
            threads.emplace_back([&host] { host.run(); });
        std::thread polling([this] { poller.run(); });
        for (std::thread &thread : threads)
            thread.join();
        poller.stop = true;
        polling.join();
    }

    static unsigned image(int areaType, int address)
    {
        QByteArray out;
        GetRegisterData(0, areaType, QString::number(address), 1, &out, 1);
        return frames::byteAt(out, 0) + 256 * frames::byteAt(out, 1);
    }

    Poller poller;
    std::vector<Host> hosts = {Host(0), Host(1), Host(2), Host(3)};
};

TEST_P(Threads, ShareTheDriver)
{
    runAll();
    int seen = 0;
    for (int i = 0; i < hostThreads; ++i) {
        SCOPED_TRACE(i);
        const Host &host = hosts[size_t(i)];
        seen += host.seen;
        EXPECT_EQ(host.halfStored, 0) << "values of two replies in one read";
        EXPECT_EQ(host.refused, 0);
        EXPECT_EQ(poller.controller.at(1, 0x11, i), host.lastSet);
        EXPECT_EQ(poller.controller.at(1, 0x07, i), host.lastAdded);
        EXPECT_EQ(image(7, i), host.lastSet);
        EXPECT_EQ(image(9, i), host.lastAdded);
    }
    EXPECT_EQ(poller.failures, 0);
    EXPECT_GT(seen, 0);
    EXPECT_GT(poller.generation, 1u);
    EXPECT_GT(callbacks, 0);
    EXPECT_TRUE(locksAreFree());
}

INSTANTIATE_TEST_SUITE_P(Storage, Threads, ::testing::Values(0, 1), [](const ::testing::TestParamInfo<int> &mode) {
    return std::string(mode.param ? "PerStation" : "FixedImage");
});

/// Calls that need a lock, and calls that must not ask for it.
class Waiting : public PollingTest
{
protected:
    Waiting()
    {
        settings.blockWords = 32;
        settings.writeMode = 2;
    }

    /// Whether the call is still unfinished some time after it began with the mutex held elsewhere.
    static bool waitsFor(QMutex &mutex, const std::function<void()> &call)
    {
        std::atomic<bool> done{false};
        hold(mutex);
        std::thread thread([&] {
            call();
            done = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        const bool waits = !done;
        release(mutex);
        thread.join();
        return waits;
    }

    /// Ends only if the call does, although the mutex is held elsewhere.
    static void doesWithout(QMutex &mutex, const std::function<void()> &call)
    {
        hold(mutex);
        std::thread(call).join();
        release(mutex);
    }
};

TEST_F(Waiting, ListCallsWaitForTheLists)
{
    RW_VAR var = variable(5, 1, 1);
    QList<HOST_VAR> none;
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { AddListWriteVar(&var, 0); }));
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { AddListWriteVar(&var, 1); }));
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { AddListOnceReadVar(&var, 0); }));
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { AddListOnceReadVar(&var, 1); }));
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { ReCreatReadVarList(&none); }));
}

TEST_F(Waiting, TheSchedulerWaitsForTheLists)
{
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [] { ComCommunication(); }));
}

TEST_F(Waiting, TheEndAndTheRepetitionOfAJobWaitForTheLists)
{
    settings.retryLimit = 1;
    readInFlight();
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [] { DataCom(nullptr, 0); }));
    QByteArray reply = wordReply(1);
    EXPECT_TRUE(waitsFor(PLC_driver.ListMutex, [&] { DataCom(&reply, 9); }));
}

TEST_F(Waiting, ReadsAndWritesWaitForTheImage)
{
    for (int mode : {0, 1}) {
        SCOPED_TRACE(mode);
        settings.stationMode = mode;
        RW_VAR var = variable(5, 1, 1, 1, bytes("34 12"));
        QByteArray out;
        EXPECT_TRUE(waitsFor(PLC_driver.ImageMutex, [&] { WriteDataToLocal(&var); }));
        EXPECT_TRUE(
            waitsFor(PLC_driver.ImageMutex, [&] { GetRegisterData(0, 5, QString::fromLatin1("1"), 1, &out, 1); }));
    }
}

TEST_F(Waiting, AReplyIsStoredWithTheImageLocked)
{
    readInFlight();
    QByteArray reply = wordReply(1);
    EXPECT_TRUE(waitsFor(PLC_driver.ImageMutex, [&] { DataCom(&reply, 9); }));
}

TEST_F(Waiting, ARemoteReplyIsStoredWithTheImageLockedToo)
{
    settings.remoteMode = 1;
    cyclic({1});
    PLC_driver.ReadVarList[0].linkNo = 2;
    PLC_driver.ReadVarList[0].remoteStoreMark = -1;
    next();
    QByteArray reply = frames::sealed(bytes("01 02 03 12 34"));
    EXPECT_TRUE(waitsFor(PLC_driver.ImageMutex, [&] { DataCom(&reply, 7); }));
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
}

TEST_F(Waiting, AWriteIsBuiltWithBothLocksTheImageSecond)
{
    writes(1);
    EXPECT_TRUE(waitsFor(PLC_driver.ImageMutex, [] { ComCommunication(); }));
    EXPECT_EQ(PLC_driver.usArea5[1000], 0x1234);
}

TEST_F(Waiting, ReadsDoNotWaitForTheLists)
{
    QByteArray out;
    doesWithout(PLC_driver.ListMutex, [&] { GetRegisterData(0, 5, QString::fromLatin1("1"), 1, &out, 1); });
    EXPECT_EQ(out.size(), 2);
}

TEST_F(Waiting, ListCallsDoNotWaitForTheImage)
{
    RW_VAR var = variable(5, 1, 1);
    QList<HOST_VAR> none;
    doesWithout(PLC_driver.ImageMutex, [&] {
        AddListWriteVar(&var, 0);
        AddListOnceReadVar(&var, 0);
        ReCreatReadVarList(&none);
    });
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 1);
}

TEST_F(Waiting, AHostWriteHasLeftTheListsWhenItWaitsForTheImage)
{
    PLC_driver.CommFailFlag = 1;
    QByteArray values = bytes("34 12");
    hold(PLC_driver.ImageMutex);
    std::thread writer([&] { SetRegisterData(QString(), 5, QString::fromLatin1("7"), 1, &values, 1, 0, 0); });
    bool queued = false;
    while (!queued) {
        if (tryHold(PLC_driver.ListMutex)) {
            queued = PLC_driver.WriteVarList.size() == 1;
            release(PLC_driver.ListMutex);
        }
        std::this_thread::yield();
    }
    EXPECT_EQ(PLC_driver.usArea5[7], 0);
    release(PLC_driver.ImageMutex);
    writer.join();
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

} // namespace
