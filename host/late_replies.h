// Questions that a station left unanswered and may still answer.
#ifndef FGS_HOST_LATE_REPLIES_H
#define FGS_HOST_LATE_REPLIES_H

#include "frame.h"
#include "link.h"

#include <array>
#include <list>
#include <tarn_fgsseries.h>

namespace fgs
{

/// Where the data of each entry of a request stand in its reply, as iRet_ValidStar tells.
using DataStarts = std::array<int, MaxEntries>;

/// A reply repeats the areas and counts of its request but not the addresses, so a late one passes for the answer
/// to another question of the same shape; a remote reply repeats nothing, so it
/// passes for that to any question with a reply of its length. Such a question waits until the late reply has come
/// or is no longer expected. The same question may be repeated at once: a late reply answers it too, unless a write
/// came between.
class LateReplies
{
public:
    struct Question {
        Protocol request;
        DataStarts dataStarts;
        Time until;       ///< answers may come
        int owed;         ///< that many answers
        bool beforeWrite; ///< a write to the station came after it
    };

    /// The request got no answer.
    void expect(const Protocol &request, const DataStarts &dataStarts, Time until);
    /// The request got an answer, which may be that to an earlier try: then its own may come until then. Returns
    /// whether there was one.
    bool answeredAfterTries(const Protocol &request, Time until);
    /// A write goes to its station, or to all.
    void noteWrite(const Protocol &request);
    /// A question whose late answer could be taken for the answer to this request; null if there is none.
    const Question *blocking(const Protocol &request, Time now);
    /// Whether an answer of the station may still come.
    bool areOwedBy(int station, Time now) const;
    /// Whether any answer may still come.
    bool areOwed(Time now) const;
    /// One of its answers came.
    void answered(const Question *question);

private:
    std::list<Question> questions;
};

} // namespace fgs

#endif
