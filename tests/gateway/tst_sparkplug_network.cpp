// A Sparkplug edge node against real brokers: what it sends stands in the packets, read apart from the program's
// way.
#include "lineless_gateway.h"
#include "sparkplug_world.h"
#include "support/fake_broker.h"
#include "support/mosquitto.h"
#include "support/mqtt_tap.h"

#include <chrono>

using namespace sparkplug_world;
using lineless::Gateway;
using lineless::stepBoth;

namespace
{

using Texts = std::vector<std::string>;

const char NodeBirth[] = "spBv1.0/plant/NBIRTH/press7";
const char NodeDeath[] = "spBv1.0/plant/NDEATH/press7";
const char DeviceData[] = "spBv1.0/plant/DDATA/press7/station-1";

GatewaySettings settingsFor(const std::vector<int> &ports, const std::string &primaryHost = "")
{
    GatewaySettings settings = settingsOf(primaryHost);
    settings.broker = brokerSettings(ports, "fgs-gateway-press7");
    settings.commands.longestAge = std::chrono::hours(24); // a busy machine
    return settings;
}

Epoch epochNow()
{
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<milliseconds>(since).count();
}

Message rebirthRequest(const std::string &payload)
{
    const std::string fields = protobuf::number(4, 11) + protobuf::number(14, 1);
    return {"spBv1.0/plant/NCMD/press7", payload + metric("Node Control/Rebirth", fields)};
}

Message messageOf(const MqttPacket &packet)
{
    const MqttPublish publish(packet);
    return {publish.topic, publish.payload, publish.qos, publish.isRetained};
}

std::uint64_t sessionOf(const std::string &payload)
{
    return SeenPayload({"", payload}).metric("bdSeq").fields.number(11);
}

bool isWord(const std::string &word, const std::string &kind)
{
    return word == kind || word.rfind(kind + "/", 0) == 0;
}

/// A broker, what the gateway sends to it, and a host at it that hears everything.
struct Side {
    explicit Side(bool isStarted = true)
    {
        if (isStarted)
            broker.start();
    }

    /// "CONNECT", "SUBSCRIBE", "DISCONNECT", or of what is published "NBIRTH", "DDATA/station-1".
    Texts words() const
    {
        Texts words;
        for (const MqttPacket &packet : tap.sent())
            if (packet.type() == MqttPacket::Connect)
                words.emplace_back("CONNECT");
            else if (packet.type() == MqttPacket::Subscribe)
                words.emplace_back("SUBSCRIBE");
            else if (packet.type() == MqttPacket::Disconnect)
                words.emplace_back("DISCONNECT");
            else if (packet.type() == MqttPacket::Publish)
                words.push_back(wordOf(MqttPublish(packet).topic));
        return words;
    }
    /// Of what it was told.
    int acknowledgements() const
    {
        const std::vector<MqttPacket> all = tap.sent();
        return int(std::count_if(all.begin(), all.end(),
                                 [](const MqttPacket &packet) { return packet.type() == MqttPacket::PubAck; }));
    }
    int countOf(const std::string &kind) const
    {
        const Texts all = words();
        return int(std::count_if(all.begin(), all.end(), [&kind](const auto &word) { return isWord(word, kind); }));
    }
    bool hasLeft() const { return !words().empty() && words().back() == "DISCONNECT"; }

    std::vector<MqttConnect> connects() const
    {
        std::vector<MqttConnect> all;
        for (const MqttPacket &packet : tap.sent())
            if (packet.type() == MqttPacket::Connect)
                all.emplace_back(packet);
        return all;
    }
    /// With this topic.
    std::vector<Message> published(const std::string &topic) const
    {
        std::vector<Message> all;
        for (const MqttPacket &packet : tap.sent())
            if (packet.type() == MqttPacket::Publish && MqttPublish(packet).topic == topic)
                all.push_back(messageOf(packet));
        return all;
    }
    std::vector<Message> heard(const std::string &topic) const
    {
        std::vector<Message> all;
        for (const Received &message : host.received)
            if (message.topic == topic)
                all.push_back({message.topic, message.payload});
        return all;
    }

