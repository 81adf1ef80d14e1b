// Packets of MQTT 3.1.1 in a stream of bytes, as far as what stands in for a broker looks at them.
#ifndef TARN_TESTS_MQTT_PACKET_H
#define TARN_TESTS_MQTT_PACKET_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct MqttPacket {
    enum PacketType { Connect = 1, Publish = 3, PubAck = 4, Subscribe = 8, PingReq = 12, Disconnect = 14 };

    int type() const { return head >> 4; }

    unsigned char head = 0;
    std::string body;
};

/// Two bytes of the body.
inline int numberAt(const std::string &body, std::size_t place)
{
    return static_cast<unsigned char>(body.at(place)) << 8 | static_cast<unsigned char>(body.at(place + 1));
}

/// The text at the place, which goes behind it.
inline std::string textAt(const std::string &body, std::size_t &place)
{
    const std::string text = body.substr(place + 2, std::size_t(numberAt(body, place)));
    place += 2 + text.size();
    return text;
}

/// Takes the first one from the bytes if all of it is there.
inline std::optional<MqttPacket> takePacket(std::string &bytes)
{
    std::size_t length = 0, place = 1;
    for (int shift = 0;; shift += 7) {
        if (place >= bytes.size())
            return std::nullopt;
        const auto part = static_cast<unsigned char>(bytes[place++]);
        length |= std::size_t(part & 0x7F) << shift;
        if (!(part & 0x80))
            break;
    }
    if (bytes.size() < place + length)
        return std::nullopt;
    const MqttPacket packet = {static_cast<unsigned char>(bytes[0]), bytes.substr(place, length)};
    bytes.erase(0, place + length);
    return packet;
}

/// A packet of type Publish.
struct MqttPublish {
    explicit MqttPublish(const MqttPacket &packet)
        : topic(packet.body.substr(2, std::size_t(numberAt(packet.body, 0)))), qos(packet.head >> 1 & 3),
          isRetained(packet.head & 1), isRepeated(packet.head & 8)
    {
        const std::size_t place = 2 + topic.size();
        number = qos ? numberAt(packet.body, place) : 0;
        payload = packet.body.substr(place + (qos ? 2 : 0));
    }

    const std::string topic;
    const int qos;
    const bool isRetained, isRepeated;
    int number = 0; ///< 0: QoS 0
    std::string payload;
};

/// A packet of type Connect.
struct MqttConnect {
    explicit MqttConnect(const MqttPacket &packet)
    {
        std::size_t place = 0;
        protocol = textAt(packet.body, place);
        level = packet.body.at(place);
        const int flags = packet.body.at(place + 1);
        isClean = flags & 2;
        hasWill = flags & 4;
        willQos = flags >> 3 & 3;
        isWillRetained = flags & 32;
        place += 4; // level, flags and the time to keep alive
        client = textAt(packet.body, place);
        if (!hasWill)
            return;
        willTopic = textAt(packet.body, place);
        willPayload = textAt(packet.body, place);
    }

    std::string protocol, client, willTopic, willPayload;
    int level = 0, willQos = 0;
    bool isClean = false, hasWill = false, isWillRetained = false;
};

/// The topics of a packet of type Subscribe, and the QoS that is asked for.
inline std::vector<std::pair<std::string, int>> subscriptionsIn(const MqttPacket &packet)
{
    std::vector<std::pair<std::string, int>> topics;
    for (std::size_t place = 2; place < packet.body.size(); ++place) {
        const std::string topic = textAt(packet.body, place);
        topics.emplace_back(topic, packet.body.at(place));
    }
    return topics;
}

#endif
