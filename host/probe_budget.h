// How much of the time goes to what most likely does not answer.
#ifndef FGS_HOST_PROBE_BUDGET_H
#define FGS_HOST_PROBE_BUDGET_H

#include "link.h"

namespace fgs
{

/// After a probe that was left unanswered the next one waits, so that all probes of one sort together take at most
/// one part in `Share` of the time, however long the time limits are.
class ProbeBudget
{
public:
    static const int Share = 12;

    bool allows(Time now) const { return now >= next; }
    /// A probe has just ended without an answer; it took that long.
    void spend(Time now, Time took) { next = now + (Share - 1) * took; }

private:
    Time next{0};
};

} // namespace fgs

#endif
