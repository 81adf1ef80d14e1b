// What the addresses hold that nobody has set or written.
#ifndef SIM_BACKGROUND_H
#define SIM_BACKGROUND_H

#include "areas.h"
#include "course.h"

namespace fgssim
{

/// A pure function, so that another process can check every value that it reads:
///   key  = station * 2^24 + area number * 2^16 + address
///   p    = key * 2654435761 mod 2^32
/// A double word is p, a word the upper 16 bits of p, a bit the uppermost bit of p.
std::uint32_t patternValue(unsigned station, const Area &area, unsigned address);

enum class Values { Still, Moving, Pattern };

/// Still: 0 everywhere. Pattern: patternValue(). Moving, in tick t:
///   bits                    1 while (address + t) mod 16 is below 8
///   even words and doubles  a ramp: (address + 100 * station + t) mod 1000
///   odd words and doubles   one of 64 random walks between 0 and 1000, by up to 10 a tick
class Background
{
public:
    Background(Values values, std::uint64_t seed);

    std::uint32_t value(unsigned station, const Area &area, unsigned address) const;
    void tick();

private:
    std::uint32_t movingValue(unsigned station, const Area &area, unsigned address) const;

    Values kind;
    Random random;
    std::uint64_t ticks = 0;
    std::array<std::int64_t, 64> walks;
};

} // namespace fgssim

#endif
