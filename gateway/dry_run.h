// What a gateway would do: to its line, to its broker, and to its disk.
#ifndef FGS_GATEWAY_DRY_RUN_H
#define FGS_GATEWAY_DRY_RUN_H

#include "layout.h"
#include "watch/line_plan_text.h"
#include "watch/wall_clock.h"

namespace fgs
{

/// How the gateway's line and messages come out, if every value changes all the time.
struct GatewayPlan {
    std::vector<Tag> tags;
    LinePlan line;
    LinePauses pauses;
    std::optional<SerialAddress> serial; ///< none: the link is TCP and has no speed of its own
    LineSpeed speed;              ///< that the rest is reckoned with: the line's own, or the fastest usual one
    Time cycle{0};                ///< at this speed, and no shorter than the interval
    double messagesPerSecond = 0; ///< at most: one for each request and group in a cycle
    double recordBytes = 0;       ///< of one of them in the spool, estimated
    std::optional<std::int64_t> spoolBytes;
    /// Of the spool at this rate, or its longest age if that is less; none without a spool.
    std::optional<std::chrono::seconds> spoolLasts;
};

/// Nothing is opened. The process must have no host.
GatewayPlan planOf(const DriverApi &driver, const GatewaySettings &settings);
QStringList linesOf(const GatewayPlan &plan);
/// {"plan":{...}}
Json jsonOf(const GatewayPlan &plan);

/// Reads everything once over the open link, and gives the messages that the layout makes of it. The host has the
/// settings' variables. What cannot be read is told in the messages.
std::vector<Message> readOnce(Host &host, const Link &link, const WallClock &clock, const GatewaySettings &settings,
                              Layout &layout);
/// The topic and the payload; of a payload that is no text the hexadecimal bytes.
QString lineOf(const Message &message);
/// {"topic":..,"qos":..,"retained":..,"payload":..}
Json jsonOf(const Message &message);

} // namespace fgs

#endif
