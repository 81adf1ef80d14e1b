#include "service.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace fgs
{

namespace
{

std::string variable(const char *name)
{
    const char *const text = std::getenv(name);
    return text ? text : "";
}

/// 0 if it is none.
long long numberIn(const std::string &text)
{
    return std::strtoll(text.c_str(), nullptr, 10);
}

/// As systemd compares it with the time of the reload.
std::string monotonicMicroseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::to_string(static_cast<long long>(now.tv_sec) * 1000000 + now.tv_nsec / 1000);
}

} // namespace

Service::Surroundings Service::ofEnvironment()
{
    const std::string process = variable("WATCHDOG_PID");
    const bool isMeant = process.empty() || numberIn(process) == ::getpid();
    return {variable("NOTIFY_SOCKET"),
            std::chrono::microseconds(isMeant ? std::max(0LL, numberIn(variable("WATCHDOG_USEC"))) : 0)};
}

Service::Service(const Surroundings &theSurroundings)
    : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), feedingTime(theSurroundings.watchdog / 2)
{
    const std::string &name = theSurroundings.socket;
    const bool isAbstract = !name.empty() && name.front() == '@';
    if (name.size() < 2 || name.size() + !isAbstract > sizeof address.sun_path)
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    if (isAbstract)
        address.sun_path[0] = '\0';
    addressSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() + !isAbstract);
}

Service::~Service()
{
    ::close(socket);
}

void Service::reloading() const
{
    tell("RELOADING=1\nMONOTONIC_USEC=" + monotonicMicroseconds());
}

void Service::feed()
{
    const auto now = std::chrono::steady_clock::now();
    if (feedingTime.count() == 0 || (fed && now - *fed < feedingTime))
        return;
    fed = now;
    tell("WATCHDOG=1");
}

/// Without waiting: the line's thread tells too.
bool Service::tell(const std::string &state) const
{
    return addressSize == 0 || ::sendto(socket, state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                                        reinterpret_cast<const sockaddr *>(&address), addressSize) >= 0;
}

} // namespace fgs
