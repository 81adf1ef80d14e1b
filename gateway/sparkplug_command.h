// What Sparkplug hosts send to be written, as commands of the plain layout.
#ifndef FGS_GATEWAY_SPARKPLUG_COMMAND_H
#define FGS_GATEWAY_SPARKPLUG_COMMAND_H

#include "sparkplug_devices.h"

namespace fgs::sparkplug
{

const char RebirthMetric[] = "Node Control/Rebirth";

struct CommandPayload {
    std::string topic;
    std::string bytes;
    Payload payload; ///< of the bytes
};

/// The name of the command: its time and a digest of topic and bytes, so that a message that the broker repeats has
/// the same one. None if the payload has no time, because then the same write an hour later would pass for a
/// repeat.
std::optional<std::string> commandId(const CommandPayload &command);

/// Why nothing can be written by it, for people; empty: it can.
std::string faultIn(const Payload &payload);
/// {"id":..,"ts":..,"set":{..}} for a device. A tag with several values is an array if all of them are there, else
/// NAME/0 and so on. What is no metric of the device, so that it cannot be written, is DEVICE/METRIC.
std::string commandJson(const CommandPayload &command, const Device &device, const std::vector<GatewayTag> &tags);

} // namespace fgs::sparkplug

#endif
