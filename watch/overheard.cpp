#include "overheard.h"

#include <algorithm>

namespace fgs
{

namespace
{

FrameView view(const QByteArray &bytes, int from = 0)
{
    return {bytes.constData() + from, int(bytes.size()) - from};
}

bool isWhole(FrameView start, int size)
{
    return size > AcknowledgeSize && size <= start.size && hasGoodCheck({start.bytes, size});
}

/// Of the good frame that starts here; 0 if there is none.
int frameSize(FrameView start)
{
    const int asRequest = requestSize(start), asReply = replySize(start);
    return isWhole(start, asRequest) ? asRequest : isWhole(start, asReply) ? asReply : 0;
}

} // namespace

void Overheard::take(const char *bytes, int size)
{
    byteCount += size;
    rest.append(bytes, size);
    while (takeAcknowledgement() || takeFrame()) {
    }
    if (rest.size() > Capacity)
        rest.remove(0, int(rest.size()) - Capacity);
}

/// It has no check code, so it counts only directly behind a write.
bool Overheard::takeAcknowledgement()
{
    if (request.isEmpty() || view(request).at(CommandAt) != WriteCommand || rest.size() < AcknowledgeSize)
        return false;
    const FrameView start = view(rest);
    const bool isIt = start.bytes[StationAt] == request.at(StationAt) && start.at(CommandAt) == WriteCommand &&
                      (start.at(CountAt) == Acknowledged || start.at(CountAt) == Rejected);
    if (!isIt)
        return false;
    noteReply(start.at(StationAt));
    rest.remove(0, AcknowledgeSize);
    return true;
}

bool Overheard::takeFrame()
{
    for (int at = 0; at < rest.size(); ++at) {
        const int size = frameSize(view(rest, at));
        if (size == 0)
            continue;
        const QByteArray frame = rest.mid(at, size);
        rest.remove(0, at + size);
        note(frame);
        return true;
    }
    return false;
}

void Overheard::note(const QByteArray &frame)
{
    ++frameCount;
    if (isReply(frame))
        noteReply(view(frame).at(StationAt));
    else
        noteRequest(frame);
}

bool Overheard::isReply(const QByteArray &frame) const
{
    if (replySize(view(frame)) != frame.size())
        return false;
    if (requestSize(view(frame)) != frame.size())
        return true;
    return frame.left(EntriesAt) == request.left(EntriesAt) && frame != request;
}

/// Station 0 is all of them.
void Overheard::noteRequest(const QByteArray &frame)
{
    request = frame;
    mostRepeats = std::max(mostRepeats, ++requests[frame]);
    if (const int station = view(frame).at(StationAt))
        ++stations[station].asked;
}

void Overheard::noteReply(int station)
{
    request.clear();
    if (station != 0)
        ++stations[station].answered;
}

std::vector<int> Overheard::answering() const
{
    return stationsWhere(true);
}

std::vector<int> Overheard::silent() const
{
    return stationsWhere(false);
}

std::vector<int> Overheard::stationsWhere(bool hasAnswered) const
{
    std::vector<int> found;
    for (const auto &[number, station] : stations)
        if ((station.answered > 0) == hasAnswered)
            found.push_back(number);
    return found;
}

} // namespace fgs
