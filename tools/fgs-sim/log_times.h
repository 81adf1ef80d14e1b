// Wall-clock times for the log.
#ifndef FGS_SIM_LOG_TIMES_H
#define FGS_SIM_LOG_TIMES_H

#include <string>

namespace fgssim
{

/// "2026-03-01T14:05:09.007+01:00": local time with its offset, as ISO 8601 has it.
std::string wallClock();

} // namespace fgssim

#endif
