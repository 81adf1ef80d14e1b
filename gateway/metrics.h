// Figures of a gateway for Prometheus, made when they are asked for.
#ifndef FGS_GATEWAY_METRICS_H
#define FGS_GATEWAY_METRICS_H

#include "command.h"
#include "sample.h"

#include <string>

namespace fgs
{

/// All that the metrics tell, in one place. The network's thread fills it in at each scrape.
struct GatewayFigures {
    LineState line;
    bool isBrokerUp = false;
    bool awaitsHost = false;  ///< nothing is sent before the primary host is online
    quint64 sent = 0;         ///< messages, again after a lost connection
    quint64 acknowledged = 0; ///< of them
    quint64 dropped = 0;      ///< values and messages that will never be sent
    std::int64_t spoolBytes = 0;
    double spoolOldestAge = 0; ///< seconds
    std::size_t tags = 0, staleTags = 0;
    double oldestValueAge = 0; ///< seconds
    quint64 commands = 0;
    std::array<quint64, CommandFailureCount> commandFailures = {};
    bool hasSpool = false;
    std::string spoolProblem; ///< empty: it keeps what it is given
};

/// The text format of Prometheus, 0.0.4. Without a spool there are no metrics of one.
std::string metricsText(const GatewayFigures &figures);

/// Whether the gateway does its work: line and broker up, and what is to be kept is kept. The text is JSON, for
/// people and probes.
struct Health {
    bool isOk = false;
    std::string text;
};
Health healthOf(const GatewayFigures &figures);

} // namespace fgs

#endif
