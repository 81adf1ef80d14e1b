// Any bytes as text of what was on a line: bytes, or an error with its line, and nothing after it; what was read
// can be written, and then reads the same.
#include "formats/text_trace.h"
#include "target.h"

#include <algorithm>
#include <sstream>
#include <vector>

using namespace formats;
using fuzz::require;

namespace
{

struct Reading {
    std::vector<TracedText> texts;
    bool failed = false;
};

Reading read(const std::string &text)
{
    std::istringstream source(text);
    TextTraceReader reader(source);
    Reading reading;
    const auto lines = std::uint64_t(std::count(text.begin(), text.end(), '\n')) + 1;
    try {
        while (std::optional<TracedText> traced = reader.next()) {
            require(traced->line >= 1 && traced->line <= lines, "bytes of a line that is not there");
            reading.texts.push_back(std::move(*traced));
        }
    } catch (const TextTraceError &error) {
        reading.failed = true;
        require(error.line >= 1 && error.line <= lines, "an error in a line that is not there");
        require(!reader.next(), "bytes after an error");
    }
    return reading;
}

std::string hex(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes)
        for (const int digit : {byte >> 4 & 15, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

const char *markOf(Direction direction)
{
    return direction == Direction::Outbound ? "> " : direction == Direction::Inbound ? "< " : "";
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(bytes), size);
    const Reading reading = read(text);
    std::string again;
    std::vector<std::string> expected;
    for (const TracedText &traced : reading.texts) {
        require(traced.bytes.size() <= size, "more bytes than there are digits for");
        if (traced.bytes.empty() || traced.bytes.size() > 1000) // a plain line of nothing says nothing
            continue;
        again += markOf(traced.direction) + hex(traced.bytes) + "\n";
        expected.push_back(traced.bytes);
    }
    const Reading second = read(again);
    require(!second.failed && second.texts.size() == expected.size(), "bytes are lost when they are written");
    for (std::size_t i = 0; i < expected.size(); ++i)
        require(second.texts[i].bytes == expected[i], "bytes are others when they are written");
    return 0;
}
