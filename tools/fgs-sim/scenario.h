// What happens to a controller by itself: commands that are carried out when their time comes.
#ifndef FGS_SIM_SCENARIO_H
#define FGS_SIM_SCENARIO_H

#include "commands.h"

namespace fgssim
{

/// What is done once or again and again. Times are counted from the start of the scenario.
struct Step {
    Time first{0};
    Time interval{0};                       ///< from one time to the next; 0 only if there is one
    std::optional<std::uint64_t> times = 1; ///< none: there is no end
    /// What is done the nth time, from 0 on.
    std::function<std::vector<Command>(std::uint64_t nth)> commands;
};

struct Scenario {
    std::vector<Step> steps;    ///< what is due at the same time is done in this order
    std::optional<Time> period; ///< all begins anew after it, and every step has begun before; none: it ends
};

/// One run of a scenario, with the time as an argument. It depends on nothing else.
class ScenarioRun
{
public:
    ScenarioRun(Scenario what, Time start);

    /// Carries out what is due by now, also what is overdue, and logs each command. `now` never goes back.
    void advance(Simulation &simulation, Time now);
    /// When to call advance() again; none: all is done.
    std::optional<Time> nextEvent() const;

private:
    struct Event {
        Time due;
        std::size_t step;
    };
    std::optional<Event> eventOf(std::size_t step) const;
    std::optional<Event> nextOfRound() const;
    void findNext();

    Scenario scenario;
    Time roundStart;
    std::vector<std::uint64_t> done; // times in this round, by step
    std::optional<Event> next;
};

} // namespace fgssim

#endif
