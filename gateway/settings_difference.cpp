#include "settings_difference.h"

#include <algorithm>
#include <tuple>

namespace fgs
{

namespace
{

auto partsOf(const Variable &it)
{
    return std::make_tuple(it.area, it.address, it.count, it.station);
}

auto partsOf(const Timing &it)
{
    return std::make_tuple(it.timeout, it.gap, it.late, it.turnaround, it.firstReconnect, it.lastReconnect);
}

auto partsOf(const HostOptions &it)
{
    return std::tuple_cat(partsOf(it.timing), std::make_tuple(it.remoteLink, it.blockWords, it.retries,
                                                              it.firstRest, it.longestRest, it.longestSilence));
}

auto partsOf(const ReportRule &it)
{
    return std::make_tuple(it.deadBand, it.least, it.longest);
}

auto partsOf(const WriteRule &it)
{
    return std::make_tuple(it.lowest, it.highest, it.step);
}

auto partsOf(const BrokerAddress &it)
{
    return std::make_tuple(it.host, it.port);
}

auto partsOf(const TlsSettings &it)
{
    return std::make_tuple(it.authorities, it.certificate, it.key);
}

auto partsOf(const LayoutSettings &it)
{
    return std::make_tuple(it.kind, it.base, it.group, it.primaryHost);
}

auto partsOf(const SpoolSettings &it)
{
    return std::make_tuple(it.file, it.mostBytes, it.longestAge, it.historyPerSecond);
}

auto partsOf(const CommandSettings &it)
{
    return std::make_tuple(it.longestAge, it.mostPerMinute, it.longestMessage);
}

auto partsOf(const HttpSettings &it)
{
    return std::make_tuple(it.address, it.port);
}

template <typename Settings>
bool isSame(const Settings &a, const Settings &b)
{
    return partsOf(a) == partsOf(b);
}

template <typename Settings>
bool isSame(const std::optional<Settings> &a, const std::optional<Settings> &b)
{
    return a.has_value() == b.has_value() && (!a || isSame(*a, *b));
}

template <typename Part, typename Compare>
bool areSame(const std::vector<Part> &a, const std::vector<Part> &b, Compare compare)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), compare);
}

bool isSameVariable(const GatewayTag &a, const GatewayTag &b)
{
    return isSame(a.tag.variable, b.tag.variable) && a.tag.type == b.tag.type;
}

bool isSameTag(const GatewayTag &a, const GatewayTag &b)
{
    return isSameVariable(a, b) && a.name == b.name && a.group == b.group && a.tag.unit == b.tag.unit &&
           a.tag.scaling.scale == b.tag.scaling.scale && a.tag.scaling.offset == b.tag.scaling.offset;
}

bool hasSameRules(const GatewayTag &a, const GatewayTag &b)
{
    return isSame(a.report, b.report) && isSame(a.write, b.write);
}

bool isSameLine(const GatewaySettings &a, const GatewaySettings &b)
{
    return a.link == b.link && a.interval == b.interval && isSame(a.host, b.host) &&
           areSame(a.tags, b.tags, isSameVariable);
}

bool isSameBroker(const BrokerSettings &a, const BrokerSettings &b)
{
    const auto isSameAddress = [](const BrokerAddress &one, const BrokerAddress &other) {
        return isSame(one, other);
    };
    return areSame(a.addresses, b.addresses, isSameAddress) && a.clientId == b.clientId && a.user == b.user &&
           a.passwordFile == b.passwordFile && isSame(a.tls, b.tls) && a.keepAlive == b.keepAlive &&
           a.mostInFlight == b.mostInFlight;
}

} // namespace

SettingsDifference differenceOf(const GatewaySettings &before, const GatewaySettings &after)
{
    SettingsDifference found;
    const bool isNamedAlike = before.name == after.name && isSame(before.layout, after.layout);
    found.line = !isSameLine(before, after);
    found.tags = !areSame(before.tags, after.tags, isSameTag) || before.groups != after.groups;
    found.content = found.tags || !isNamedAlike || !areSame(before.tags, after.tags, hasSameRules) ||
                    !isSame(before.commands, after.commands);
    // Sparkplug subscribes by stations, and its sessions have the metrics of their births.
    found.connection = !isNamedAlike || !isSameBroker(before.broker, after.broker) ||
                       (found.content && after.layout.kind == LayoutKind::Sparkplug);
    found.spool = !isSame(before.spool, after.spool) || before.layout.kind != after.layout.kind;
    found.http = !isSame(before.http, after.http);
    return found;
}

} // namespace fgs
