#include "poller.h"

#include "remote_frame.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace fgs
{

namespace
{

/// Whether no other answer to the request will come.
bool isAnswer(Outcome outcome)
{
    return outcome == Outcome::Good || outcome == Outcome::BadCheck || outcome == Outcome::Refused;
}

/// As many bytes as the answer has are there and are not it. After so long a pause nothing more is waited for.
const Time PauseInReply = 50ms;

} // namespace

Poller::Poller(const DriverApi &theDriver, Link &theLink, COMINFO &theSettings, const Timing &given)
    : driver(theDriver), link(theLink), settings(theSettings), timing(given), reconnectDelay(given.firstReconnect)
{
    reply.reserve(ReplyFinder::Capacity); // so that no long reply makes it grow after days
}

Step Poller::step()
{
    if (link.isEnded())
        return stopped();
    Step step;
    step.kind = Step::NoLink;
    replaceSilentConnection();
    if (!link.isOpen() && !reopen())
        return link.isEnded() ? stopped() : step;
    settleUnderWay();
    if (!takeRequest())
        return Step();
    if (!prepare())
        return step;
    step = stopped();
    if (!link.isEnded())
        exchange(step);
    return step;
}

const Protocol *Poller::takeRequest()
{
    // Without a cyclic list the driver ends each run of five writes or one-shot reads with a null.
    for (int asked = 0; !request && asked < 2; ++asked)
        request = driver.ComCommunication();
    return request;
}

/// What a stop leaves, also the beginning of an exchange.
Step Poller::stopped() const
{
    Step left;
    left.kind = Step::Stopped;
    if (request) {
        left.isWrite = isWrite(*request);
        left.isCyclic = !left.isWrite && request->var.hostAddr < 0;
        left.station = request->var.station;
    }
    return left;
}

/// Waits until the request may be sent. False: the link is lost.
bool Poller::prepare()
{
    return awaitLateReplies() && awaitSilence();
}

void Poller::exchange(Step &step)
{
    step.sent = true;
    ++tries;
    step.outcome = converse();
    if (stats.underWay)
        return;
    step.kind = Step::Exchanged;
    const bool isAsked = request->replyLen != 0;
    finish(step);
    if (step.ended)
        tries = 0;
    if (isAsked)
        watchConnection(step);
}

/// A request that a stop has cut off is sent again, or given up: what it brought is no longer waited for.
void Poller::settleUnderWay()
{
    if (!stats.underWay)
        return;
    stats.underWay = 0;
    ++stats.outcomes[static_cast<std::size_t>(Outcome::NoReply)];
    ++stats.retries;
    lateReplies.expect(*request, dataStarts, link.now() + timing.late);
}

void Poller::giveUp()
{
    settleUnderWay();
    if (!request)
        return;
    settings.retryCount = settings.retryLimit;
    handOver({nullptr, 0});
    tries = 0;
}

/// A connection can be dead without the system knowing it.
void Poller::watchConnection(const Step &step)
{
    jobIsSilent = jobIsSilent && finder.received().size == 0;
    if (!jobIsSilent)
        silentRequests = 0;
    if (!step.ended)
        return;
    silentRequests += jobIsSilent;
    jobIsSilent = true;
}

/// Before the next request, not after the last one: whoever asks no more keeps an open link.
void Poller::replaceSilentConnection()
{
    if (silentRequests < MostSilentRequests || !link.isOpen() || !link.isConnection())
        return;
    silentRequests = 0;
    link.close(QStringLiteral("no byte came for %1 requests in a row").arg(MostSilentRequests));
}

bool Poller::reopen()
{
    const Time now = link.now();
    if (now < nextOpen) {
        link.pauseUntil(std::min(nextOpen, now + 100ms));
        return false;
    }
    if (now < openedAt + timing.firstReconnect) { // what does not stay open is not opened without end
        nextOpen = openedAt + timing.firstReconnect;
        return false;
    }
    if (!link.open()) {
        nextOpen = link.now() + reconnectDelay;
        reconnectDelay = std::min(2 * reconnectDelay, timing.lastReconnect);
        return false;
    }
    reconnectDelay = timing.firstReconnect;
    openedAt = link.now();
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
        if (link.isEnded())
            break;
    }
    return true;
}

/// Waits until the line is silent, for longer if what came calls for it. False: the link is lost.
bool Poller::awaitSilence()
{
    bool isThere = awaitPause(Time(0));
    while (isThere && judgeStrays() && !link.isEnded())
        isThere = awaitPause(Time(0));
    return isThere;
}

