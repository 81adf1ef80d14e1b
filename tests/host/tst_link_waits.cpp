// What links wait for, and what ends it. Stands in for the system's ppoll(), connect() and getaddrinfo(), so that a
// wait can be counted, made endless, or over at once.
#include "far_ends.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <dlfcn.h>
#include <functional>
#include <map>
#include <mutex>
#include <netdb.h>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <thread>

namespace
{

enum class Waits { Timed, Endless, Over };

/// What the test makes of the system.
struct System {
    Waits waits = Waits::Timed;
    int count = 0;                ///< of waits
    std::function<void()> onWait; ///< at the start of each
    int connectError = 0;         ///< 0: connect() is the system's
    std::map<std::string, int> lookupErrors;
    std::map<std::string, std::vector<std::string>> hosts; ///< the addresses of names
};

System theSystem;

/// A name server that answers "slow.host" only when it is told to.
struct NameServer {
    std::mutex mutex;
    std::condition_variable changed;
    bool isAsked = false;
    bool answers = false;

    void wait(bool NameServer::*flag)
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return this->*flag; });
    }
    void set(bool NameServer::*flag)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        this->*flag = true;
        changed.notify_all();
    }
};

/// For look-ups that outlast their test, and the program.
NameServer &nameServer()
{
    static NameServer &server = *new NameServer;
    return server;
}

