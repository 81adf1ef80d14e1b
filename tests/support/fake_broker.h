// What a broker is not supposed to do: refuses, never acknowledges, goes silent, breaks off. It writes down what it
// is sent. MQTT 3.1.1 as far as a gateway uses it.
#ifndef TARN_TESTS_FAKE_BROKER_H
#define TARN_TESTS_FAKE_BROKER_H

#include "support/loopback.h"

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
    }

    /// False: breaks off.
    bool takeBytes(int socket, const std::string &more)
    {
        std::string &bytes = clients[socket].bytes;
        bytes += more;
        for (;;) {
            std::size_t length = 0, place = 1;
            for (int shift = 0;; shift += 7) {
                if (place >= bytes.size())
                    return true;
                const auto part = static_cast<unsigned char>(bytes[place++]);
                length |= std::size_t(part & 0x7F) << shift;
                if (!(part & 0x80))
                    break;
            }
            if (bytes.size() < place + length)
                return true;
            const std::string body = bytes.substr(place, length);
            const auto head = static_cast<unsigned char>(bytes[0]);
            bytes.erase(0, place + length);
            if (!takePacket(socket, head, body))
                return false;
        }
    }

    bool takePacket(int socket, unsigned char head, const std::string &body)
    {
        switch (head >> 4) {
        case 1:
            ++connects;
            return reply(socket, {'\x20', '\x02', '\0', char(answer.load())}) && answer == 0;
        case 3:
            return takePublish(socket, head, body);
        case 8:
            ++subscriptions;
            return reply(socket, {'\x90', '\x03', body[0], body[1], char(granted.load())});
        case 12:
            ++pings;
            return reply(socket, {'\xD0', '\0'});
        case 14:
            ++disconnects;
            return false;
        default:
            return true;
        }
    }

    bool takePublish(int socket, unsigned char head, const std::string &body)
    {
        if (breakAfter >= 0 && breakAfter-- == 0)
            return false;
        const std::size_t topicSize =
            std::size_t(static_cast<unsigned char>(body[0])) << 8 | static_cast<unsigned char>(body[1]);
        const bool hasNumber = head & 0x06;
        const std::size_t payload = 2 + topicSize + (hasNumber ? 2 : 0);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            messages.push_back({body.substr(2, topicSize), body.substr(payload), bool(head & 1), bool(head & 8)});
        }
        if (hasNumber && acknowledges)
            return reply(socket, {'\x40', '\x02', body[2 + topicSize], body[3 + topicSize]});
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
