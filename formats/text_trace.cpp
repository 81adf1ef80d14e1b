#include "text_trace.h"

#include <charconv>
#include <ctime>

namespace formats
{

namespace
{

const std::int64_t SecondInNanoseconds = 1000000000;
const std::size_t LongestCapture = 1 << 20; // bytes of one read; socat's own are at most 64 KB

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

int valueOfDigit(char digit)
{
    if (isDigit(digit))
        return digit - '0';
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r';
}

bool mayStandBetween(char character)
{
    return isBlank(character) || character == ',' || character == ':' || character == '-';
}

std::string shown(char character)
{
    const auto code = static_cast<unsigned char>(character);
    if (code > ' ' && code < 0x7F)
        return std::string("'") + character + "'";
    const char *const digits = "0123456789ABCDEF";
    return std::string("the byte 0x") + digits[code >> 4] + digits[code & 15];
}

/// What a text is read by, from front to back.
class Scanner
{
public:
    explicit Scanner(std::string_view text) : rest(text) {}

    bool take(char character)
    {
        const bool is = !rest.empty() && rest.front() == character;
        rest.remove_prefix(is);
        return is;
    }
    bool take(std::string_view word)
    {
        const bool is = rest.substr(0, word.size()) == word;
        rest.remove_prefix(is ? word.size() : 0);
        return is;
    }
    bool takeBlanks()
    {
        const std::size_t before = rest.size();
        while (!rest.empty() && isBlank(rest.front()))
            rest.remove_prefix(1);
        return rest.size() < before;
    }
    /// The digits of a number; none if they are too many or there are none.
    std::optional<std::int64_t> number(std::size_t mostDigits)
    {
        const std::string_view found = digits();
        std::int64_t value = 0;
        if (found.empty() || found.size() > mostDigits)
            return std::nullopt;
        std::from_chars(found.data(), found.data() + found.size(), value);
        return value;
    }
    std::string_view digits()
    {
        std::size_t count = 0;
        while (count < rest.size() && isDigit(rest[count]))
            ++count;
        const std::string_view found = rest.substr(0, count);
        rest.remove_prefix(count);
        return found;
    }
    /// Up to the next blank.
    std::string_view word()
    {
        std::size_t count = 0;
        while (count < rest.size() && !isBlank(rest[count]))
            ++count;
        const std::string_view found = rest.substr(0, count);
        rest.remove_prefix(count);
        return found;
    }

    std::string_view rest;
};

/// Nanoseconds of the digits behind a point.
std::int64_t fractionOf(std::string_view digits)
{
    std::int64_t value = 0;
    for (std::size_t i = 0; i < 9; ++i)
        value = value * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return value;
}

/// socat 1.7 prints microseconds, in its later versions with three zeros in front.
std::int64_t fractionOfSocat(std::string_view digits)
{
    return digits.size() == 9 && digits.substr(0, 3) == "000" ? fractionOf(digits.substr(3)) : fractionOf(digits);
}

/// "2026/11/22 04:45:43.000579411", local time, as nanoseconds since 1970.
std::optional<std::int64_t> takeLocalTime(Scanner &scanner)
{
    const char separators[] = {'/', '/', ' ', ':', ':', '.'};
    std::int64_t parts[6];
    for (std::size_t i = 0; i < 6; ++i) {
        const std::optional<std::int64_t> part = scanner.number(4);
        if (!part || !scanner.take(separators[i]))
            return std::nullopt;
        parts[i] = *part;
    }
    std::tm broken = {};
    broken.tm_year = static_cast<int>(parts[0]) - 1900;
    broken.tm_mon = static_cast<int>(parts[1]) - 1;
    broken.tm_mday = static_cast<int>(parts[2]);
    broken.tm_hour = static_cast<int>(parts[3]);
    broken.tm_min = static_cast<int>(parts[4]);
    broken.tm_sec = static_cast<int>(parts[5]);
    broken.tm_isdst = -1;
    const std::int64_t seconds = std::mktime(&broken), centuries = SecondInNanoseconds * 9; // ends in 2255
    if (seconds < -centuries || seconds > centuries)
        return std::nullopt;
    return seconds * SecondInNanoseconds + fractionOfSocat(scanner.digits());
}

/// What `socat -x` prints above the bytes.
struct Capture {
    std::int64_t time;
    std::size_t length;
};

std::optional<Capture> captureOf(std::string_view text)
{
    Scanner scanner(text.substr(1));
    scanner.takeBlanks();
    const std::optional<std::int64_t> time = takeLocalTime(scanner);
    if (!time || !scanner.takeBlanks() || !scanner.take("length="))
        return std::nullopt;
    const std::optional<std::int64_t> length = scanner.number(9);
    if (!length || !scanner.take(" from="))
        return std::nullopt;
    return Capture{*time, static_cast<std::size_t>(*length)};
}

/// The digits of a line of `socat -x -v`, without the characters beside them.
std::string_view withoutCharacters(std::string_view text)
{
    text.remove_prefix(std::min<std::size_t>(text.size(), 1));
    return text.substr(0, text.find("  "));
}

bool startsLikeADate(std::string_view text)
{
    Scanner scanner(text);
    scanner.takeBlanks();
    return scanner.digits().size() == 4 && scanner.take('/');
}

} // namespace

std::string bytesOfHex(std::string_view digits)
{
    std::string bytes;
    int upper = -1;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (mayStandBetween(digits[i]) && upper < 0)
            continue;
        if (upper < 0 && digits[i] == '0' && i + 1 < digits.size() && (digits[i + 1] | 0x20) == 'x') {
            ++i;
            continue;
        }
        const int value = valueOfDigit(digits[i]);
        if (value < 0 && upper < 0)
            throw std::invalid_argument(shown(digits[i]) + " at character " + std::to_string(i + 1) +
                                        " is no hexadecimal digit");
        if (value < 0)
            throw std::invalid_argument("a single digit ends at character " + std::to_string(i) +
                                        ": half a byte; write each byte with two digits");
        if (upper >= 0)
            bytes += static_cast<char>(upper << 4 | value);
        upper = upper < 0 ? value : -1;
    }
    if (upper >= 0)
        throw std::invalid_argument("an odd number of hexadecimal digits, so half a byte at the end; write each "
                                    "byte with two digits");
    return bytes;
}

