#include "reading.h"

#include <algorithm>
#include <QtCore/QStringList>
#include <tuple>

namespace fgs
{

namespace
{

struct Words {
    const char *text;
    const char *key;
};

const std::size_t MostNamed = 3; ///< places in one text

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
    Reason reason;
    reason.places = host.silentPlaces(variable);
    if (!reason.places.empty()) {
        reason.kind = Reason::PlaceSilent;
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

bool isSamePlace(const Variable &a, const Variable &b)
{
    return std::tie(a.station, a.area, a.address, a.count) == std::tie(b.station, b.area, b.address, b.count);
}

/// "5:20000@1", or "5:20000@1, 5:20010@1", or the first of them and how many more.
QString namesOf(const std::vector<Variable> &places)
{
    const std::size_t named = std::min(places.size(), MostNamed);
    QStringList names;
    for (std::size_t i = 0; i < named; ++i)
        names << textOf(places[i]);
    const QString all = names.join(QStringLiteral(", "));
    return named == places.size() ? all : QStringLiteral("%1 and %2 more").arg(all).arg(places.size() - named);
}

QString silenceText(const std::vector<Variable> &places)
{
    const char *const text =
        places.size() == 1 ? "%1 does not answer; its neighbours do" : "%1 do not answer; their neighbours do";
    return QString::fromLatin1(text).arg(namesOf(places));
}

} // namespace

bool Reason::operator==(const Reason &other) const
{
    return kind == other.kind && outcome == other.outcome && received == other.received &&
           expected == other.expected &&
           std::equal(places.begin(), places.end(), other.places.begin(), other.places.end(), isSamePlace);
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
        return silenceText(reason.places);
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
