// What becomes of readings, as an exit code.
#ifndef FGS_TOOL_READING_CODES_H
#define FGS_TOOL_READING_CODES_H

#include "failure.h"
#include "watch/reading.h"

#include <algorithm>

namespace fgs
{

inline bool isNoAnswer(const Reason &reason)
{
    return reason.kind != Reason::Failed || reason.outcome == Outcome::NoReply ||
           reason.outcome == Outcome::LinkLost;
}

inline bool isRefusal(const Reason &reason)
{
    return reason.kind == Reason::Failed && reason.outcome == Outcome::Refused;
}

/// Ok if all are good; otherwise what the reasons of those that are not amount to.
inline ExitCode exitCodeOf(const std::vector<Reading> &readings)
{
    const auto count = [&readings](auto isCounted) {
        return static_cast<std::size_t>(std::count_if(readings.begin(), readings.end(), isCounted));
    };
    const std::size_t good = count([](const Reading &each) { return each.quality == Quality::Good; });
    const std::size_t silent = count([](const Reading &each) { return isNoAnswer(each.reason); });
    const std::size_t refused = count([](const Reading &each) { return isRefusal(each.reason); });
    const bool someValue = count([](const Reading &each) { return each.quality != Quality::Unknown; }) > 0;
    if (good == readings.size())
        return ExitOk;
    if (someValue)
        return ExitPartial;
    return silent == readings.size() ? ExitNoReply : refused == readings.size() ? ExitRefused : ExitBadReply;
}

} // namespace fgs

#endif
