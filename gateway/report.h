// Which values are due to be sent: changes beyond the dead band, not too often, not too seldom.
#ifndef FGS_GATEWAY_REPORT_H
#define FGS_GATEWAY_REPORT_H

#include "sample.h"
#include "settings.h"

namespace fgs
{

/// Keeps the newest sample of each tag, and what was sent of it last. The network's thread; `steady` is a clock
/// that never jumps.
class Reporter
{
public:
    /// The tags outlive it.
    explicit Reporter(const std::vector<GatewayTag> &theTags);

    /// A change of quality or of the values beyond the dead band makes the tag due, at once or when its least time
    /// is over. Bits and texts have no dead band.
    void take(const Snapshot &snapshot, milliseconds steady);
    /// The newest of what is due, by time; it counts as sent. Valid until the next take().
    std::vector<const Sample *> takeDue(milliseconds steady);
    /// When something becomes due without a take(); max() if nothing does.
    milliseconds nextDue() const;
    /// All that was told, as after a birth: due is only what changes from now on.
    void allSent(milliseconds steady);

    const std::vector<Sample> &newest() const; ///< one for each tag
    /// Due values that a newer one of the same tag replaced before they were taken.
    quint64 replaced() const;
};

} // namespace fgs

#endif
