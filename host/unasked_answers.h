// Answers that come though no request waits for them.
#ifndef FGS_HOST_UNASKED_ANSWERS_H
#define FGS_HOST_UNASKED_ANSWERS_H

#include "late_replies.h"

#include <array>
#include <bitset>

namespace fgs
{

/// A controller or a gateway that sends its answers twice, or a second master on the line. Such an answer cannot be
/// told from that to the next question of its shape if it comes after it was asked; then every answer may be the
/// one to the question before, until the line has been silent for a while. What gives it away is that more answers
/// come than were asked for. From then on the line is to be silent for longer before each request.
///
/// A remote reply does not say what it answers: there, bytes of the length of the last two replies with a good
/// check code are one.
///
/// Values are in doubt from the last request on that was sent into a long silence. But if that was the last one of
/// all, and its answer comes again, nothing is.
class UnaskedAnswers
{
public:
    /// What counts as a long silence, and is wanted once values are in doubt; doubled while they are again.
    static constexpr Time LongSilence = 50ms;
    static constexpr Time LongestSilence = 200ms;
    /// For how long a line is suspicious after the last such answer.
    static constexpr Time AlertTime = 60s;

    /// A request goes out now, the line having been silent for so long.
    void sent(const Protocol &request, Time now, Time silence);
    /// The request was answered; these bytes came ahead of the answer and behind it.
    void answered(FrameView request, FrameView ahead, FrameView behind);
    /// The request was not answered, so that what comes now may belong to it.
    void failed();
    /// These bytes came since. Nothing is kept of them after a request that failed.
    void collect(FrameView bytes);

    /// Whether there is anything to judge.
    bool hasCollected() const { return size > 0; }
    /// Looks for answers in what came since the last request went out, besides its own and those that are owed.
    /// Returns whether values are in doubt.
    bool judge(FrameView lastAnswer, const LateReplies &lateReplies, Time now);
    /// Values that came before are not in doubt.
    Time doubtStart() const { return syncTime; }

    /// How many came so far.
    quint64 count() const { return number; }
    bool isAlert(Time now) const { return now < alertEnd; }
    /// The silence that a request needs; 0 if nothing is known against the line.
    Time silence(Time now) const { return isAlert(now) ? wanted : Time(0); }
    /// Whether requests were sent since the last one that was sent into a long silence.
    bool isUnsure() const { return lastSent != syncTime; }

private:
    int answerSize(FrameView all, bool isFrameStart) const;
    template <typename Take>
    void eachAnswer(FrameView all, Take take) const;
    bool isUnasked(FrameView frame, const LateReplies &lateReplies, Time now) const;

    std::bitset<256> stations;        ///< that were asked
    std::array<int, 2> remoteSizes{}; ///< of the replies to the last two requests, on the remote path; otherwise 0
    char bytes[4096] = {};            ///< longer than the longest answer
    int size = 0;
    int aheadSize = 0;     ///< the first of the bytes came ahead of the answer
    bool collects = false; ///< the last request was answered
    Time syncTime{0};      ///< when the last request was sent into a long silence
    Time lastSent{0};
    Time wanted{0};
    Time alertEnd = Time::min();
    quint64 number = 0;
};

} // namespace fgs

#endif