    void tellState(bool isOnline, Epoch time)
    {
        const std::string online = isOnline ? "true" : "false";
        tell({"spBv1.0/STATE/scada", "{\"online\":" + online + ",\"timestamp\":" + std::to_string(time) + "}", 1,
              true});
    }
    void command(const std::string &place, const std::string &metrics)
    {
        tell({"spBv1.0/plant/" + place, written(metrics, epochNow())});
    }
    /// The payload has a time, or nothing.
    void wantRebirth(const std::string &payload = written("", epochNow())) { tell(rebirthRequest(payload)); }
    /// A gateway that has not been stepped since has all that was told on its one connection, and looks at it in
    /// its next step.
    void stepUntilAllWaits()
    {
        host.stepUntil([this] { return acknowledgements() == toldMessages; });
    }
    /// Everything that was told the gateway before has been looked at.
    void passBy(Gateway &gateway)
    {
        const quint64 before = gateway.network.figures().commands;
        command("NCMD/press7", metric("nothing", protobuf::number(10, ++passes)));
        stepBoth(gateway, host, [&] { return gateway.network.figures().commands > before; });
    }

    Mosquitto broker;
    MqttTap tap{broker.port(), true};
    MqttUser host{brokerSettings({broker.port()}, "scada"), {"spBv1.0/#"}};

private:
    static std::string wordOf(const std::string &topic)
    {
        const std::string rest = topic.substr(std::string("spBv1.0/plant/").size()), node = "/press7";
        const std::size_t place = rest.find(node);
        return rest.substr(0, place) + rest.substr(place + node.size());
    }

    void tell(const Message &message)
    {
        host.tell(message);
        ++toldMessages;
    }

    unsigned passes = 0;
    int toldMessages = 0;
};

class SparkplugNetworkTest : public testing::Test
{
protected:
    void SetUp() override
    {
        NEED_MOSQUITTO();
        side = newSide();
    }
    static std::unique_ptr<Side> newSide()
    {
        auto made = std::make_unique<Side>();
        made->host.stepUntilConnected();
        return made;
    }

    std::unique_ptr<Gateway> gatewayFor(const std::string &primaryHost = "") const
    {
        return std::make_unique<Gateway>(settingsFor({side->tap.port()}, primaryHost));
    }
    /// That waits for scada.
    GatewaySettings settingsWithSpool() const
    {
        GatewaySettings settings = settingsFor({side->tap.port()}, "scada");
        settings.spool.emplace();
        settings.spool->file = folder.path / "press7.spool";
        return settings;
    }
    void stepUntilBorn(Gateway &gateway, int births = 1) const
    {
        stepBoth(gateway, side->host, [&] { return side->countOf("DBIRTH") >= births; });
    }

    const TemporaryFolder folder;
    std::unique_ptr<Side> side;
};

LineState lineWithStationOne(bool isUp)
{
    LineState line;
    line.isUp = true;
    line.since = 1000;
    line.stations[1] = isUp;
    return line;
}

} // namespace

// ---- connections

TEST_F(SparkplugNetworkTest, EachConnectionIsACleanOneWithItsOwnDeathAsTheWill)
{
    const auto gateway = gatewayFor();
    const int connections = 3;
    for (int i = 1; i <= connections; ++i) {
        stepUntilBorn(*gateway, i);
        side->tap.cut();
    }
    stepUntilBorn(*gateway, connections + 1);
    const std::vector<MqttConnect> connects = side->connects();
    const std::vector<Message> births = side->published(NodeBirth);
    ASSERT_EQ(connects.size(), births.size());
    for (std::size_t i = 0; i < connects.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(connects[i].protocol, "MQTT");
        EXPECT_EQ(connects[i].level, 4) << "3.1.1";
        EXPECT_TRUE(connects[i].isClean);
        ASSERT_TRUE(connects[i].hasWill);
        EXPECT_EQ(connects[i].willTopic, NodeDeath);
        EXPECT_EQ(connects[i].willQos, 1);
        EXPECT_FALSE(connects[i].isWillRetained);
        const SeenPayload will({"", connects[i].willPayload});
        EXPECT_EQ(will.names(), Texts{"bdSeq"});
        EXPECT_FALSE(will.fields.has(3)) << "no sequence number";
        EXPECT_EQ(sessionOf(connects[i].willPayload), i);
        EXPECT_EQ(sessionOf(births[i].payload), i);
    }
}

TEST_F(SparkplugNetworkTest, TheBrokerTellsTheDeathOfASessionThatBreaks)
{
    const auto gateway = gatewayFor();
    stepUntilBorn(*gateway);
    side->tap.cut();
    stepBoth(*gateway, side->host, [&] { return side->heard(NodeBirth).size() == 2; });
    const std::vector<Message> deaths = side->heard(NodeDeath);
    ASSERT_EQ(deaths.size(), 1U);
    EXPECT_EQ(sessionOf(deaths[0].payload), sessionOf(side->heard(NodeBirth)[0].payload));
}

