#include "scenario.h"

#include <sstream>

namespace fgssim
{

namespace
{

void say(Simulation &simulation, Time now, const std::string &text)
{
    simulation.log.write(Log::Topic::State, now, [&] { return "scenario: " + text; });
}

/// The log has the command, and of one that only tells each line of its answer.
void carryOut(const Command &command, Simulation &simulation, Time now)
{
    try {
        const std::string answer = command.carryOut(simulation, now);
        if (command.changes)
            return say(simulation, now, command.text);
        std::istringstream lines(answer);
        for (std::string line; std::getline(lines, line);)
            say(simulation, now, command.text + ": " + line);
    } catch (const BadText &bad) {
        say(simulation, now, command.text + " is refused: " + bad.what());
    }
}

} // namespace

ScenarioRun::ScenarioRun(Scenario what, Time start)
    : scenario(std::move(what)), roundStart(start), done(scenario.steps.size(), 0)
{
    findNext();
}

void ScenarioRun::advance(Simulation &simulation, Time now)
{
    const bool hadMore = next.has_value();
    while (next && next->due <= now) {
        const std::size_t step = next->step;
        for (const Command &command : scenario.steps[step].commands(done[step]))
            carryOut(command, simulation, now);
        ++done[step];
        findNext();
    }
    if (hadMore && !next)
        say(simulation, now, "all is done");
}

std::optional<Time> ScenarioRun::nextEvent() const
{
    return next ? std::optional<Time>(next->due) : std::nullopt;
}

std::optional<ScenarioRun::Event> ScenarioRun::eventOf(std::size_t step) const
{
    const Step &what = scenario.steps[step];
    if (what.times && done[step] >= *what.times)
        return {};
    const Time due = what.first + what.interval * std::int64_t(done[step]);
    if (scenario.period && due >= *scenario.period)
        return {};
    return Event{roundStart + due, step};
}

std::optional<ScenarioRun::Event> ScenarioRun::nextOfRound() const
{
    std::optional<Event> earliest;
    for (std::size_t step = 0; step < scenario.steps.size(); ++step) {
        const std::optional<Event> event = eventOf(step);
        if (event && (!earliest || event->due < earliest->due))
            earliest = event;
    }
    return earliest;
}

void ScenarioRun::findNext()
{
    next = nextOfRound();
    if (next || !scenario.period)
        return;
    roundStart += *scenario.period;
    done.assign(done.size(), 0);
    next = nextOfRound();
}

} // namespace fgssim
