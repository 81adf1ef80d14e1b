// The polling thread and a thread of the host.
#ifndef TARN_TESTS_STRESS_THREADS_H
#define TARN_TESTS_STRESS_THREADS_H

#include "groups.h"
#include "remote_line.h"

#include "sim/random.h"
#include <atomic>
#include <map>
#include <string>

namespace stress
{

using Calls = std::map<std::string, std::uint64_t>; ///< by the name of the function

class PollingThread
{
public:
    PollingThread(const COMINFO &settings, std::uint64_t seed);

    /// Polls until told to stop. Leaves the first thing that must not happen in `error`.
    void run();

    std::atomic<bool> stop{false};
    std::uint64_t calls = 0, replies = 0, failures = 0;
    std::string error;

private:
    void step();
    void judge(const soak::Reply &reply, const RW_VAR &var, int result);

    const COMINFO &settings;
    soak::LossyLine line;
    RemoteLine remoteLine;
    int retries = 0;
};

/// Calls everything that any thread may call.
class HostThread
{
public:
    HostThread(const COMINFO &settings, int number, std::uint64_t seed);

    void run(std::uint64_t most);

    Calls calls;
    std::uint64_t seen = 0; ///< reads that gave a number other than the last one
    std::uint64_t torn = 0; ///< reads that found two numbers in a group
    std::string error;

private:
    void act();
    void read();
    void set();
    void addWrite();
    void readOnce();
    void rebuild();
    void rebuildRemote();
    void addRead();
    void ask();
    void keep();
    RW_VAR record(const Group &group) const;
    const Group &anyGroup() { return allGroups()[random.below(allGroups().size())]; }
    void check(bool fine, const std::string &what);

    const COMINFO &settings;
    const int number;
    fgssim::Random random;
    unsigned generation = 0;
    std::map<int, QByteArray> last; ///< values, by the index of their group
};

} // namespace stress

#endif
