// --replay: a trace as what the controller is to answer.
#ifndef FGS_SIM_REPLAY_FILE_H
#define FGS_SIM_REPLAY_FILE_H

#include "sim/replay.h"

#include <functional>

namespace fgssim
{

/// All of a pcapng trace, from whichever side it was recorded, in memory. A trace that is cut off or damaged counts
/// up to there, and `warn` is told. Throws std::runtime_error, which says what is wrong and what to do, if it
/// cannot be read or has no requests.
Replay readReplay(const std::string &path, bool inTime, const std::function<void(const std::string &)> &warn);

} // namespace fgssim

#endif
