// How ./bench/plant tells its programs what to do: words on stdin, a line of JSON on stdout for each.
#ifndef TARN_BENCH_PLANT_COMMANDS_H
#define TARN_BENCH_PLANT_COMMANDS_H

#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>

namespace plant
{

/// Milliseconds and microseconds since 1970.
inline std::int64_t microsecondsNow()
{
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(since).count();
}
inline std::int64_t millisecondsNow()
{
    return microsecondsNow() / 1000;
}

/// The tag "w160" is at address 160, and this is what it holds in a synthetic session: a value says at which time
/// it was read. Simulated controllers hold the same but for a constant, which is another one for each station.
inline int valueAt(int address, std::int64_t milliseconds)
{
    const int length = 1000, tick = 20;
    return int((address + milliseconds / tick) % length);
}

/// Lines of stdin. To be asked when it is readable.
class Commands
{
public:
    /// Takes what is there. False: stdin has ended.
    bool read()
    {
        char part[256];
        const ssize_t size = ::read(STDIN_FILENO, part, sizeof part);
        if (size > 0)
            text.append(part, std::size_t(size));
        return size > 0;
    }
    std::optional<std::string> next()
    {
        const std::size_t end = text.find('\n');
        if (end == std::string::npos)
            return std::nullopt;
        const std::string line = text.substr(0, end);
        text.erase(0, end + 1);
        return line;
    }

private:
    std::string text;
};

template <typename Answer>
void answer(const Answer &text)
{
    std::cout << text << std::endl;
}

} // namespace plant

#endif
