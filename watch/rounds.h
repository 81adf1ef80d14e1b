// Counts how often every variable was asked for.
#ifndef FGS_WATCH_ROUNDS_H
#define FGS_WATCH_ROUNDS_H

#include "host/host.h"

namespace fgs
{

/// What is not asked now, because its station rests or its place is left out, counts as asked.
class Rounds
{
public:
    /// Host and variables outlive it.
    Rounds(const Host &theHost, const std::vector<Variable> &theVariables, Time now)
        : host(theHost), variables(theVariables), begun(now)
    {
    }

    /// Whether a round has just ended; the next one has begun.
    bool endsAt(Time now);
    /// Puts the start of the round that begins off.
    void beginAt(Time time) { begun = time; }

    int count() const { return ended; }
    /// When the round that has just ended began.
    Time lastBegun() const { return before; }

private:
    bool isServed(const Variable &variable) const;

    const Host &host;
    const std::vector<Variable> &variables;
    Time begun, before{0};
    int ended = 0;
    std::size_t next = 0; ///< the first one that may not have been asked for
};

} // namespace fgs

#endif
