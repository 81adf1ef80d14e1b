// One connection to a broker at a time, of those of a cluster; comes back by itself.
#ifndef FGS_GATEWAY_MQTT_CLIENT_H
#define FGS_GATEWAY_MQTT_CLIENT_H

#include "layout.h"
#include "mailbox.h"

#include <memory>

namespace fgs
{

/// Between two tries to connect, once all addresses have been tried: doubled from the shortest to the longest, and
/// shortened at random by up to a quarter, so that many gateways do not come back at once. A connection that lasted
/// `longest` begins anew with the shortest.
struct ReconnectPauses {
    milliseconds shortest{1000}, longest{4000};
};

/// MQTT 3.1.1 over libmosquitto, which runs on a thread of this object's; what happens there is handed over to the
/// user's thread as news. All functions are the user's thread's.
///
/// Each connection is a new session of the library's too (clean session, a new handle): the library sends nothing
/// of an earlier connection again, no acknowledgement of one reaches a later one, and nothing is left of messages
/// that will never be acknowledged. So with Disconnected all that was in flight counts as not acknowledged, and the
/// user sends again what has to arrive: at least once, possibly twice.
///
/// A broker that refuses a message by its access list acknowledges it all the same, or breaks off: 3.1.1 has no
/// other answer.
class MqttClient
{
public:
    struct News {
        enum NewsKind {
            WillWanted,   ///< the next try waits for connect()
            Connected,    ///< text names the broker
            Subscribed,   ///< what subscribe() asked for; text names the topics that were refused, if any were
            Disconnected, ///< also a try that failed: text says why, for people
            Delivered,    ///< acknowledged; of QoS 0 when it is written
            Arrived
        };
        NewsKind kind;
        int message = 0; ///< of Delivered: what publish() gave
        std::string text = {};
        Received received = {}; ///< of Arrived, its payload no longer than LongestPayload
    };

    /// Throws TextError if files of TLS or the password cannot be read. Files are read anew for each try.
    explicit MqttClient(const BrokerSettings &theSettings, const ReconnectPauses &thePauses = ReconnectPauses());
    /// As stop() without a wait.
    ~MqttClient();

    /// Begins to try, and goes on until the end.
    void start();
    /// The answer to WillWanted: the will of this try. One without a topic is none.
    void connect(const Message &will);
    /// How the user ends a connection: with a clean DISCONNECT, which takes the will back, or so that the broker
    /// tells the will, within a second.
    enum class Parting { Clean, ByWill };
    /// Once all is acknowledged, or after the limit. A look-up of a name that is under way is waited for. The news
    /// until then can be taken afterwards.
    void stop(milliseconds limit, Parting parting = Parting::Clean);

    /// The number that Delivered will name. 0, and nothing is done, unless isConnected() and hasRoom().
    int publish(const Message &message);
    /// QoS 1.
    void subscribe(const std::vector<std::string> &topics);
    /// From the time that Connected was taken until the connection is lost, be Disconnected taken or not.
    bool isConnected() const;
    /// Whether fewer messages than BrokerSettings::mostInFlight wait for their acknowledgement.
    bool hasRoom() const;
    /// Whether a message waits for its acknowledgement.
    bool isAwaiting() const;
    /// Ends the connection and takes the next address.
    void walkOn(Parting parting = Parting::Clean);

    /// What waits beyond this many bytes of messages that came is dropped.
    static constexpr std::size_t MostWaiting = 4U << 20;
    /// What comes is cut behind this many bytes of payload, which are too many for every command.
    static constexpr std::size_t LongestPayload = std::size_t(CommandSettings::LongestAllowed) + 1;
    std::vector<News> takeNews(); ///< oldest first
    int descriptor() const;       ///< readable when there is news
    quint64 overrun() const;      ///< messages that came and were dropped

private:
    class Connection;
    struct Shared;
    const std::unique_ptr<Shared> shared;
};

} // namespace fgs

#endif
