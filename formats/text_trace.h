// Reads what was on a line from text, line by line, in constant memory.
//
//   01 FE 01 08 02 64 00 AA BE                        bytes; "> " or "< " in front: sent, received
//   (1700000000.000123) ttyUSB0 O 01FE01080264        candump's form: seconds since 1970, line, O sent or I
//   received > 2026/11/22 04:45:43.000579411  length=9 from=0 to=8       what `socat -x` prints, or `socat -x -v`,
//    01 fe 01 08 02 64 00 aa be                                 in local time
//
// Lines without anything, and those that begin with #, say nothing.
#ifndef FORMATS_TEXT_TRACE_H
#define FORMATS_TEXT_TRACE_H

#include "pcapng.h"

#include <istream>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace formats
{

/// The text cannot be read on; the error says in which line, what is wrong and what to do.
class TextTraceError : public std::runtime_error
{
public:
    TextTraceError(std::uint64_t where, const std::string &what)
        : std::runtime_error("line " + std::to_string(where) + ": " + what), line(where)
    {
    }

    const std::uint64_t line; ///< counted from 1
};

/// Bytes as a text has them.
struct TracedText {
    std::string lineName;             ///< "ttyUSB0"; empty: the text has none
    std::optional<std::int64_t> time; ///< nanoseconds since 1970 in UTC
    Direction direction;
    std::string bytes;  ///< may be none: nothing was on the line
    std::uint64_t line; ///< of the text, where it begins, counted from 1
    bool mayBePart;     ///< recorded as it was read: a frame may go on in the next one of the same direction
};

class TextTraceReader
{
public:
    /// The source outlives the reader.
    explicit TextTraceReader(std::istream &theSource) : source(theSource) {}

    /// The next bytes; none once all have been read. Throws TextTraceError: what was read before is whole, and
    /// nothing comes after it.
    std::optional<TracedText> next();

    static const std::size_t LongestLine = 1 << 16; ///< characters

private:
    bool takeLine();
    std::optional<TracedText> meaning();
    TracedText candump();
    TracedText socat();
    TracedText plain();
    std::string hexBytes(std::string_view digits) const;
    [[noreturn]] void fail(const std::string &what) const;

    std::istream &source;
    std::string text;         ///< of the line
    std::uint64_t number = 0; ///< of the line
    bool isOver = false;
};

/// The bytes of pairs of hexadecimal digits; blanks, commas, colons, hyphens and 0x may stand between them. Throws
/// std::invalid_argument, which says what is wrong and what to write instead.
std::string bytesOfHex(std::string_view digits);

} // namespace formats

#endif
