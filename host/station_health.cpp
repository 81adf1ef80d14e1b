#include "station_health.h"

namespace fgs
{

void StationHealth::watch(const std::set<int> &stations)
{
    states.clear();
    troubled = 0;
    for (int station : stations)
        states[station] = State();
}

void StationHealth::answered(int station)
{
    const auto state = states.find(station);
    if (state == states.end() || state->second.failures == 0)
        return;
    if (troubled == states.size())
        for (auto &[other, otherState] : states)
            otherState.restUntil = Time(0); // the line is back, so the others may be too
    state->second = State();
    --troubled;
}

void StationHealth::gaveUp(int station, Time now)
{
    const auto state = states.find(station);
    if (state == states.end())
        return;
    if (state->second.failures++ == 0)
        ++troubled;
    if (state->second.failures >= patience)
        state->second.restUntil = now + rest;
}

std::set<int> StationHealth::active(Time now) const
{
    std::set<int> stations;
    for (const auto &[station, state] : states)
        if (troubled == states.size() || now >= state.restUntil)
            stations.insert(station);
    return stations;
}

} // namespace fgs