/// A line that never falls silent is not waited for, but the rest of a slow answer is. False: the link is lost.
bool Poller::awaitPause(Time least)
{
    const Time patience = wasBrokenOff ? timing.timeout + timing.late : timing.timeout;
    Time limit = Time::max();
    char stray[512];
    int count = 0;
    while (lastByte < limit && (count = link.receive(stray, sizeof stray, lastByte + pauseBefore(least))) > 0) {
        lastByte = link.now();
        throwAway({stray, count});
        unaskedAnswers.collect({stray, count});
        limit = std::min(limit, lastByte + patience);
    }
    return count >= 0;
}

/// The silence that the next request needs, in which no byte of an answer before it comes any more.
Time Poller::pauseBefore(Time least) const
{
    const Time rest = wasBrokenOff ? std::min(2 * longestPause, timing.timeout) : Time(0);
    return std::max({least, rest, timing.gap, 4 * link.byteTime(), unaskedAnswers.silence(lastByte)});
}

/// Whether a longer silence is needed from now on.
bool Poller::judgeStrays()
{
    if (!unaskedAnswers.hasCollected())
        return false;
    const Time now = link.now(), before = unaskedAnswers.silence(now);
    const FrameView lastAnswer = {reply.constData(), static_cast<int>(reply.size())};
    if (unaskedAnswers.judge(lastAnswer, lateReplies, now))
        fresh.doubt(unaskedAnswers.doubtStart(), now);
    stats.unaskedAnswers = unaskedAnswers.count();
    if (unaskedAnswers.silence(now) <= before)
        return false;
    lastDoubt = now + 1ns; // so that no value of this moment counts as a new one
    return true;
}

void Poller::listen()
{
    if (link.isOpen() && unaskedAnswers.isUnsure() && awaitPause(UnaskedAnswers::LongSilence))
        judgeStrays();
}

void Poller::throwAway(FrameView bytes)
{
    if (bytes.size == 0)
        return;
    silentRequests = 0;
    note(TraceEntry::Stray, bytes);
    stats.strayBytes += static_cast<unsigned>(bytes.size);
}

/// Sends the request and looks for its reply. Its outcome is not known if it stays under way.
Outcome Poller::converse()
{
    ++stats.requests;
    note(TraceEntry::Sent, {request->frame.constData(), request->frameLen});
    if (isWrite(*request))
        lateReplies.noteWrite(*request);
    std::copy(std::begin(*driver.iRet_ValidStar), std::end(*driver.iRet_ValidStar), dataStarts.begin());
    finder.expect(*request, dataStarts);
    sentAt = link.now();
    longestPause = Time(0);
    if (isRemote(*request))
        noteRemote();
    unaskedAnswers.sent(*request, sentAt, sentAt - lastByte);
    if (!link.send(request->frame.constData(), request->frameLen))
        return Outcome::LinkLost;
    if (request->replyLen == 0)
        return pauseAfterBroadcast();
    const bool found = await(deadline());
    stats.underWay = !found && link.isOpen() && link.isEnded() && link.now() < deadline();
    return judge(found);
}

/// What a remote reply does not repeat.
void Poller::noteRemote()
{
    if (trace)
        remoteRequest = request->frame;
    if (!isWrite(*request))
        readSpan = remoteSpanOf(*request);
}

/// Of the answer to the request in flight.
Time Poller::deadline() const
{
    return sentAt + timing.timeout + (request->frameLen + request->replyLen) * link.byteTime();
}

Outcome Poller::pauseAfterBroadcast()
{
    for (const Time end = sentAt + timing.turnaround; link.now() < end && !link.isEnded();)
        link.pauseUntil(end);
    return Outcome::Good;
}

/// Whether the reply came.
bool Poller::await(Time limit)
{
    while (finder.roomSize() > 0) {
        const int count = link.receive(finder.room(), finder.roomSize(), limit);
        if (count <= 0)
            return false;
        const Time before = std::exchange(lastByte, link.now());
        if (finder.received().size > 0)
            longestPause = std::max(longestPause, lastByte - before);
        if (finder.take(count))
            return true;
        if (finder.isFullOfOthers())
            limit = std::min(limit, lastByte + PauseInReply);
        if (lastByte >= limit)
            return false;
    }
    return false;
}

