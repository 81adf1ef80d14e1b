// Between a client and its broker: hands everything on, and writes down what the broker acknowledged to the client,
// and if that is wanted, every packet that the client sent.
#ifndef TARN_TESTS_MQTT_TAP_H
#define TARN_TESTS_MQTT_TAP_H

#include "support/loopback.h"
#include "support/mqtt_packet.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <netinet/tcp.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

/// One connection at a time. One that the broker ends, or does not take, ends for the client too.
class MqttTap
{
public:
    struct Message {
        std::string topic, payload;
    };

    explicit MqttTap(int theBrokerPort, bool keepsPackets = false)
        : brokerPort(theBrokerPort), isKeeping(keepsPackets), listener(listenOnLoopback(0, 16)),
          thread([this] { run(); })
    {
    }
    MqttTap(const MqttTap &) = delete;
    MqttTap &operator=(const MqttTap &) = delete;
    ~MqttTap()
    {
        isOver = true;
        thread.join();
        ::close(listener);
    }

    int port() const { return portOf(listener); }

    /// Those of QoS 1 whose PUBACK was handed on since the last call.
    std::vector<Message> takeAcknowledged()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(acknowledged, {});
    }

    /// What the client sent until now, on all connections.
    std::vector<MqttPacket> sent() const
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return packets;
    }

    /// Ends the connection at both ends without a word.
    void cut() { isCut = true; }

    /// Hands nothing on, and ends nothing: both ends keep a connection that leads nowhere.
    std::atomic<bool> isSilent{false};

private:
    void run()
    {
        while (!isOver) {
            if (!isReadable(listener, 10))
                continue;
            const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const int broker = callLoopback(brokerPort);
            sendAtOnce(client);
            sendAtOnce(broker);
            serve(client, broker);
            ::close(client);
            ::close(broker);
        }
    }

    static void sendAtOnce(int socket)
    {
        const int one = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }

    static bool isReadable(int socket, int wait)
    {
        pollfd wanted = {socket, POLLIN, 0};
        return ::poll(&wanted, 1, wait) > 0;
    }

    /// Until one of them ends.
    void serve(int client, int broker)
    {
        underWay.clear();
        std::string fromClient, fromBroker;
        while (!isOver && !isCut.exchange(false)) {
            if (isSilent) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                continue;
            }
            pollfd wanted[] = {{client, POLLIN, 0}, {broker, POLLIN, 0}};
            ::poll(wanted, 2, 10);
            if (wanted[1].revents && !handOn(broker, client, fromBroker))
                return;
            takeAll(fromBroker, [this](const MqttPacket &packet) { noteAcknowledgement(packet); });
            if (wanted[0].revents && !handOn(client, broker, fromClient))
                return;
            takeAll(fromClient, [this](const MqttPacket &packet) { noteSent(packet); });
        }
    }

    /// Also into `bytes`. False: one of them has ended.
    static bool handOn(int from, int to, std::string &bytes)
    {
        char part[65536];
        const ssize_t size = ::recv(from, part, sizeof part, MSG_DONTWAIT);
        if (size <= 0)
            return false;
        for (ssize_t sent = 0, more = 0; sent < size; sent += more) {
            more = ::send(to, part + sent, std::size_t(size - sent), MSG_NOSIGNAL);
            if (more <= 0)
                return false;
        }
        bytes.append(part, std::size_t(size));
        return true;
    }

    template <typename Note>
    static void takeAll(std::string &bytes, const Note &note)
    {
        while (const std::optional<MqttPacket> packet = takePacket(bytes))
            note(*packet);
    }

    void noteSent(const MqttPacket &packet)
    {
        if (isKeeping) {
            const std::lock_guard<std::mutex> lock(mutex);
            packets.push_back(packet);
        }
        if (packet.type() != MqttPacket::Publish)
            return;
        const MqttPublish publish(packet);
        underWay[publish.number] = {publish.topic, publish.payload};
    }

    void noteAcknowledgement(const MqttPacket &packet)
    {
        if (packet.type() != MqttPacket::PubAck)
            return;
        const std::lock_guard<std::mutex> lock(mutex);
        acknowledged.push_back(underWay.at(numberAt(packet.body, 0)));
    }

    const int brokerPort;
    const bool isKeeping;
    const int listener;
    std::map<int, Message> underWay; ///< by their numbers
    mutable std::mutex mutex;
    std::vector<Message> acknowledged;
    std::vector<MqttPacket> packets;
    std::atomic<bool> isOver{false}, isCut{false};
    std::thread thread;
};

#endif
