#include "replay.h"

#include <algorithm>
#include <optional>

namespace fgssim
{

namespace
{

bool isRequest(Slice bytes, const Framing &frames)
{
    const Extent extent = frames.extent(bytes);
    return extent.state == Extent::State::Known && extent.length == bytes.size() &&
           frames.checkFault(bytes).empty();
}

const Framing &framingOf(const std::vector<RecordedBytes> &recording)
{
    const auto requests = [&recording](const Framing &frames) {
        return std::count_if(recording.begin(), recording.end(),
                             [&frames](const RecordedBytes &each) { return isRequest(each.bytes, frames); });
    };
    return requests(RemoteFraming) > requests(ControllerFraming) ? RemoteFraming : ControllerFraming;
}

/// Good requests of one line in both directions. An answer with two data bytes looks like a request, but comes
/// after one.
struct Votes {
    std::size_t inbound = 0, outbound = 0;
    bool isInboundFirst = false;

    void add(bool isInbound)
    {
        isInboundFirst = inbound + outbound == 0 ? isInbound : isInboundFirst;
        ++(isInbound ? inbound : outbound);
    }
    /// The direction of requests; none if there are none.
    std::optional<bool> areInbound() const
    {
        if (inbound + outbound == 0)
            return std::nullopt;
        return inbound == outbound ? isInboundFirst : inbound > outbound;
    }
};

std::map<std::string, Votes> votesOf(const std::vector<RecordedBytes> &recording, const Framing &frames)
{
    std::map<std::string, Votes> votes;
    for (const RecordedBytes &each : recording)
        if (isRequest(each.bytes, frames))
            votes[each.line].add(each.isInbound);
    return votes;
}

/// The request that was recorded last on a line, and where what follows it goes.
struct Asked {
    Time time{0};
    std::vector<Replay::Answer> *answers = nullptr; ///< to it and its like
    std::size_t index = 0;                          ///< among them
};

} // namespace

Replay::Replay(const std::vector<RecordedBytes> &recording, bool inTime) : frames(&framingOf(recording))
{
    std::map<std::string, Votes> votes = votesOf(recording, *frames);
    std::map<std::string, Asked> lines;
    for (const RecordedBytes &each : recording) {
        const std::optional<bool> areInbound = votes[each.line].areInbound();
        if (!areInbound || each.bytes.empty())
            continue;
        Asked &asked = lines[each.line];
        if (each.isInbound == *areInbound) {
            Occurrences &occurrences = known[each.bytes];
            occurrences.answers.emplace_back();
            ++recorded;
            asked = {each.time, &occurrences.answers, occurrences.answers.size() - 1};
        } else if (asked.answers) {
            const Time after = inTime ? std::max(each.time - asked.time, Time(0)) : Time(0);
            (*asked.answers)[asked.index].push_back({after, each.bytes});
        }
    }
}

const Replay::Answer *Replay::answerTo(Slice request)
{
    const auto found = known.find(request.copy());
    if (found == known.end()) {
        counts.unknown += isRequest(request, *frames);
        return nullptr;
    }
    Occurrences &occurrences = found->second;
    ++counts.answered;
    if (occurrences.next == occurrences.answers.size()) {
        ++counts.again;
        occurrences.next = 0;
    }
    return &occurrences.answers[occurrences.next++];
}

std::string summary(const Replay::Counters &counters)
{
    return "answered as recorded " + std::to_string(counters.answered) + ", not in the recording " +
           std::to_string(counters.unknown) + ", begun anew " + std::to_string(counters.again);
}

} // namespace fgssim
