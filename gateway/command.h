// Commands from the network: who may write what, and one answer for each.
#ifndef FGS_GATEWAY_COMMAND_H
#define FGS_GATEWAY_COMMAND_H

#include "orders.h"
#include "settings.h"

#include <array>
#include <string>
#include <unordered_map>

namespace fgs
{

/// Why a command was refused or failed, as answers and metrics name it.
enum class CommandFailure {
    None,
    Retained,        ///< "retained"
    TooLarge,        ///< "tooLarge"
    NotJson,         ///< "notJson": or without what a command must have
    NoId,            ///< "noId"
    TooOld,          ///< "tooOld", "fromTheFuture" counts as it
    ReadOnly,        ///< "readOnly": the gateway writes nothing
    UnknownTag,      ///< "unknownTag"
    NotAllowed,      ///< "notAllowed"
    WrongType,       ///< "wrongType"
    OutOfRange,      ///< "outOfRange"
    OffStep,         ///< "offStep"
    TooMany,         ///< "tooMany": the rate, or too many wait
    LinkDown,        ///< "linkDown"
    StationDown,     ///< "stationDown"
    DeviceRefused,   ///< "deviceRefused": the controller answered so
    NotAcknowledged, ///< "notAcknowledged": given up; it may have been carried out
    NotRead,         ///< "notRead": acknowledged, but not read back
    Different,       ///< "different": the controller holds another value
    NotSent          ///< "notSent": another part of the command failed before, or the gateway ended
};
const int CommandFailureCount = 20;
/// "outOfRange"
const char *keyOf(CommandFailure failure);

enum class CommandResult { Verified, Failed, Expired, Superseded, Refused, Accepted, Rebirth };
/// "verified"
const char *keyOf(CommandResult result);

struct TagAnswer {
    std::string name;
    CommandResult result = CommandResult::Refused;
    CommandFailure failure = CommandFailure::None;
    std::string message;        ///< for people, empty if there is nothing to say
    std::optional<Sample> held; ///< what was read back
};

struct CommandAnswer {
    std::string id; ///< empty: the command has none
    CommandResult result = CommandResult::Refused;
    CommandFailure failure = CommandFailure::None;
    std::string message;
    std::vector<TagAnswer> tags;
};

/// Takes commands, checks them, hands them to the line, and gives one final answer for each id. The network's
/// thread; times are given.
class CommandDesk
{
public:
    /// All outlive it.
    CommandDesk(const GatewaySettings &theSettings, OrderDesk &theOrders, bool isReadOnly);

    /// Takes a command. `steady` is a clock that never jumps, `now` the time of day that ages are judged by.
    void take(const std::string &json, bool isRetained, const LineState &line, Epoch now, milliseconds steady);
    /// Takes the ends of orders over, and ends what has waited too long.
    void step(Epoch now, milliseconds steady);

    /// The answers that are due, oldest first; they stay until dropAnswer(). Bounded: the oldest are dropped.
    const std::deque<CommandAnswer> &answers() const { return due; }
    void dropAnswer() { due.pop_front(); }
    /// Whether a rebirth was asked for since the last call.
    bool takeRebirth();

    quint64 commands() const { return taken; }
    quint64 failures(CommandFailure failure) const { return failed[static_cast<std::size_t>(failure)]; }

private:
    std::deque<CommandAnswer> due;
    quint64 taken = 0;
    std::array<quint64, CommandFailureCount> failed = {};
};

} // namespace fgs

#endif
