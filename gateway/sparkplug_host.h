// Whether the primary host is there, by what it tells of itself.
#ifndef FGS_GATEWAY_SPARKPLUG_HOST_H
#define FGS_GATEWAY_SPARKPLUG_HOST_H

#include "moment.h"

#include <optional>
#include <string>

namespace fgs::sparkplug
{

class PrimaryHost
{
public:
    /// Takes a message of its topic, {"online":true,"timestamp":MS}. Whether it counts: one that is older than what
    /// was told before does not, and neither does anything else.
    bool take(const std::string &payload);
    /// On a new connection it has to tell again. What is old remains old.
    void forget() { online = false; }
    bool isOnline() const { return online; }

private:
    bool online = false;
    std::optional<Epoch> lastTold, lastOnline;
};

} // namespace fgs::sparkplug

#endif
