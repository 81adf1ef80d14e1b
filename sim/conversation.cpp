#include "conversation.h"

#include "describe.h"

namespace fgssim
{

namespace
{

const std::size_t MaxOutgoing = 32; // replies
const std::size_t LoggedBytes = 64;
const char *const NoRoom = "too many wait to be sent or read";
const Time LongestLimit = std::chrono::seconds(10); // of a client, so that babble has an end

std::string deliveredHex(const Delivery &delivery)
{
    Bytes all;
    for (const Arrival &arrival : delivery)
        all.insert(all.end(), arrival.bytes.begin(), arrival.bytes.end());
    return all.empty() ? "nothing" : hex(all, LoggedBytes);
}

} // namespace

std::string summary(const Counters &counters)
{
    const auto part = [](const char *name, std::uint64_t count) {
        return std::string(name) + " " + std::to_string(count);
    };
    std::string text = part("requests", counters.requests) + part(", replies", counters.replies) +
                       part(", rejected", counters.rejected) + part(", broadcasts", counters.broadcasts) +
                       part(", other stations", counters.elsewhere) + part(", unanswered", counters.unanswered) +
                       part(", lost", counters.lost);
    for (std::size_t kind = 0; kind < FaultKinds; ++kind)
        text += (kind == 0 ? "; faults: " : ", ") + part(FaultNames[kind], counters.faults[kind]);
    return text + part(", chosen", counters.strikes);
}

void Conversation::replyLost()
{
    replyLost(NoRoom);
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
      reassembler(lineTimes.silence, shared.replay ? shared.replay->framing() : shared.controller.framing())
{
}

void Conversation::receive(Slice bytes, Time now)
{
    latest = now;
    if (simulation.isUnplugged(now))
        return;
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
        if (simulation.replay && answerAsRecorded(piece.bytes))
            continue;
        if (simulation.replay && piece.content == Piece::Content::Frame)
            reject("not in the recording", piece.bytes);
        else if (piece.content == Piece::Content::Frame)
            handleFrame(piece.bytes);
        else
            reject(piece.cause, piece.bytes);
    }
}

void Conversation::handleFrame(Slice frame)
{
    ++simulation.counters.requests;
    sendHeld();
    const Response response = simulation.controller.handle(frame);
    const auto received = [&] { return "<- " + hex(frame, LoggedBytes) + "  " + describe(response.request); };
    switch (response.status) {
    case Response::Status::Answered:
        say(Log::Topic::Frame, received);
        tap(true, frame, "");
        sendReply(frame, response);
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
    case Response::Status::Silenced:
        ++simulation.counters.unanswered;
        say(Log::Topic::Unanswered,
            [&] { return "unanswered: " + response.cause + ": " + hex(frame, LoggedBytes); });
        tap(true, frame, "unanswered: " + response.cause);
        break;
    }
}

/// False: the recording does not have it.
bool Conversation::answerAsRecorded(Slice request)
{
    const Replay::Answer *const answer = simulation.replay->answerTo(request);
    if (!answer)
        return false;
    ++simulation.counters.requests;
    say(Log::Topic::Frame, [&] { return "<- " + hex(request, LoggedBytes); });
    tap(true, request, "");
    if (answer->empty())
        tap(false, {}, "silence, as recorded");
    else if (outgoing.size() >= MaxOutgoing)
        replyLost();
    else
        sendRecorded(*answer);
    return true;
}

void Conversation::sendRecorded(const Replay::Answer &answer)
{
    ++simulation.counters.replies;
    for (const Replay::Sent &sent : answer) {
        say(Log::Topic::Frame, [&] { return "-> " + hex(sent.bytes, LoggedBytes) + "  as recorded"; });
        enqueue(sent.bytes, sent.after, "as recorded");
    }
}

void Conversation::reject(const std::string &cause, Slice bytes)
{
    ++simulation.counters.rejected;
    say(Log::Topic::Rejected, [&] { return "rejected: " + cause + ": " + hex(bytes, LoggedBytes); });
    tap(true, bytes, "rejected: " + cause);
}

bool Conversation::hasRoom() const
{
    return outgoing.size() < MaxOutgoing;
}

void Conversation::sendReply(Slice frame, const Response &response)
{
    if (!simulation.strikes.orders().empty()) {
        Exchange exchange = simulation.controller.exchangeOf(frame, response);
        exchange.limit = std::min(times.lateBy, LongestLimit);
        if (const std::optional<Strike> strike = simulation.strikes.take(exchange))
            return sendStrike(*strike, exchange, response.request);
    }
    if (const std::optional<RandomFault> fault = simulation.faults.choose())
        return sendFault(*fault, response);
    say(Log::Topic::Frame, [&] {
        return "-> " + hex(response.reply, LoggedBytes) + "  " +
               describeReply(response.request, response.reply, simulation.controller.framing().entryHead);
    });
    send(response.reply, Time(0), "good");
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
    send(std::move(reply), fault == RandomFault::Late ? times.lateBy : Time(0), what);
}

void Conversation::sendStrike(const Strike &strike, const Exchange &exchange, const Request &request)
{
    ++simulation.counters.strikes;
    const std::string what = "fault " + strike.fault->name;
    const Delivery delivery = strike.fault->deliver(exchange, strike.place);
    say(Log::Topic::Fault, [&] { return what + ": " + describe(request) + " -> " + deliveredHex(delivery); });
    isCut = isCut || strike.fault->cutsLink;
    if (delivery.empty())
        return tap(false, {}, what);
    if (!hasRoom())
        return replyLost(NoRoom);
    ++simulation.counters.replies;
    for (const Arrival &arrival : delivery) {
        if (arrival.withNextRequest)
            held.push_back({arrival.after, arrival.bytes, what});
        else
            enqueue(arrival.bytes, arrival.after, what);
    }
}

/// What faults have kept for this request comes ahead of its reply.
void Conversation::sendHeld()
{
    for (Held &each : std::exchange(held, {}))
        enqueue(std::move(each.bytes), each.after, std::move(each.what));
}

void Conversation::send(Bytes reply, Time wait, std::string what)
{
    if (!hasRoom())
        return replyLost(NoRoom);
    ++simulation.counters.replies;
    enqueue(std::move(reply), wait, std::move(what));
}

void Conversation::enqueue(Bytes bytes, Time wait, std::string what)
{
    const Time start = std::max(requestEnd + times.delay + wait, replyEnd);
    replyEnd = start + spent(bytes.size());
    outgoing.push_back({std::move(bytes), start, 0, std::move(what)});
}

void Conversation::replyLost(const char *cause)
{
    ++simulation.counters.lost;
    std::string what = std::string("reply lost: ") + cause;
    say(Log::Topic::Lost, [&] { return what; });
    tap(false, {}, what);
}

Bytes Conversation::takeDue(Time now)
{
    latest = now;
    const bool isLost = simulation.isUnplugged(now);
    Bytes due;
    while (!outgoing.empty()) {
        Outgoing &head = outgoing.front();
        while (head.sent < head.bytes.size() && head.start + spent(head.sent + 1) <= now)
            due.push_back(head.bytes[head.sent++]);
        if (head.sent < head.bytes.size())
            break;
        if (isLost)
            replyLost("the line is unplugged");
        else
            tap(false, head.bytes, head.what);
        outgoing.pop_front();
    }
    return isLost ? Bytes() : due;
}

std::optional<Time> Conversation::nextEvent() const
{
    const std::optional<Time> silent = reassembler.deadline();
    if (outgoing.empty())
        return silent;
    const Time nextByte = outgoing.front().start + spent(outgoing.front().sent + 1);
    return silent ? std::min(*silent, nextByte) : nextByte;
}

} // namespace fgssim
