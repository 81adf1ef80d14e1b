#include "reply_finder.h"

#include "remote_frame.h"

#include <algorithm>
#include <cstring>

namespace fgs
{

void ReplyFinder::expect(const Protocol &given, const DataStarts &dataStarts)
{
    size = front = 0;
    found = refused = otherAnswer = otherStation = false;
    request.isRemote = fgs::isRemote(given);
    request.frame = given.frame.constData();
    request.frameLen = given.frameLen;
    request.replyLen = given.replyLen;
    request.entries = !request.isRemote && isReadReply() ? std::min<int>(request.frame[CountAt], MaxEntries) : 0;
    // A single read has its header after the head, and leaves dataStarts alone if it is one of words.
    for (int i = 0; i < request.entries; ++i)
        request.headers[i] = i == 0 ? EntriesAt : dataStarts[static_cast<std::size_t>(i)] - ReplyHeaderSize;
}

/// Whether the bytes at `at`, of which `known` count, are the beginning of the reply.
bool ReplyFinder::fits(int at, int known) const
{
    const char *const bytes = buffer + at;
    const char head[] = {request.frame[StationAt], request.frame[CommandAt],
                         isReadReply() ? request.frame[CountAt] : char(Acknowledged)};
    if (std::memcmp(bytes, head, size_t(std::min<int>(known, sizeof head))) != 0)
        return false;
    for (int i = 0; i < request.entries; ++i) {
        const int header = request.headers[i], present = std::min(known - header, ReplyHeaderSize);
        const char *const entry = request.frame + EntriesAt + std::ptrdiff_t(i) * RequestEntrySize;
        if (present > 0 && std::memcmp(bytes + header, entry, size_t(present)) != 0)
            return false;
    }
    return true;
}

bool ReplyFinder::isEcho(int at) const
{
    return size - at >= request.frameLen && std::memcmp(buffer + at, request.frame, size_t(request.frameLen)) == 0;
}

/// Skips a whole frame at the front that is not the reply.
bool ReplyFinder::skipOtherFrame()
{
    const FrameView rest = {buffer + front, size - front};
    const int length = replySize(rest);
    if (length == 0 || length > rest.size)
        return false;
    if (length != AcknowledgeSize && !hasGoodCheck({rest.bytes, length}))
        return false;
    const bool sameStation = rest.bytes[StationAt] == request.frame[StationAt];
    (sameStation ? otherAnswer : otherStation) = true;
    front += length;
    return true;
}

bool ReplyFinder::startsWithRefusal() const
{
    const char refusal[] = {request.frame[StationAt], char(WriteCommand), char(Rejected)};
    return !isReadReply() && size - front >= AcknowledgeSize &&
           std::memcmp(buffer + front, refusal, sizeof refusal) == 0;
}

/// Looks behind noise. An acknowledgement has no check code that would tell it from noise, so only reads are.
bool ReplyFinder::search()
{
    for (int at = front + 1; isReadReply() && at + request.replyLen <= size; ++at) {
        if (!fits(at, request.replyLen) || !hasGoodCheck({buffer + at, request.replyLen}))
            continue;
        if (request.replyLen == request.frameLen && isEcho(at))
            continue;
        front = at;
        return true;
    }
    return false;
}

/// What begins like an echo is waited for until it is one or something else.
bool ReplyFinder::takeRemote()
{
    while (isEcho(front))
        front += request.frameLen;
    const int here = size - front;
    if (here < request.frameLen && std::memcmp(buffer + front, request.frame, size_t(here)) == 0)
        return false;
    for (int at = front; at <= front + MostNoise && at + request.replyLen <= size; ++at)
        if (hasGoodCheck({buffer + at, request.replyLen})) {
            front = at;
            return true;
        }
    return false;
}

bool ReplyFinder::take(int count)
{
    size += count;
    if (request.isRemote)
        return found = takeRemote();
    for (;;) {
        if (isEcho(front))
            front += request.frameLen;
        else if (fits(front, size - front))
            return found = size - front >= request.replyLen;
        else if (startsWithRefusal())
            return refused = true;
        else if (!skipOtherFrame())
            return found = search();
    }
}

bool ReplyFinder::wouldPass() const
{
    const FrameView rest = reply();
    if (rest.size != request.replyLen)
        return false;
    if (rest.size == AcknowledgeSize && !request.isRemote)
        return rest.at(CommandAt) == WriteCommand && rest.at(CountAt) == Acknowledged;
    return hasGoodCheck(rest);
}

} // namespace fgs
