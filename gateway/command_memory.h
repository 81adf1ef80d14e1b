// The ids that commands had lately, and what they were answered.
#ifndef FGS_GATEWAY_COMMAND_MEMORY_H
#define FGS_GATEWAY_COMMAND_MEMORY_H

#include "command_answer.h"

#include <deque>
#include <string>
#include <unordered_map>

namespace fgs
{

/// All that are under way, and the last ones that were answered. The ids 5 and "5" are two.
class CommandMemory
{
public:
    static constexpr std::size_t Most = 1000; ///< answered ones

    /// An answer stands for its id.
    void begin(const CommandAnswer &answer) { known[keyFor(answer)] = std::nullopt; }
    void end(const CommandAnswer &answer);

    bool knows(const CommandAnswer &asked) const { return known.count(keyFor(asked)) != 0; }
    /// Null while it is under way. Its id is known.
    const CommandAnswer *answerTo(const CommandAnswer &asked) const;

private:
    static std::string keyFor(const CommandAnswer &answer) { return (answer.isNumbered ? "#" : "'") + answer.id; }

    std::unordered_map<std::string, std::optional<CommandAnswer>> known;
    std::deque<std::string> answered; ///< oldest first
};

} // namespace fgs

#endif
