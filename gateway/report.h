// Which values are due to be sent: changes beyond the dead band, not too often, not too seldom.
#ifndef FGS_GATEWAY_REPORT_H
#define FGS_GATEWAY_REPORT_H

#include "sample.h"
#include "settings.h"

#include <optional>
#include <set>

namespace fgs
{

/// Keeps the newest sample of each tag, and what was sent of it last. The network's thread; `steady` is a clock
/// that never jumps.
class Reporter
{
public:
    /// The tags outlive it.
    explicit Reporter(const std::vector<GatewayTag> &theTags);

    /// A change of quality, of its reason, or of the values beyond the dead band makes the tag due, at once or when
    /// its least time is over; one that has gone back to what was sent does not. What was never asked for counts as
    /// told. Bits and texts have no dead band.
    void take(const Snapshot &snapshot, milliseconds steady);
    /// The newest of what is due, by time; it counts as sent. Valid until the next take().
    std::vector<const Sample *> takeDue(milliseconds steady);
    /// When something becomes due without a take(); it may be in the past. max() if nothing does.
    milliseconds nextDue() const;
    /// All that was told, as after a birth: due is only what changes from now on.
    void allSent(milliseconds steady);

    const std::vector<Sample> &newest() const { return samples; } ///< one for each tag
    std::size_t known() const { return knownTags; }               ///< tags that have values
    /// Due values that a newer, different one of the same tag replaced before they were taken.
    quint64 replaced() const { return replacedValues; }

private:
    /// What was told of a tag.
    struct Told {
        Quality quality = Quality::Unknown;
        const char *reason = ""; ///< keyOf()
        std::vector<quint32> values;
        std::optional<milliseconds> when;
    };
    void schedule(std::size_t tag);
    void markSent(std::size_t tag, milliseconds steady);
    milliseconds dueTime(std::size_t tag) const;
    bool hasChanged(std::size_t tag) const;

    const std::vector<GatewayTag> &tags;
    std::vector<Sample> samples;                            ///< the newest, by tag
    std::vector<Told> told;                                 ///< by tag
    std::vector<milliseconds> dueTimes;                     ///< by tag; max(): not due
    std::set<std::pair<milliseconds, std::size_t>> pending; ///< all that will be due, by time
    std::size_t knownTags = 0;
    quint64 replacedValues = 0;
};

} // namespace fgs

#endif
