#include "sender.h"

#include <algorithm>

namespace fgs
{

namespace
{

const milliseconds Period{60000};
const milliseconds PeriodOfNews{1000};   ///< while variables get their first values
const milliseconds PeriodOfBirths{1000}; ///< whoever asks for them
const std::size_t MostLiveBytes = 1U << 20;
const int ReadAhead = 32; ///< records of history

std::size_t weightOf(const Record &record)
{
    return record.key.size() + record.content.size() + 64;
}

bool tellsTheSame(const LineState &a, const LineState &b)
{
    return a.isUp == b.isUp && a.since == b.since && a.error == b.error && a.stations == b.stations;
}

} // namespace

void Sender::begin()
{
    isGreeted = birthsWanted = true;
    isBorn = false;
    readHistoryAgain();
}

void Sender::stop()
{
    isGreeted = birthsWanted = isBorn = false;
    urgent.clear();
    isAnswerInFlight = false;
    live.clear();
    liveBytes = 0;
    pending.clear();
    flights.clear();
    readHistoryAgain();
}

void Sender::acknowledged(int message)
{
    const auto found = flights.find(message);
    if (found == flights.end())
        return;
    const Flight flight = found->second;
    flights.erase(found);
    ++acknowledgedCount;
    if (flight.isAnswer)
        parts.desk.dropAnswer();
    isAnswerInFlight = isAnswerInFlight && !flight.isAnswer;
    if (!flight.number)
        return;
    parts.spool->acknowledged(flight.number);
    pending.erase(flight.number);
}

void Sender::send(const LineState &line, const Moment &moment)
{
    keepDue(moment.steady);
    allowHistory(moment.steady);
    while (isOpen() && !isHeld(moment.steady) && parts.client.isConnected())
        if (!sendNext(line, moment))
            return;
}

bool Sender::isOpen() const
{
    return isGreeted && !parts.layout.awaitsHost() && parts.client.hasRoom();
}

/// Births that are asked for again come once a second, and nothing before them.
bool Sender::isHeld(milliseconds steady) const
{
    return birthsWanted && isBorn && steady < bornAt + PeriodOfBirths;
}

bool Sender::sendNext(const LineState &line, const Moment &moment)
{
    if (birthsWanted)
        makeBirths(line, moment);
    if (sendUrgent() || sendAnswer(moment))
        return true;
    if (!tellsTheSame(told, line))
        makeChanges(line, moment);
    else if (moment.steady >= periodicDue())
        makePeriodic(line, moment);
    return sendUrgent() || sendLive(moment) || sendHistory(moment);
}

bool Sender::publish(const Message &message, const Flight &flight)
{
    const int number = parts.client.publish(message);
    if (number == 0)
        return false;
    ++sentCount;
    flights[number] = flight;
    return true;
}

bool Sender::sendUrgent()
{
    if (urgent.empty() || !publish(urgent.front(), {}))
        return false;
    urgent.pop_front();
    return true;
}

bool Sender::sendAnswer(const Moment &moment)
{
    while (!isAnswerInFlight && !parts.desk.answers().empty()) {
        if (const std::optional<Message> message = parts.layout.answer(parts.desk.answers().front(), moment.now))
            return isAnswerInFlight = publish(*message, {0, true});
        parts.desk.dropAnswer();
    }
    return false;
}

bool Sender::sendLive(const Moment &moment)
{
    if (live.empty())
        takeDue(moment.steady);
    while (!live.empty() && !parts.layout.canTell(live.front().record.key))
        letGo(live.front());
    if (live.empty())
        return false;
    const Live next = std::move(live.front());
    live.pop_front();
    liveBytes -= weightOf(next.record);
    return publish(parts.layout.live(next.record, moment.now), {next.number});
}

bool Sender::sendHistory(const Moment &moment)
{
    while (historyAllowed >= 1) {
        const std::optional<Spool::Kept> kept = nextKept();
        if (!kept)
            return false;
        const std::optional<Message> message = parts.layout.history(kept->record, moment.now);
        if (!message) {
            parts.spool->acknowledged(kept->number);
            continue;
        }
        historyAllowed -= 1;
        pending.insert(kept->number);
        return publish(*message, {kept->number});
    }
    return false;
}

/// The oldest record that is not on its way and can be told now.
std::optional<Spool::Kept> Sender::nextKept()
{
    while (parts.spool && parts.spool->records() > std::int64_t(pending.size())) {
        if (ahead.empty())
            for (Spool::Kept &kept : parts.spool->oldest(historyAfter, ReadAhead))
                ahead.push_back(std::move(kept));
        if (ahead.empty())
            break;
        Spool::Kept next = std::move(ahead.front());
        ahead.pop_front();
        historyAfter = next.number;
        if (!pending.count(next.number) && parts.layout.canTell(next.record.key))
            return next;
    }
    return std::nullopt;
}

void Sender::readHistoryAgain()
{
    ahead.clear();
    historyAfter = 0;
}

/// What was saved up lasts for a tenth of a second.
void Sender::allowHistory(milliseconds steady)
{
    const double perSecond = parts.historyPerSecond;
    const double earned = std::chrono::duration<double>(steady - allowedUntil).count() * perSecond;
    historyAllowed = std::min(historyAllowed + earned, std::max(1.0, perSecond / 10));
    allowedUntil = steady;
}

/// They hold all values: what waits to be sent live is history, if there is a spool.
void Sender::makeBirths(const LineState &line, const Moment &moment)
{
    birthsWanted = false;
    isBorn = true;
    bornAt = moment.steady;
    for (const Live &waiting : live)
        pending.erase(waiting.number);
    live.clear();
    liveBytes = 0;
    const std::vector<Message> births = parts.layout.births(picture(line), moment.now);
    urgent.assign(births.begin(), births.end());
    parts.reporter.allSent(moment.steady);
    told = line;
    noteAllTold(moment.steady);
    readHistoryAgain();
}

void Sender::makeChanges(const LineState &line, const Moment &moment)
{
    const std::vector<Message> changes =
        parts.layout.changes({parts.reporter.newest(), told}, picture(line), moment.now);
    urgent.insert(urgent.end(), changes.begin(), changes.end());
    told = line;
    readHistoryAgain(); // a station may be back
}

void Sender::makePeriodic(const LineState &line, const Moment &moment)
{
    const std::vector<Message> messages = parts.layout.periodic(picture(line), moment.now);
    urgent.insert(urgent.end(), messages.begin(), messages.end());
    noteAllTold(moment.steady);
}

void Sender::noteAllTold(milliseconds steady)
{
    toldAll = steady;
    toldTags = parts.reporter.known();
}

/// Who comes late and reads only what is periodic does not wait for a minute after a start.
milliseconds Sender::periodicDue() const
{
    return toldAll + (parts.reporter.known() > toldTags ? PeriodOfNews : Period);
}

void Sender::keepDue(milliseconds steady)
{
    if (parts.spool)
        takeDue(steady);
}

void Sender::takeDue(milliseconds steady)
{
    const std::vector<const Sample *> due = parts.reporter.takeDue(steady);
    if (due.empty())
        return;
    for (const Record &record : parts.layout.records(due))
        keep(record);
}

void Sender::keep(const Record &record)
{
    const Spool::Number number = parts.spool ? parts.spool->add(record) : 0;
    if (!isGreeted)
        return;
    live.push_back({record, number});
    liveBytes += weightOf(record);
    if (number)
        pending.insert(number);
    while (number && liveBytes > MostLiveBytes && live.size() > 1)
        letGo(live.front());
}

/// It waits in the spool, as history that is older than all that is live.
void Sender::letGo(const Live &oldest)
{
    pending.erase(oldest.number);
    if (oldest.number <= historyAfter) {
        ahead.clear();
        historyAfter = oldest.number - 1;
    }
    liveBytes -= weightOf(oldest.record);
    live.pop_front();
}

void Sender::beginFarewell(const LineState &line, const Moment &moment)
{
    keepDue(moment.steady);
    urgent.clear();
    if (isTold())
        for (Message &message : parts.layout.farewell(picture(line), moment.now))
            urgent.push_back(std::move(message));
    isGreeted = birthsWanted = isBorn = false;
}

bool Sender::sendFarewell()
{
    while (parts.client.isConnected() && parts.client.hasRoom() && sendUrgent())
        ;
    return urgent.empty() || !parts.client.isConnected();
}

milliseconds Sender::patience(milliseconds steady) const
{
    const bool isReady = isOpen() && !isHeld(steady);
    milliseconds when = isReady ? periodicDue() : milliseconds::max();
    if (isHeld(steady))
        when = bornAt + PeriodOfBirths;
    if (isReady || parts.spool)
        when = std::min(when, parts.reporter.nextDue());
    if (isReady && parts.spool && parts.spool->records() > std::int64_t(pending.size()))
        when = std::min(when, steady + milliseconds(1000 / std::max(parts.historyPerSecond, 1) + 1));
    return when == milliseconds::max() ? when : std::max(when - steady, milliseconds(0));
}

} // namespace fgs
