#include "log.h"

namespace fgs
{

namespace
{

const milliseconds Minute{60000};
const int MostInMinute = 10;
const std::size_t MostSaid = 64;

/// What the sender chose is cut, and nothing of it moves the cursor.
std::string printable(const std::string &text)
{
    std::string shown = text.substr(0, 64);
    for (char &letter : shown)
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F)
            letter = '?';
    return shown;
}

} // namespace

std::string textOf(const CommandAnswer &answer)
{
    if (answer.failure == CommandFailure::None)
        return {};
    const std::string id = answer.id.empty() ? std::string("without an id") : "'" + printable(answer.id) + "'";
    const std::string reason = answer.message.empty() ? std::string() : "; " + answer.message;
    return "command " + id + ' ' + keyOf(answer.result) + ": " + keyOf(answer.failure) + reason;
}

bool Log::saySeldom(const std::string &text, milliseconds steady)
{
    if (said.size() >= MostSaid)
        said.clear();
    const auto found = said.find(text);
    if (found != said.end() && steady - found->second < Minute)
        return false;
    said[text] = steady;
    tell(text);
    return true;
}

void Log::say(const CommandAnswer &answer, milliseconds steady)
{
    const std::string text = textOf(answer);
    if (text.empty())
        return;
    step(steady);
    if (inMinute == 0)
        minuteEnd = steady + Minute;
    if (++inMinute <= MostInMinute)
        tell(text);
}

void Log::step(milliseconds steady)
{
    if (inMinute == 0 || steady < minuteEnd)
        return;
    if (inMinute > MostInMinute)
        tell(std::to_string(inMinute - MostInMinute) + " more commands were refused or failed within a minute");
    inMinute = 0;
}

} // namespace fgs
