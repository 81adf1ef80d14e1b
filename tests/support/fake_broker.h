// What a broker is not supposed to do: refuses, never acknowledges, goes silent, breaks off. It writes down what it
// is sent. MQTT 3.1.1 as far as a gateway uses it.
#ifndef TARN_TESTS_FAKE_BROKER_H
#define TARN_TESTS_FAKE_BROKER_H

#include "support/loopback.h"
#include "support/mqtt_packet.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

class FakeBroker
{
public:
    struct Sent {
        std::string topic, payload;
        bool isRetained = false, isRepeated = false;
    };

    FakeBroker() : listener(listenOnLoopback(0, 16)), thread([this] { run(); }) {}
    FakeBroker(const FakeBroker &) = delete;
    FakeBroker &operator=(const FakeBroker &) = delete;
    ~FakeBroker()
    {
        isOver = true;
        thread.join();
        breakOff();
        ::close(listener);
    }

    int port() const { return portOf(listener); }

    std::atomic<int> answer{0};           ///< the code of CONNACK
    std::atomic<int> granted{1};          ///< the code of SUBACK, for one topic
    std::atomic<bool> acknowledges{true}; ///< with PUBACK
    std::atomic<bool> isSilent{false};    ///< answers nothing at all, as one that cannot be reached any more
    std::atomic<int> breakAfter{-1};      ///< breaks the connection off instead of taking so many PUBLISH further
    std::atomic<int> connects{0};         ///< CONNECT so far
    std::atomic<int> disconnects{0};      ///< DISCONNECT so far
    std::atomic<int> ends{0};             ///< connections that are over
    std::atomic<int> subscriptions{0};    ///< SUBSCRIBE so far
    std::atomic<int> pings{0};

    std::vector<Sent> sent() const
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return messages;
    }

private:
    struct Client {
        std::string bytes;
    };

    void run()
    {
        while (!isOver) {
            std::vector<pollfd> wanted = {{listener, POLLIN, 0}};
            for (const auto &[socket, client] : clients)
                wanted.push_back({socket, POLLIN, 0});
            ::poll(wanted.data(), wanted.size(), 10);
            if (wanted[0].revents)
                clients[::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)] = {};
            for (std::size_t i = 1; i < wanted.size(); ++i)
                if (wanted[i].revents)
                    take(wanted[i].fd);
        }
    }

    void breakOff()
    {
        for (const auto &[socket, client] : clients)
            ::close(socket);
        clients.clear();
    }

    void take(int socket)
    {
        char bytes[65536];
        const ssize_t size = ::recv(socket, bytes, sizeof bytes, MSG_DONTWAIT);
        if (size > 0 && takeBytes(socket, std::string(bytes, std::size_t(size))))
            return;
        ::close(socket);
        clients.erase(socket);
        ++ends;
    }

    /// False: breaks off.
    bool takeBytes(int socket, const std::string &more)
    {
        std::string &bytes = clients[socket].bytes;
        bytes += more;
        while (const std::optional<MqttPacket> packet = takePacket(bytes))
            if (!take(socket, *packet))
                return false;
        return true;
    }

    bool take(int socket, const MqttPacket &packet)
    {
        switch (packet.type()) {
        case MqttPacket::Connect:
            ++connects;
            return reply(socket, {'\x20', '\x02', '\0', char(answer.load())}) && answer == 0;
        case MqttPacket::Publish:
            return takePublish(socket, packet);
        case MqttPacket::Subscribe:
            ++subscriptions;
            return reply(socket, {'\x90', '\x03', packet.body[0], packet.body[1], char(granted.load())});
        case MqttPacket::PingReq:
            ++pings;
            return reply(socket, {'\xD0', '\0'});
        case MqttPacket::Disconnect:
            ++disconnects;
            return false;
        default:
            return true;
        }
    }

    bool takePublish(int socket, const MqttPacket &packet)
    {
        if (breakAfter >= 0 && breakAfter-- == 0)
            return false;
        const MqttPublish publish(packet);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            messages.push_back({publish.topic, publish.payload, publish.isRetained, publish.isRepeated});
        }
        if (publish.number && acknowledges)
            return reply(socket, {'\x40', '\x02', char(publish.number >> 8), char(publish.number & 0xFF)});
        return true;
    }

    bool reply(int socket, const std::vector<char> &bytes) const
    {
        return isSilent || ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0;
    }

    const int listener;
    std::map<int, Client> clients; ///< by their sockets
    mutable std::mutex mutex;
    std::vector<Sent> messages;
    std::atomic<bool> isOver{false};
    std::thread thread;
};

#endif
