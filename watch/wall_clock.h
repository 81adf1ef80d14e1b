// The time of day of what happens on a link, whose own clock counts from anywhere.
#ifndef FGS_WATCH_WALL_CLOCK_H
#define FGS_WATCH_WALL_CLOCK_H

#include "host/link.h"

#include <functional>

namespace fgs
{

/// One thread, the link's.
class WallClock
{
public:
    using Source = std::function<std::chrono::system_clock::time_point()>;

    /// The link outlives it.
    explicit WallClock(const Link &theLink, const Source &theSource = std::chrono::system_clock::now)
        : link(theLink), source(theSource)
    {
    }

    /// From 1970 in UTC to a time on the link's clock.
    std::chrono::nanoseconds sinceEpoch(Time when) const
    {
        return source().time_since_epoch() - (link.now() - when);
    }
    /// A time on the link's clock as ISO 8601 with milliseconds and the offset of the local zone:
    /// "2026-11-21T21:15:03.123+01:00".
    QString text(Time when) const;

private:
    const Link &link;
    const Source source;
};

} // namespace fgs

#endif
