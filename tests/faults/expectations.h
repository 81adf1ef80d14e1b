// What the driver and its reference host make of each fault of the line.
#ifndef FGS_TESTS_EXPECTATIONS_H
#define FGS_TESTS_EXPECTATIONS_H

#include "sim/line_faults.h"

namespace faults
{

enum class Verdict {
    Good,      ///< the reply is found and stored
    BadCheck,  ///< refused for its check
    Missing,   ///< nothing that could be the reply
    BadLength, ///< refused for its length
    Deceived,  ///< a wrong value is taken for good: nothing on the line tells
    LinkLost,  ///< nobody is told; the request goes out again
    None       ///< the fault cannot strike such a reply
};

struct Expectation {
    const char *fault;                 ///< its name
    Verdict read, acknowledge, remote; ///< of a read, of a write, of a remote read
    /// Why neither driver nor host can tell; null if one of them can. The fault deceives the transaction that it
    /// strikes if its verdict says so, otherwise the next one.
    const char *undetectable = nullptr;
};

/// In the order of fgssim::lineFaults().
const std::vector<Expectation> &expectations();
/// REQUIRES: a row of fgssim::lineFaults().
const Expectation &expectationOf(const fgssim::LineFault &fault);

} // namespace faults

#endif
