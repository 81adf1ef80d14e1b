#include "sparkplug_host.h"

#include <nlohmann/json.hpp>

namespace fgs::sparkplug
{

PrimaryHost::Taken PrimaryHost::take(const std::string &payload)
{
    const nlohmann::json state = nlohmann::json::parse(payload, nullptr, false);
    if (!state.is_object() || !state.contains("online") || !state.contains("timestamp"))
        return IsNone;
    if (!state["online"].is_boolean() || !state["timestamp"].is_number_integer())
        return IsNone;
    const Epoch time = state["timestamp"].get<Epoch>();
    const bool isNowOnline = state["online"].get<bool>();
    const std::optional<Epoch> &least = isNowOnline ? lastTold : lastOnline;
    if (least && time < *least)
        return IsOld;
    online = isNowOnline;
    lastTold = time;
    if (online)
        lastOnline = time;
    return Counts;
}

} // namespace fgs::sparkplug
