// The stations as Sparkplug devices: what they are called, and which tag a metric of theirs is.
#ifndef FGS_GATEWAY_SPARKPLUG_DEVICES_H
#define FGS_GATEWAY_SPARKPLUG_DEVICES_H

#include "sparkplug_metrics.h"

#include <map>

namespace fgs::sparkplug
{

struct MetricPlace {
    std::size_t tag;   ///< index in GatewaySettings::tags
    std::size_t value; ///< of the tag's
    DataType type;
};

struct Device {
    std::string name; ///< "station-1"
    int station;
    std::vector<std::size_t> tags;              ///< in their order
    std::map<std::string, MetricPlace> metrics; ///< by name
};

std::string deviceName(int station);
/// Those with tags, by station. Throws TextError if two metrics of the gateway would differ in case alone.
std::vector<Device> devicesOf(const std::vector<GatewayTag> &tags);

} // namespace fgs::sparkplug

#endif
