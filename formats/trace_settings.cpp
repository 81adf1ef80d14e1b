#include "trace_settings.h"

#include <stdexcept>

namespace formats
{

namespace
{

const std::uint64_t GreatestLimit = std::uint64_t(1) << 50;

/// 1 for what is no letter of a size.
std::uint64_t factorOf(char letter)
{
    const std::string letters = "KMG";
    const std::size_t at = letters.find(letter);
    return std::uint64_t(1) << (at == std::string::npos ? 0 : 10 * (at + 1));
}

} // namespace

std::uint64_t parseTraceLimit(const std::string &text)
{
    const std::uint64_t factor = text.empty() ? 1 : factorOf(text.back());
    const std::string digits = text.substr(0, text.size() - (factor > 1));
    const bool isNumber =
        !digits.empty() && digits.size() <= 15 && digits.find_first_not_of("0123456789") == std::string::npos;
    const std::uint64_t number = isNumber ? std::stoull(digits) : 0;
    if (number > GreatestLimit / factor || number * factor < LeastTraceLimit)
        throw std::invalid_argument("'" + text + "' is no size from 64K to 1048576G, like 10M");
    return number * factor;
}

std::string faultOf(const TraceSettings &settings)
{
    if (settings.limit && !settings.isWanted())
        return "--trace-limit needs --trace FILE";
    if (settings.limit && settings.isToStdout())
        return "--trace-limit bounds files, and --trace=- is none; leave it out, or name a file";
    return {};
}

} // namespace formats
