// What the scheduler and the counters must do, told beforehand from the sizes of the lists and the faults alone.
#ifndef TARN_TESTS_SHADOW_H
#define TARN_TESTS_SHADOW_H

#include "lossy_line.h"

#include <tarn_fgsseries.h>

namespace soak
{

/// Throws std::runtime_error, which names both, unless they are equal.
void mustBe(const char *what, long long actual, long long expected);
void mustNotExceed(const char *what, long long actual, long long most);

enum Source { Cyclic, Write, Once };

/// How often what happened.
struct Totals {
    std::uint64_t requests = 0;
    std::uint64_t good[3] = {}; ///< jobs that ended well, by source
    std::uint64_t lost[3] = {}; ///< jobs given up
    std::uint64_t repeated = 0;
    std::uint64_t failures[3] = {}; ///< bad check, no reply, wrong length
    std::uint64_t purged = 0;       ///< queued jobs dropped with a failed one
    std::uint64_t callbacks = 0;
};

/// Follows one driver, step by step.
class Shadow
{
public:
    explicit Shadow(COMINFO &settings) : info(settings) {}

    /// The cyclic list was built anew; of so many blocks at most.
    void rebuilt(int mostBlocks);
    /// Around ComCommunication() when nothing is in flight.
    void beforeRequest();
    void afterRequest(const Protocol *request);
    /// Around DataCom(); every one-shot read is of one piece.
    void beforeReply(const Reply &reply);
    void afterReply(const Reply &reply, const RW_VAR &result);
    /// From the host callback.
    void called(int handle, int hostType, int hostAddr, int status);

    const Totals &totals() const { return sum; }

private:
    void count(const Reply &reply);
    void checkGood();
    void checkFailed(const RW_VAR &result, int code);
    void checkQueues();
    void checkPurged();
    void checkCallback(bool expected, int status);
    int survivors() const;
    void countCycle();

    COMINFO &info;
    Totals sum;
    Source source = Cyclic;
    int blocks = 0;
    int writesInARow = 0, oncesInARow = 0;
    int retries = 0;
    int cycleCount = 0;
    bool cycleDone = false;
    int writes = 0, onces = 0; ///< queued when the reply came
    int left = 0;              ///< of them after a final failure
    RW_VAR served;             ///< the variable of the request in flight
    int calls = 0;             ///< of the callback, for one reply
    int call[4] = {};          ///< its arguments
};

} // namespace soak

#endif
