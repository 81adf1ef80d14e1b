#include "keys.h"

#include <optional>

namespace fgs
{

namespace
{

struct Sequence {
    const char *bytes;
    Key key;
};

/// The terminals' two modes of cursor keys, the letters of less and vi.
const Sequence sequences[] = {
    {"\x1b[A", Key::Up},   {"\x1bOA", Key::Up},        {"k", Key::Up},       {"\x1b[B", Key::Down},
    {"\x1bOB", Key::Down}, {"j", Key::Down},           {"\n", Key::Down},    {"\x1b[5~", Key::PageUp},
    {"b", Key::PageUp},    {"\x1b[6~", Key::PageDown}, {" ", Key::PageDown}, {"\x1b[H", Key::Home},
    {"\x1bOH", Key::Home}, {"\x1b[1~", Key::Home},     {"g", Key::Home},     {"\x1b[F", Key::End},
    {"\x1bOF", Key::End},  {"\x1b[4~", Key::End},      {"G", Key::End},      {"q", Key::Quit},
    {"Q", Key::Quit},      {"e", Key::Each},           {"r", Key::Range},    {"t", Key::Trend},
};

const char Escape = '\x1b';

/// Bytes of the sequence at the front; 0 if more of it may come.
std::size_t lengthOfFirst(const std::string &input)
{
    if (input[0] != Escape)
        return 1;
    if (input.size() < 2)
        return 0;
    if (input[1] == 'O')
        return input.size() < 3 ? 0 : 3;
    if (input[1] != '[')
        return 1;
    const std::size_t last = input.find_first_not_of("0123456789;", 2);
    return last == std::string::npos ? 0 : last + 1;
}

std::optional<Key> keyOf(const std::string &bytes)
{
    for (const Sequence &sequence : sequences)
        if (bytes == sequence.bytes)
            return sequence.key;
    return std::nullopt;
}

} // namespace

std::vector<Key> takeKeys(std::string &input)
{
    std::vector<Key> keys;
    while (!input.empty()) {
        const std::size_t length = lengthOfFirst(input);
        if (length == 0)
            break;
        if (const std::optional<Key> key = keyOf(input.substr(0, length)))
            keys.push_back(*key);
        input.erase(0, length);
    }
    return keys;
}

} // namespace fgs
