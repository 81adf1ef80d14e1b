// What the line hands to the network: values with their time and quality, never changed once they are made.
#ifndef FGS_GATEWAY_SAMPLE_H
#define FGS_GATEWAY_SAMPLE_H

#include "moment.h"

#include "host/line_event.h"
#include "host/statistics.h"
#include "watch/reading.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fgs
{

struct Sample {
    std::size_t tag = 0; ///< index in GatewaySettings::tags
    Quality quality = Quality::Unknown;
    Reason reason;               ///< why it is not good
    Epoch time = 0;              ///< of the reply that brought the values; of the finding if there are none
    std::vector<quint32> values; ///< elements of the variable; empty if Unknown
};

/// What one request changed, by ascending tags.
using Snapshot = std::vector<Sample>;

/// How the line stands. The newest replaces those before.
struct LineState {
    bool isUp = false;
    Epoch since = 0;              ///< that it is up, or not
    std::string error;            ///< why it is not up
    std::map<int, bool> stations; ///< of the tags; whether they answer. Before the first answer they do not.
    Statistics statistics;
    milliseconds busy{0}; ///< time that requests and their answers took, since the start
};

} // namespace fgs

#endif
