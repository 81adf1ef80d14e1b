#include "session.h"

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
void Session::say(Log::Level level, Text text) const
{
    if (simulation.log.wants(level))
        simulation.log.write(level, name + text());
}

Session::Session(Simulation &shared, const Timing &times, std::string prefix)
    : simulation(shared), timing(times), name(std::move(prefix)), reassembler(times.silence)
{
}

void Session::receive(Slice bytes, Time now)
{
    requestEnd = std::max(requestEnd, now) + spent(bytes.size());
    handle(reassembler.receive(bytes, now));
}

void Session::advance(Time now)
{
    requestEnd = std::max(requestEnd, now);
    handle(reassembler.advance(now));
}

void Session::handle(const std::vector<Piece> &pieces)
{
    for (const Piece &piece : pieces) {
        if (piece.kind == Piece::Kind::Frame)
            handleFrame(piece.bytes);
        else
            reject(piece.cause, piece.bytes);
    }
}

void Session::handleFrame(Slice frame)
{
    ++simulation.counters.requests;
    const Outcome outcome = simulation.controller.handle(frame);
    const auto received = [&] { return "<- " + hex(frame, LoggedBytes) + "  " + describe(outcome.request); };
    switch (outcome.kind) {
    case Outcome::Kind::Answered:
        say(Log::Level::All, received);
        sendReply(outcome);
        break;
    case Outcome::Kind::Broadcast:
        ++simulation.counters.broadcasts;
        say(Log::Level::All, received);
        break;
    case Outcome::Kind::Elsewhere:
        ++simulation.counters.elsewhere;
        say(Log::Level::Normal, [&] { return "not for a station here: " + hex(frame, LoggedBytes); });
        break;
    case Outcome::Kind::Rejected:
        reject(outcome.cause, frame);
        break;
    }
}

void Session::reject(const std::string &cause, Slice bytes)
{
    ++simulation.counters.rejected;
    say(Log::Level::Normal, [&] { return "rejected: " + cause + ": " + hex(bytes, LoggedBytes); });
}

void Session::sendReply(const Outcome &outcome)
{
    if (const std::optional<Fault> fault = simulation.faults.choose())
        return sendFault(*fault, outcome);
    say(Log::Level::All, [&] {
        return "-> " + hex(outcome.reply, LoggedBytes) + "  " + describeReply(outcome.request, outcome.reply);
    });
    enqueue(outcome.reply, Time(0));
}

void Session::sendFault(Fault fault, const Outcome &outcome)
{
    ++simulation.counters.faults[std::size_t(fault)];
    Bytes reply;
    if (fault != Fault::Silence)
        reply = simulation.faults.damage(fault, outcome.reply);
    say(Log::Level::Normal, [&] {
        return std::string("fault ") + FaultNames[std::size_t(fault)] + ": " + describe(outcome.request) + " -> " +
               (reply.empty() ? "nothing" : hex(reply, LoggedBytes));
    });
    if (!reply.empty())
        enqueue(std::move(reply), fault == Fault::Late ? timing.lateBy : Time(0));
}

void Session::enqueue(Bytes reply, Time wait)
{
    if (outgoing.size() >= MaxOutgoing)
        return replyLost();
    const Time start = std::max(requestEnd + timing.delay + wait, replyEnd);
    replyEnd = start + spent(reply.size());
    outgoing.push_back({std::move(reply), start, 0});
    ++simulation.counters.replies;
}

void Session::replyLost()
{
    ++simulation.counters.lost;
    say(Log::Level::Normal, [] { return std::string("reply lost: too many wait to be sent or read"); });
}

Bytes Session::takeDue(Time now)
{
    Bytes due;
    while (!outgoing.empty()) {
        Outgoing &head = outgoing.front();
        while (head.sent < head.bytes.size() && head.start + spent(head.sent + 1) <= now)
            due.push_back(head.bytes[head.sent++]);
        if (head.sent < head.bytes.size())
            break;
        outgoing.pop_front();
    }
    return due;
}

std::optional<Time> Session::nextEvent() const
{
    const std::optional<Time> silent = reassembler.deadline();
    if (outgoing.empty())
        return silent;
    const Time send = outgoing.front().start + spent(outgoing.front().sent + 1);
    return silent ? std::min(*silent, send) : send;
}

Time Session::spent(std::size_t bytes) const
{
    return std::chrono::duration_cast<Time>(timing.byteTime * std::int64_t(bytes));
}

} // namespace fgssim
