// What a service manager like systemd is told.
#ifndef FGS_GATEWAY_SERVICE_H
#define FGS_GATEWAY_SERVICE_H

#include <chrono>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace fgs
{

/// Datagrams to a socket, without waiting: one that finds no room there is lost. Any thread, but for feed().
class Service
{
public:
    struct Surroundings {
        std::string socket;                 ///< a path, or "@name" of the abstract ones; empty: nobody listens
        std::chrono::microseconds watchdog; ///< ends the program when it is not fed for so long; 0: there is none
    };
    /// NOTIFY_SOCKET, and WATCHDOG_USEC unless WATCHDOG_PID is another process.
    static Surroundings ofEnvironment();

    explicit Service(const Surroundings &theSurroundings);
    ~Service();
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    void ready() const { tell("READY=1"); }
    /// Until the next ready().
    void reloading() const;
    void stopping() const { tell("STOPPING=1"); }
    /// A line for people. False: it did not get there, say it again.
    bool status(const std::string &text) const { return tell("STATUS=" + text); }

    /// One thread. As often as it likes: the watchdog is fed when half of its time is over.
    void feed();

private:
    /// False: somebody listens, and has no room for it now.
    bool tell(const std::string &state) const;

    sockaddr_un address = {};
    socklen_t addressSize = 0; ///< 0: nobody listens
    const int socket;
    const std::chrono::microseconds feedingTime; ///< 0: there is no watchdog
    std::optional<std::chrono::steady_clock::time_point> fed;
};

} // namespace fgs

#endif