TEST(SparkplugNetworkWithABadBroker, NothingIsPublishedBeforeTheConnectionIsAccepted)
{
    FakeBroker broker;
    broker.answer = 3; // unavailable
    Gateway gateway(settingsFor({broker.port()}));
    gateway.post(Count, 7, Start);
    gateway.stepUntil([&] { return broker.connects >= 3; });
    EXPECT_TRUE(broker.sent().empty());
    broker.answer = 0;
    gateway.stepUntil([&] { return broker.sent().size() >= 2; });
    EXPECT_EQ(broker.sent()[0].topic, NodeBirth);
}

TEST_F(SparkplugNetworkTest, SubscribesWithQosOneAndThenIsBorn)
{
    const auto gateway = gatewayFor("scada");
    side->tellState(true, 100);
    stepUntilBorn(*gateway);
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1"}));
    for (const MqttPacket &packet : side->tap.sent())
        if (packet.type() == MqttPacket::Subscribe) {
            EXPECT_EQ(subscriptionsIn(packet),
                      (std::vector<std::pair<std::string, int>>{{"spBv1.0/plant/NCMD/press7", 1},
                                                                {"spBv1.0/plant/DCMD/press7/station-1", 1},
                                                                {"spBv1.0/plant/DCMD/press7/station-2", 1},
                                                                {"spBv1.0/STATE/scada", 1}}));
        }
    for (const char *topic : {NodeBirth, "spBv1.0/plant/DBIRTH/press7/station-1"}) {
        const Message birth = side->published(topic).at(0);
        EXPECT_EQ(birth.qos, 0);
        EXPECT_FALSE(birth.isRetained);
    }
}

TEST_F(SparkplugNetworkTest, AnIntendedEndIsADeathAndThenADisconnect)
{
    const auto gateway = gatewayFor();
    stepUntilBorn(*gateway);
    gateway->network.end(milliseconds(10000));
    side->host.stepUntil([&] { return side->hasLeft(); });
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "NDEATH", "DISCONNECT"}));
    const std::string death = side->published(NodeDeath).at(0).payload;
    EXPECT_EQ(SeenPayload({"", death}).names(), Texts{"bdSeq"});
    EXPECT_EQ(sessionOf(death), sessionOf(side->published(NodeBirth).at(0).payload));
}

TEST_F(SparkplugNetworkTest, ASessionOfOtherSettingsHasTheNextNumber)
{
    GatewaySettings settings = settingsFor({side->tap.port()});
    Gateway gateway(settings);
    stepUntilBorn(gateway);
    settings.tags[Count].report.deadBand = 5;
    gateway.network.apply(settings);
    stepUntilBorn(gateway, 2);
    const std::vector<MqttConnect> connects = side->connects();
    const std::vector<Message> births = side->published(NodeBirth);
    ASSERT_EQ(connects.size(), 2U);
    for (std::size_t i = 0; i < connects.size(); ++i) {
        EXPECT_EQ(sessionOf(connects[i].willPayload), i);
        EXPECT_EQ(sessionOf(births.at(i).payload), i);
    }
}

// ---- devices

TEST_F(SparkplugNetworkTest, TellsNothingOfADeviceBehindItsDeath)
{
    Gateway gateway(settingsWithSpool());
    side->tellState(true, 100);
    stepUntilBorn(gateway);
    gateway.mailbox.post(Snapshot{staleOf(Count, {7})});
    gateway.mailbox.post(lineWithStationOne(false));
    stepBoth(gateway, side->host, [&] { return side->countOf("DDEATH") == 1; });
    side->passBy(gateway);
    gateway.mailbox.post(lineWithStationOne(true));
    stepBoth(gateway, side->host, [&] { return side->countOf("DDATA") == 1; });
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "DDEATH/station-1",
                                    "DBIRTH/station-1", "DDATA/station-1"}));
    const SeenMetric count = SeenPayload(side->published(DeviceData).at(0)).metric("count");
    EXPECT_EQ(count.fields.number(5), 1U) << "historical";
    EXPECT_EQ(count.fields.number(10), 7U);
    EXPECT_EQ(count.quality(), 500U);
}

// ---- the primary host

