#include "command_text.h"

#include "formats/suggestion.h"

#include <algorithm>
#include <set>

namespace fgs
{

namespace
{

const std::size_t Levels = 3; ///< of objects and arrays: the command, "set", an array of values
const std::size_t MostKeys = MostTagsOfCommand + 8;
const std::size_t LongestQuoted = 64; ///< bytes
const std::vector<std::string> CommandKeys = {"id", "ts", "set", "rebirth"};

[[noreturn]] void refuse(const std::string &message)
{
    throw Refusal(CommandFailure::NotJson, message);
}

/// Looks at the parts of a text while it is parsed, before anything is spent on the rest.
class CommandGuard
{
public:
    void see(int depth, Json::parse_event_t event, const Json &part)
    {
        using Event = Json::parse_event_t;
        if (event == Event::object_start || event == Event::array_start)
            open(static_cast<std::size_t>(depth));
        else if (event == Event::key)
            take(keys.at(static_cast<std::size_t>(depth) - 1), part.get<std::string>());
    }

private:
    void open(std::size_t depth)
    {
        if (depth >= Levels)
            refuse("objects and arrays are nested too deeply; \"set\" has values, or arrays of values");
        keys.at(depth).clear();
    }
    void take(std::set<std::string> &known, const std::string &key)
    {
        if (!known.insert(key).second)
            refuse("the key " + inQuotes(key) + " stands twice; name each once");
        if (++count > MostKeys)
            throw Refusal(CommandFailure::TooLarge, "more than " + std::to_string(MostTagsOfCommand) +
                                                        " tags; send them in several commands");
    }

    std::array<std::set<std::string>, Levels> keys; ///< of the open object at each level
    std::size_t count = 0;
};

bool isPrintable(const QString &text)
{
    const auto letters = text.toUcs4();
    return std::all_of(letters.begin(), letters.end(), [](uint letter) { return QChar::isPrint(letter); });
}

bool isId(const std::string &text)
{
    const QString letters = QString::fromStdString(text);
    return !letters.isEmpty() && letters.toUcs4().size() <= LongestId && isPrintable(letters);
}

void refuseUnknownKeys(const Json &json)
{
    for (const auto &[key, value] : json.items())
        if (std::find(CommandKeys.begin(), CommandKeys.end(), key) == CommandKeys.end())
            refuse("unknown key " + inQuotes(key) + "; " + formats::suggestionFor(key, CommandKeys));
}

/// Before all else that may be missing: nobody could tell whose answer it is.
void refuseWithoutId(const Json &json)
{
    if (!idOf(json))
        throw Refusal(CommandFailure::NoId, "the id is missing, or is neither a whole number nor a text of 1 to " +
                                                std::to_string(LongestId) + " printable characters");
}

std::optional<double> sentOf(const Json &json)
{
    const auto sent = json.find("ts");
    if (sent == json.end())
        return std::nullopt;
    if (!sent->is_number())
        refuse("\"ts\" is no number; give the milliseconds since 1970, UTC");
    return sent->get<double>();
}

bool rebirthOf(const Json &json)
{
    const auto rebirth = json.find("rebirth");
    if (rebirth == json.end())
        return false;
    if (*rebirth != Json(true))
        refuse("\"rebirth\" is not true; leave it out, or write true");
    return true;
}

std::vector<std::pair<std::string, Json>> setOf(const Json &json)
{
    const auto set = json.find("set");
    if (set == json.end())
        return {};
    if (!set->is_object() || set->empty())
        refuse(R"("set" is no object with a tag; write "set": {"TAG": VALUE})");
    if (set->size() > MostTagsOfCommand)
        throw Refusal(CommandFailure::TooLarge, std::to_string(set->size()) + " tags are more than " +
                                                    std::to_string(MostTagsOfCommand) +
                                                    "; send them in several commands");
    std::vector<std::pair<std::string, Json>> tags;
    for (const auto &[name, value] : set->items())
        tags.emplace_back(name, value);
    return tags;
}

void refuseContradictions(const Command &command, bool needsTime)
{
    if (command.wantsRebirth && !command.set.empty())
        refuse(R"("set" and "rebirth" stand together; send two commands)");
    if (!command.wantsRebirth && command.set.empty())
        refuse(R"(nothing is asked for; write "set": {"TAG": VALUE} or "rebirth": true)");
    if (needsTime && !command.wantsRebirth && !command.sent)
        refuse("\"ts\" is missing; give the milliseconds since 1970, UTC");
}

} // namespace

Json parseCommandText(const std::string &text)
{
    CommandGuard guard;
    const auto look = [&guard](int depth, Json::parse_event_t event, const Json &part) {
        guard.see(depth, event, part);
        return true;
    };
    try {
        Json json = Json::parse(text, look);
        if (!json.is_object())
            refuse(R"(no JSON object; write {"id": ..., "ts": ..., "set": {...}})");
        return json;
    } catch (const Json::parse_error &error) {
        refuse("no JSON from byte " + std::to_string(error.byte) + " on");
    } catch (const Json::exception &) {
        refuse("a number in it is too large");
    }
}

std::optional<CommandId> idOf(const Json &json)
{
    const auto id = json.find("id");
    if (id == json.end())
        return std::nullopt;
    if (id->is_number_integer())
        return CommandId{id->dump(), true};
    if (id->is_string() && isId(id->get<std::string>()))
        return CommandId{id->get<std::string>(), false};
    return std::nullopt;
}

Command commandOf(const Json &json, bool needsTime)
{
    refuseUnknownKeys(json);
    refuseWithoutId(json);
    Command command;
    command.wantsRebirth = rebirthOf(json);
    command.sent = sentOf(json);
    command.set = setOf(json);
    refuseContradictions(command, needsTime);
    return command;
}

std::string inQuotes(const std::string &text)
{
    std::string shown = text.substr(0, LongestQuoted);
    for (char &letter : shown)
        letter = letter >= ' ' && letter <= '~' ? letter : '?';
    return "'" + shown + (text.size() > LongestQuoted ? "..." : "") + "'";
}

} // namespace fgs
