// One connection to a broker at a time, of those of a cluster; comes back by itself.
#ifndef FGS_GATEWAY_MQTT_CLIENT_H
#define FGS_GATEWAY_MQTT_CLIENT_H

#include "layout.h"
#include "mailbox.h"

namespace fgs
{

/// The library has a thread of its own; what happens there is handed over to the user's thread as news.
class MqttClient
{
public:
    struct News {
        enum NewsKind { Connected, Disconnected, Acknowledged, Arrived };
        NewsKind kind;
        int message = 0;   ///< of Acknowledged: what publish() gave; of QoS 0 when it is written
        std::string text;  ///< of Disconnected: why, for people
        Received received; ///< of Arrived
    };
    /// The will of each CONNECT; called on the library's thread before each try.
    using WillMaker = std::function<Message()>;

    /// Throws TextError if TLS files or the password cannot be read.
    MqttClient(const BrokerSettings &theSettings, WillMaker theWill);
    ~MqttClient(); ///< disconnects

    /// Begins to connect, and goes on until the end.
    void start();
    /// A clean DISCONNECT once all is acknowledged, or after the limit.
    void stop(milliseconds limit);

    /// Only while connected and below the bound of messages in flight: otherwise 0.
    int publish(const Message &message);
    void subscribe(const std::vector<std::string> &topics);
    bool isConnected() const;
    bool hasRoom() const;
    /// Ends the connection and takes the next address.
    void walkOn();

    std::vector<News> takeNews();
    int descriptor() const; ///< readable when there is news
};

} // namespace fgs

#endif