void TextTraceReader::fail(const std::string &what) const
{
    throw TextTraceError(number, what);
}

std::string TextTraceReader::hexBytes(std::string_view digits) const
{
    try {
        return bytesOfHex(digits);
    } catch (const std::invalid_argument &error) {
        fail(error.what());
    }
}

/// Without its end. A line that is too long is refused before it is in memory.
bool TextTraceReader::takeLine()
{
    text.clear();
    int character = source.get();
    if (character == std::istream::traits_type::eof())
        return false;
    ++number;
    for (; character != std::istream::traits_type::eof() && character != '\n'; character = source.get()) {
        if (text.size() == LongestLine)
            fail("longer than " + std::to_string(LongestLine) +
                 " characters, so this is no text of frames; give a "
                 "pcapng file, or lines of hexadecimal digits");
        text += static_cast<char>(character);
    }
    while (!text.empty() && isBlank(text.back()))
        text.pop_back();
    return true;
}

TracedText TextTraceReader::candump()
{
    const char *const form =
        "this is not (SECONDS.FRACTION) LINE O|I HEX, as in (1700000000.000123) ttyUSB0 O 01FE01";
    Scanner scanner(std::string_view(text).substr(1));
    const std::optional<std::int64_t> seconds = scanner.number(10);
    const std::string_view fraction = scanner.take('.') ? scanner.digits() : std::string_view();
    if (!seconds || !scanner.take(')') || !scanner.takeBlanks() || *seconds > SecondInNanoseconds * 9)
        fail(form);
    TracedText traced = {std::string(scanner.word()),
                         *seconds * SecondInNanoseconds + fractionOf(fraction),
                         Direction::Unknown,
                         {},
                         number,
                         true};
    scanner.takeBlanks();
    const std::string_view direction = scanner.word();
    if (direction != "O" && direction != "I")
        fail(form);
    traced.direction = direction == "O" ? Direction::Outbound : Direction::Inbound;
    traced.bytes = hexBytes(scanner.rest);
    return traced;
}

TracedText TextTraceReader::socat()
{
    const std::optional<Capture> capture = captureOf(text);
    if (!capture || capture->length > LongestCapture)
        fail("this is not as socat -x prints it: > YYYY/MM/DD HH:MM:SS.FRACTION  length=N from=N to=N");
    TracedText traced = {{}, capture->time, text.front() == '>' ? Direction::Outbound : Direction::Inbound,
                         {}, number,        true};
    while (traced.bytes.size() < capture->length && takeLine())
        traced.bytes += hexBytes(withoutCharacters(text));
    if (traced.bytes.size() != capture->length)
        fail("length=" + std::to_string(capture->length) + " in line " + std::to_string(traced.line) + ", but " +
             std::to_string(traced.bytes.size()) + " bytes " +
             (source.eof() ? "until the text ends: it is cut off"
                           : "stand below it: bytes are missing or inserted"));
    return traced;
}

TracedText TextTraceReader::plain()
{
    Direction direction = Direction::Unknown;
    std::string_view digits = text;
    if (digits.front() == '>' || digits.front() == '<') {
        direction = digits.front() == '>' ? Direction::Outbound : Direction::Inbound;
        digits.remove_prefix(1);
    }
    return {{}, std::nullopt, direction, hexBytes(digits), number, false};
}

/// None if the line says nothing.
std::optional<TracedText> TextTraceReader::meaning()
{
    const std::size_t start = text.find_first_not_of(" \t\r");
    if (start == std::string::npos || text[start] == '#' || text == "--")
        return std::nullopt;
    const char first = text.front();
    if (first == '(')
        return candump();
    return (first == '>' || first == '<') && startsLikeADate(std::string_view(text).substr(1)) ? socat() : plain();
}

std::optional<TracedText> TextTraceReader::next()
{
    if (isOver)
        return std::nullopt;
    isOver = true; // unless it goes well
    while (takeLine())
        if (std::optional<TracedText> traced = meaning()) {
            isOver = false;
            return traced;
        }
    return std::nullopt;
}

} // namespace formats
