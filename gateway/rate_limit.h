// So many a minute, and no more.
#ifndef FGS_GATEWAY_RATE_LIMIT_H
#define FGS_GATEWAY_RATE_LIMIT_H

#include "moment.h"

#include <algorithm>

namespace fgs
{

/// A bucket that holds a minute's tokens and fills evenly. It is full at first.
class RateLimit
{
public:
    explicit RateLimit(int perMinute) : each(perMinute), level(each * Minute) {}

    /// What was spent stays spent.
    void change(int perMinute)
    {
        level += (perMinute - each) * Minute;
        each = perMinute;
    }

    /// Takes one if there is one.
    bool take(milliseconds steady)
    {
        const std::int64_t passed = std::clamp<std::int64_t>((steady - last).count(), 0, Minute);
        last = steady;
        level = std::min(level + passed * each, each * Minute);
        if (level < Minute)
            return false;
        level -= Minute;
        return true;
    }

private:
    static constexpr std::int64_t Minute = 60000; ///< milliseconds; as much is one token

    std::int64_t each;
    std::int64_t level; ///< milliseconds times `each`; negative if more was spent than there is now
    milliseconds last{0};
};

} // namespace fgs

#endif