template <typename Function>
Function *theSystems(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int ppoll(pollfd *sources, nfds_t count, const timespec *limit, const sigset_t *mask)
{
    ++theSystem.count;
    if (theSystem.onWait)
        theSystem.onWait();
    const timespec none = {};
    const timespec *const limits[] = {limit, nullptr, &none};
    return theSystems<decltype(ppoll)>("ppoll")(sources, count, limits[int(theSystem.waits)], mask);
}

extern "C" int connect(int fd, const sockaddr *to, socklen_t size)
{
    if (theSystem.connectError == 0)
        return theSystems<decltype(connect)>("connect")(fd, to, size);
    errno = theSystem.connectError;
    return -1;
}

extern "C" int getaddrinfo(const char *host, const char *port, const addrinfo *wanted, addrinfo **found)
{
    const auto ask = theSystems<decltype(getaddrinfo)>("getaddrinfo");
    if (wanted->ai_flags & AI_NUMERICHOST)
        return ask(host, port, wanted, found);
    if (std::string(host) == "slow.host") {
        nameServer().set(&NameServer::isAsked);
        nameServer().wait(&NameServer::answers);
        return EAI_NONAME;
    }
    const auto error = theSystem.lookupErrors.find(host);
    if (error != theSystem.lookupErrors.end())
        return error->second;
    for (const std::string &address : theSystem.hosts.at(host)) {
        ask(address.c_str(), port, wanted, found);
        found = &(*found)->ai_next;
    }
    return 0;
}

using namespace fgs;

namespace
{

/// Requests the stop once the link waits.
class Asker
{
public:
    explicit Asker(Stop &stop) : thread([this, &stop] { ask(stop); })
    {
        theSystem.onWait = [this] { waits = true; };
    }
    ~Asker()
    {
        thread.join();
        theSystem.onWait = nullptr;
    }

private:
    void ask(Stop &stop) const
    {
        while (!waits)
            std::this_thread::yield();
        std::this_thread::sleep_for(20ms);
        stop.request();
    }

    std::atomic<bool> waits{false};
    std::thread thread;
};

template <typename End>
class Waiting : public DeviceLink<End>
{
protected:
    Waiting() { theSystem = System(); }
    ~Waiting() override { theSystem = System(); }

    void endByStop()
    {
        this->link->endBy(&stop);
        theSystem.count = 0;
    }
    int receive() { return this->link->receive(this->buffer, 1, Time::max()); }

    Stop stop;
};

TYPED_TEST_SUITE(Waiting, Ends);

TYPED_TEST(Waiting, OneWaitEndsOnceTheStopIsRequested)
{
    this->connect();
    theSystem.waits = Waits::Endless;
    this->endByStop();
    const Asker asker(this->stop);
    EXPECT_EQ(this->receive(), 0);
    EXPECT_EQ(theSystem.count, 1) << "it is woken, and does not look from time to time";
    EXPECT_TRUE(this->link->isOpen());
}

TYPED_TEST(Waiting, ASignalHandlerCanRequestTheStop)
{
    static Stop *toRequest;
    toRequest = &this->stop;
    this->connect();
    theSystem.waits = Waits::Endless;
    this->endByStop();
    std::signal(SIGUSR1, [](int) { toRequest->request(); });
    theSystem.onWait = [] { std::raise(SIGUSR1); };
    EXPECT_EQ(this->receive(), 0);
    std::signal(SIGUSR1, SIG_DFL);
}

TYPED_TEST(Waiting, NothingIsWaitedForAfterTheStop)
{
    this->connect();
    theSystem.waits = Waits::Endless;
    this->stop.request();
    this->endByStop();
    EXPECT_EQ(this->receive(), 0);
    this->link->pauseUntil(Time::max());
    EXPECT_EQ(theSystem.count, 2);
    EXPECT_FALSE(this->link->open());
    EXPECT_EQ(this->link->error(), "interrupted");
}

TYPED_TEST(Waiting, WhatHasArrivedIsTakenAfterTheStop)
{
    this->connect();
    this->end.send("ab");
    EXPECT_EQ(this->receive(), 1);
    this->stop.request();
    this->endByStop();
    EXPECT_EQ(this->receive(), 1);
    EXPECT_EQ(this->buffer[0], 'b');
}

TYPED_TEST(Waiting, APauseEndsOnceTheStopIsRequested)
{
    theSystem.waits = Waits::Endless;
    this->endByStop();
    const Asker asker(this->stop);
    this->link->pauseUntil(Time::max());
    EXPECT_EQ(theSystem.count, 1);
}

TYPED_TEST(Waiting, NothingIsWaitedForAfterTheEnd)
{
    this->connect();
    const Time last = this->link->now() + 20ms;
    this->link->endBy(nullptr, last);
    EXPECT_EQ(this->receive(), 0);
    EXPECT_GE(this->link->now(), last);
    this->link->pauseUntil(Time::max());
    EXPECT_FALSE(this->link->open());
    EXPECT_EQ(this->link->error(), "interrupted");
}

TYPED_TEST(Waiting, ASignalAloneEndsNoWait)
{
    this->connect();
    const struct Ignored {
        Ignored()
        {
            std::signal(SIGUSR1, [](int) {});
        }
        ~Ignored() { std::signal(SIGUSR1, SIG_DFL); }
    } ignored;
    const pthread_t waiter = pthread_self();
    std::thread other([&] {
        pthread_kill(waiter, SIGUSR1);
        std::this_thread::sleep_for(20ms);
        this->end.send("a");
    });
    EXPECT_EQ(this->receive(), 1);
    other.join();
}

TYPED_TEST(Waiting, SendingWaitsWhileTheLineTakesNoBytes)
{
    this->connect();
    theSystem.waits = Waits::Endless;
    const QByteArray large(300000, 'x');
    std::thread reader([this, &large] { EXPECT_EQ(this->end.receive(int(large.size())).size(), large.size()); });
    EXPECT_TRUE(this->link->send(large.constData(), int(large.size())));
    reader.join();
}

/// More than any line holds.
const QByteArray Endless(16 << 20, 'x');

/// The number in "WHY after N of 16777216 bytes"; -1 if the text is another one.
int sentOf(const QString &error, const char *why)
{
    int count = -1;
    const std::string form = std::string(why) + " after %d of 16777216 bytes%n";
    int read = 0;
    return std::sscanf(error.toLatin1().constData(), form.c_str(), &count, &read) == 1 && read == error.size()
               ? count
               : -1;
}

TYPED_TEST(Waiting, AHalfSentFrameEndsTheLinkOnceTheStopIsRequested)
{
    this->connect();
    theSystem.waits = Waits::Endless;
    this->endByStop();
    const Asker asker(this->stop);
    EXPECT_FALSE(this->link->send(Endless.constData(), int(Endless.size())));
    EXPECT_FALSE(this->link->isOpen());
    EXPECT_GT(sentOf(this->link->error(), "interrupted"), 0) << this->link->error().toStdString();
}

TYPED_TEST(Waiting, ALineThatTakesNoBytesIsLost)
{
    this->connect();
    theSystem.waits = Waits::Over;
    EXPECT_FALSE(this->link->send(Endless.constData(), int(Endless.size())));
    EXPECT_FALSE(this->link->isOpen());
    EXPECT_GT(sentOf(this->link->error(), "takes no more bytes"), 0) << this->link->error().toStdString();
}

/// A server whose queue is full: whoever connects gets no answer.
class BusyEnd : public TcpEnd
{
public:
    BusyEnd()
    {
        for (int silent = 0; silent < 3;)
            silent = isAnswered() ? 0 : silent + 1;
    }
    ~BusyEnd() override
    {
        for (const int client : clients)
            ::close(client);
    }

private:
    bool isAnswered()
    {
        clients.push_back(callLoopback(port, SOCK_NONBLOCK));
        pollfd client = {clients.back(), POLLOUT, 0};
        return ::poll(&client, 1, 100) == 1;
    }

    std::vector<int> clients;
};

using Connecting = Waiting<TcpEnd>;

TEST_F(Connecting, EndsOnceTheStopIsRequested)
{
    const BusyEnd busy;
    link = makeLink(busy.address());
    theSystem.waits = Waits::Endless;
    endByStop();
    const Asker asker(stop);
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error(), "interrupted");
    EXPECT_EQ(theSystem.count, 2) << "one for the address, one for the connection";
}

TEST_F(Connecting, GivesUpWithoutAnAnswer)
{
    const BusyEnd busy;
    link = makeLink(busy.address());
    theSystem.waits = Waits::Over;
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error().toStdString(), "port " + busy.address().section(QLatin1Char(':'), -1).toStdString() +
                                               " of 127.0.0.1 does not answer; check the address, the cable, and "
                                               "that the device is switched on");
}

