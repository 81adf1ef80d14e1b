// Settings of gateways, made without a file.
#ifndef TARN_TESTS_GATEWAY_SETTINGS_H
#define TARN_TESTS_GATEWAY_SETTINGS_H

#include "gateway/sample.h"
#include "gateway/settings.h"

#include <cstring>

namespace fgs
{

/// A tag without a rule of any kind: gatewayTag("temp", "5:100:s16", {0.1}).
inline GatewayTag gatewayTag(const std::string &name, const char *variable, Scaling scaling = Scaling(),
                             std::size_t group = 0)
{
    GatewayTag tag;
    tag.tag = parseTag(QString::fromLatin1(variable));
    tag.tag.name = QString::fromStdString(name);
    tag.tag.scaling = scaling;
    tag.name = name;
    tag.group = group;
    return tag;
}

inline GatewayTag writableTag(GatewayTag tag, WriteRule rule)
{
    tag.write = rule;
    return tag;
}

/// "plant/hall1/press7", plain.
inline GatewaySettings gatewaySettings(const std::vector<std::string> &groups, const std::vector<GatewayTag> &tags)
{
    GatewaySettings settings;
    settings.name = "press7";
    settings.layout.base = "plant/hall1";
    settings.groups = groups;
    settings.tags = tags;
    return settings;
}

inline Sample goodSample(std::size_t tag, const std::vector<quint32> &values, Epoch time = 0)
{
    return {tag, Quality::Good, Reason(), time, values};
}

inline Reason failedReason(Outcome outcome)
{
    Reason reason;
    reason.kind = Reason::Failed;
    reason.outcome = outcome;
    return reason;
}

inline Sample staleSample(std::size_t tag, const std::vector<quint32> &values, Epoch time = 0)
{
    return {tag, Quality::Stale, failedReason(Outcome::NoReply), time, values};
}

inline Sample unknownSample(std::size_t tag, Epoch time = 0)
{
    return {tag, Quality::Unknown, failedReason(Outcome::NoReply), time, {}};
}

inline quint32 bitsOfFloat(float number)
{
    quint32 bits = 0;
    static_assert(sizeof bits == sizeof number, "IEEE 754 single precision");
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

} // namespace fgs

#endif
