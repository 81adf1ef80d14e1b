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

} // namespace fgs

#endif