Outcome Poller::judge(bool found) const
{
    if (found)
        return finder.isRefusal() ? Outcome::Refused : Outcome::Good;
    if (!link.isOpen())
        return Outcome::LinkLost;
    const int size = finder.reply().size;
    if (finder.wouldPass() || (size == 0 && finder.sawOtherAnswer()))
        return Outcome::OtherReply;
    if (size == 0)
        return finder.sawOtherStation() ? Outcome::OtherStation : Outcome::NoReply;
    if (finder.sawBeginning())
        return Outcome::Incomplete;
    const bool hasCheck = isRemote(*request) || !isWrite(*request); // an acknowledgement has none
    return hasCheck && size == request->replyLen ? Outcome::BadCheck : Outcome::Garbled;
}

/// Counts the request, tells the driver, and marks the values that were stored or given up.
void Poller::finish(Step &step)
{
    const bool marks = !step.isWrite && request->replyLen != 0 && (request->dataStart == 0 || isRemote(*request));
    bool isSure = true; // that an answer is the one to this try
    if (!isAnswer(step.outcome) && !finder.sawPart())
        lateReplies.expect(*request, dataStarts, link.now() + timing.late);
    else
        isSure = tries == 1 || !lateReplies.answeredAfterTries(*request, deadline() + timing.late);
    if (step.outcome == Outcome::Incomplete) {
        step.received = finder.reply().size;
        step.expected = request->replyLen;
    }
    wasBrokenOff = step.outcome == Outcome::Incomplete;
    noteSurroundings();
    if (step.outcome != Outcome::LinkLost)
        tellDriver(step, isSure);
    if (step.outcome != Outcome::Good)
        unaskedAnswers.failed();
    ++stats.outcomes[static_cast<std::size_t>(step.outcome)];
    note(TraceEntry::Received, finder.received(), step.outcome,
         static_cast<int>(finder.reply().bytes - finder.received().bytes));
    if (marks && (step.ended || step.outcome == Outcome::LinkLost))
        markCurrent(step);
}

/// What came around the reply may be answers to other questions.
void Poller::noteSurroundings()
{
    const FrameView all = finder.received(), found = finder.reply();
    const int ahead = static_cast<int>(found.bytes - all.bytes), behind = ahead + found.size;
    unaskedAnswers.answered({request->frame.constData(), request->frameLen}, {all.bytes, ahead}, all.from(behind));
}

/// Hands over what may be taken for the reply. The driver judges the check code of a reply in its place.
void Poller::tellDriver(Step &step, bool isTimed)
{
    const bool broadcast = request->replyLen == 0;
    const bool nothing = step.outcome == Outcome::OtherReply || isSilence(step.outcome) || broadcast;
    const int result = handOver(nothing ? FrameView{nullptr, 0} : finder.reply());
    const bool good = result == 1 || result == 100;
    step.ended = result != 0;
    if (!good && step.outcome == Outcome::Good)
        step.outcome = Outcome::BadCheck;
    if (!good)
        ++(step.ended ? stats.abandoned : stats.retries);
    else if (!broadcast && isTimed)
        stats.roundTrips.add(lastByte - sentAt);
}

/// The driver's result for these bytes. The request is its own again.
int Poller::handOver(FrameView bytes)
{
    if (reply.size() != bytes.size)
        reply.resize(bytes.size);
    if (bytes.size)
        std::memcpy(reply.data(), bytes.bytes, static_cast<std::size_t>(bytes.size));
    request = nullptr;
    return driver.DataCom(&reply, bytes.size)->result;
}

void Poller::markCurrent(const Step &step)
{
    if (settings.remoteMode)
        return mark(step, readSpan.station, readSpan.area, variableOf(readSpan).address,
                    readSpan.size() * bytesPerElement(*areaOf(readSpan.area)));
    const QList<RW_VAR> &vars = *driver.CurrentRWVar;
    for (int i = 0; i < static_cast<int>(vars.size()); ++i) {
        const RW_VAR &var = vars.at(i);
        if (step.outcome == Outcome::Good || var.hostAddr != CompanionMark)
            mark(step, var.station, var.areaType, var.address, (*driver.iRet_ValidLen)[i]);
    }
}

void Poller::mark(const Step &step, int station, int area, int address, int bytes)
{
    if (step.outcome == Outcome::Good)
        fresh.stored(station, area, address, bytes, lastByte);
    else
        fresh.failed(station, area, address, bytes, link.now(), step.outcome, step.received, step.expected);
}

void Poller::note(TraceEntry::Event event, FrameView bytes, Outcome outcome, int replyAt) const
{
    if (!trace)
        return;
    const bool hasCome = event != TraceEntry::Sent && bytes.size > 0;
    trace({event, hasCome ? lastByte : link.now(), bytes, outcome, replyAt,
           event == TraceEntry::Received ? remoteRequest : QByteArray()});
}

} // namespace fgs
