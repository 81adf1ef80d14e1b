// How the network's side tells time.
#ifndef FGS_GATEWAY_MOMENT_H
#define FGS_GATEWAY_MOMENT_H

#include <chrono>
#include <cstdint>

namespace fgs
{

using std::chrono::milliseconds;

/// Milliseconds since 1970, UTC, as messages have them.
using Epoch = std::int64_t;

/// One look at both clocks.
struct Moment {
    Epoch now;           ///< the time of day, which jumps when somebody sets the clock
    milliseconds steady; ///< of a clock that never jumps
};

} // namespace fgs

#endif
