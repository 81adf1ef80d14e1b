// The texts of the command line's values. Each function throws BadText, which says what is wrong and what to
// write instead.
#ifndef FGS_SIM_SETTING_TEXTS_H
#define FGS_SIM_SETTING_TEXTS_H

#include "sim/motion.h"
#include "sim/random_faults.h"
#include "sim/serial_line.h"
#include "sim/strikes.h"

#include <stdexcept>
#include <utility>
#include <variant>

namespace fgssim
{

class BadText : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// 1 to 255
unsigned parseStation(const std::string &text);

/// "1,2,5-9": ascending and each once.
std::vector<unsigned> parseStations(const std::string &text);

/// The same back: "1,2,5-9".
std::string stationsText(const std::vector<unsigned> &stations);

/// 0 or more
std::uint64_t parseSeed(const std::string &text);

/// "AREA:ADDRESS[xCOUNT][@STATION]"
Place parsePlace(const std::string &text);

/// "PLACE=[fixed:]VALUE | ramp:FROM..TO[/STEP] | walk:FROM..TO[/STEP]"
Range parseRange(const std::string &text);

/// What a place is set to: values, repeated until it is full, or a course.
struct Setting {
    Place place;
    std::variant<std::vector<std::uint32_t>, Course> content;
};
/// As parseRange() has it, or "PLACE=VALUE,VALUE...", with an address for each value if the count is left out.
Setting parseSetting(const std::string &text);

/// From `least` to an hour.
Time parseMilliseconds(const std::string &text, std::int64_t least);

/// "2.5": from a millisecond to 1,000,000 seconds.
Time parseSeconds(const std::string &text);

/// "10s", "1.5s", "500ms" or "1m30s", of h, m, s and ms: the same times, or also none if `least` is 0.
Time parseDuration(const std::string &text, Time least = std::chrono::milliseconds(1));

/// "x3": 1 to MostStrikes.
std::int64_t parseRepetitions(const std::string &text);

/// "12.5": from 0 to 100.
double parsePercent(const std::string &text);

/// "KIND=PERCENT"
std::pair<RandomFault, double> parseFault(const std::string &text);

/// "BAUD[,8E1]"
SerialLine parseSerialLine(const std::string &text);

struct SerialAddress {
    std::string device;
    SerialLine line;
};
/// "DEVICE[:BAUD[,8E1]]"
SerialAddress parseSerialAddress(const std::string &text);

struct TcpAddress {
    std::string host; ///< a numeric address
    unsigned port;    ///< 0: any free one
};
/// "[HOST:]PORT"; the host is a numeric address, IPv6 in square brackets, or "localhost".
TcpAddress parseTcpAddress(const std::string &text);

} // namespace fgssim

#endif
