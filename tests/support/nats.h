// A cluster of three NATS servers that speak MQTT, on free ports of the loopback; ends with the object.
#ifndef TARN_TESTS_NATS_H
#define TARN_TESTS_NATS_H

#include "support/server.h"
#include "support/temporary_folder.h"

/// What MQTT keeps (retained messages, messages of QoS 1 that somebody awaits) is in JetStream, on all three nodes.
class NatsCluster
{
public:
    static constexpr std::size_t Size = 3;
    static bool isThere() { return isServerThere("sbin/nats-server"); }

    /// They listen; a client is let in once they have found one another.
    void start()
    {
        for (std::size_t node = 0; node < Size; ++node)
            start(node);
    }
    /// Again, with what it has stored.
    void start(std::size_t node)
    {
        std::ofstream(file(node, "conf")) << configuration(node);
        nodes[node].mqtt.start({serverProgram("sbin/nats-server"), "-c", file(node, "conf")}, file(node, "log"));
    }
    void kill(std::size_t node) { nodes[node].mqtt.kill(); }

    int port(std::size_t node) const { return nodes[node].mqtt.port(); }
    /// The ports of all nodes but one.
    std::vector<int> portsBesides(std::size_t node) const
    {
        std::vector<int> ports;
        for (std::size_t other = 0; other < Size; ++other)
            if (other != node)
                ports.push_back(port(other));
        return ports;
    }
    std::vector<int> ports() const { return portsBesides(Size); }

private:
    struct Node {
        Server mqtt;
        const int clients = boundToLoopback(0); ///< NATS's own, which its clients speak
        const int routes = boundToLoopback(0);  ///< between the nodes

        Node() = default;
        Node(const Node &) = delete;
        Node &operator=(const Node &) = delete;
        ~Node()
        {
            ::close(clients);
            ::close(routes);
        }
    };

    static std::string onPort(int port) { return "\"127.0.0.1:" + std::to_string(port) + "\""; }
    std::string file(std::size_t node, const std::string &kind) const
    {
        return folder.path / ("node" + std::to_string(node) + "." + kind);
    }
    std::string configuration(std::size_t node) const
    {
        std::string routes;
        for (const Node &other : nodes)
            routes += " \"nats://127.0.0.1:" + std::to_string(portOf(other.routes)) + "\",";
        return "server_name: node" + std::to_string(node) + "\nlisten: " + onPort(portOf(nodes[node].clients)) +
               "\njetstream { store_dir: \"" + file(node, "store") +
               "\" }\ncluster { name: plant, listen: " + onPort(portOf(nodes[node].routes)) + ", routes: [" +
               routes + " ] }\nmqtt { listen: " + onPort(port(node)) +
               ", stream_replicas: " + std::to_string(Size) + " }\n";
    }

    TemporaryFolder folder;
    Node nodes[Size];
};

/// Skips the test where NATS is missing.
#define NEED_NATS()                                                                                                \
    if (!NatsCluster::isThere())                                                                                   \
    GTEST_SKIP() << "no nats-server in " TARN_SERVERS "; scripts/servers unpacks it"

#endif
