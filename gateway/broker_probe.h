// One connection to a broker for a look at it, step by step.
#ifndef FGS_GATEWAY_BROKER_PROBE_H
#define FGS_GATEWAY_BROKER_PROBE_H

#include "host/stop.h"
#include "mqtt_handle.h"

#include <deque>

namespace fgs
{

/// Each step waits for its answer on the caller's thread, at most so long as the limit, and until the stop.
class BrokerProbe
{
public:
    /// The settings' client id is the connection's. All outlive it. Throws TextError if a file cannot be read.
    BrokerProbe(const BrokerSettings &theSettings, const BrokerAddress &theAddress, const Stop &theStop);
    ~BrokerProbe(); ///< a clean disconnect

    /// False: error() says why.
    bool connect(const Message &will);
    const std::string &error() const { return fault; }

    /// Whether the broker has granted it.
    bool subscribe(const std::string &topic);
    /// Whether it is acknowledged. A broker that refuses a message acknowledges it all the same.
    bool publish(const Message &message);
    /// Whether such a message has come since the last call, or comes.
    bool receives(const std::string &payload);
    /// Ends the connection as a crash would.
    void cut();

private:
    template <typename Condition>
    bool waitUntil(const Condition &isSo);
    void setCallbacks();
    static BrokerProbe &of(void *user) { return *static_cast<BrokerProbe *>(user); }

    const BrokerSettings &settings;
    const BrokerAddress &address;
    const Stop &stop;
    const MqttHandle handle;
    ConnectionEnd end;
    std::string fault;
    bool isConnected = false;
    std::optional<bool> isGranted;
    int acknowledged = 0; ///< the last message
    std::deque<std::string> payloads;
};

} // namespace fgs

#endif
