#include "unasked_answers.h"

#include "remote_frame.h"

#include <algorithm>
#include <cstring>

namespace fgs
{

namespace
{

bool isSame(FrameView a, FrameView b)
{
    return a.size == b.size && std::memcmp(a.bytes, b.bytes, static_cast<std::size_t>(a.size)) == 0;
}

/// An acknowledgement has no check code, so it counts only where nothing but answers is in front of it.
int localAnswerSize(FrameView bytes, bool isFrameStart)
{
    const int size = replySize(bytes);
    if (size == 0 || size > bytes.size)
        return 0;
    const bool isGood = size == AcknowledgeSize ? isFrameStart : hasGoodCheck({bytes.bytes, size});
    return isGood ? size : 0;
}

} // namespace

/// Bytes of the good answer at the front; 0 if there is none.
int UnaskedAnswers::answerSize(FrameView all, bool isFrameStart) const
{
    if (remoteSizes[0] == 0)
        return localAnswerSize(all, isFrameStart);
    for (int each : remoteSizes)
        if (each != 0 && each <= all.size && hasGoodCheck({all.bytes, each}))
            return each;
    return 0;
}

/// Calls `take` for each good answer in the bytes.
template <typename Take>
void UnaskedAnswers::eachAnswer(FrameView all, Take take) const
{
    bool isFrameStart = true;
    for (int at = 0; at < all.size;) {
        const int found = answerSize(all.from(at), isFrameStart);
        isFrameStart = found > 0;
        if (found > 0)
            take(FrameView{all.bytes + at, found});
        at += std::max(1, found);
    }
}

void UnaskedAnswers::sent(const Protocol &request, Time now, Time silent)
{
    stations.set(static_cast<std::size_t>(stationOf(request)));
    if (isRemote(request) && request.replyLen != 0 && request.replyLen != remoteSizes[0])
        remoteSizes = {request.replyLen, remoteSizes[0]};
    lastSent = now;
    if (silent >= std::max(LongSilence, silence(now)))
        syncTime = now;
    failed();
}

void UnaskedAnswers::answered(FrameView request, FrameView ahead, FrameView behind)
{
    collects = true;
    if (ahead.size > 0 && !isSame(ahead, request)) // otherwise an echo
        collect(ahead);
    aheadSize = size;
    collect(behind);
}

void UnaskedAnswers::failed()
{
    collects = false;
    size = aheadSize = 0;
}

void UnaskedAnswers::collect(FrameView more)
{
    const int fitting = collects ? std::min(more.size, static_cast<int>(sizeof bytes) - size) : 0;
    std::memcpy(bytes + size, more.bytes, static_cast<std::size_t>(fitting));
    size += fitting;
}

bool UnaskedAnswers::isUnasked(FrameView frame, const LateReplies &lateReplies, Time now) const
{
    if (remoteSizes[0] != 0)
        return !lateReplies.areOwed(now);
    const int station = frame.at(StationAt);
    return stations.test(static_cast<std::size_t>(station)) && !lateReplies.areOwedBy(station, now);
}

bool UnaskedAnswers::judge(FrameView lastAnswer, const LateReplies &lateReplies, Time now)
{
    const quint64 before = number;
    bool isDoubtful = false;
    const auto note = [&](FrameView frame, bool isHarmless) {
        if (!isUnasked(frame, lateReplies, now))
            return;
        ++number;
        isDoubtful = isDoubtful || !isHarmless;
    };
    eachAnswer({bytes, aheadSize}, [&](FrameView frame) { note(frame, false); });
    eachAnswer({bytes + aheadSize, size - aheadSize},
               [&](FrameView frame) { note(frame, !isUnsure() && isSame(frame, lastAnswer)); });
    size = aheadSize = 0;
    if (isDoubtful)
        wanted = std::min(std::max(LongSilence, 2 * silence(now)), LongestSilence);
    if (number > before)
        alertEnd = now + AlertTime;
    return isDoubtful;
}

} // namespace fgs
