// The texts of the simulated controller's command line. What a text means can be written again, and then means the
// same; a text that means nothing is refused with a reason.
#include "target.h"
#include "tools/fgs-sim/setting_texts.h"

#include <cstdio>
#include <optional>

using namespace fgssim;
using fuzz::Input;
using fuzz::require;

namespace
{

/// The result; none if the text is refused.
template <typename Parse>
auto accepted(const std::string &text, Parse parse) -> std::optional<decltype(parse(text))>
{
    try {
        return parse(text);
    } catch (const BadText &bad) {
        require(bad.what()[0] != '\0', "refused without a reason");
        return std::nullopt;
    }
}

/// Parses, writes, parses again.
template <typename Parse, typename Write, typename IsSame>
void check(const std::string &text, Parse parse, Write write, IsSame isSame)
{
    const auto first = accepted(text, parse);
    if (!first)
        return;
    const std::string again = write(*first);
    const auto second = accepted(again, parse);
    require(second && isSame(*first, *second), "'" + text + "' written as '" + again + "' means something else");
}

void checkStations(const std::string &text)
{
    const auto write = [](const std::vector<unsigned> &stations) {
        std::string all;
        for (unsigned station : stations)
            all += (all.empty() ? "" : ",") + std::to_string(station);
        return all;
    };
    check(text, parseStations, write, std::equal_to<std::vector<unsigned>>());
}

void checkSeed(const std::string &text)
{
    check(
        text, parseSeed, [](std::uint64_t seed) { return std::to_string(seed); }, std::equal_to<std::uint64_t>());
}

std::string written(const Course &course)
{
    if (course.shape == Course::Shape::Fixed)
        return "fixed:" + std::to_string(course.from);
    return (course.shape == Course::Shape::Ramp ? "ramp:" : "walk:") + std::to_string(course.from) + ".." +
           std::to_string(course.to) + "/" + std::to_string(course.step);
}

void checkRange(const std::string &text)
{
    const auto write = [](const Range &range) {
        require(range.count >= 1 && range.first + range.count <= AddressesPerArea, "a range outside its area");
        return std::to_string(range.area->number) + ":" + addressText(*range.area, range.first) + "x" +
               std::to_string(range.count) + (range.station ? "@" + std::to_string(*range.station) : "") + "=" +
               written(range.course);
    };
    const auto isSame = [](const Range &a, const Range &b) {
        return a.area == b.area && a.first == b.first && a.count == b.count && a.station == b.station &&
               a.course.shape == b.course.shape && a.course.from == b.course.from && a.course.to == b.course.to &&
               a.course.step == b.course.step;
    };
    check(text, parseRange, write, isSame);
}

void checkFault(const std::string &text)
{
    const auto write = [](const std::pair<RandomFault, double> &fault) {
        char percent[40];
        std::snprintf(percent, sizeof percent, "%.17g", fault.second);
        return FaultNames[std::size_t(fault.first)] + std::string("=") + percent;
    };
    check(text, parseFault, write, std::equal_to<std::pair<RandomFault, double>>());
}

bool isSameLine(const SerialLine &a, const SerialLine &b)
{
    return a.baud == b.baud && a.parity == b.parity && a.stopBits == b.stopBits;
}

void checkSerialLine(const std::string &text)
{
    check(
        text, parseSerialLine, [](const SerialLine &line) { return textOf(line); }, isSameLine);
}

void checkSerialAddress(const std::string &text)
{
    check(
        text, parseSerialAddress,
        [](const SerialAddress &address) { return address.device + ":" + textOf(address.line); },
        [](const SerialAddress &a, const SerialAddress &b) {
            return a.device == b.device && isSameLine(a.line, b.line);
        });
}

void checkTcpAddress(const std::string &text)
{
    check(
        text, parseTcpAddress,
        [](const TcpAddress &address) { return "[" + address.host + "]:" + std::to_string(address.port); },
        [](const TcpAddress &a, const TcpAddress &b) { return a.host == b.host && a.port == b.port; });
}

} // namespace

// The first byte says what the text is to be. No text of a command line holds a null character.
int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static void (*const checks[])(const std::string &) = {
        checkStations, checkSeed, checkRange, checkFault, checkSerialLine, checkSerialAddress, checkTcpAddress};
    Input input(bytes, size);
    const auto check = checks[input.below(std::size(checks))];
    const std::string text = input.rest();
    check(text.substr(0, text.find('\0')));
    return 0;
}
