// Everything that can go wrong with the reply to one request, as a table.
#ifndef SIM_LINE_FAULTS_H
#define SIM_LINE_FAULTS_H

#include "exchange.h"

namespace fgssim
{

/// Bytes that arrive some time after a request: the one that they belong to, or the next one after it.
struct Arrival {
    Time after;
    Bytes bytes;
    bool withNextRequest = false;
};
using Delivery = std::vector<Arrival>;

struct LineFault {
    std::string name;
    int (*places)(const Exchange &); ///< how many places it can strike; 0: it cannot happen to such an exchange
    std::function<Delivery(const Exchange &, int place)> deliver;
    bool cutsLink = false; ///< the link is lost as well
};

/// The first row is no fault: the reply as it is.
const std::vector<LineFault> &lineFaults();
/// Null: there is none of that name.
const LineFault *lineFault(const std::string &name);

/// The usual time from a request to its reply.
const Time ReplyDelay = std::chrono::milliseconds(5);

} // namespace fgssim

#endif
