// Writes values, reads them back, and tells of each assignment what became of it.
#ifndef FGS_WATCH_WRITING_H
#define FGS_WATCH_WRITING_H

#include "assignment.h"
#include "progress.h"
#include "reading.h"

namespace fgs
{

enum class WriteResult {
    Verified,        ///< acknowledged, and the controller holds the values
    Different,       ///< acknowledged, but the controller holds others
    Written,         ///< acknowledged, but not read back
    Refused,         ///< the controller answered that it does not do it
    NotAcknowledged, ///< sent and given up; it may have been carried out all the same
    Unknown,         ///< sent, but nobody waits for the answer: a broadcast, or cut off by a lost link or the end
    NotSent
};

struct WriteReport {
    Assignment assignment;
    WriteResult result = WriteResult::NotSent;
    Reason reason = Reason(); ///< of NotAcknowledged
    Reading held;             ///< what was read back

    bool holdsAssigned() const { return held.quality != Quality::Unknown && held.values == assignment.values; }
};

/// Writes one after the other, each of what the driver's queue holds at most (1,024 frames). After one that was
/// refused, not acknowledged or cut off no further one is sent; those that were sent are read back, also over a
/// lost link that is there again within `patience`. When the link's end comes (Link::endBy()) nothing more is sent
/// at all. As many reports as assignments, in their order.
std::vector<WriteReport> writeAll(Host &host, Link &link, const std::vector<Assignment> &assignments, Time patience,
                                  const ProgressHook &progress = ProgressHook());

using ReasonText = std::function<QString(const Reason &)>;

/// "written and verified", for people; `tell` puts its reasons into words.
QString textOf(const WriteReport &report, const ReasonText &tell);
/// "verified", for programs.
const char *keyOf(WriteResult result);

} // namespace fgs

#endif
