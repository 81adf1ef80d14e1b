#include "reload.h"

#include <algorithm>
#include <tuple>

namespace fgs
{

namespace
{

auto partsOf(const Variable &variable)
{
    return std::tie(variable.area, variable.address, variable.count, variable.station);
}

auto partsOf(const Timing &timing)
{
    return std::tie(timing.timeout, timing.gap, timing.late, timing.turnaround, timing.firstReconnect,
                    timing.lastReconnect);
}

auto partsOf(const HostOptions &options)
{
    return std::tuple_cat(std::tie(options.remoteLink, options.blockWords, options.retries, options.firstRest,
                                   options.longestRest, options.longestSilence),
                          partsOf(options.timing));
}

bool isSameTag(const GatewayTag &a, const GatewayTag &b)
{
    return partsOf(a.tag.variable) == partsOf(b.tag.variable) && a.tag.type == b.tag.type;
}

} // namespace

bool isSameLine(const GatewaySettings &a, const GatewaySettings &b)
{
    return a.link == b.link && a.interval == b.interval && partsOf(a.host) == partsOf(b.host) &&
           std::equal(a.tags.begin(), a.tags.end(), b.tags.begin(), b.tags.end(), isSameTag);
}

} // namespace fgs
