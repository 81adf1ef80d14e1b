// A client of a broker as tests use it: takes its own news, and writes down what comes.
#ifndef TARN_TESTS_MQTT_USER_H
#define TARN_TESTS_MQTT_USER_H

#include "gateway/mqtt_client.h"

#include <map>
#include <poll.h>

inline fgs::BrokerSettings brokerSettings(const std::vector<int> &ports, const std::string &id)
{
    fgs::BrokerSettings settings;
    for (int port : ports)
        settings.addresses.push_back({"127.0.0.1", port});
    settings.clientId = id;
    settings.keepAlive = std::chrono::minutes(10); // neither side is taken for dead on a busy machine
    return settings;
}

const fgs::ReconnectPauses ShortPauses{fgs::milliseconds(20), fgs::milliseconds(100)};

class MqttUser
{
public:
    using News = fgs::MqttClient::News;

    explicit MqttUser(const fgs::BrokerSettings &settings, const std::vector<std::string> &theTopics = {},
                      const fgs::Message &theWill = {}, const fgs::ReconnectPauses &pauses = ShortPauses)
        : client(settings, pauses), topics(theTopics), will(theWill)
    {
        client.start();
    }

    /// Takes what has come, after waiting for something at most so long.
    void step(int wait = 10)
    {
        pollfd wanted = {client.descriptor(), POLLIN, 0};
        ::poll(&wanted, 1, wait);
        for (const News &item : client.takeNews())
            take(item);
    }
    /// As long as it takes.
    template <typename Condition>
    void stepUntil(Condition condition)
    {
        while (!condition())
            step();
    }
    void stepUntilConnected()
    {
        stepUntil([this] { return client.isConnected() && (topics.empty() || isSubscribed); });
    }
    /// Publishes, again after each lost connection, and waits for the acknowledgement.
    void tell(const fgs::Message &message)
    {
        const std::size_t before = acknowledged.size();
        while (acknowledged.size() == before) {
            stepUntil([&] { return client.isConnected(); });
            const std::size_t endsBefore = ends.size();
            stepUntil([&] { return client.publish(message) != 0 || ends.size() > endsBefore; });
            stepUntil([&] { return acknowledged.size() > before || ends.size() > endsBefore; });
        }
    }
    /// The newest of the topic; empty if there is none.
    std::string newest(const std::string &topic) const
    {
        for (auto i = received.rbegin(); i != received.rend(); ++i)
            if (i->topic == topic)
                return i->payload;
        return {};
    }

    fgs::MqttClient client;
    std::vector<fgs::Received> received;
    std::vector<int> acknowledged;
    std::vector<std::string> ends; ///< texts of Disconnected
    std::string refusedTopics;
    bool insists = false; ///< on its topics: it leaves who refuses one
    int connections = 0, wills = 0;
    bool isSubscribed = false;

private:
    void take(const News &item)
    {
        switch (item.kind) {
        case News::WillWanted:
            ++wills;
            client.connect(will);
            break;
        case News::Connected:
            ++connections;
            client.subscribe(topics);
            break;
        case News::Subscribed:
            refusedTopics = item.text;
            isSubscribed = refusedTopics.empty() || !insists;
            if (!isSubscribed)
                client.walkOn();
            break;
        case News::Disconnected:
            isSubscribed = false;
            ends.push_back(item.text);
            break;
        case News::Delivered:
            acknowledged.push_back(item.message);
            break;
        case News::Arrived:
            received.push_back(item.received);
            break;
        }
    }

    const std::vector<std::string> topics;
    const fgs::Message will;
};

#endif
