// MQTT messages as a trace of a TCP connection that Wireshark reads.
#ifndef TARN_TESTS_MQTT_TRACE_H
#define TARN_TESTS_MQTT_TRACE_H

#include "gateway/layout.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mqtt_trace
{

inline std::string bigEndian(std::uint32_t value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift & 0xFF);
    return text;
}

/// Seven bits a byte, as MQTT counts what follows.
inline std::string lengthOf(std::size_t size)
{
    std::string text;
    for (; size >= 0x80; size >>= 7)
        text += static_cast<char>((size & 0x7F) | 0x80);
    return text + static_cast<char>(size);
}

inline std::string publish(const fgs::Message &message)
{
    const int flags = 0x30 | message.qos << 1 | (message.isRetained ? 1 : 0);
    std::string rest = bigEndian(static_cast<std::uint32_t>(message.topic.size()), 2) + message.topic;
    if (message.qos > 0)
        rest += bigEndian(1, 2);
    rest += message.payload;
    return static_cast<char>(flags) + lengthOf(rest.size()) + rest;
}

inline std::string ipPacket(const std::string &segment, std::uint32_t seq)
{
    const std::string tcp = bigEndian(40000, 2) + bigEndian(1883, 2) + bigEndian(seq, 4) + bigEndian(1, 4) +
                            bigEndian(0x5018, 2) + bigEndian(65535, 2) + bigEndian(0, 4);
    const std::uint32_t size = static_cast<std::uint32_t>(20 + tcp.size() + segment.size());
    return bigEndian(0x4500, 2) + bigEndian(size, 2) + bigEndian(0, 4) + bigEndian(0x4006, 2) + bigEndian(0, 2) +
           bigEndian(0x7F000001, 4) + bigEndian(0x7F000001, 4) + tcp + segment;
}

/// A capture of raw IP, one packet a message.
inline std::string capture(const std::vector<fgs::Message> &messages)
{
    const std::uint32_t rawIp = 101;
    std::string file = bigEndian(0xA1B2C3D4, 4) + bigEndian(0x00020004, 4) + bigEndian(0, 4) + bigEndian(0, 4) +
                       bigEndian(0x40000, 4) + bigEndian(rawIp, 4);
    std::uint32_t seq = 1;
    for (const fgs::Message &message : messages) {
        const std::string segment = publish(message), packet = ipPacket(segment, seq);
        const std::uint32_t size = static_cast<std::uint32_t>(packet.size());
        file += bigEndian(seq, 4) + bigEndian(0, 4) + bigEndian(size, 4) + bigEndian(size, 4) + packet;
        seq += static_cast<std::uint32_t>(segment.size());
    }
    return file;
}

} // namespace mqtt_trace

#endif
