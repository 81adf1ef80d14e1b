#include "statistics.h"

#include <algorithm>
#include <cmath>

namespace fgs
{

// Slot n * StepsPerOctave + s counts times from 2^n * (1 + s / StepsPerOctave) ns on.
void RoundTrips::add(Time time)
{
    const quint64 span = static_cast<quint64>(std::max<qint64>(1, time.count()));
    const int octave = 63 - __builtin_clzll(span);
    const quint64 rest = span - (1ull << octave);
    const quint64 step = octave >= 4 ? rest >> (octave - 4) : rest << (4 - octave);
    ++counts[static_cast<std::size_t>(octave) * StepsPerOctave + static_cast<std::size_t>(step)];
    const auto below =
        std::lower_bound(RoundTripBounds.begin(), RoundTripBounds.end(), time) - RoundTripBounds.begin();
    ++bounded[static_cast<std::size_t>(below)];
    shortest = number ? std::min(shortest, time) : time;
    longest = std::max(longest, time);
    total += time;
    ++number;
}

Time RoundTrips::quantile(double share) const
{
    const double wanted = share * static_cast<double>(number);
    quint64 seen = 0;
    for (std::size_t slot = 0; slot < counts.size(); ++slot) {
        seen += counts[slot];
        if (seen == 0 || static_cast<double>(seen) < wanted)
            continue;
        const double steps = static_cast<double>(slot % StepsPerOctave + 1) / StepsPerOctave;
        const double end = std::ldexp(1 + steps, static_cast<int>(slot / StepsPerOctave));
        return end < static_cast<double>(longest.count()) ? Time(static_cast<qint64>(end)) : longest;
    }
    return longest;
}

Time betterTimeout(const RoundTrips &times, Time timeout)
{
    const Time slow = times.quantile(0.99);
    return 2 * slow < timeout ? Time(0) : 3 * slow;
}

} // namespace fgs
