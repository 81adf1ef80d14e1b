// Named operations. Instruction counts, allocation counts, system calls and times are all taken of these.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include <functional>
#include <stdexcept>
#include <vector>

namespace bench
{

/// Does the operation so many times.
using Run = std::function<void(long repetitions)>;

struct Operation {
    const char *name;
    long repetitions; ///< enough for a count whose start-up is taken out
    Run (*prepare)(); ///< once in a process, or again after the run of another operation has ended
};

using Operations = std::vector<Operation>;

Operations driverOperations();
Operations listOperations();
Operations checkOperations();
Operations hostOperations();
Operations libmodbusOperations();
Operations qtOperations();

/// All of them.
Operations operations();

/// The loop stands around the body itself, so that it costs the same for all.
template <typename Body>
Run repeat(Body body)
{
    return [body](long repetitions) mutable {
        for (; repetitions > 0; --repetitions)
            body();
    };
}

inline void require(bool good, const char *what)
{
    if (!good)
        throw std::runtime_error(what);
}

} // namespace bench

#endif
