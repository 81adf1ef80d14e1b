// Commands as they are sent: JSON, checked for its shape only.
#ifndef FGS_GATEWAY_COMMAND_TEXT_H
#define FGS_GATEWAY_COMMAND_TEXT_H

#include "command_answer.h"

#include "watch/json.h"

#include <stdexcept>
#include <utility>

namespace fgs
{

/// A command, or a tag of it, is not carried out; the message tells people why.
class Refusal : public std::runtime_error
{
public:
    Refusal(CommandFailure why, const std::string &message) : std::runtime_error(message), failure(why) {}

    const CommandFailure failure;
};

struct CommandId {
    std::string text;
    bool isNumber = false;
};

struct Command {
    bool wantsRebirth = false;                     ///< then nothing is set
    std::optional<double> sent;                    ///< by the sender's clock, milliseconds since 1970
    std::vector<std::pair<std::string, Json>> set; ///< tags by name, in the order of the text
};

const std::size_t MostTagsOfCommand = 256;
const int LongestId = 64; ///< characters

/// An object. Throws Refusal: one key stands twice, there are too many, or it is no JSON.
Json parseCommandText(const std::string &text);
/// None if there is none, or if it cannot be one.
std::optional<CommandId> idOf(const Json &json);
/// Throws Refusal if something is unknown, missing (the id first) or of the wrong kind. `needsTime`: for what is
/// set.
Command commandOf(const Json &json, bool needsTime);

/// A text of somebody else, short and printable, between ''.
std::string inQuotes(const std::string &text);

} // namespace fgs

#endif
