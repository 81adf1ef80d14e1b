#include "command_memory.h"

namespace fgs
{

void CommandMemory::end(const CommandAnswer &answer)
{
    answered.push_back(keyFor(answer));
    known[answered.back()] = answer;
    if (answered.size() <= Most)
        return;
    known.erase(answered.front());
    answered.pop_front();
}

const CommandAnswer *CommandMemory::answerTo(const CommandAnswer &asked) const
{
    const std::optional<CommandAnswer> &answer = known.at(keyFor(asked));
    return answer ? &*answer : nullptr;
}

} // namespace fgs
