// Wall-clock times for log and trace.
#ifndef FGS_SIM_LOG_TIMES_H
#define FGS_SIM_LOG_TIMES_H

#include "sim/line_times.h"

#include <string>

namespace fgssim
{

/// "2026-03-01T14:05:09.007+01:00": local time with its offset, as ISO 8601 has it.
std::string wallClock();
/// From 1970 in UTC to a time of the simulation.
Time sinceEpoch(Time when);

} // namespace fgssim

#endif
