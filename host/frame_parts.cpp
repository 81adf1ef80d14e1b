#include "frame_parts.h"

#include <algorithm>
#include <optional>

namespace fgs
{

namespace
{

bool isWriteReply(FrameView start)
{
    return start.size >= AcknowledgeSize && start.at(CommandAt) == WriteCommand &&
           (start.at(CountAt) == Acknowledged || start.at(CountAt) == Rejected);
}

FramePart partOf(Shape shape, FrameView start, int at, int size)
{
    const int present = std::min(size, start.size);
    const bool isGood = present == size && (shape == Shape::WriteReply || hasGoodCheck({start.bytes, size}));
    return {shape, at, present, size, isGood, false};
}

/// The frames of the controller protocol that may start here, good or not: two at most.
class Candidates
{
public:
    Candidates(FrameView start, int at)
    {
        if (isWriteReply(start)) {
            add(partOf(Shape::WriteReply, start, at, AcknowledgeSize));
            return;
        }
        const bool isRead = start.size > CommandAt && start.at(CommandAt) == ReadCommand;
        if (const Extent request = requestExtent(start); request.size > 0)
            add(partOf(isRead ? Shape::ReadRequest : Shape::WriteRequest, start, at, request.size));
        if (const Extent reply = replyExtent(start); reply.size > 0)
            add(partOf(Shape::ReadReply, start, at, reply.size));
    }

    /// The one that the line makes more probable.
    std::optional<FramePart> best(bool good, bool wantsRequest) const
    {
        std::optional<FramePart> found;
        int fitting = 0;
        for (int i = 0; i < count; ++i) {
            if (parts[i].isGood != good)
                continue;
            ++fitting;
            if (!found || isRequest(parts[i].shape) == wantsRequest)
                found = parts[i];
        }
        if (found)
            found->isSure = good && fitting == 1;
        return found;
    }

private:
    void add(const FramePart &part) { parts[count++] = part; }

    FramePart parts[2] = {};
    int count = 0;
};

class Cutter
{
public:
    Cutter(FrameView theBytes, const Listening &theLine) : bytes(theBytes), line(theLine) {}

    std::vector<FramePart> cut()
    {
        cutGood();
        if (!hasGoodReply())
            findDamaged();
        return std::move(parts);
    }

private:
    void cutGood()
    {
        int noiseAt = 0, at = 0;
        while (at < bytes.size) {
            const std::optional<FramePart> found = goodAt(at);
            if (!found) {
                ++at;
                continue;
            }
            addNoise(noiseAt, at);
            parts.push_back(*found);
            noiseAt = at += found->size;
        }
        addNoise(noiseAt, at);
    }

    std::optional<FramePart> goodAt(int at) const
    {
        const FrameView start = bytes.from(at);
        if (std::optional<FramePart> found = Candidates(start, at).best(true, line.wantsRequest))
            return found;
        if (const int size = remoteRequestSize(start))
            return FramePart{Shape::RemoteRequest, at, size, size, true, true};
        const std::optional<FramePart> reply = remoteReplyAt(at);
        return reply && reply->isGood ? reply : std::nullopt;
    }

    std::optional<FramePart> remoteReplyAt(int at) const
    {
        if (line.waiting != Shape::RemoteRequest)
            return std::nullopt;
        return partOf(Shape::RemoteReply, bytes.from(at), at, line.remoteReplySize);
    }

    void addNoise(int from, int to)
    {
        if (to > from)
            parts.push_back({Shape::Noise, from, to - from, to - from, false, false});
    }

    bool hasGoodReply() const
    {
        return std::any_of(parts.begin(), parts.end(),
                           [](const FramePart &part) { return part.isGood && !isRequest(part.shape); });
    }

    /// The first noise that begins like a frame is that frame, and noise what is left of it.
    void findDamaged()
    {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            if (parts[i].shape != Shape::Noise)
                continue;
            const std::optional<FramePart> found = damagedIn(parts[i], parts.size() == 1);
            if (!found)
                continue;
            const int rest = parts[i].present - found->present, end = parts[i].at + found->present;
            parts[i] = *found;
            if (rest > 0)
                parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                             {Shape::Noise, end, rest, rest, false, false});
            return;
        }
    }

    std::optional<FramePart> damagedIn(const FramePart &noise, bool isAll) const
    {
        const FrameView there = {bytes.bytes + noise.at, noise.present};
        std::optional<FramePart> found = Candidates(there, noise.at).best(false, line.wantsRequest);
        if (!found && isAll)
            found = remoteReplyAt(noise.at);
        return found ? found : beginningOfReply(there, noise.at);
    }

    /// One or two bytes, as the reply that is waited for begins.
    std::optional<FramePart> beginningOfReply(FrameView there, int at) const
    {
        const bool awaitsWrite = line.waiting == Shape::WriteRequest;
        if (line.wantsRequest || there.size > CountAt || (!awaitsWrite && line.waiting != Shape::ReadRequest) ||
            there.at(StationAt) != line.waitingStation)
            return std::nullopt;
        if (there.size > CommandAt && there.at(CommandAt) != (awaitsWrite ? WriteCommand : ReadCommand))
            return std::nullopt;
        return FramePart{
            awaitsWrite ? Shape::WriteReply : Shape::ReadReply, at, there.size, EntriesAt, false, false};
    }

    const FrameView bytes;
    const Listening &line;
    std::vector<FramePart> parts = {};
};

int dataSizeOf(const Area *area, int count, Shape shape)
{
    if (!area || shape == Shape::ReadRequest)
        return 0;
    return shape == Shape::WriteRequest && area->kind == AreaKind::Bit ? 1 : dataSize(*area, count);
}

} // namespace

std::vector<FramePart> partsOf(FrameView bytes, const Listening &line)
{
    return Cutter(bytes, line).cut();
}

std::vector<FrameEntry> entriesOf(FrameView frame, Shape shape)
{
    std::vector<FrameEntry> entries;
    const bool isReply = shape == Shape::ReadReply;
    if (frame.size < EntriesAt || (!isReply && shape != Shape::ReadRequest && shape != Shape::WriteRequest))
        return entries;
    const int header = isReply ? ReplyHeaderSize : RequestEntrySize;
    for (int i = 0, at = EntriesAt; i < frame.at(CountAt) && at + header <= frame.size; ++i) {
        const Area *const area = areaOfCode(frame.at(at));
        const int count = frame.at(at + 1), dataAt = at + header, size = dataSizeOf(area, count, shape);
        entries.push_back({at, frame.at(at), area, count, isReply ? -1 : frame.le16(at + 2), dataAt, size,
                           std::min(size, frame.size - dataAt)});
        if (!area)
            break;
        at = dataAt + size;
    }
    return entries;
}

} // namespace fgs
