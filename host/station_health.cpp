#include "station_health.h"

#include <algorithm>

namespace fgs
{

void StationHealth::watch(const std::set<int> &stations)
{
    others.merge(states);
    states.clear();
    for (int station : stations) {
        states[station] = others[station];
        states[station].hasJustFailed = false;
        others.erase(station);
    }
    countTroubled();
}

void StationHealth::countTroubled()
{
    troubled = static_cast<std::size_t>(
        std::count_if(states.begin(), states.end(), [](const auto &each) { return each.second.failures > 0; }));
}

void StationHealth::answered(int station)
{
    const auto state = states.find(station);
    if (state == states.end() || state->second.failures == 0)
        return;
    if (isLineDown())
        giveAnotherChance();
    state->second = State();
    countTroubled();
}

/// The line is back, so each station may be too; one more failure and it rests.
void StationHealth::giveAnotherChance()
{
    for (auto &[station, state] : states) {
        state = State();
        state.failures = patience - 1;
    }
}

void StationHealth::gaveUp(int station, Time now, Time took)
{
    const auto found = states.find(station);
    if (found == states.end())
        return;
    State &state = found->second;
    if (isDead(state))
        budget.spend(now, took);
    state.hasJustFailed = true;
    if (state.failures++ == 0)
        ++troubled;
    if (state.failures < patience)
        return;
    state.rest = state.rest == Time(0) ? firstRest : std::min(2 * state.rest, longestRest);
    state.restUntil = now + state.rest;
}

int StationHealth::failures(int station) const
{
    const auto state = states.find(station);
    return state == states.end() ? 0 : state->second.failures;
}

bool StationHealth::isSilent(int station) const
{
    return failures(station) >= patience;
}

bool StationHealth::hasJustFailed(int station) const
{
    const auto state = states.find(station);
    return state != states.end() && state->second.hasJustFailed;
}

bool StationHealth::isSound(int station) const
{
    return failures(station) == 0;
}

bool StationHealth::isProbed(int station) const
{
    const auto state = states.find(station);
    return state != states.end() && isDead(state->second);
}

int StationHealth::dueProbe(Time now) const
{
    int due = 0;
    Time earliest = now;
    for (const auto &[station, state] : states)
        if (budget.allows(now) && isDead(state) &&
            (state.restUntil < earliest || (!due && state.restUntil == now))) {
            due = station;
            earliest = state.restUntil;
        }
    return due;
}

std::set<int> StationHealth::awake() const
{
    std::set<int> stations;
    for (const auto &[station, state] : states)
        if (!isDead(state))
            stations.insert(station);
    return stations;
}

} // namespace fgs
