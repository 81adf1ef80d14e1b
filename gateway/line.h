// The line's loop: polls, writes what is ordered, and tells the network's thread. It never waits for the network.
#ifndef FGS_GATEWAY_LINE_H
#define FGS_GATEWAY_LINE_H

#include "orders.h"
#include "settings.h"
#include "watch/poll_loop.h"
#include "watch/wall_clock.h"

#include <functional>

namespace fgs
{

/// Runs on one thread, which has the driver for itself meanwhile.
class LineLoop
{
public:
    struct Wiring {
        Mailbox &mailbox;
        OrderDesk &orders;
        /// Called between two requests, at least every 50 ms of a pause and every 100 ms while the link is lost;
        /// not while an order waits for a lost link, 5 s at most.
        std::function<void()> alive = [] {};
        TraceHook trace = {};  ///< every frame
        bool readOnly = false; ///< orders end as not sent
    };

    /// All of them outlive it. The link is not open yet: a link that cannot be opened is tried again, as one that
    /// was lost.
    LineLoop(const GatewaySettings &theSettings, Link &theLink, const WallClock &theClock, const Wiring &theWiring);

    /// Until the link's end (Link::endBy()). What is ordered then ends as not sent.
    void run();

private:
    const GatewaySettings &settings;
    Link &link;
    const WallClock &clock;
    const Wiring wiring;
};

} // namespace fgs

#endif
