// Gateways at a cluster of three NATS servers of which nodes are killed.
#include "lineless_gateway.h"
#include "support/nats.h"
#include "support/process.h"

#include <QtCore/QDateTime>
#include <set>

using namespace lineless;

namespace
{

/// A node that chooses a new leader denies subscriptions: asked for until they are granted, now and on every later
/// connection.
void listen(MqttUser &user)
{
    user.insists = true;
    user.stepUntilConnected();
}

class Nats : public testing::Test
{
protected:
    void SetUp() override
    {
        NEED_NATS();
        cluster.start();
        ASSERT_FALSE(HasFailure());
        for (std::size_t node = 0; node < NatsCluster::Size; ++node)
            awaitWork(node);
    }

    /// Once the node takes part in what the cluster keeps.
    void awaitWork(std::size_t node) const
    {
        MqttUser user(brokerSettings({cluster.port(node)}, "probe"), {"probe"});
        listen(user);
        user.tell({"probe", "x"});
        user.stepUntil([&] { return !user.newest("probe").empty(); });
    }

    /// Connected to any other node; its connections are counted from this one on.
    std::unique_ptr<MqttUser> readerBesides(std::size_t node) const
    {
        auto reader = std::make_unique<MqttUser>(brokerSettings(cluster.portsBesides(node), "reader"),
                                                 std::vector<std::string>{"plant/#"});
        listen(*reader);
        reader->connections = 1;
        return reader;
    }

    /// That of the newest connection.
    std::size_t nodeOf(const std::vector<std::string> &log) const
    {
        for (auto line = log.rbegin(); line != log.rend(); ++line)
            for (std::size_t node = 0; node < NatsCluster::Size; ++node)
                if (contains(*line, "connected to broker 127.0.0.1:" + std::to_string(cluster.port(node))))
                    return node;
        ADD_FAILURE() << "no connection";
        return 0;
    }

    NatsCluster cluster;
};

/// What the gateway tells, and one who reads it at other nodes than the gateway's.
class Watched
{
public:
    explicit Watched(const GatewaySettings &settings) : gateway(settings) {}

    void post(int count)
    {
        for (; count > 0; --count) {
            ++time;
            gateway.post(std::size_t(time % Tags), valueOf(time), time);
            gateway.step();
        }
    }
    /// Everything that was posted since the last time, live or kept. A reader that has lost its node as well cannot
    /// tell what passed meanwhile.
    void awaitAll(MqttUser &reader)
    {
        stepBoth(gateway, reader, [&] {
            take(reader);
            return arrived.size() == std::size_t(time - first) || reader.connections > 1;
        });
        first = time;
        arrived.clear();
    }
    void awaitNewest(MqttUser &reader)
    {
        stepBoth(gateway, reader, [&] {
            const std::string state = reader.newest("plant/press7/oven/state");
            bool isNewest = contains(reader.newest("plant/press7/status"), "\"online\"");
            for (Epoch of = time - Tags + 1; of <= time; ++of)
                isNewest = isNewest &&
                           contains(state, "\"t" + std::to_string(of % Tags) + "\":" + std::to_string(valueOf(of)));
            return isNewest;
        });
    }

    Gateway gateway;

private:
    static quint32 valueOf(Epoch time) { return 10000 + quint32(time % 50000); }

    void take(MqttUser &reader)
    {
        for (const Received &message : reader.received)
            if (message.topic == "plant/press7/oven" || message.topic == "plant/press7/oven/history")
                arrive(timeIn(message.payload));
        const std::string state = reader.newest("plant/press7/oven/state");
        const std::string status = reader.newest("plant/press7/status");
        reader.received = {{"plant/press7/oven/state", state, false}, {"plant/press7/status", status, false}};
    }

    void arrive(Epoch posted)
    {
        if (posted > first)
            arrived.insert(posted);
    }

    Epoch first = QDateTime::currentMSecsSinceEpoch(); ///< what is older than days is not kept
    Epoch time = first;
    std::set<Epoch> arrived; ///< of what was posted after the first
};

/// Each node in turn is killed while the gateway is connected to it.
TEST_F(Nats, LosesNothingThatWasDueWhenTheGatewaysNodeIsKilled)
{
    TemporaryFolder folder;
    GatewaySettings settings = gatewaySettings(cluster.ports());
    settings.broker.keepAlive = std::chrono::seconds(20); // a node may fall silent
    settings.spool.emplace();
    settings.spool->file = folder.path / "press7.spool";
    settings.spool->historyPerSecond = 10000;
    Watched watched(settings);
    Gateway &gateway = watched.gateway;
    std::set<std::size_t> killed;
    for (int round = 0; round < 3; ++round) {
        gateway.stepUntil([&] { return gateway.network.figures().isBrokerUp; });
        const std::size_t node = nodeOf(gateway.log);
        const std::unique_ptr<MqttUser> reader = readerBesides(node);
        watched.post(40);
        watched.awaitAll(*reader);
        watched.post(20); // some of them are in flight
        cluster.kill(node);
        watched.post(60);
        watched.awaitAll(*reader);
        EXPECT_NE(nodeOf(gateway.log), node) << "it has walked on";
        const std::unique_ptr<MqttUser> late = readerBesides(node);
        watched.awaitNewest(*late);
        cluster.start(node);
        awaitWork(node);
        killed.insert(node);
    }
    EXPECT_GT(killed.size(), 1U);
    gateway.stepUntil([&] { return gateway.network.figures().spoolBytes == 0; });
    EXPECT_EQ(gateway.network.figures().dropped, 0U);
}

std::string programOf(const char *name)
{
    return std::string(TARN_BINARY_DIR "/") + name;
}

/// A controller, and the program between it and the cluster.
class Running
{
public:
    explicit Running(const NatsCluster &cluster)
        : simulator(programOf("fgs-sim"),
                    {"--tcp", "0", "--log", "quiet", "--values", "still", "--set", "5:100=201"})
    {
        std::ofstream toml(file);
        toml << "name = \"press7\"\nlink = \"" << simulator.outputLine() << "\"\n[broker]\nhost = [";
        for (int port : cluster.ports())
            toml << " \"127.0.0.1:" << port << "\",";
        toml
            << " ]\n[line]\ntimeout_ms = 20000\n[layout]\nkind = \"plain\"\nbase = \"plant\"\n[[group]]\nname = "
               "\"oven\"\n"
            << "tag = [{ name = \"sp\", variable = \"5:100:s16\", scale = 0.1, write = { min = 0, max = 250 } }]\n";
        toml.close();
        gateway = std::make_unique<Process>(programOf("fgs-gateway"), std::vector<std::string>{file});
    }

