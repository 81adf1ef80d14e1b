#include "rounds.h"

namespace fgs
{

bool Rounds::endsAt(Time now)
{
    while (next < variables.size() && isServed(variables[next]))
        ++next;
    if (next < variables.size())
        return false;
    next = 0;
    before = begun;
    begun = now;
    ++ended;
    return true;
}

bool Rounds::isServed(const Variable &variable) const
{
    return host.ageOf(variable).tried > begun || host.rests(variable.station) ||
           !host.silentPlaces(variable).empty();
}

} // namespace fgs
