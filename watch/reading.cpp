#include "reading.h"

#include <tuple>

namespace fgs
{

namespace
{

struct Words {
    const char *text;
    const char *key;
};

/// Of the kinds that say everything by themselves.
const Words reasonWords[] = {
    {"", ""},
    {"not asked yet", "notAskedYet"},
    {"under way", "underWay"},
    {"", ""},
    {"not asked: the station does not answer", "stationSilent"},
    {"", "placeSilent"},
};

Reason reasonOf(const Host &host, const Link &link, const Variable &variable, const Age &age)
{
    const std::vector<Variable> silent = host.silentPlaces(variable);
    Reason reason;
    if (!silent.empty()) {
        reason.kind = Reason::PlaceSilent;
        reason.place = silent.front();
    } else if (age.outcome != Outcome::Good) {
        reason = {Reason::Failed, age.outcome, age.received, age.expected};
    } else if (!age.isKnown() && !link.isOpen() && !link.isEnded()) {
        reason = {Reason::Failed, Outcome::LinkLost};
    } else if (!age.isKnown()) {
        reason.kind = host.isUnderWay(variable)  ? Reason::UnderWay
                      : host.isSettled(variable) ? Reason::StationSilent
                                                 : Reason::NotAskedYet;
    }
    return reason;
}

auto placeOf(const Variable &variable)
{
    return std::tie(variable.station, variable.area, variable.address, variable.count);
}

} // namespace

bool Reason::operator==(const Reason &other) const
{
    return kind == other.kind && outcome == other.outcome && received == other.received &&
           expected == other.expected && placeOf(place) == placeOf(other.place);
}

bool Reading::tellsSameAs(const Reading &other) const
{
    return quality == other.quality && reason == other.reason && values == other.values;
}

Reading readingOf(const Host &host, const Link &link, const Variable &variable)
{
    const Age age = host.ageOf(variable);
    Reading reading;
    reading.variable = variable;
    reading.reason = reasonOf(host, link, variable, age);
    if (age.isKnown()) {
        reading.quality = reading.reason.kind == Reason::None ? Quality::Good : Quality::Stale;
        reading.time = age.stored;
        reading.values = host.values(variable);
    }
    return reading;
}

QString textOf(const Reason &reason)
{
    if (reason.kind == Reason::PlaceSilent)
        return QStringLiteral("%1 does not answer; its neighbours do").arg(textOf(reason.place));
    if (reason.kind != Reason::Failed)
        return QLatin1String(reasonWords[reason.kind].text);
    if (reason.outcome == Outcome::Incomplete)
        return QStringLiteral("%1: %2 of %3 bytes")
            .arg(QLatin1String(nameOf(reason.outcome)))
            .arg(reason.received)
            .arg(reason.expected);
    return QLatin1String(nameOf(reason.outcome));
}

const char *keyOf(const Reason &reason)
{
    return reason.kind == Reason::Failed ? keyOf(reason.outcome) : reasonWords[reason.kind].key;
}

const char *keyOf(Quality quality)
{
    static const char *const keys[] = {"good", "stale", "unknown"};
    return keys[static_cast<std::size_t>(quality)];
}

} // namespace fgs
