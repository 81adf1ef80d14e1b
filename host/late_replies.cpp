#include "late_replies.h"

#include "remote_frame.h"

#include <algorithm>

namespace fgs
{

namespace
{

/// Whether a reply to one could not be told from a reply to the other.
bool sameShape(const QByteArray &a, const QByteArray &b)
{
    if (a.left(EntriesAt) != b.left(EntriesAt))
        return false;
    if (a.at(CommandAt) == char(WriteCommand))
        return true;
    for (int i = 0; i < a.at(CountAt); ++i) {
        const int entry = EntriesAt + i * RequestEntrySize;
        if (a.mid(entry, ReplyHeaderSize) != b.mid(entry, ReplyHeaderSize))
            return false;
    }
    return true;
}

/// A remote reply repeats nothing of its request: every one of the same length may be it, of whatever station.
bool looksAlike(const Protocol &a, const Protocol &b)
{
    return isRemote(a) ? a.replyLen == b.replyLen : sameShape(a.frame, b.frame);
}

} // namespace

void LateReplies::expect(const Protocol &request, const DataStarts &dataStarts, Time until)
{
    for (Question &question : questions)
        if (question.request.frame == request.frame) {
            question.until = until;
            ++question.owed;
            return;
        }
    questions.push_back({request, dataStarts, until, 1, false});
}

bool LateReplies::answeredAfterTries(const Protocol &request, Time until)
{
    for (Question &question : questions)
        if (question.request.frame == request.frame && question.owed > 0) {
            question.until = std::max(question.until, until);
            return true;
        }
    return false;
}

void LateReplies::noteWrite(const Protocol &request)
{
    const int station = stationOf(request);
    for (Question &question : questions)
        if ((station == 0 || stationOf(question.request) == station) && question.request.frame != request.frame)
            question.beforeWrite = true;
}

const LateReplies::Question *LateReplies::blocking(const Protocol &request, Time now)
{
    questions.remove_if([now](const Question &question) { return question.until <= now || question.owed == 0; });
    for (const Question &question : questions)
        if (looksAlike(question.request, request) &&
            (question.beforeWrite || question.request.frame != request.frame))
            return &question;
    return nullptr;
}

bool LateReplies::areOwedBy(int station, Time now) const
{
    return std::any_of(questions.begin(), questions.end(), [station, now](const Question &question) {
        return stationOf(question.request) == station && question.owed > 0 && question.until > now;
    });
}

bool LateReplies::areOwed(Time now) const
{
    return std::any_of(questions.begin(), questions.end(),
                       [now](const Question &question) { return question.owed > 0 && question.until > now; });
}

void LateReplies::answered(const Question *question)
{
    for (Question &each : questions)
        if (&each == question)
            --each.owed;
}

} // namespace fgs
