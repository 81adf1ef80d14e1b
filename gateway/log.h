// Lines for people, without a flood of them.
#ifndef FGS_GATEWAY_LOG_H
#define FGS_GATEWAY_LOG_H

#include "command_answer.h"
#include "mailbox.h"

#include <functional>

namespace fgs
{

/// "command 17 refused: ..."; empty if all is well.
std::string textOf(const CommandAnswer &answer);

/// The network's thread; `steady` is a clock that never jumps.
class Log
{
public:
    explicit Log(std::function<void(const std::string &)> theTell) : tell(std::move(theTell)) {}

    void say(const std::string &text) { tell(text); }
    /// The same text at most once a minute; false: it was said less than a minute ago.
    bool saySeldom(const std::string &text, milliseconds steady);
    /// Of commands that came to nothing at most ten a minute, and then how many more there were.
    void say(const CommandAnswer &answer, milliseconds steady);
    /// Ends a minute of commands that is over.
    void step(milliseconds steady);

private:
    const std::function<void(const std::string &)> tell;
    std::map<std::string, milliseconds> said;
    milliseconds minuteEnd{0};
    int inMinute = 0;
};

} // namespace fgs

#endif