    /// Until it is connected once more; all that it has said.
    const std::vector<std::string> &awaitConnection()
    {
        do
            log.push_back(gateway->logLine());
        while (!contains(log.back(), "connected to broker ") && !log.back().empty());
        return log;
    }

    std::unique_ptr<Process> gateway;

private:
    const TemporaryFolder folder;
    const std::string file = folder.path / "file.toml";
    Process simulator;
    std::vector<std::string> log;
};

/// What a cluster that chooses new leaders may do to a command: it comes late, twice, or with the next one.
bool isOfTheWay(const std::string &answer)
{
    const char *const keys[] = {"accepted", "expired", "superseded", "tooOld", "tooMany"};
    return std::any_of(std::begin(keys), std::end(keys),
                       [&answer](const char *key) { return contains(answer, "\"" + std::string(key) + "\""); });
}

/// The answer to a command; what nobody heard, or the way has spoilt, is sent again with an id of its own.
std::string answerTo(MqttUser &user, double setPoint)
{
    for (int number = 1;; ++number) {
        const std::string id = std::to_string(setPoint) + "-" + std::to_string(number);
        user.tell({"plant/press7/cmd", R"({"id":")" + id + R"(","ts":)" +
                                           std::to_string(QDateTime::currentMSecsSinceEpoch()) +
                                           R"(,"set":{"sp":)" + std::to_string(setPoint) + "}}"});
        for (int steps = 0; steps < 100 * number; ++steps, user.step()) {
            const std::string answer = user.newest("plant/press7/ack");
            if (contains(answer, "\"" + id + "\"") && !isOfTheWay(answer))
                return answer;
        }
    }
}

void expectVerified(const std::string &answer)
{
    EXPECT_TRUE(contains(answer, "\"verified\"")) << answer;
}

TEST_F(Nats, CarriesCommandsBeforeAndAfterTheGatewaysNodeIsKilled)
{
    Running running(cluster);
    const std::size_t node = nodeOf(running.awaitConnection());
    const std::unique_ptr<MqttUser> user = readerBesides(node);
    user->stepUntil([&] { return contains(user->newest("plant/press7/oven/state"), "\"sp\":20.1"); });
    expectVerified(answerTo(*user, 120.5));
    cluster.kill(node);
    EXPECT_NE(nodeOf(running.awaitConnection()), node);
    expectVerified(answerTo(*user, 99.5));
    running.gateway->signal(SIGTERM);
    EXPECT_EQ(running.gateway->wait(), 0);
}

TEST_F(Nats, TellsAllNodesThatAGatewayWasKilled)
{
    Running running(cluster);
    const std::size_t node = nodeOf(running.awaitConnection());
    const std::unique_ptr<MqttUser> reader = readerBesides(node);
    reader->stepUntil([&] { return contains(reader->newest("plant/press7/status"), "\"online\""); });
    running.gateway->signal(SIGKILL);
    reader->stepUntil([&] { return contains(reader->newest("plant/press7/status"), "\"offline\""); });
    const std::unique_ptr<MqttUser> late = readerBesides(node);
    late->stepUntil([&] { return contains(late->newest("plant/press7/status"), "\"offline\""); });
    EXPECT_TRUE(late->received.front().isRetained);
}

/// Granted, and nothing ever comes of it: shared subscriptions need another cluster.
TEST_F(Nats, KnowsNoSharedSubscriptions)
{
    MqttUser sharing(brokerSettings({cluster.port(0)}, "sharing"), {"$share/group/plant/#"});
    listen(sharing);
    MqttUser user(brokerSettings({cluster.port(1)}, "user"), {"plant/#"});
    listen(user);
    user.tell({"plant/x", "1"});
    user.stepUntil([&] { return !user.newest("plant/x").empty(); });
    user.tell({"$share/group/plant/end", "1"}); // for NATS it is a topic as any other
    sharing.stepUntil([&] { return !sharing.received.empty(); });
    EXPECT_EQ(sharing.received.front().topic, "$share/group/plant/end");
}

} // namespace
