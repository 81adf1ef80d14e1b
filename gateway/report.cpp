#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>

namespace fgs
{

namespace
{

const milliseconds NotDue = milliseconds::max();
const double Rounding = 1e-9; ///< of a dead band: what the arithmetic may be off

/// The key of what a message would say. Nothing was asked for yet: there is nothing to say.
const char *reasonOf(const Sample &sample)
{
    const bool isAwaited = sample.reason.kind == Reason::NotAskedYet || sample.reason.kind == Reason::UnderWay;
    return isAwaited ? "" : keyOf(sample.reason);
}

/// What is no number is another than every number, and the same as itself.
bool isBeyond(double a, double b, double band)
{
    if (std::isnan(a) || std::isnan(b))
        return std::isnan(a) != std::isnan(b);
    return a != b && std::abs(a - b) > band;
}

/// Of raw values, so that an offset costs no digits.
double rawBand(const GatewayTag &tag)
{
    return tag.report.deadBand / std::abs(tag.tag.scaling.scale) * (1 + Rounding);
}

bool hasDeadBand(const GatewayTag &tag)
{
    const ValueType &type = tag.tag.typeIn(Format::Unsigned);
    return tag.report.deadBand > 0 && type.meaning != ValueType::Text && type.size != AreaKind::Bit;
}

bool isBeyondDeadBand(const GatewayTag &tag, const std::vector<quint32> &a, const std::vector<quint32> &b)
{
    if (a == b || !hasDeadBand(tag) || a.size() != b.size())
        return a != b;
    const ValueType &type = tag.tag.typeIn(Format::Unsigned);
    const std::vector<double> before = valueNumbers(type, tag.tag.kind(), a),
                              after = valueNumbers(type, tag.tag.kind(), b);
    const double band = rawBand(tag);
    return !std::equal(before.begin(), before.end(), after.begin(), after.end(),
                       [band](double x, double y) { return !isBeyond(x, y, band); });
}

bool hasValues(const Sample &sample)
{
    return sample.quality != Quality::Unknown;
}

bool tellsTheSame(const Sample &a, const Sample &b)
{
    return a.quality == b.quality && std::strcmp(reasonOf(a), reasonOf(b)) == 0 && a.values == b.values;
}

} // namespace

Reporter::Reporter(const std::vector<GatewayTag> &theTags)
    : tags(theTags), samples(tags.size()), told(tags.size()), dueTimes(tags.size(), NotDue)
{
    for (std::size_t tag = 0; tag < tags.size(); ++tag) {
        samples[tag].tag = tag;
        samples[tag].reason.kind = Reason::NotAskedYet;
    }
}

void Reporter::take(const Snapshot &snapshot, milliseconds steady)
{
    for (const Sample &sample : snapshot) {
        Sample &last = samples[sample.tag];
        if (dueTimes[sample.tag] <= steady && !tellsTheSame(last, sample))
            ++replacedValues;
        knownTags += hasValues(sample);
        knownTags -= hasValues(last);
        last = sample;
        schedule(sample.tag);
    }
}

std::vector<const Sample *> Reporter::takeDue(milliseconds steady)
{
    std::vector<const Sample *> due;
    while (!pending.empty() && pending.begin()->first <= steady) {
        const std::size_t tag = pending.begin()->second;
        due.push_back(&samples[tag]);
        markSent(tag, steady);
    }
    std::sort(due.begin(), due.end(), [](const Sample *a, const Sample *b) {
        return std::tie(a->time, a->tag) < std::tie(b->time, b->tag);
    });
    return due;
}

milliseconds Reporter::nextDue() const
{
    return pending.empty() ? NotDue : pending.begin()->first;
}

void Reporter::allSent(milliseconds steady)
{
    for (std::size_t tag = 0; tag < tags.size(); ++tag)
        markSent(tag, steady);
}

void Reporter::markSent(std::size_t tag, milliseconds steady)
{
    const Sample &sample = samples[tag];
    told[tag] = {sample.quality, reasonOf(sample), sample.values, steady};
    schedule(tag);
}

void Reporter::schedule(std::size_t tag)
{
    const milliseconds due = dueTime(tag);
    if (due == dueTimes[tag])
        return;
    pending.erase({dueTimes[tag], tag});
    dueTimes[tag] = due;
    if (due != NotDue)
        pending.insert({due, tag});
}

milliseconds Reporter::dueTime(std::size_t tag) const
{
    const ReportRule &rule = tags[tag].report;
    const std::optional<milliseconds> &sent = told[tag].when;
    if (hasChanged(tag))
        return sent ? *sent + rule.least : milliseconds(0);
    return sent && rule.longest > milliseconds(0) ? *sent + std::max(rule.least, rule.longest) : NotDue;
}

bool Reporter::hasChanged(std::size_t tag) const
{
    const Sample &now = samples[tag];
    const Told &before = told[tag];
    return now.quality != before.quality || std::strcmp(reasonOf(now), before.reason) != 0 ||
           isBeyondDeadBand(tags[tag], before.values, now.values);
}

} // namespace fgs
