#include "transactions.h"

#include <algorithm>
#include <utility>

namespace fgs
{

namespace
{

using formats::Direction;

const std::size_t MostUnanswered = 16;   // requests that a late reply may still answer
const std::size_t LongestRecord = 16384; // bytes; longer ones are looked at in pieces

Direction opposite(Direction direction)
{
    return direction == Direction::Inbound    ? Direction::Outbound
           : direction == Direction::Outbound ? Direction::Inbound
                                              : Direction::Unknown;
}

FrameView viewOf(const std::string &bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

Listening listening(Direction direction, Direction requests, const Heard *waiting)
{
    Listening line;
    const bool isKnown = direction != Direction::Unknown && requests != Direction::Unknown;
    line.wantsRequest = isKnown ? direction == requests : !waiting;
    if (!waiting)
        return line;
    line.waiting = waiting->part.shape;
    line.waitingStation = waiting->station();
    if (line.waiting == Shape::RemoteRequest)
        line.remoteReplySize = remoteRequestOf(waiting->view()).replySize();
    return line;
}

bool haveSameEntries(const Heard &reply, const Heard &request)
{
    const std::vector<FrameEntry> given = entriesOf(reply.view(), reply.part.shape),
                                  asked = entriesOf(request.view(), request.part.shape);
    return std::equal(
        given.begin(), given.end(), asked.begin(), asked.end(),
        [](const FrameEntry &a, const FrameEntry &b) { return a.code == b.code && a.count == b.count; });
}

bool answers(const Heard &reply, const Heard &request)
{
    if (reply.part.shape == Shape::RemoteReply || request.part.shape == Shape::RemoteRequest)
        return reply.part.shape == Shape::RemoteReply && request.part.shape == Shape::RemoteRequest;
    if (reply.station() != request.station())
        return false;
    if (reply.part.shape == Shape::WriteReply)
        return request.part.shape == Shape::WriteRequest;
    return request.part.shape == Shape::ReadRequest && haveSameEntries(reply, request);
}

/// Where the last frame begins that may go on in the next record; -1: none does.
int openEnd(const std::vector<FramePart> &parts)
{
    if (parts.empty())
        return -1;
    const FramePart &last = parts.back();
    const bool isShortNoise = last.shape == Shape::Noise && last.present < EntriesAt;
    return isShortNoise || !last.isWhole() ? last.at : -1;
}

bool isFrameOn(const std::vector<FramePart> &parts, int at)
{
    return std::any_of(parts.begin(), parts.end(), [at](const FramePart &part) {
        return part.at == at && (part.isGood || (part.shape != Shape::Noise && !part.isWhole()));
    });
}

} // namespace

/// Without end, a file could name ever more lines.
Transactions::Line &Transactions::lineOf(const std::string &name)
{
    const auto found = lines.find(name);
    if (found != lines.end())
        return found->second;
    if (lines.size() == MostLines)
        end();
    return lines[name];
}

void Transactions::take(Record record)
{
    Line &line = lineOf(record.line);
    if (line.part)
        record = goingOn(line, std::move(record));
    const Listening known = listening(record.direction, line.requests, line.waiting.get());
    if (record.mayBePart && record.bytes.size() <= LongestRecord &&
        openEnd(partsOf(viewOf(record.bytes), known)) >= 0)
        line.part = std::move(record);
    else
        hear(line, std::move(record));
}

/// The record, with the part before it if its frame goes on in there; otherwise that is all of the frame.
Record Transactions::goingOn(Line &line, Record record)
{
    Record joined = *std::exchange(line.part, std::nullopt);
    const Listening known = listening(joined.direction, line.requests, line.waiting.get());
    const int start = openEnd(partsOf(viewOf(joined.bytes), known));
    const std::size_t size = joined.bytes.size();
    joined.bytes += record.bytes;
    if (record.direction == joined.direction && joined.bytes.size() <= LongestRecord &&
        isFrameOn(partsOf(viewOf(joined.bytes), known), start))
        return joined;
    joined.bytes.resize(size);
    hear(line, std::move(joined));
    return record;
}

void Transactions::hear(Line &line, Record record)
{
    const std::string bytes = std::move(record.bytes);
    const auto shared = std::make_shared<const Record>(std::move(record));
    if (bytes.empty())
        hearPart(line, {{Shape::Noise, 0, 0, 0, false, false}, {}, shared});
    for (std::size_t from = 0; from < bytes.size(); from += LongestRecord) {
        const FrameView piece = {bytes.data() + from,
                                 static_cast<int>(std::min(LongestRecord, bytes.size() - from))};
        const Listening known = listening(shared->direction, line.requests, line.waiting.get());
        for (FramePart part : partsOf(piece, known)) {
            std::string own(piece.bytes + part.at, static_cast<std::size_t>(part.present));
            part.at += static_cast<int>(from);
            hearPart(line, {part, std::move(own), shared});
        }
    }
    if (!line.waiting)
        close(line);
}

void Transactions::hearPart(Line &line, Heard heard)
{
    const Direction direction = heard.record->direction;
    if (heard.part.isSure && line.requests == Direction::Unknown)
        line.requests = isRequest(heard.part.shape) ? direction : opposite(direction);
    const bool isAsking = direction != Direction::Unknown && direction == line.requests;
    heard.isEcho = !isAsking && line.waiting && heard.part.isGood && heard.bytes == line.waiting->bytes;
    if (heard.isEcho)
        heard.part.shape = line.waiting->part.shape;
    if (isRequest(heard.part.shape) && !heard.isEcho)
        hearRequest(line, std::move(heard));
    else
        hearAnswer(line, std::move(heard));
}

/// Nothing answers a request to all stations.
void Transactions::hearRequest(Line &line, Heard heard)
{
    close(line);
    const bool isAnswered = heard.station() != 0 || !heard.part.isGood;
    line.open.request = std::make_shared<const Heard>(std::move(heard));
    if (!isAnswered) {
        line.open.isComplete = true;
        return close(line);
    }
    line.waiting = line.open.request;
    line.unanswered.push_back(line.waiting);
    if (line.unanswered.size() > MostUnanswered)
        line.unanswered.pop_front();
}

void Transactions::hearAnswer(Line &line, Heard heard)
{
    const bool isReply = heard.part.shape != Shape::Noise && !heard.isEcho;
    bool isTheReply = false;
    if (isReply && heard.part.isGood) {
        const auto found = std::find_if(line.unanswered.rbegin(), line.unanswered.rend(),
                                        [&heard](const auto &request) { return answers(heard, *request); });
        if (found != line.unanswered.rend()) {
            heard.asked = *found;
            line.unanswered.erase(std::next(found).base());
        }
        isTheReply = heard.asked && heard.asked == line.waiting;
        heard.isOther = !isTheReply;
    } else if (isReply) {
        heard.asked = line.waiting; // damaged, and yet to it
    }
    line.open.answers.push_back(std::move(heard));
    line.open.isComplete = line.open.isComplete || isTheReply;
    if (isTheReply)
        line.waiting = nullptr;
    if (line.open.answers.size() >= MostAnswers)
        close(line);
}

void Transactions::close(Line &line)
{
    line.waiting = nullptr;
    if (line.open.request || !line.open.answers.empty())
        use(line.open);
    line.open = {};
}

void Transactions::end()
{
    for (auto &[name, line] : lines) {
        if (line.part)
            hear(line, *std::exchange(line.part, std::nullopt));
        close(line);
    }
    lines.clear();
}

} // namespace fgs
