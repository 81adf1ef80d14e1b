#include "poll_loop.h"

#include <algorithm>
#include <numeric>

namespace fgs
{

namespace
{

const Time IdlePause = 10ms;    ///< when the driver has nothing to send
const Time LongestPause = 50ms; ///< without a look at what else there is to do

std::vector<std::size_t> indicesOf(const std::vector<Variable> &variables)
{
    std::vector<std::size_t> indices(variables.size());
    std::iota(indices.begin(), indices.end(), std::size_t(0));
    return indices;
}

/// By parts, so that a long variable is not all or nothing.
double settledShare(const Host &host, const std::vector<Variable> &variables)
{
    const int partSize = 256;
    int settled = 0, all = 0;
    for (const Variable &variable : variables)
        for (int at = 0; at < variable.count; at += partSize) {
            Variable part = variable;
            part.address += at;
            part.count = std::min(partSize, variable.count - at);
            settled += host.isSettled(part) ? part.count : 0;
            all += part.count;
        }
    return all ? double(settled) / all : 1;
}

} // namespace

PollLoop::PollLoop(Host &theHost, Link &theLink, const std::vector<Variable> &theVariables, const PollPlan &thePlan,
                   PollObserver &theObserver)
    : host(theHost), link(theLink), variables(theVariables), plan(thePlan), observer(theObserver),
      all(indicesOf(theVariables)), rounds(theHost, theVariables, theLink.now())
{
    for (std::size_t i : all)
        ofStation[variables[i].station].push_back(i);
    host.setEvents([this](const LineEvent &event) {
        lineHasChanged = true;
        observer.happened(event);
    });
}

PollLoop::~PollLoop()
{
    host.setEvents({});
}

bool PollLoop::isOver() const
{
    return link.isEnded() || observer.isDone() || (plan.rounds && rounds.count() >= plan.rounds);
}

void PollLoop::run()
{
    host.poll(variables);
    for (const Variable &variable : variables)
        readings.push_back(readingOf(host, link, variable));
    observer.updated(readings, all);
    while (!isOver()) {
        letOthersWork();
        step();
        if (rounds.endsAt(link.now()) && !isOver())
            pauseBetweenRounds();
    }
    host.listen(); // what is shown last is not asked again
    update(all);   // what is in flight stays unanswered
}

/// One transaction. A change of the line may concern every variable, a transaction only those of its station.
void PollLoop::step()
{
    const Step step = host.step();
    if (step.kind == Step::Idle)
        link.pauseUntil(link.now() + IdlePause);
    if (step.kind == Step::Exchanged)
        observer.counted(host.statistics());
    if (std::exchange(lineHasChanged, false))
        update(all);
    else if (step.kind == Step::Exchanged && step.ended)
        update(touched(step.station));
}

void PollLoop::letOthersWork()
{
    if (!observer.betweenRequests())
        return;
    host.poll(variables);
    update(all);
}

/// Those of the station whose readings the last transaction may have changed.
std::vector<std::size_t> PollLoop::touched(int station) const
{
    std::vector<std::size_t> indices;
    const auto found = ofStation.find(station);
    if (found != ofStation.end())
        std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(indices),
                     [this](std::size_t index) { return !isUntouched(index); });
    return indices;
}

/// A good value stays as it is until it is asked for again. What changes without that is an event.
bool PollLoop::isUntouched(std::size_t index) const
{
    if (readings[index].quality != Quality::Good)
        return false;
    const Age age = host.ageOf(variables[index]);
    return age.stored == readings[index].time && age.outcome == Outcome::Good;
}

void PollLoop::update(const std::vector<std::size_t> &which)
{
    std::vector<std::size_t> changed;
    std::copy_if(which.begin(), which.end(), std::back_inserter(changed),
                 [this](std::size_t index) { return refresh(index); });
    if (!changed.empty())
        observer.updated(readings, changed);
}

/// Whether the reading has a new time, value or quality.
bool PollLoop::refresh(std::size_t index)
{
    Reading reading = readingOf(host, link, variables[index]);
    if (reading.time == readings[index].time && reading.tellsSameAs(readings[index]))
        return false;
    readings[index] = std::move(reading);
    return true;
}

void PollLoop::pauseBetweenRounds()
{
    const Time due = rounds.lastBegun() + plan.interval;
    while (link.now() < due && !isOver()) {
        link.pauseUntil(std::min(due, link.now() + LongestPause));
        letOthersWork();
    }
    rounds.beginAt(link.now());
}

void readAll(Host &host, const Link &link, const std::vector<Variable> &variables, const ProgressHook &progress)
{
    host.poll(variables);
    const auto isSettled = [&host](const Variable &variable) { return host.isSettled(variable); };
    const auto goesOn = [&] {
        return link.isOpen() && !link.isEnded() && !std::all_of(variables.begin(), variables.end(), isSettled);
    };
    const auto share = [&] { return settledShare(host, variables); };
    do {
        while (goesOn()) {
            host.step();
            if (progress)
                progress("reading", share);
        }
        host.listen();
    } while (goesOn());
}

} // namespace fgs
