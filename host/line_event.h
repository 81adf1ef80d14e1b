// What happens on the line and is no transaction.
#ifndef FGS_HOST_LINE_EVENT_H
#define FGS_HOST_LINE_EVENT_H

#include "link.h"
#include "variable.h"

#include <functional>

namespace fgs
{

struct LineEvent {
    enum EventKind {
        LinkLost,       ///< every value is old now; text tells why
        LinkOpen,       ///< the link is open again
        StationDown,    ///< the station has left some jobs in a row unanswered
        StationUp,      ///< and answers again
        UnaskedAnswers, ///< more answers come than were asked for; values in doubt are stale until they are read
                        ///< anew
        PlaceSilent, ///< place does not answer while its neighbours do; it is left out, and probed ever more rarely
        PlaceBack,   ///< and answers again
        GapSilent    ///< place, which nobody wants, was read along and does not answer; it is no longer read
    };
    EventKind kind;
    Time time;
    int station = 0;     ///< of stations and places
    Variable place;      ///< of the last three; bits by whole bytes
    QString text;        ///< of LinkLost
    bool wasOpen = true; ///< of the first two: the link before, at any time
};

/// Called out of Host::step(), which it must not call.
using EventHook = std::function<void(const LineEvent &)>;

} // namespace fgs

#endif
