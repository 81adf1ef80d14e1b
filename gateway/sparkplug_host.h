// Whether the primary host is there, by what it tells of itself at one broker.
#ifndef FGS_GATEWAY_SPARKPLUG_HOST_H
#define FGS_GATEWAY_SPARKPLUG_HOST_H

#include "moment.h"

#include <optional>
#include <string>

namespace fgs::sparkplug
{

/// For one connection: the first state that a broker tells is the newest that it has, whatever others have told.
class PrimaryHost
{
public:
    enum Taken {
        Counts,
        IsOld,  ///< than what was told before
        IsNone, ///< no state at all
    };
    /// Takes a message of its topic, {"online":true,"timestamp":MS}. Only one that counts changes something.
    Taken take(const std::string &payload);
    bool isOnline() const { return online; }

private:
    bool online = false;
    std::optional<Epoch> lastTold, lastOnline;
};

} // namespace fgs::sparkplug

#endif
