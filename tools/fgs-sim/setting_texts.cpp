#include "setting_texts.h"

#include <algorithm>
#include <arpa/inet.h>
#include <bitset>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace fgssim
{

namespace
{

const unsigned MaxStation = 255;

std::string quoted(const std::string &text)
{
    return "'" + text + "'";
}

// A whole text that is a number in the base and inside the limits.
std::int64_t number(const std::string &text, const std::string &what, std::int64_t low, std::int64_t high)
{
    std::int64_t value = 0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || value < low || value > high)
        throw BadText(what + " " + quoted(text) + " is not a whole number from " + std::to_string(low) + " to " +
                      std::to_string(high));
    return value;
}

// The same for hexadecimal and octal numbers from 0 on.
std::int64_t number(const std::string &text, int base, std::int64_t high)
{
    std::uint32_t value = 0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc() && rest == end && value <= high ? std::int64_t(value) : -1;
}

// A decimal number with or without a fraction; not a number (NaN) if the text is none.
double fraction(const std::string &text)
{
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    const bool isPlain = !text.empty() && text.find_first_not_of("0123456789.+-eE") == std::string::npos;
    return isPlain && *end == '\0' ? value : NAN;
}

unsigned parseAddress(const std::string &text, const Area &area)
{
    const std::int64_t address = number(text, area.base, AddressesPerArea - 1);
    if (address < 0)
        throw BadText("address " + quoted(text) + " is not " + (area.base == 8 ? "an octal" : "a decimal") +
                      " number from 0 to " + addressText(area, AddressesPerArea - 1));
    return unsigned(address);
}

struct Unit {
    const char *name;
    double seconds;
};
const Unit Units[] = {{"h", 3600}, {"m", 60}, {"s", 1}, {"ms", 0.001}}; // in the order of a text

// "1m30s": each unit at most once; not a number (NaN) if the text is no such time. Not as fraction() does it, which
// depends on the locale: a program that runs has the user's.
double secondsOf(const std::string &text)
{
    const char *at = text.data(), *const end = at + text.size();
    double sum = at == end ? NAN : 0;
    for (const Unit *unit = Units; at != end; ++unit) {
        double value = 0;
        const auto [behind, error] = std::from_chars(at, end, value);
        at = std::find_if_not(behind, end, [](char letter) { return letter >= 'a' && letter <= 'z'; });
        unit = std::find_if(unit, std::end(Units),
                            [name = std::string(behind, at)](const Unit &each) { return each.name == name; });
        if (error != std::errc() || !(value >= 0) || unit == std::end(Units))
            return NAN;
        sum += value * unit->seconds;
    }
    return sum;
}

// The text before and after the first separator.
struct Halves {
    std::string left, right;
    bool split;
};

Halves halves(const std::string &text, const std::string &separator)
{
    const std::size_t at = text.find(separator);
    if (at == std::string::npos)
        return {text, {}, false};
    return {text.substr(0, at), text.substr(at + separator.size()), true};
}

void addStations(const std::string &text, std::bitset<MaxStation + 1> &stations)
{
    const Halves ends = halves(text, "-");
    const unsigned first = parseStation(ends.left);
    const unsigned last = ends.split ? parseStation(ends.right) : first;
    if (last < first)
        throw BadText("stations " + quoted(text) + " run backwards; write the smaller one first");
    for (unsigned station = first; station <= last; ++station)
        stations.set(station);
}

struct Limits {
    std::int64_t low, high;
};

Limits limitsOf(AreaKind kind)
{
    switch (kind) {
    case AreaKind::Bit:
        return {0, 1};
    case AreaKind::Word:
        return {INT16_MIN, UINT16_MAX};
    case AreaKind::DoubleWord:
        break;
    }
    return {INT32_MIN, UINT32_MAX};
}

std::int64_t parseValue(const std::string &text, AreaKind kind)
{
    const Limits limits = limitsOf(kind);
    if (text.rfind("0x", 0) == 0) {
        const std::int64_t value = number(text.substr(2), 16, limits.high);
        if (value >= 0)
            return value;
    }
    return number(text, "value", limits.low, limits.high);
}

Course parseCourse(const std::string &text, AreaKind kind)
{
    const Halves parts = halves(text, ":");
    if (parts.left == "fixed" || !parts.split) {
        const std::int64_t value = parseValue(parts.split ? parts.right : parts.left, kind);
        return {Course::Shape::Fixed, value, value, 1};
    }
    const Halves stepped = halves(parts.right, "/");
    const Halves ends = halves(stepped.left, "..");
    if ((parts.left != "ramp" && parts.left != "walk") || !ends.split)
        throw BadText(quoted(text) + " is none of fixed:VALUE, ramp:FROM..TO/STEP and walk:FROM..TO/STEP");
    return {parts.left == "ramp" ? Course::Shape::Ramp : Course::Shape::Walk, parseValue(ends.left, kind),
            parseValue(ends.right, kind), stepped.split ? number(stepped.right, "step", 1, UINT32_MAX) : 1};
}

unsigned parseCount(const std::string &text, const Place &place)
{
    return unsigned(number(text, "count", 1, AddressesPerArea - place.first));
}

/// The sides of the equals sign: a place and what it is set to.
Halves parseSides(const std::string &text)
{
    Halves sides = halves(text, "=");
    if (!sides.split)
        throw BadText(quoted(text) + " gives no value; write for instance 5:100=fixed:42");
    return sides;
}

std::vector<std::uint32_t> parseValues(const std::string &text, AreaKind kind)
{
    std::vector<std::uint32_t> values;
    Halves list{{}, text, true};
    while (list.split) {
        list = halves(list.right, ",");
        values.push_back(cutToWidth(parseValue(list.left, kind), kind));
    }
    return values;
}

Setting valuesAt(Place place, bool isCounted, std::vector<std::uint32_t> values)
{
    if (!isCounted)
        place.count = parseCount(std::to_string(values.size()), place);
    if (values.size() > place.count)
        throw BadText(std::to_string(values.size()) + " values do not fit into " +
                      counted(place.count, place.area->kind));
    return {place, std::move(values)};
}

bool isNumericHost(const std::string &host)
{
    in6_addr any; // large enough for both
    return ::inet_pton(AF_INET, host.c_str(), &any) == 1 || ::inet_pton(AF_INET6, host.c_str(), &any) == 1;
}

bool isSerialLine(const std::string &text)
{
    const std::string baud = halves(text, ",").left;
    return !baud.empty() && baud.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

unsigned parseStation(const std::string &text)
{
    return unsigned(number(text, "station", 1, MaxStation));
}

std::vector<unsigned> parseStations(const std::string &text)
{
    std::bitset<MaxStation + 1> present;
    Halves list{{}, text, true};
    while (list.split) {
        list = halves(list.right, ",");
        addStations(list.left, present);
    }
    std::vector<unsigned> stations;
    for (unsigned station = 1; station <= MaxStation; ++station) {
        if (present[station])
            stations.push_back(station);
    }
    return stations;
}

std::string stationsText(const std::vector<unsigned> &stations)
{
    std::string text;
    for (std::size_t i = 0, last = 0; i < stations.size(); i = last + 1) {
        for (last = i; last + 1 < stations.size() && stations[last + 1] == stations[last] + 1;)
            ++last;
        text += (i == 0 ? "" : ",") + std::to_string(stations[i]) +
                (last == i       ? ""
                 : last == i + 1 ? ","
                                 : "-") +
                (last == i ? "" : std::to_string(stations[last]));
    }
    return text;
}

std::uint64_t parseSeed(const std::string &text)
{
    return std::uint64_t(number(text, "seed", 0, INT64_MAX));
}

Place parsePlace(const std::string &text)
{
    const Halves sides = halves(text, "@");
    const Halves parts = halves(sides.left, ":");
    if (!parts.split)
        throw BadText(quoted(sides.left) + " names no address; write AREA:ADDRESS, for instance 5:100");
    Place place{};
    place.area = &areas()[std::size_t(number(parts.left, "area", 0, std::int64_t(areas().size()) - 1))];
    const Halves sized = halves(parts.right, "x");
    place.first = parseAddress(sized.left, *place.area);
    place.count = sized.split ? parseCount(sized.right, place) : 1;
    if (sides.split)
        place.station = parseStation(sides.right);
    return place;
}

Range parseRange(const std::string &text)
{
    const Halves sides = parseSides(text);
    const Place place = parsePlace(sides.left);
    return {place, parseCourse(sides.right, place.area->kind)};
}

Setting parseSetting(const std::string &text)
{
    const Halves sides = parseSides(text);
    const Place place = parsePlace(sides.left);
    if (sides.right.find(',') != std::string::npos)
        return valuesAt(place, halves(sides.left, "x").split, parseValues(sides.right, place.area->kind));
    const Course course = parseCourse(sides.right, place.area->kind);
    if (course.shape != Course::Shape::Fixed)
        return {place, course};
    return {place, std::vector<std::uint32_t>{cutToWidth(course.from, place.area->kind)}};
}

Time parseMilliseconds(const std::string &text, std::int64_t least)
{
    return std::chrono::milliseconds(number(text, "time in milliseconds", least, 3600000));
}

Time parseSeconds(const std::string &text)
{
    const double seconds = fraction(text);
    if (!(seconds >= 0.001 && seconds <= 1e6))
        throw BadText("time in seconds " + quoted(text) + " is not a number from 0.001 to 1000000");
    return std::chrono::duration_cast<Time>(std::chrono::duration<double>(seconds));
}

Time parseDuration(const std::string &text, Time least)
{
    const double seconds = secondsOf(text);
    if (!(seconds >= std::chrono::duration<double>(least).count() && seconds <= 1e6))
        throw BadText(quoted(text) + " is no time from " + (least == Time(0) ? "0s" : "1ms") +
                      " to 1000000s; write for instance 10s, 1m30s or 500ms");
    return std::chrono::duration_cast<Time>(std::chrono::duration<double>(seconds));
}

std::int64_t parseRepetitions(const std::string &text)
{
    if (text.empty() || text.front() != 'x')
        throw BadText(quoted(text) + " does not say how often; write for instance x3");
    return number(text.substr(1), "how often", 1, MostStrikes);
}

double parsePercent(const std::string &text)
{
    const double percent = fraction(text);
    if (!(percent >= 0 && percent <= 100))
        throw BadText("percentage " + quoted(text) + " is not a number from 0 to 100");
    return percent;
}

std::pair<RandomFault, double> parseFault(const std::string &text)
{
    const Halves parts = halves(text, "=");
    for (std::size_t kind = 0; parts.split && kind < FaultKinds; ++kind) {
        if (parts.left != FaultNames[kind])
            continue;
        return {RandomFault(kind), parsePercent(parts.right)};
    }
    throw BadText(quoted(text) + " is not KIND=PERCENT; the kinds are silence, late, crc, short, long and noise");
}

SerialLine parseSerialLine(const std::string &text)
{
    const Halves parts = halves(text, ",");
    SerialLine line;
    line.baud = int(number(parts.left, "baud rate", 50, 4000000));
    if (!parts.split)
        return line;
    const std::string &format = parts.right;
    const bool valid = format.size() == 3 && format[0] == '8' && std::string("NEO").find(format[1]) < 3 &&
                       (format[2] == '1' || format[2] == '2');
    if (!valid)
        throw BadText("line format " + quoted(format) + " is not one of 8N1, 8N2, 8E1, 8E2, 8O1 and 8O2");
    line.parity = format[1];
    line.stopBits = format[2] - '0';
    return line;
}

SerialAddress parseSerialAddress(const std::string &text)
{
    const std::size_t colon = text.rfind(':');
    const bool withLine = colon != std::string::npos && isSerialLine(text.substr(colon + 1));
    SerialAddress address{withLine ? text.substr(0, colon) : text,
                          withLine ? parseSerialLine(text.substr(colon + 1)) : SerialLine()};
    if (address.device.empty())
        throw BadText(quoted(text) + " names no device; write for instance /dev/ttyUSB0:19200,8E1");
    return address;
}

TcpAddress parseTcpAddress(const std::string &text)
{
    const std::size_t colon = text.rfind(':');
    const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
    std::string host = colon == std::string::npos ? "127.0.0.1" : text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    if (host == "localhost")
        host = "127.0.0.1";
    if (!isNumericHost(host))
        throw BadText("host " + quoted(host) + " is no numeric address; write for instance 127.0.0.1:5020");
    return {host, unsigned(number(port, "port", 0, UINT16_MAX))};
}

} // namespace fgssim