TEST_F(SparkplugNetworkTest, WaitsForItsHostAtTheOnlyBroker)
{
    side->tellState(false, 100);
    const auto gateway = gatewayFor("scada");
    gateway->post(Count, 7, Start);
    stepBoth(*gateway, side->host, [&] { return side->countOf("SUBSCRIBE") == 1; });
    side->host.tell({"spBv1.0/STATE/other", R"({"online":true,"timestamp":500})", 1, true});
    side->passBy(*gateway);
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE"}));
    side->tellState(true, 200);
    stepUntilBorn(*gateway);
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1"}));
}

TEST_F(SparkplugNetworkTest, WalksToTheBrokerWhereItsHostIs)
{
    const std::unique_ptr<Side> other = newSide();
    side->tellState(false, 100);
    other->tellState(true, 100);
    Gateway gateway(settingsFor({side->tap.port(), other->tap.port()}, "scada"));
    stepBoth(gateway, other->host, [&] { return other->countOf("DBIRTH") == 1 && side->hasLeft(); });
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "DISCONNECT"}));

    side->tellState(true, 300);
    other->tellState(false, 200);
    stepBoth(gateway, side->host, [&] { return side->countOf("DBIRTH") == 1 && other->hasLeft(); });
    EXPECT_EQ(other->words(),
              (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "NDEATH", "DISCONNECT"}));
    EXPECT_EQ(sessionOf(other->published(NodeDeath).at(0).payload), sessionOf(other->connects().at(0).willPayload));
    other->host.tell({"spBv1.0/plant/end", ""});
    other->host.stepUntil([&] { return !other->heard("spBv1.0/plant/end").empty(); });
    EXPECT_EQ(other->heard(NodeDeath).size(), 1U) << "and no will";
}

TEST_F(SparkplugNetworkTest, IsBornAtABrokerWhereItsHostHasBeenForLonger)
{
    const std::unique_ptr<Side> other = newSide();
    side->tellState(true, 200);
    other->tellState(true, 100);
    Gateway gateway(settingsFor({side->tap.port(), other->tap.port()}, "scada"));
    stepUntilBorn(gateway);
    side->tap.cut();
    stepBoth(gateway, other->host, [&] { return other->countOf("DBIRTH") == 1; });
}

TEST_F(SparkplugNetworkTest, LeavesABrokerWhereItsHostHasBeenAwayForLonger)
{
    const std::unique_ptr<Side> other = newSide();
    side->tellState(true, 200);
    other->tellState(false, 100);
    Gateway gateway(settingsFor({side->tap.port(), other->tap.port()}, "scada"));
    stepUntilBorn(gateway);
    side->tap.cut();
    stepUntilBorn(gateway, 2);
    EXPECT_EQ(other->countOf("NBIRTH"), 0);
}

TEST_F(SparkplugNetworkTest, LeavesABrokerBeforeItConnectsToTheNext)
{
    Side other(false);
    side->tellState(false, 100);
    Gateway gateway(settingsFor({side->tap.port(), other.tap.port()}, "scada"));
    stepBoth(gateway, side->host, [&] { return side->countOf("DISCONNECT") >= 1; });
    EXPECT_TRUE(other.words().empty()) << "there was nothing to connect to yet";
    other.broker.start();
    other.host.stepUntilConnected();
    other.tellState(true, 100);
    stepBoth(gateway, other.host, [&] { return other.countOf("DBIRTH") == 1 && side->hasLeft(); });
    EXPECT_EQ(side->countOf("CONNECT"), side->countOf("DISCONNECT"));
}

TEST_F(SparkplugNetworkTest, ASessionThatIsToBeBornAgainDiesWithItsHost)
{
    side->tellState(true, 100);
    const auto gateway = gatewayFor("scada");
    stepUntilBorn(*gateway);
    side->wantRebirth();
    side->tellState(false, 200);
    side->stepUntilAllWaits();
    stepBoth(*gateway, side->host, [&] { return side->countOf("DISCONNECT") == 1; });
    Texts words = side->words();
    words.resize(6);
    EXPECT_EQ(words, (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "NDEATH", "DISCONNECT"}));
}

TEST_F(SparkplugNetworkTest, SaysThatItWaitsForItsHost)
{
    side->tellState(false, 100);
    const auto gateway = gatewayFor("scada");
    stepBoth(*gateway, side->host,
             [&] { return gateway->hasSaid("waits until the primary host 'scada' is online"); });
    EXPECT_TRUE(gateway->network.figures().awaitsHost);
    side->tellState(true, 50);
    stepBoth(*gateway, side->host, [&] { return gateway->hasSaid("an older state"); });
    side->tellState(true, 200);
    stepUntilBorn(*gateway);
    EXPECT_TRUE(gateway->hasSaid("'scada' is online"));
    EXPECT_FALSE(gateway->network.figures().awaitsHost);
}

