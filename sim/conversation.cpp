#include "conversation.h"

#include "describe.h"

namespace fgssim
{

namespace
{

const std::size_t MaxOutgoing = 32; // replies
const std::size_t LoggedBytes = 64;

} // namespace

std::string summary(const Counters &counters)
{
    const auto part = [](const char *name, std::uint64_t count) {
        return std::string(name) + " " + std::to_string(count);
    };
    std::string text = part("requests", counters.requests) + part(", replies", counters.replies) +
                       part(", rejected", counters.rejected) + part(", broadcasts", counters.broadcasts) +
                       part(", other stations", counters.elsewhere) + part(", lost", counters.lost);
    for (std::size_t kind = 0; kind < FaultKinds; ++kind)
        text += (kind == 0 ? "; faults: " : ", ") + part(FaultNames[kind], counters.faults[kind]);
    return text;
}

template <typename Text>
void Conversation::say(Log::Topic topic, Text text)
{
    simulation.log.write(topic, latest, [&] { return name + text(); });
}

void Conversation::tap(bool isRequest, Slice bytes, const std::string &what) const
{
    if (simulation.tap)
        simulation.tap({name, latest, isRequest, bytes, what});
}

Conversation::Conversation(Simulation &shared, const LineTimes &lineTimes, std::string prefix)
    : simulation(shared), times(lineTimes), name(std::move(prefix)),
      reassembler(lineTimes.silence, shared.controller.framing())
{
}

void Conversation::receive(Slice bytes, Time now)
{
    latest = now;
    requestEnd = std::max(requestEnd, now) + spent(bytes.size());
    handle(reassembler.receive(bytes, now));
}

void Conversation::advance(Time now)
{
    latest = now;
    requestEnd = std::max(requestEnd, now);
    handle(reassembler.advance(now));
}

void Conversation::handle(const std::vector<Piece> &pieces)
{
    for (const Piece &piece : pieces) {
        if (piece.content == Piece::Content::Frame)
            handleFrame(piece.bytes);
        else
            reject(piece.cause, piece.bytes);
    }
}

void Conversation::handleFrame(Slice frame)
{
    ++simulation.counters.requests;
    const Response response = simulation.controller.handle(frame);
    const auto received = [&] { return "<- " + hex(frame, LoggedBytes) + "  " + describe(response.request); };
    switch (response.status) {
    case Response::Status::Answered:
        say(Log::Topic::Frame, received);
        tap(true, frame, "");
        sendReply(response);
        break;
    case Response::Status::Broadcast:
        ++simulation.counters.broadcasts;
        say(Log::Topic::Frame, received);
        tap(true, frame, "for every station");
        break;
    case Response::Status::Elsewhere:
        ++simulation.counters.elsewhere;
        say(Log::Topic::Elsewhere, [&] { return "not for a station here: " + hex(frame, LoggedBytes); });
        tap(true, frame, "not for a station here");
        break;
    case Response::Status::Rejected:
        reject(response.cause, frame);
        break;
    }
}

void Conversation::reject(const std::string &cause, Slice bytes)
{
    ++simulation.counters.rejected;
    say(Log::Topic::Rejected, [&] { return "rejected: " + cause + ": " + hex(bytes, LoggedBytes); });
    tap(true, bytes, "rejected: " + cause);
}

void Conversation::sendReply(const Response &response)
{
    if (const std::optional<RandomFault> fault = simulation.faults.choose())
        return sendFault(*fault, response);
    say(Log::Topic::Frame, [&] {
        return "-> " + hex(response.reply, LoggedBytes) + "  " +
               describeReply(response.request, response.reply, simulation.controller.framing().entryHead);
    });
    enqueue(response.reply, Time(0), "good");
}

void Conversation::sendFault(RandomFault fault, const Response &response)
{
    ++simulation.counters.faults[std::size_t(fault)];
    const std::string what = std::string("fault ") + FaultNames[std::size_t(fault)];
    Bytes reply;
    if (fault != RandomFault::Silence)
        reply = simulation.faults.damage(fault, response.reply);
    say(Log::Topic::Fault, [&] {
        return what + ": " + describe(response.request) + " -> " +
               (reply.empty() ? "nothing" : hex(reply, LoggedBytes));
    });
    if (reply.empty())
        return tap(false, {}, what);
    enqueue(std::move(reply), fault == RandomFault::Late ? times.lateBy : Time(0), what);
}

void Conversation::enqueue(Bytes reply, Time wait, std::string what)
{
    if (outgoing.size() >= MaxOutgoing)
        return replyLost();
    const Time start = std::max(requestEnd + times.delay + wait, replyEnd);
    replyEnd = start + spent(reply.size());
    outgoing.push_back({std::move(reply), start, 0, std::move(what)});
    ++simulation.counters.replies;
}

void Conversation::replyLost()
{
    ++simulation.counters.lost;
    std::string what = "reply lost: too many wait to be sent or read";
    say(Log::Topic::Lost, [&] { return what; });
    tap(false, {}, what);
}

Bytes Conversation::takeDue(Time now)
{
    latest = now;
    Bytes due;
    while (!outgoing.empty()) {
        Outgoing &head = outgoing.front();
        while (head.sent < head.bytes.size() && head.start + spent(head.sent + 1) <= now)
            due.push_back(head.bytes[head.sent++]);
        if (head.sent < head.bytes.size())
            break;
        tap(false, head.bytes, head.what);
        outgoing.pop_front();
    }
    return due;
}

std::optional<Time> Conversation::nextEvent() const
{
    const std::optional<Time> silent = reassembler.deadline();
    if (outgoing.empty())
        return silent;
    const Time send = outgoing.front().start + spent(outgoing.front().sent + 1);
    return silent ? std::min(*silent, send) : send;
}

} // namespace fgssim
