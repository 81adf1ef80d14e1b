#include "json.h"

#include "host/remote_frame.h"

#include <cmath>

namespace fgs
{

namespace
{

std::string utf8(const QString &text)
{
    return text.toStdString();
}

/// A number wherever JSON has one for it.
Json valueJson(const ValueType &type, const QString &text, bool isFraction)
{
    if (type.meaning == ValueType::Text || type.meaning == ValueType::Hex)
        return utf8(text);
    const double number = text.toDouble();
    if (!isFraction)
        return static_cast<qint64>(number);
    return std::isfinite(number) && text != QLatin1String("nan") ? Json(number) : Json(utf8(text));
}

Json valuesJson(const Tag &tag, Format format, const std::vector<quint32> &elements)
{
    const ValueType &type = tag.typeIn(format);
    Json array = Json::array();
    const bool isFraction = type.meaning == ValueType::Float || !tag.scaling.isNone();
    for (const QString &text : valueTexts(tag, format, elements))
        array.push_back(valueJson(type, text, isFraction));
    return array;
}

/// The values as they stand in the registers.
Json rawJson(Tag tag, Format format, const std::vector<quint32> &elements)
{
    tag.scaling = Scaling();
    return valuesJson(tag, format, elements);
}

void addReason(Json &json, const Reason &reason)
{
    if (reason.kind == Reason::None)
        return;
    json["reason"] = keyOf(reason);
    if (reason.kind == Reason::PlaceSilent)
        for (const Variable &place : reason.places)
            json["places"].push_back(utf8(textOf(place)));
    if (reason.kind == Reason::Failed && reason.outcome == Outcome::Incomplete) {
        json["received"] = reason.received;
        json["expected"] = reason.expected;
    }
}

const char *keyOf(LineEvent::EventKind kind)
{
    static const char *const keys[] = {"lost",           "open",        "stationDown", "stationUp",
                                       "unaskedAnswers", "placeSilent", "placeBack",   "gapSilent"};
    return keys[kind];
}

/// What is longer than the last bound has none.
Json histogramJson(const RoundTrips &trips)
{
    Json buckets = Json::array();
    for (std::size_t i = 0; i < trips.histogram().size(); ++i) {
        const bool isBounded = i < RoundTripBounds.size();
        buckets.push_back({{"upToMs", isBounded ? Json(millisecondsOf(RoundTripBounds[i])) : Json(nullptr)},
                           {"count", trips.histogram()[i]}});
    }
    return buckets;
}

} // namespace

QString lineOf(const Json &json)
{
    return QString::fromStdString(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

Json jsonOf(const Tag &tag, const Reading &reading, const JsonStyle &style, Time now)
{
    const Variable &variable = tag.variable;
    const Area &area = *areaOf(variable.area);
    Json json;
    if (!tag.name.isEmpty())
        json["name"] = utf8(tag.name);
    json["variable"] = utf8(textOf(tag));
    json["area"] = area.number;
    json["kind"] = utf8(nameOf(area.kind));
    if (tag.type)
        json["type"] = tag.type->name;
    if (!tag.unit.isEmpty())
        json["unit"] = utf8(tag.unit);
    json["station"] = variable.station;
    json["wireCode"] = wireCode(area, style.isRemote);
    json["wireAddress"] = variable.address;
    json["count"] = variable.count;
    json["values"] = nullptr;
    json["quality"] = keyOf(reading.quality);
    addReason(json, reading.reason);
    if (reading.quality != Quality::Unknown) {
        json["values"] = valuesJson(tag, style.format, reading.values);
        if (!tag.scaling.isNone())
            json["raw"] = rawJson(tag, style.format, reading.values);
        json["time"] = utf8(style.clock.text(reading.time));
        json["ageMs"] = millisecondsOf(now - reading.time);
    }
    return json;
}

Json jsonOf(const WriteReport &report, const JsonStyle &style, Time now)
{
    const Assignment &assignment = report.assignment;
    Json json = jsonOf(assignment.tag, report.held, style, now);
    if (report.held.reason.kind == Reason::NotAskedYet)
        json.erase("reason"); // nobody was going to ask
    json["assigned"] = valuesJson(assignment.tag, style.format, assignment.values);
    json["result"] = keyOf(report.result);
    if (report.reason.kind != Reason::None)
        json["why"] = keyOf(report.reason);
    json["verified"] = nullptr;
    if (report.held.quality != Quality::Unknown)
        json["verified"] = report.holdsAssigned();
    return json;
}

Json jsonOf(const LineEvent &event, const JsonStyle &style)
{
    Json json;
    json["event"] = keyOf(event.kind);
    json["time"] = utf8(style.clock.text(event.time));
    json["seconds"] = secondsOf(event.time - style.start);
    if (event.station)
        json["station"] = event.station;
    if (event.kind >= LineEvent::PlaceSilent)
        json["place"] = utf8(textOf(event.place));
    if (!event.text.isEmpty())
        json["reason"] = utf8(event.text);
    return json;
}

Json jsonOf(const Statistics &statistics, const JsonStyle &style, Time now)
{
    Json outcomes;
    for (int i = 0; i < OutcomeCount; ++i)
        outcomes[keyOf(static_cast<Outcome>(i))] = statistics.outcomes[static_cast<std::size_t>(i)];
    const RoundTrips &trips = statistics.roundTrips;
    Json summary = {
        {"start", utf8(style.clock.text(style.start))},
        {"end", utf8(style.clock.text(now))},
        {"seconds", secondsOf(now - style.start)},
        {"requests", statistics.requests},
        {"outcomes", outcomes},
        {"retries", statistics.retries},
        {"abandoned", statistics.abandoned},
        {"strayBytes", statistics.strayBytes},
        {"unaskedAnswers", statistics.unaskedAnswers},
        {"linkLost", statistics.linkLost},
        {"reconnects", statistics.reconnects},
        {"roundTripMs",
         {{"min", millisecondsOf(trips.min())},
          {"mean", millisecondsOf(trips.mean())},
          {"p50", millisecondsOf(trips.quantile(0.50))},
          {"p95", millisecondsOf(trips.quantile(0.95))},
          {"p99", millisecondsOf(trips.quantile(0.99))},
          {"max", millisecondsOf(trips.max())}}},
        {"roundTrips", histogramJson(trips)},
    };
    if (const Time better = betterTimeout(trips, style.timeout); better != Time(0))
        summary["betterTimeoutMs"] = std::ceil(millisecondsOf(better));
    return {{"summary", summary}};
}

double secondsOf(Time time)
{
    return std::round(std::chrono::duration<double, std::milli>(time).count()) / 1000;
}

double millisecondsOf(Time time)
{
    return std::round(std::chrono::duration<double, std::micro>(time).count()) / 1000;
}

} // namespace fgs
