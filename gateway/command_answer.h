// What becomes of a command.
#ifndef FGS_GATEWAY_COMMAND_ANSWER_H
#define FGS_GATEWAY_COMMAND_ANSWER_H

#include "sample.h"
#include "watch/tag.h"

#include <optional>
#include <string>
#include <vector>

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
    NotSent ///< "notSent": another part of the command failed before, the file was changed, or the gateway ended
};
const int CommandFailureCount = 20;
/// "outOfRange"
const char *keyOf(CommandFailure failure);

enum class CommandResult { Verified, Failed, Expired, Superseded, Refused, Accepted, Rebirth };
/// "verified"
const char *keyOf(CommandResult result);

/// What a controller was found to hold. It keeps its meaning when the settings change.
struct HeldValue {
    Tag tag; ///< that was written, as its order had it
    Quality quality = Quality::Good;
    Reason reason;  ///< why it is not good
    Epoch time = 0; ///< of the reply
    std::vector<quint32> values;
};

struct TagAnswer {
    std::string name;
    CommandResult result = CommandResult::Refused;
    CommandFailure failure = CommandFailure::None;
    std::string message;           ///< for people, empty if there is nothing to say
    std::optional<HeldValue> held; ///< what was read back
};

struct CommandAnswer {
    std::string id;          ///< empty: the command has none
    bool isNumbered = false; ///< the id is a number in JSON
    Epoch time = 0;          ///< when it was decided
    CommandResult result = CommandResult::Refused;
    CommandFailure failure = CommandFailure::None;
    std::string message;
    std::vector<TagAnswer> tags;
};

} // namespace fgs

#endif
