// Readings, events and results as JSON objects. docs/json.md describes them.
#ifndef FGS_WATCH_JSON_H
#define FGS_WATCH_JSON_H

#include "wall_clock.h"
#include "writing.h"

#include <nlohmann/json.hpp>

namespace fgs
{

/// Keeps the order of its keys.
using Json = nlohmann::ordered_json;

/// In JSON text every character has its place; what is no UTF-8 is replaced.
QString lineOf(const Json &json);

struct JsonStyle {
    Format format;
    const WallClock &clock;
    Time start;                 ///< that "seconds" counts from
    Time timeout = Time::max(); ///< of an answer
    bool isRemote = false;      ///< everything goes by remote frames
};

/// The reading is of the tag's variable.
Json jsonOf(const Tag &tag, const Reading &reading, const JsonStyle &style, Time now);
Json jsonOf(const WriteReport &report, const JsonStyle &style, Time now);
Json jsonOf(const LineEvent &event, const JsonStyle &style);
/// {"summary":{...}}
Json jsonOf(const Statistics &statistics, const JsonStyle &style, Time now);

/// With the digits after the point that people read, milliseconds.
double secondsOf(Time time);
double millisecondsOf(Time time);

} // namespace fgs

#endif