TEST_F(SparkplugNetworkTest, StaysWhereTheOfflineStateIsOlder)
{
    side->tellState(true, 100);
    const auto gateway = gatewayFor("scada");
    stepUntilBorn(*gateway);
    side->tellState(false, 99);
    side->passBy(*gateway);
    gateway->post(Count, 7, Start);
    stepBoth(*gateway, side->host, [&] { return side->countOf("DDATA") == 1; });
    EXPECT_EQ(side->countOf("NDEATH") + side->countOf("DISCONNECT"), 0);
}

TEST_F(SparkplugNetworkTest, TellsAsHistoryWhatCameWhileItsHostWasAway)
{
    Gateway gateway(settingsWithSpool());
    side->tellState(true, 100);
    stepUntilBorn(gateway);
    side->tellState(false, 200);
    stepBoth(gateway, side->host, [&] { return side->countOf("SUBSCRIBE") == 2; });
    EXPECT_EQ(side->countOf("NDEATH"), 1);
    const Epoch time = epochNow();
    gateway.post(Count, 7, time);
    gateway.step();
    side->tellState(true, 300);
    stepBoth(gateway, side->host, [&] { return side->countOf("DDATA") == 1; });
    const SeenMetric count = SeenPayload(side->published(DeviceData).at(0)).metric("count");
    EXPECT_EQ(count.fields.number(5), 1U) << "historical";
    EXPECT_EQ(count.fields.number(10), 7U);
    EXPECT_EQ(count.time(), std::uint64_t(time));
}

// ---- commands

TEST_F(SparkplugNetworkTest, IsBornAgainWhenItIsAskedTo)
{
    const auto gateway = gatewayFor();
    stepUntilBorn(*gateway);
    gateway->post(Count, 7, Start);
    stepBoth(*gateway, side->host, [&] { return side->countOf("DDATA") == 1; });
    side->wantRebirth();
    stepUntilBorn(*gateway, 2);
    gateway->post(Count, 8, Start + 1);
    stepBoth(*gateway, side->host, [&] { return side->countOf("DDATA") == 2; });
    EXPECT_EQ(side->words(), (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "DDATA/station-1",
                                    "NBIRTH", "DBIRTH/station-1", "DDATA/station-1"}));
    const std::vector<Message> births = side->published(NodeBirth);
    EXPECT_EQ(SeenPayload(births.at(1)).seq(), 0U);
    EXPECT_EQ(sessionOf(births[1].payload), sessionOf(births[0].payload));
    EXPECT_EQ(SeenPayload(side->published(DeviceData).at(1)).seq(), 2U);
}

TEST_F(SparkplugNetworkTest, TellsNoDataBetweenTheRequestAndTheBirths)
{
    const auto gateway = gatewayFor();
    stepUntilBorn(*gateway);
    side->wantRebirth();
    side->stepUntilAllWaits();
    gateway->post(Count, 7, Start);
    stepUntilBorn(*gateway, 2);
    EXPECT_EQ(side->words(),
              (Texts{"CONNECT", "SUBSCRIBE", "NBIRTH", "DBIRTH/station-1", "NBIRTH", "DBIRTH/station-1"}));
    const Message birth = side->published("spBv1.0/plant/DBIRTH/press7/station-1").at(1);
    EXPECT_EQ(SeenPayload(birth).metric("count").fields.number(10), 7U);
}

TEST_F(SparkplugNetworkTest, ARebirthNeedsNoClockAndNoRate)
{
    GatewaySettings settings = settingsFor({side->tap.port()});
    settings.commands.mostPerMinute = 1;
    settings.tags[Count].write = WriteRule{0, 100, 0};
    Gateway gateway(settings);
    stepUntilBorn(gateway);
    int births = 1;
    for (const std::string &payload :
         {written("", epochNow() - 3600000), written("", epochNow() + 3600000), std::string()}) {
        side->wantRebirth(payload);
        stepUntilBorn(gateway, ++births);
    }
    EXPECT_EQ(gateway.network.figures().commands, 3U);
    for (quint64 failures : gateway.network.figures().commandFailures)
        EXPECT_EQ(failures, 0U);
    side->command("DCMD/press7/station-1", metric("count", protobuf::number(10, 42)));
    stepBoth(gateway, side->host, [&] { return gateway.orders.hasOrders(); });
    side->wantRebirth();
    stepUntilBorn(gateway, ++births);
}

