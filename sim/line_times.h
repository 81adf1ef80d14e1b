// Time in the simulation, and how long things take on its line.
#ifndef SIM_LINE_TIMES_H
#define SIM_LINE_TIMES_H

#include <chrono>

namespace fgssim
{

/// A point in time, counted from any fixed one, or a length of time.
using Time = std::chrono::nanoseconds;

struct LineTimes {
    Time delay{0};                                ///< from the end of a request to its reply
    Time lateBy{std::chrono::seconds(1)};         ///< what a late reply adds
    Time silence{std::chrono::milliseconds(100)}; ///< ends an incomplete request
    Time byteTime{0};                             ///< of the line whose pace is kept; 0: no pace
};

} // namespace fgssim

#endif
