// The meaning of frames and settings, for the log.
#ifndef SIM_DESCRIBE_H
#define SIM_DESCRIBE_H

#include "framing.h"
#include "motion.h"

namespace fgssim
{

/// "station 1 reads area 5 from 100, 4 words; area 1 from 20, 16 bits"
std::string describe(const Request &request);
/// "area 5 from 100, 10 words of station 2"
std::string describe(const Place &place);
/// "area 5 from 100, 10 words of station 2: ramp 0..500 by 5"
std::string describe(const Range &range);
/// "station 1 answers area 5 from 100: 1 2 3 4; area 1 from 20: 1010000000000000", or "station 1 acknowledges", or
/// "refuses". `reply` is the undamaged answer to the request; `entryHead` as in Framing.
std::string describeReply(const Request &request, Slice reply, std::size_t entryHead = ControllerFraming.entryHead);

} // namespace fgssim

#endif
