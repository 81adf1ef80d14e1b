// A variable as it stands: its values, their time and their quality.
#ifndef FGS_WATCH_READING_H
#define FGS_WATCH_READING_H

#include "host/host.h"

namespace fgs
{

enum class Quality {
    Good,
    Stale,  ///< the values are the controller's, but the last try to read them failed, or the link is lost
    Unknown ///< there are no values
};

/// Why a reading is not good.
struct Reason {
    enum ReasonKind {
        None,
        NotAskedYet,
        UnderWay,      ///< a request for it is in flight
        Failed,        ///< the last request came to `outcome`
        StationSilent, ///< not asked, because the station gives no answer at all
        PlaceSilent    ///< `places` are left out, because they give no answer while their neighbours do
    };
    ReasonKind kind = None;
    Outcome outcome = Outcome::Good;
    int received = 0, expected = 0; ///< bytes, of an answer that broke off
    std::vector<Variable> places = {};

    bool operator==(const Reason &other) const;
};

struct Reading {
    Variable variable;
    Quality quality = Quality::Unknown;
    Reason reason = Reason();
    Time time = Never;           ///< of the reply that brought the oldest of the values
    std::vector<quint32> values; ///< all of the variable's, or none

    /// Whether it tells the same, at whatever time.
    bool tellsSameAs(const Reading &other) const;
};

/// What was not asked for on a link that is lost has the loss for its reason.
Reading readingOf(const Host &host, const Link &link, const Variable &variable);

/// "no reply", for people.
QString textOf(const Reason &reason);
/// "noReply", for programs.
const char *keyOf(const Reason &reason);
const char *keyOf(Quality quality);

} // namespace fgs

#endif