TEST_F(SparkplugNetworkTest, WritesWhatADeviceIsCommanded)
{
    GatewaySettings settings = settingsFor({side->tap.port()});
    settings.tags[Count].write = WriteRule{0, 100, 0};
    Gateway gateway(settings);
    stepUntilBorn(gateway);
    side->command("DCMD/press7/station-1", metric("count", protobuf::number(4, 6) + protobuf::number(10, 42)));
    stepBoth(gateway, side->host, [&] { return gateway.orders.hasOrders(); });
    const std::optional<Order> order = gateway.orders.take();
    ASSERT_TRUE(order);
    ASSERT_EQ(order->assignments.size(), 1U);
    EXPECT_EQ(order->tags, std::vector<std::size_t>{Count});
    EXPECT_EQ(order->assignments[0].values, std::vector<quint32>{42});
    gateway.post(Count, 42, Start);
    stepBoth(gateway, side->host, [&] { return !side->heard(DeviceData).empty(); });
    EXPECT_EQ(SeenPayload(side->heard(DeviceData)[0]).metric("count").fields.number(10), 42U);
}

/// Nothing else happens while the host is awaited: the command's own limit has to wake the gateway.
TEST_F(SparkplugNetworkTest, EndsACommandWhenItsAgeDoes)
{
    GatewaySettings settings = settingsFor({side->tap.port()}, "scada");
    settings.tags[Count].write = WriteRule{0, 100, 0};
    settings.commands.longestAge = std::chrono::seconds(1);
    Gateway gateway(settings);
    stepBoth(gateway, side->host, [&] { return side->countOf("SUBSCRIBE") == 1; });
    while (!gateway.orders.hasOrders()) { // one may come too late
        const quint64 before = gateway.network.figures().commands;
        side->command("DCMD/press7/station-1", metric("count", protobuf::number(4, 6) + protobuf::number(10, 42)));
        stepBoth(gateway, side->host, [&] { return gateway.network.figures().commands > before; });
    }
    while (gateway.orders.hasOrders())
        gateway.network.step(std::chrono::hours(1), -1);
    EXPECT_EQ(gateway.orders.takeEnds().size(), 0U) << "and is answered";
}

TEST_F(SparkplugNetworkTest, WritesOneValueOfSeveral)
{
    GatewaySettings settings = settingsFor({side->tap.port()});
    settings.tags[Trend].write = WriteRule{0, 100, 0};
    Gateway gateway(settings);
    stepUntilBorn(gateway);
    side->command("DCMD/press7/station-1", metric("trend/1", protobuf::number(4, 6) + protobuf::number(10, 42)));
    stepBoth(gateway, side->host, [&] { return gateway.orders.hasOrders(); });
    const std::optional<Order> order = gateway.orders.take();
    ASSERT_TRUE(order);
    ASSERT_EQ(order->assignments.size(), 1U);
    EXPECT_EQ(textOf(order->assignments[0].tag.variable).toStdString(), "5:401@1");
    OrderEnd end;
    end.number = order->number;
    end.reports.push_back(notSent(order->assignments[0]));
    end.reports[0].result = WriteResult::Verified;
    end.reports[0].held.quality = Quality::Good;
    end.reports[0].held.values = order->assignments[0].values;
    gateway.orders.finish(end);
    stepBoth(gateway, side->host, [&] { return !side->heard(DeviceData).empty(); });
    EXPECT_EQ(SeenPayload(side->heard(DeviceData)[0]).names(), Texts{"trend/1"});
    EXPECT_EQ(SeenPayload(side->heard(DeviceData)[0]).metric("trend/1").fields.number(10), 42U);
}

TEST_F(SparkplugNetworkTest, RefusesAMetricThatStandsTwiceInItsOwnWords)
{
    GatewaySettings settings = settingsFor({side->tap.port()});
    settings.tags[Count].write = WriteRule{0, 100, 0};
    Gateway gateway(settings);
    stepUntilBorn(gateway);
    const auto refused = [&gateway] {
        return gateway.network.figures().commandFailures[std::size_t(CommandFailure::NotJson)];
    };
    const std::string count = metric("count", protobuf::number(4, 6) + protobuf::number(10, 42));
    side->command("DCMD/press7/station-1", count + count);
    stepBoth(gateway, side->host, [&] { return refused() == 1; });
    EXPECT_TRUE(gateway.hasSaid("the metric 'count' stands twice; name each once"));
    EXPECT_FALSE(gateway.orders.hasOrders());
    EXPECT_EQ(gateway.network.figures().commands, 1U);
}
