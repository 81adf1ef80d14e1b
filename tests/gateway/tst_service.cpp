// What the service manager gets, over a socket of the test's own.
#include "support/temporary_folder.h"
#include "tools/fgs-gateway/service.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{

using fgs::Service;
using std::chrono::microseconds;

/// The other end; a name that begins with @ is an abstract one.
class Manager
{
public:
    explicit Manager(const std::string &name) : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.data(), name.size());
        const bool isAbstract = name.front() == '@';
        if (isAbstract)
            address.sun_path[0] = '\0';
        const std::size_t size = offsetof(sockaddr_un, sun_path) + name.size() + !isAbstract;
        EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr *>(&address), socklen_t(size)), 0);
    }
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;
    ~Manager() { ::close(socket); }

    std::string next() const
    {
        char text[4096];
        const ssize_t size = ::recv(socket, text, sizeof text, 0);
        return {text, std::size_t(std::max<ssize_t>(0, size))};
    }
    bool isEmpty() const
    {
        char text;
        return ::recv(socket, &text, 1, MSG_DONTWAIT | MSG_PEEK) < 0;
    }

private:
    const int socket;
};

std::string abstractName()
{
    return "@fgs-test-" + std::to_string(::getpid());
}

TEST(Service, TellsHowTheProgramStands)
{
    const TemporaryFolder folder;
    for (const std::string &name : {std::string(folder.path / "notify"), abstractName()}) {
        const Manager manager(name);
        const Service service({name, microseconds(0)});
        service.ready();
        EXPECT_EQ(manager.next(), "READY=1");
        service.status("line up, broker up");
        EXPECT_EQ(manager.next(), "STATUS=line up, broker up");
        service.stopping();
        EXPECT_EQ(manager.next(), "STOPPING=1");
    }
}

TEST(Service, TellsWhenItReloads)
{
    const Manager manager(abstractName());
    const Service service({abstractName(), microseconds(0)});
    timespec before = {};
    ::clock_gettime(CLOCK_MONOTONIC, &before);
    service.reloading();
    const std::string text = manager.next(), start = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_EQ(text.substr(0, start.size()), start);
    EXPECT_GE(std::stoll(text.substr(start.size())), before.tv_sec * 1000000LL + before.tv_nsec / 1000);
}

TEST(Service, FeedsTheWatchdogAtHalfItsTime)
{
    const Manager manager(abstractName());
    Service patient({abstractName(), std::chrono::hours(1)});
    patient.feed();
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    patient.feed();
    EXPECT_TRUE(manager.isEmpty());

    Service hasty({abstractName(), microseconds(2)});
    for (int i = 0; i < 2; ++i) {
        hasty.feed();
        EXPECT_EQ(manager.next(), "WATCHDOG=1");
        ::usleep(10);
    }
}

TEST(Service, IsSilentWithoutWatchdogOrManager)
{
    const Manager manager(abstractName());
    Service service({abstractName(), microseconds(0)});
    service.feed();
    EXPECT_TRUE(manager.isEmpty());
    for (const std::string &name : {std::string(), std::string("/nonexistent/socket"), std::string(200, 'x')})
        Service({name, microseconds(1)}).ready();
}

TEST(Service, TakesTheWatchdogOfItsOwnProcessOnly)
{
    ::setenv("NOTIFY_SOCKET", "/run/notify", 1);
    ::setenv("WATCHDOG_USEC", "30000000", 1);
    ::unsetenv("WATCHDOG_PID");
    EXPECT_EQ(Service::ofEnvironment().socket, "/run/notify");
    EXPECT_EQ(Service::ofEnvironment().watchdog, std::chrono::seconds(30));
    ::setenv("WATCHDOG_PID", std::to_string(::getpid()).c_str(), 1);
    EXPECT_EQ(Service::ofEnvironment().watchdog, std::chrono::seconds(30));
    ::setenv("WATCHDOG_PID", "1", 1);
    EXPECT_EQ(Service::ofEnvironment().watchdog, microseconds(0));
    ::unsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(Service::ofEnvironment().socket, "");
}

} // namespace
