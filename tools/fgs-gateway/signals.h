// SIGINT, SIGTERM and SIGHUP, taken by a thread of their own: no other thread is interrupted in what it waits for.
#ifndef FGS_GATEWAY_SIGNALS_H
#define FGS_GATEWAY_SIGNALS_H

#include "gateway/mailbox.h"
#include "host/stop.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace fgs
{

/// The first SIGINT or SIGTERM requests the stop; a second one ends the program at once. SIGHUP is a wish to read
/// the settings again. Each rings the bell. What is ignored from the start, as under nohup, stays so.
class Signals
{
public:
    /// Before the program's other threads: they inherit that these signals are not theirs. Both outlive it.
    Signals(Stop &theStop, Bell &theBell);
    ~Signals();
    Signals(const Signals &) = delete;
    Signals &operator=(const Signals &) = delete;

    /// The signal that has requested the stop; 0: none has.
    int stopping() const { return received; }
    /// Whether SIGHUP has come since the last call.
    bool takeWishToReload() { return isReloadWanted.exchange(false); }

private:
    void run();
    void take(int number);

    Stop &stop;
    Bell &bell;
    sigset_t numbers;
    std::atomic<int> received{0};
    std::atomic<bool> isReloadWanted{false};
    std::atomic<bool> hasEnded{false};
    std::thread thread;
};

} // namespace fgs

#endif