class LookingUp : public Waiting<TcpEnd>
{
protected:
    void SetUp() override
    {
        link = makeLink(QStringLiteral("tcp:slow.host:5020"));
        theSystem.waits = Waits::Endless;
    }
};

TEST_F(LookingUp, EndsOnceTheStopIsRequested)
{
    endByStop();
    const Asker asker(stop);
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error(), "interrupted");
    EXPECT_EQ(theSystem.count, 1);
    nameServer().wait(&NameServer::isAsked);
}

using LookingUpDeathTest = LookingUp; // runs first, while there is one thread

TEST_F(LookingUpDeathTest, DoesNotDelayTheEndOfTheProgram)
{
    const auto program = [this] {
        theSystem.onWait = [this] {
            nameServer().wait(&NameServer::isAsked);
            stop.request();
        };
        endByStop();
        std::exit(link->open() ? 1 : 0);
    };
    EXPECT_EXIT(program(), ::testing::ExitedWithCode(0), "");
}

TEST_F(LookingUp, GivesUpWithoutAnAnswer)
{
    theSystem.waits = Waits::Over;
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error(),
              "the host slow.host cannot be looked up, as no name server answers; check the network, "
              "or write its address, like 192.168.0.9");
}

struct Failed {
    const char *what;
    int error;
    const char *text;
};
void PrintTo(const Failed &row, std::ostream *out)
{
    *out << row.what;
}

class FailedLookUp : public Waiting<TcpEnd>, public ::testing::WithParamInterface<Failed>
{
};

TEST_P(FailedLookUp, IsToldWithARemedy)
{
    link = makeLink(QStringLiteral("tcp:plc.factory:5020"));
    theSystem.lookupErrors["plc.factory"] = GetParam().error;
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error().toStdString(), std::string("the host plc.factory ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Links, FailedLookUp,
    ::testing::Values(
        Failed{"unknown", EAI_NONAME, "is not known; check the spelling, or write its address, like 192.168.0.9"},
        Failed{"no_server", EAI_AGAIN,
               "cannot be looked up, as no name server answers; check the network, or write its "
               "address, like 192.168.0.9"},
        Failed{"failed", EAI_FAIL,
               "cannot be reached: Non-recoverable failure in name resolution; check the address, the "
               "network and its firewalls"}));

class FailedConnection : public Waiting<TcpEnd>, public ::testing::WithParamInterface<Failed>
{
};

TEST_P(FailedConnection, IsToldWithARemedy)
{
    link = makeLink(QStringLiteral("tcp:[::1]:5020"));
    theSystem.connectError = GetParam().error;
    EXPECT_FALSE(link->open());
    EXPECT_EQ(link->error().toStdString(), std::string("port 5020 of ::1 ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Links, FailedConnection,
    ::testing::Values(Failed{"refused", ECONNREFUSED,
                             "refuses connections; check the port, and that the server there is running"},
                      Failed{"silent", EHOSTUNREACH,
                             "does not answer; check the address, the cable, and that the device is switched on"},
                      Failed{"no_route", ENETUNREACH,
                             "cannot be reached: no network leads there; check the address and this computer's "
                             "network"},
                      Failed{"forbidden", EACCES,
                             "cannot be reached: Permission denied; check the address, the network and its "
                             "firewalls"}));

TEST_F(Connecting, ARefusalIsTold)
{
    end.stopListening();
    EXPECT_FALSE(link->open());
    EXPECT_TRUE(link->error().endsWith(
        QStringLiteral(" of 127.0.0.1 refuses connections; check the port, and that the server there is running")))
        << link->error().toStdString();
}

TEST_F(Connecting, TriesTheAddressesOfANameInTurn)
{
    theSystem.hosts["plc.factory"] = {"127.0.0.2", "127.0.0.1"};
    link = makeLink(end.address().replace(QStringLiteral("127.0.0.1"), QStringLiteral("plc.factory")));
    connect();
    ASSERT_TRUE(link->send("a", 1));
    EXPECT_EQ(end.receive(1), "a");
}

} // namespace
