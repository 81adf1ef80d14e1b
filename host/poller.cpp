#include "poller.h"

#include <algorithm>
#include <cstring>

namespace fgs
{

Poller::Poller(const DriverApi &theDriver, Link &theLink, const Timing &given)
    : driver(theDriver), link(theLink), timing(given), reconnectDelay(given.firstReconnect)
{
    reply.reserve(ReplyFinder::Capacity); // so that no long reply makes it grow after days
}

Step Poller::step()
{
    Step step;
    step.kind = Step::NoLink;
    if (!link.isOpen() && !reopen())
        return step;
    // Without a cyclic list the driver ends each run of five writes or one-shot reads with a null.
    for (int tries = 0; !request && tries < 2; ++tries)
        request = driver.ComCommunication();
    if (!request)
        return Step();
    if (!awaitLateReplies() || !awaitSilence())
        return step;
    step.kind = Step::Exchanged;
    step.isWrite = request->frame.at(CommandAt) == char(WriteCommand);
    step.station = request->var.station;
    step.outcome = exchange();
    finish(step);
    return step;
}

bool Poller::reopen()
{
    const Time now = link.now();
    if (now < nextOpen) {
        link.pauseUntil(std::min(nextOpen, now + 100ms));
        return false;
    }
    if (!link.open()) {
        nextOpen = link.now() + reconnectDelay;
        reconnectDelay = std::min(2 * reconnectDelay, timing.lastReconnect);
        return false;
    }
    reconnectDelay = timing.firstReconnect;
    ++stats.reconnects;
    return true;
}

/// Waits until no late reply can be taken for the one to come. False: the link is lost.
bool Poller::awaitLateReplies()
{
    while (const LateReplies::Question *question = lateReplies.blocking(*request, link.now())) {
        finder.expect(question->request, question->dataStarts);
        if (await(question->until))
            lateReplies.answered(question);
        throwAway(finder.received());
        if (!link.isOpen())
            return false;
    }
    return true;
}

/// Waits until the line is silent; one that never falls silent is not waited for. False: the link is lost.
bool Poller::awaitSilence()
{
    const Time gap = std::max(timing.gap, 4 * link.byteTime());
    Time limit = Time::max();
    char stray[512];
    int count = 0;
    while (lastByte < limit && (count = link.receive(stray, sizeof stray, lastByte + gap)) > 0) {
        throwAway({stray, count});
        lastByte = link.now();
        limit = std::min(limit, lastByte + timing.timeout);
    }
    return count >= 0;
}

void Poller::throwAway(FrameView bytes)
{
    if (bytes.size == 0)
        return;
    note(TraceEntry::Stray, bytes);
    stats.strayBytes += static_cast<unsigned>(bytes.size);
}

/// Sends the request and looks for its reply.
Outcome Poller::exchange()
{
    ++stats.requests;
    note(TraceEntry::Sent, {request->frame.constData(), request->frameLen});
    if (request->frame.at(CommandAt) == char(WriteCommand))
        lateReplies.noteWrite(*request);
    std::copy(std::begin(*driver.iRet_ValidStar), std::end(*driver.iRet_ValidStar), dataStarts.begin());
    finder.expect(*request, dataStarts);
    sentAt = link.now();
    if (!link.send(request->frame.constData(), request->frameLen))
        return Outcome::LinkLost;
    if (request->replyLen == 0) {
        for (const Time end = sentAt + timing.turnaround; link.now() < end;)
            link.pauseUntil(end);
        return Outcome::Good;
    }
    return judge(await(sentAt + timing.timeout + (request->frameLen + request->replyLen) * link.byteTime()));
}

/// Whether the reply came.
bool Poller::await(Time deadline)
{
    while (finder.roomSize() > 0) {
        const int count = link.receive(finder.room(), finder.roomSize(), deadline);
        if (count <= 0)
            return false;
        lastByte = link.now();
        if (finder.take(count))
            return true;
        if (lastByte >= deadline)
            return false;
    }
    return false;
}

Outcome Poller::judge(bool found) const
{
    if (found)
        return Outcome::Good;
    if (!link.isOpen())
        return Outcome::LinkLost;
    const int size = finder.reply().size;
    if (finder.wouldPass() || (size == 0 && finder.sawOtherAnswer()))
        return Outcome::OtherReply;
    return size == 0 ? Outcome::NoReply : size == request->replyLen ? Outcome::BadCheck : Outcome::WrongLength;
}

/// Counts the request, tells the driver, and marks the values that were stored or given up.
void Poller::finish(Step &step)
{
    const bool marks = !step.isWrite && request->replyLen != 0 && request->dataStart == 0;
    if (step.outcome != Outcome::Good && step.outcome != Outcome::BadCheck && !finder.sawPart())
        lateReplies.expect(*request, dataStarts, link.now() + timing.late);
    if (step.outcome == Outcome::LinkLost)
        ++stats.retries;
    else
        tellDriver(step);
    ++stats.outcomes[static_cast<std::size_t>(step.outcome)];
    note(TraceEntry::Received, finder.received(), step.outcome,
         static_cast<int>(finder.reply().bytes - finder.received().bytes));
    if (marks && (step.ended || step.outcome == Outcome::LinkLost))
        markCurrent(step);
}

/// Hands over what may be taken for the reply. The driver judges the check code of a reply in its place.
void Poller::tellDriver(Step &step)
{
    const bool broadcast = request->replyLen == 0;
    const bool nothing = step.outcome == Outcome::OtherReply || step.outcome == Outcome::NoReply || broadcast;
    const FrameView bytes = nothing ? FrameView{nullptr, 0} : finder.reply();
    if (reply.size() != bytes.size)
        reply.resize(bytes.size);
    if (bytes.size)
        std::memcpy(reply.data(), bytes.bytes, static_cast<std::size_t>(bytes.size));
    request = nullptr;
    const int result = driver.DataCom(&reply, bytes.size)->result;
    const bool good = result == 1 || result == 100;
    step.ended = result != 0;
    if (!good && step.outcome == Outcome::Good)
        step.outcome = Outcome::BadCheck;
    if (!good)
        ++(step.ended ? stats.abandoned : stats.retries);
    else if (!broadcast)
        stats.roundTrips.add(lastByte - sentAt);
}

void Poller::markCurrent(const Step &step)
{
    const QList<RW_VAR> &vars = *driver.CurrentRWVar;
    const Time now = step.outcome == Outcome::Good ? lastByte : link.now();
    for (int i = 0; i < static_cast<int>(vars.size()); ++i) {
        const RW_VAR &var = vars.at(i);
        const int bytes = (*driver.iRet_ValidLen)[i];
        if (step.outcome == Outcome::Good)
            freshness.stored(var.station, var.areaType, var.address, bytes, now);
        else
            freshness.failed(var.station, var.areaType, var.address, bytes, now, step.outcome);
    }
}

void Poller::note(TraceEntry::Event event, FrameView bytes, Outcome outcome, int replyAt) const
{
    if (trace)
        trace({event, link.now(), bytes, outcome, replyAt});
}

} // namespace fgs
