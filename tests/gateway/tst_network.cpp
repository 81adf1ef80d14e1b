// The network's side of a gateway against a real broker: the line is the test's own poster.
#include "gateway/sender.h"
#include "lineless_gateway.h"

#include "host/text_error.h"
#include "support/fake_broker.h"
#include "support/mosquitto.h"
#include "support/mqtt_tap.h"
#include "support/small_disk.h"

#include <algorithm>
#include <ctime>
#include <random>
#include <set>
#include <thread>

using namespace lineless;

namespace
{

const milliseconds Day = std::chrono::hours(24);

Message message(const std::string &topic, const std::string &payload)
{
    Message made;
    made.topic = topic;
    made.payload = payload;
    return made;
}

/// A line that writes everything well.
OrderEnd verified(const Order &order)
{
    OrderEnd end;
    end.number = order.number;
    for (const Assignment &assignment : order.assignments) {
        WriteReport report = notSent(assignment);
        report.result = WriteResult::Verified;
        report.held.quality = Quality::Good;
        report.held.values = assignment.values;
        end.reports.push_back(report);
    }
    return end;
}

bool awaitsNothing(const Gateway &gateway)
{
    const GatewayFigures figures = gateway.network.figures();
    return figures.acknowledged == figures.sent;
}

GatewaySettings spoolingSettings(const FakeBroker &broker, const TemporaryFolder &folder, int historyPerSecond)
{
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.spool.emplace();
    settings.spool->file = folder.path / "press7.spool";
    settings.spool->historyPerSecond = historyPerSecond;
    return settings;
}

class NetworkTest : public testing::Test
{
protected:
    void SetUp() override { NEED_MOSQUITTO(); }

    BrokerSettings readerSettings() const { return brokerSettings({broker.port()}, "reader"); }

    Mosquitto broker;
};

TEST_F(NetworkTest, TellsStatusAndStateAndThenWhatChanges)
{
    broker.start();
    MqttUser reader(readerSettings(), {"plant/#"});
    reader.stepUntilConnected();
    Gateway gateway(gatewaySettings({broker.port()}));
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/status"), "\"online\""); });
    gateway.post(1, 77, 5000);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven"), "\"t1\":77"); });
    EXPECT_EQ(timeIn(reader.newest("plant/press7/oven")), 5000);
    LineState down;
    down.error = "unplugged";
    gateway.mailbox.post(down);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/status"), "\"down\""); });
    EXPECT_TRUE(gateway.network.figures().isBrokerUp);

    gateway.network.end(milliseconds(10000));
    reader.stepUntil([&] { return contains(reader.newest("plant/press7/status"), "\"offline\""); });
    EXPECT_TRUE(gateway.hasSaid("connected to broker 127.0.0.1:"));
    const std::size_t sent = reader.received.size();
    EXPECT_EQ(gateway.network.figures().acknowledged, sent) << "each of them once, and no will";
}

/// Killed, not ended: what the broker held is gone, and the gateway brings all of it again.
TEST_F(NetworkTest, BringsEverythingAgainAfterTenKills)
{
    std::mt19937 random(7);
    broker.start();
    Gateway gateway(gatewaySettings({broker.port()}));
    quint32 value = 0;
    for (int round = 0; round < 10; ++round) {
        for (int steps = int(random() % 40); steps > 0; --steps) {
            ++value;
            gateway.post(random() % Tags, value, 1000 + value);
            gateway.step();
        }
        broker.kill();
        for (int steps = int(random() % 20); steps > 0; --steps) {
            ++value;
            gateway.post(random() % Tags, value, 1000 + value);
            gateway.step();
        }
        for (std::size_t tag = 0; tag < Tags; ++tag) {
            ++value;
            gateway.post(tag, 30000 + value, 1000 + value);
        }
        broker.start();
        const quint32 first = 30000 + value - Tags + 1;
        MqttUser reader(readerSettings(), {"plant/#"});
        stepBoth(gateway, reader, [&] {
            const std::string state = reader.newest("plant/press7/oven/state");
            bool isNewest = contains(reader.newest("plant/press7/status"), "\"online\"");
            for (std::size_t tag = 0; tag < Tags; ++tag)
                isNewest = isNewest && contains(state, "\"t" + std::to_string(tag) +
                                                           "\":" + std::to_string(first + quint32(tag)));
            return isNewest;
        });
    }
    EXPECT_TRUE(gateway.hasSaid("has closed the connection"));
}

/// Times of the records of one topic that have come, each as often as it came.
std::vector<Epoch> timesOf(const FakeBroker &broker, const std::string &topic)
{
    std::vector<Epoch> times;
    for (const FakeBroker::Sent &sent : broker.sent())
        if (sent.topic == topic)
            times.push_back(timeIn(sent.payload));
    return times;
}

/// The broker breaks off at random messages, takes some without acknowledging them, and each value that was due
/// arrives, with its own time.
TEST(NetworkWithABadBroker, LosesNothingThatWasDueWithASpool)
{
    std::mt19937 random(11);
    TemporaryFolder folder;
    FakeBroker broker;
    GatewaySettings settings = spoolingSettings(broker, folder, 10000);
    settings.broker.mostInFlight = 1000; // what is not acknowledged never fills the window: something can break off
    Gateway gateway(settings);
    gateway.stepUntil([&] { return broker.sent().size() >= 2; });
    const Epoch start = std::time(nullptr) * Epoch(1000); // lest the spool finds them too old
    Epoch time = start;
    for (int round = 0; round < 10; ++round) {
        broker.breakAfter = int(random() % 10);
        broker.acknowledges = random() % 2 == 0;
        for (int i = 0; i < 30; ++i) {
            ++time;
            gateway.post(std::size_t(time % Tags), quint32(time % 60000), time);
            gateway.step();
        }
        broker.breakAfter = 0;
        ++time;
        gateway.post(0, quint32(time % 60000), time);
        gateway.stepUntil([&] { return broker.breakAfter < 0; });
        broker.acknowledges = true;
    }
    const auto all = [&] {
        std::vector<Epoch> times = timesOf(broker, "plant/press7/oven");
        for (Epoch kept : timesOf(broker, "plant/press7/oven/history"))
            times.push_back(kept);
        return std::set<Epoch>(times.begin(), times.end());
    };
    gateway.stepUntil([&] { return gateway.network.figures().spoolBytes == 0; });
    const std::set<Epoch> arrived = all();
    for (Epoch due = start + 1; due <= time; ++due)
        EXPECT_TRUE(arrived.count(due)) << due;
    const std::vector<Epoch> live = timesOf(broker, "plant/press7/oven");
    EXPECT_TRUE(std::is_sorted(live.begin(), live.end()));
    EXPECT_EQ(gateway.network.figures().dropped, 0u);
}

/// The network comes late to what the line has read: with a spool no reading replaces the one before.
TEST(NetworkWithABadBroker, KeepsEachReadingHoweverLateItComes)
{
    const TemporaryFolder folder(memoryFolder());
    FakeBroker broker;
    GatewaySettings settings = spoolingSettings(broker, folder, 10000);
    Gateway gateway(settings);
    const Epoch start = std::time(nullptr) * Epoch(1000);
    std::set<Epoch> due;
    for (int i = 0; i < 40; ++i) {
        gateway.post(0, quint32(i), start + i);
        due.insert(start + i);
    }
    gateway.step();
    gateway.stepUntil([&] { return gateway.network.figures().spoolBytes == 0; });
    std::set<Epoch> told;
    for (const char *topic : {"plant/press7/oven", "plant/press7/oven/history"})
        for (Epoch time : timesOf(broker, topic))
            told.insert(time);
    EXPECT_EQ(told, due);
    EXPECT_EQ(gateway.network.figures().dropped, 0u);
}

/// What is kept comes in the order in which it was read, whatever the times are.
TEST(NetworkWithABadBroker, KeepsWhatWasReadThroughJumpsOfTheTimeOfDay)
{
    const TemporaryFolder folder(memoryFolder());
    FakeBroker broker;
    broker.answer = 3; // unavailable
    GatewaySettings settings = spoolingSettings(broker, folder, 10000);
    TestClock clock;
    Gateway gateway(settings, clock.function());
    std::vector<Epoch> read;
    for (milliseconds jump : {Day, -3 * Day, 2 * Day, -Day, milliseconds(0)}) {
        clock.jump(jump);
        gateway.post(0, quint32(read.size()), clock.moment.now);
        read.push_back(clock.moment.now);
        gateway.step();
        EXPECT_GE(gateway.network.figures().spoolOldestAge, 0);
        clock.pass(std::chrono::seconds(2)); // it goes to the disk
        gateway.step();
    }
    broker.answer = 0;
    gateway.stepUntil([&] { return gateway.network.figures().spoolBytes == 0; });
    EXPECT_EQ(timesOf(broker, "plant/press7/oven/history"), read);
    EXPECT_EQ(gateway.network.figures().dropped, 0U);
}

/// What is live arrives, and everybody can see that nothing is kept.
TEST(NetworkBesideAFullDisk, GoesOnPublishing)
{
    const TemporaryFolder folder;
    EXPECT_ON_SMALL_DISK(folder.path, [&] {
        Findings findings;
        FakeBroker broker;
        broker.answer = 3; // unavailable
        TestClock clock;
        Gateway gateway(spoolingSettings(broker, folder, 10000), clock.function());
        std::ofstream(folder.path / "filler") << std::string(4 << 20, 'f'); // as much of it as finds room
        for (quint32 value = 0; !gateway.hasSaid("no space is left"); ++value) {
            gateway.post(0, value % 1000, clock.moment.now);
            clock.pass(std::chrono::seconds(1));
            gateway.step();
        }
        broker.answer = 0;
        gateway.stepUntil([&] { return gateway.network.figures().acknowledged >= 2; });
        for (std::size_t i = 1; i <= 20; ++i) {
            gateway.post(0, quint32(i), clock.moment.now);
            clock.pass(std::chrono::seconds(1));
            gateway.stepUntil([&] { return timesOf(broker, "plant/press7/oven").size() == i; });
        }
        findings.require(!healthOf(gateway.network.figures()).isOk, "looks healthy");
        std::filesystem::remove(folder.path / "filler");
        gateway.stepUntil([&] { return awaitsNothing(gateway); });
        clock.pass(std::chrono::minutes(1));
        gateway.step();
        findings.require(gateway.hasSaid("works again; messages lost meanwhile: 0"), "does not work again");
        findings.require(healthOf(gateway.network.figures()).isOk, "looks unhealthy");
        return findings.text;
    });
}

/// While nobody took it: in its order, each once, with its own time and value.
TEST(NetworkWithABadBroker, TellsHistoryInItsOrder)
{
    const TemporaryFolder folder(memoryFolder());
    FakeBroker broker;
    broker.answer = 3; // unavailable
    GatewaySettings settings = spoolingSettings(broker, folder, 10000);
    Gateway gateway(settings);
    const Epoch start = std::time(nullptr) * Epoch(1000);
    for (int i = 0; i < 300; ++i) {
        gateway.post(std::size_t(i % Tags), quint32(i), start + i);
        gateway.network.step(milliseconds(0), -1);
    }
    broker.answer = 0;
    gateway.stepUntil([&] { return gateway.network.figures().spoolBytes == 0; });
    int next = 0;
    for (const FakeBroker::Sent &sent : broker.sent()) {
        if (sent.topic != "plant/press7/oven/history")
            continue;
        EXPECT_EQ(sent.payload, "{\"timestamp\":" + std::to_string(start + next) + ",\"seq\":" +
                                    std::to_string(next + 1) + ",\"values\":{\"t" + std::to_string(next % Tags) +
                                    "\":" + std::to_string(next) + "},\"errors\":{}}");
        ++next;
    }
    EXPECT_EQ(next, 300);
    EXPECT_EQ(timesOf(broker, "plant/press7/oven"), std::vector<Epoch>());
}

/// 5 kept messages a second, counted by the gateway's own clock, and none before what is live.
TEST(NetworkWithABadBroker, SendsHistoryAtItsRateAndAfterLiveValues)
{
    const TemporaryFolder folder(memoryFolder());
    FakeBroker broker;
    broker.answer = 3; // unavailable
    TestClock clock;
    Gateway gateway(spoolingSettings(broker, folder, 5), clock.function());
    const Epoch start = clock.moment.now;
    for (int i = 0; i < 100; ++i) {
        gateway.post(0, quint32(i), start + i);
        gateway.step();
    }
    const auto isAllAcknowledged = [&gateway] {
        gateway.step(); // what may be sent now is
        const GatewayFigures figures = gateway.network.figures();
        return figures.sent >= 3 && figures.acknowledged == figures.sent;
    };
    broker.answer = 0;
    gateway.stepUntil(isAllAcknowledged);
    EXPECT_EQ(timesOf(broker, "plant/press7/oven/history"), std::vector<Epoch>{start}) << "it is the first";
    for (int tenths = 0; tenths < 20; ++tenths) {
        clock.pass(milliseconds(100));
        gateway.stepUntil(isAllAcknowledged);
    }
    EXPECT_EQ(timesOf(broker, "plant/press7/oven/history").size(), 11U) << "ten more in two seconds";

    const std::size_t before = broker.sent().size();
    clock.pass(milliseconds(200));
    gateway.post(1, 7, start + 100);
    gateway.stepUntil(isAllAcknowledged);
    const std::vector<FakeBroker::Sent> sent = broker.sent();
    ASSERT_GE(sent.size(), before + 2);
    EXPECT_EQ(sent[sent.size() - 2].topic, "plant/press7/oven");
    EXPECT_EQ(sent[sent.size() - 1].topic, "plant/press7/oven/history");
}

/// Before it waits for the connection to end, which may take as long as a name is looked up.
TEST(NetworkWithABadBroker, KeepsWhatIsNotAcknowledgedBeforeItLeaves)
{
    const TemporaryFolder folder(memoryFolder());
    FakeBroker broker;
    GatewaySettings settings = spoolingSettings(broker, folder, 5);
    TestClock clock; // stands still: nothing goes to the disk by itself
    Gateway gateway(settings, clock.function());
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged >= 2; });
    broker.acknowledges = false;
    gateway.post(0, 31337, clock.moment.now);
    gateway.stepUntil([&] { return timesOf(broker, "plant/press7/oven").size() == 1; });
    const auto isKept = [&settings] {
        std::ifstream file(settings.spool->file, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        return contains(bytes, "\"t0\":31337");
    };
    EXPECT_FALSE(isKept());
    bool wasKept = false;
    gateway.told = [&](const std::string &line) {
        wasKept = wasKept || (contains(line, "left broker") && isKept());
    };
    gateway.network.end(milliseconds(100));
    EXPECT_TRUE(gateway.hasSaid("left broker"));
    EXPECT_TRUE(wasKept);
}

/// As it is with two gateways of one name, which throw each other out.
TEST(NetworkWithABadBroker, TellsOfConnectionsAsSeldomAsOfTheirLoss)
{
    FakeBroker broker;
    TestClock clock;
    GatewaySettings settings = gatewaySettings({broker.port()});
    Gateway gateway(settings, clock.function());
    const auto comeBack = [&](int connection) {
        gateway.stepUntil([&] {
            return broker.connects == connection &&
                   gateway.network.figures().acknowledged >= quint64(2 * connection);
        });
    };
    comeBack(1);
    for (int connection = 2; connection <= 10; ++connection) {
        broker.breakAfter = 0;
        gateway.post(0, quint32(connection), 1000);
        comeBack(connection);
    }
    const int told = gateway.timesSaid("connected to broker");
    const int losses = int(gateway.log.size()) - told;
    EXPECT_EQ(told, losses + 1);
    EXPECT_LE(losses, 2) << "closed, or reset";
    clock.pass(std::chrono::minutes(1));
    broker.breakAfter = 0;
    gateway.post(0, 1, 1000);
    comeBack(11);
    EXPECT_EQ(gateway.timesSaid("connected to broker"), told + 1);
}

/// Values go out meanwhile; it is told once.
TEST(NetworkWithoutItsPort, ListensAsSoonAsItCan)
{
    FakeBroker broker;
    const int other = listenOnLoopback(0, 1), port = portOf(other);
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.http = HttpSettings{"127.0.0.1", port};
    Gateway gateway(settings);
    gateway.post(0, 7, 5000);
    gateway.stepUntil([&] { return broker.sent().size() >= 2; });
    for (int i = 0; i < 100; ++i) // several times as long as it waits before it tries again
        gateway.step();
    EXPECT_EQ(gateway.network.httpPort(), 0);
    const auto isAboutIt = [](const std::string &line) { return contains(line, "HTTP cannot listen"); };
    EXPECT_EQ(std::count_if(gateway.log.begin(), gateway.log.end(), isAboutIt), 1);
    ::close(other);
    gateway.stepUntil([&] { return gateway.network.httpPort() != 0; });
    EXPECT_EQ(gateway.network.httpPort(), port);
    EXPECT_TRUE(gateway.hasSaid("HTTP listens on port " + std::to_string(port)));
}

TEST(NetworkSender, TellsAllAnewAtMostOnceASecondAndNothingBeforeIt)
{
    FakeBroker broker;
    MqttUser user(brokerSettings({broker.port()}, "fgs-gateway-press7"));
    user.stepUntilConnected();
    const GatewaySettings settings = gatewaySettings({broker.port()});
    const std::unique_ptr<Layout> layout = makePlainLayout(settings);
    Reporter reporter(settings.tags);
    OrderDesk orders;
    CommandDesk desk(settings, orders, false, 0);
    Sender sender({user.client, *layout, reporter, desk, nullptr});
    const auto sentAt = [&](int steady) {
        sender.send({}, {1000, milliseconds(steady)});
        return sender.sentMessages();
    };
    sender.begin();
    const quint64 births = sentAt(10000);
    EXPECT_GT(births, 0U);
    sender.wantBirths();
    reporter.take({sampleOf(0, 7)}, milliseconds(10500));
    EXPECT_EQ(sentAt(10999), births);
    EXPECT_EQ(sender.patience(milliseconds(10999)), milliseconds(1));
    EXPECT_EQ(sentAt(11000), 2 * births);
    sender.begin();
    EXPECT_EQ(sentAt(11001), 3 * births) << "a new connection does not wait";
}

TEST(NetworkWithABadBroker, LeavesTheLastWordToTheWillWhenThereIsNoRoomForIt)
{
    FakeBroker broker;
    broker.acknowledges = false;
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.broker.mostInFlight = 1;
    Gateway gateway(settings);
    gateway.stepUntil([&] { return !broker.sent().empty(); });
    gateway.network.end(milliseconds(10));
    gateway.stepUntil([&] { return broker.ends == 1; });
    EXPECT_EQ(broker.sent().size(), 1U);
    EXPECT_EQ(broker.disconnects, 0) << "which would take the will back";
}

/// It publishes meanwhile, on the same connection, and greets once.
TEST(NetworkWithABadBroker, AsksAgainForTopicsThatAreDenied)
{
    FakeBroker broker;
    broker.granted = 0x80;
    Gateway gateway(gatewaySettings({broker.port()}));
    gateway.stepUntil([&] { return broker.subscriptions >= 3; });
    EXPECT_TRUE(gateway.hasSaid("does not let this gateway read plant/press7/cmd"));
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged >= 2; });
    broker.granted = 1;
    const int denied = broker.subscriptions;
    gateway.stepUntil([&] { return broker.subscriptions > denied; });
    gateway.post(0, 7, 5000);
    gateway.stepUntil([&] { return timesOf(broker, "plant/press7/oven").size() == 1; });
    EXPECT_EQ(broker.connects, 1);
    EXPECT_EQ(timesOf(broker, "plant/press7/oven/state").size(), 1U);
}

/// Only the newest value of each tag waits, whatever comes, and it arrives when the broker is a better one.
TEST_F(NetworkTest, KeepsTheNewestValuesWhileNothingIsAcknowledged)
{
    auto bad = std::make_unique<FakeBroker>();
    bad->acknowledges = false;
    GatewaySettings settings = gatewaySettings({bad->port()});
    settings.broker.addresses.push_back({"127.0.0.1", broker.port()});
    settings.broker.mostInFlight = 5;
    const TestClock clock; // it stands: the broker is never silent for too long
    Gateway gateway(settings, clock.function());
    gateway.stepUntil([&] { return bad->sent().size() >= 2; });
    for (quint32 i = 1; i <= 20000; ++i) {
        gateway.post(i % Tags, i, 1000 + i);
        if (i % 100 == 0)
            gateway.step();
    }
    gateway.step();
    EXPECT_LE(bad->sent().size(), 5u) << "the window";
    EXPECT_EQ(gateway.network.figures().acknowledged, 0u);
    EXPECT_GT(gateway.network.figures().dropped, 19000u);
    broker.start();
    bad.reset();
    MqttUser reader(readerSettings(), {"plant/#"});
    stepBoth(gateway, reader, [&] {
        const std::string state = reader.newest("plant/press7/oven/state");
        return contains(state, "\"t0\":20000") && contains(state, "\"t3\":19999");
    });
}

/// That leaves a broker after 40 s, twice the time to keep alive.
GatewaySettings impatientSettings(const std::vector<int> &ports)
{
    GatewaySettings settings = gatewaySettings(ports);
    settings.broker.keepAlive = std::chrono::seconds(20);
    return settings;
}

TEST(NetworkWithABadBroker, LeavesOneThatAcknowledgesNothing)
{
    FakeBroker bad, good;
    bad.acknowledges = false;
    TestClock clock;
    Gateway gateway(impatientSettings({bad.port(), good.port()}), clock.function());
    gateway.stepUntil([&] { return bad.sent().size() == 2; });
    gateway.step();
    bad.acknowledges = true;
    clock.pass(milliseconds(39999));
    gateway.post(0, 1, 1000);
    const auto isAllButTheFirst = [](const GatewayFigures &figures) {
        return figures.acknowledged > 0 && figures.sent == figures.acknowledged + 2;
    };
    gateway.stepUntil([&] { return isAllButTheFirst(gateway.network.figures()); });
    bad.acknowledges = false;
    gateway.step();
    clock.pass(milliseconds(39999));
    gateway.step();
    EXPECT_FALSE(gateway.hasSaid("acknowledges nothing"));
    clock.pass(milliseconds(1));
    gateway.step();
    EXPECT_TRUE(gateway.hasSaid("the broker acknowledges nothing any more"));
    gateway.stepUntil([&] { return good.sent().size() == 2 && bad.ends == 1; });
    EXPECT_EQ(bad.disconnects, 0) << "it publishes the will";
}

TEST(NetworkWithABadBroker, LeavesOneThatNeverAnswersASubscription)
{
    FakeBroker bad, good;
    bad.subscribes = false;
    TestClock clock;
    Gateway gateway(impatientSettings({bad.port(), good.port()}), clock.function());
    gateway.stepUntil([&] { return bad.subscriptions == 1; });
    gateway.step();
    clock.pass(milliseconds(40000));
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged == 2; });
    EXPECT_TRUE(bad.sent().empty());
    EXPECT_EQ(good.sent().size(), 2U);
}

/// Nothing waits, however long it is.
TEST(NetworkWithABadBroker, StaysWithOneThatHasNothingToAcknowledge)
{
    FakeBroker broker;
    TestClock clock;
    Gateway gateway(impatientSettings({broker.port()}), clock.function());
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged == 2; });
    for (std::size_t i = 1; i <= 5; ++i) {
        clock.pass(milliseconds(50000));
        gateway.step();
        gateway.post(0, quint32(i), Epoch(i));
        gateway.stepUntil(
            [&] { return timesOf(broker, "plant/press7/oven").size() == i && awaitsNothing(gateway); });
    }
    EXPECT_EQ(broker.connects, 1);
    EXPECT_FALSE(gateway.hasSaid("acknowledges nothing"));
}

/// "127.1" is the same address, so the first server has to end before the second can begin.
TEST(NetworkWithABadBroker, AnswersAtAnotherAddressOfTheSamePort)
{
    FakeBroker broker;
    const int reserved = boundToLoopback(0);
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.http = HttpSettings{"127.0.0.1", portOf(reserved)};
    Gateway gateway(settings);
    settings.http->address = "127.1";
    gateway.network.apply(settings);
    EXPECT_EQ(gateway.network.httpPort(), portOf(reserved));
    settings.http->address = "192.0.2.1"; // of no machine
    EXPECT_THROW(gateway.network.apply(settings), TextError);
    EXPECT_EQ(gateway.network.httpPort(), portOf(reserved)) << "the one before goes on";
    ::close(reserved);
}

/// Subscribes to everything below "plant", and neither reads nor acknowledges what comes.
class Sleeper
{
public:
    explicit Sleeper(int port) : socket(callLoopback(port))
    {
        using namespace std::string_literals;
        const std::string words = "\x10\x11\0\4MQTT\4\2\0\0\0\5sleep"s // CONNECT
                                  "\x82\x0C\0\1\0\7plant/#\1"s;        // SUBSCRIBE
        EXPECT_EQ(::send(socket, words.data(), words.size(), MSG_NOSIGNAL), ssize_t(words.size()));
        char answers[4 + 5]; // CONNACK, SUBACK
        EXPECT_EQ(::recv(socket, answers, sizeof answers, MSG_WAITALL), ssize_t(sizeof answers));
        EXPECT_EQ(answers[8], '\1') << "QoS that was granted";
    }
    Sleeper(const Sleeper &) = delete;
    Sleeper &operator=(const Sleeper &) = delete;
    ~Sleeper() { ::close(socket); }

private:
    const int socket;
};

TEST_F(NetworkTest, DoesNotWaitForAReaderThatSleeps)
{
    broker.start();
    const Sleeper sleeper(broker.port());
    MqttUser reader(readerSettings(), {"plant/#"});
    reader.stepUntilConnected();
    Gateway gateway(gatewaySettings({broker.port()}));
    for (quint32 i = 1; i <= 3000; ++i) {
        gateway.post(0, i, 1000 + i);
        stepBoth(gateway, reader, [&] { return gateway.network.figures().acknowledged >= i; });
    }
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven"), "\"t0\":3000"); });
    EXPECT_TRUE(gateway.network.figures().isBrokerUp);
}

/// Whose tags may all be written, at any time.
GatewaySettings writableSettings(int port)
{
    GatewaySettings settings = gatewaySettings({port});
    settings.commands.longestAge = std::chrono::seconds(0);
    for (GatewayTag &tag : settings.tags)
        tag.write = WriteRule{0, 100, 0};
    return settings;
}

TEST_F(NetworkTest, RefusesARetainedCommandAndCarriesOutAnAllowedOne)
{
    broker.start();
    const GatewaySettings settings = writableSettings(broker.port());
    MqttUser user(readerSettings(), {"plant/press7/ack"});
    user.stepUntilConnected();
    Message command;
    command.topic = "plant/press7/cmd";
    command.payload = R"({"id":"old","ts":1,"set":{"t0":5}})";
    command.isRetained = true;
    user.tell(command);
    Gateway gateway(settings);
    stepBoth(gateway, user, [&] { return contains(user.newest("plant/press7/ack"), "\"retained\""); });
    EXPECT_FALSE(gateway.orders.hasOrders());
    EXPECT_TRUE(gateway.hasSaid("retained"));

    command.payload = R"({"id":"new","ts":1,"set":{"t0":50}})";
    command.isRetained = false;
    user.client.publish(command);
    stepBoth(gateway, user, [&] { return gateway.orders.hasOrders(); });
    const std::optional<Order> order = gateway.orders.take();
    ASSERT_TRUE(order);
    gateway.orders.finish(verified(*order));
    stepBoth(gateway, user, [&] { return contains(user.newest("plant/press7/ack"), "\"verified\""); });
    EXPECT_TRUE(contains(user.newest("plant/press7/ack"), "\"new\""));
}

/// Broken clocks of panels, and people who set them: the file's times are of the clock that never jumps.
TEST_F(NetworkTest, GoesOnThroughJumpsOfTheTimeOfDay)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.commands.longestAge = std::chrono::seconds(0);
    settings.tags[0].write = WriteRule{0, 60000, 0};
    TestClock clock;
    Gateway gateway(settings, clock.function());
    MqttUser user(readerSettings(), {"plant/#"});
    user.stepUntilConnected();
    stepBoth(gateway, user, [&] { return contains(user.newest("plant/press7/oven/state"), "\"t0\""); });
    quint32 value = 0;
    for (milliseconds jump : {Day, -2 * Day, -300 * Day, 301 * Day, milliseconds(0)}) {
        ++value;
        const std::string id = std::to_string(value);
        user.tell(message("plant/press7/cmd", R"({"id":)" + id + R"(,"set":{"t0":)" + id + "}}"));
        stepBoth(gateway, user, [&] { return gateway.orders.hasOrders(); });
        clock.jump(jump);
        gateway.post(0, value, clock.moment.now);
        stepBoth(gateway, user, [&] { return timeIn(user.newest("plant/press7/oven")) == clock.moment.now; });
        const std::optional<Order> order = gateway.orders.take();
        ASSERT_TRUE(order);
        gateway.orders.finish(verified(*order));
        stepBoth(gateway, user, [&] { return contains(user.newest("plant/press7/ack"), "{\"id\":" + id + ","); });
        EXPECT_TRUE(contains(user.newest("plant/press7/ack"), "\"verified\"")) << id;
        stepBoth(gateway, user, [&] { return awaitsNothing(gateway); }); // or it would leave a silent broker
        user.received.clear();
        clock.pass(std::chrono::seconds(60));
        stepBoth(gateway, user, [&] { return timeIn(user.newest("plant/press7/oven/state")) == clock.moment.now; });
        EXPECT_EQ(user.received.size(), 1U) << "the state, once a minute";
    }
    EXPECT_EQ(gateway.network.figures().dropped, 0U);
}

/// A client of new settings begins to count anew.
TEST_F(NetworkTest, TellsOnceThatMessagesWereDropped)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    TestClock clock;
    Gateway gateway(settings, clock.function());
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged >= 2; });
    MqttUser user(readerSettings());
    const std::string large(MqttClient::LongestPayload, 'x');
    while (!gateway.hasSaid("some were dropped")) {
        for (std::size_t bytes = 0; bytes <= 2 * MqttClient::MostWaiting; bytes += large.size())
            user.tell(message("plant/press7/cmd", large)); // and the gateway looks at none of them
        gateway.step();
    }
    settings.broker.keepAlive = std::chrono::seconds(30);
    gateway.network.apply(settings);
    clock.pass(std::chrono::minutes(2));
    gateway.stepUntil([&] { return gateway.network.figures().isBrokerUp; });
    EXPECT_EQ(gateway.timesSaid("some were dropped"), 1);
}

/// Somebody who sends commands and hears the answers.
struct Operator : MqttUser {
    explicit Operator(int port) : MqttUser(brokerSettings({port}, "operator"), {"plant/press7/ack"})
    {
        stepUntilConnected();
    }

    /// The order that comes of it, which is under way then.
    Order order(Gateway &gateway, const std::string &id, const std::string &set)
    {
        stepBoth(gateway, *this, [&] { return gateway.network.figures().acknowledged >= 2; }); // it reads
        const std::string command = R"({"id":")" + id + R"(","set":)" + set + "}";
        stepBoth(gateway, *this, [&] { return client.publish({"plant/press7/cmd", command}) != 0; });
        stepBoth(gateway, *this, [&] { return gateway.orders.hasOrders(); });
        return *gateway.orders.take();
    }
    /// How often it came.
    long answers(const std::string &part) const
    {
        return std::count_if(received.begin(), received.end(),
                             [&part](const Received &message) { return contains(message.payload, part); });
    }
};

TEST_F(NetworkTest, AnswersEachCommandWithItsOwnValuesWhateverIsReadAgain)
{
    broker.start();
    GatewaySettings settings = writableSettings(broker.port());
    Gateway gateway(settings);
    Operator user(broker.port());
    const Order old = user.order(gateway, "old", R"({"t0":10})");
    settings.tags[3].report.deadBand = 5;
    gateway.network.apply(settings);
    const Order next = user.order(gateway, "new", R"({"t1":77})");
    gateway.orders.finish(verified(old));
    stepBoth(gateway, user, [&] { return user.answers(R"({"id":"old","result":"verified")") > 0; });
    EXPECT_EQ(user.answers(R"("values":{"t0":10},)"), 1);
    EXPECT_EQ(user.answers("new"), 0);
    gateway.orders.finish(verified(next));
    stepBoth(gateway, user, [&] { return user.answers(R"({"id":"new","result":"verified")") > 0; });
    EXPECT_EQ(user.answers(R"("values":{"t1":77},)"), 1);
    EXPECT_EQ(gateway.network.figures().commands, 2U);
}

/// Only one answer is on its way at a time: the others wait, with places in tags that are no more.
TEST_F(NetworkTest, AnswersWhatWaitedAsItWasWhenTheTagsAreOthers)
{
    broker.start();
    GatewaySettings settings = writableSettings(broker.port());
    Gateway gateway(settings);
    Operator user(broker.port());
    std::vector<Order> orders;
    for (int i = 0; i < 3; ++i)
        orders.push_back(user.order(gateway, "q" + std::to_string(i), R"({"t3":1)" + std::to_string(i) + "}"));
    for (const Order &order : orders)
        gateway.orders.finish(verified(order));
    settings.tags.resize(1);
    settings.tags[0].tag.scaling.scale = 0.5;
    gateway.network.apply(settings);
    stepBoth(gateway, user, [&] { return user.answers("\"q2\"") > 0; });
    for (const char *value : {"10", "11", "12"})
        EXPECT_GE(user.answers(std::string(R"("values":{"t3":)") + value + "},"), 1) << value;
    EXPECT_EQ(gateway.network.figures().commands, 3U);
}

/// As the message of the refusal tells people to.
TEST_F(NetworkTest, AnswersNobodyWhoDeletesAKeptCommand)
{
    broker.start();
    Gateway gateway(writableSettings(broker.port()));
    Operator user(broker.port());
    Message kept;
    kept.topic = "plant/press7/cmd";
    kept.isRetained = true;
    stepBoth(gateway, user, [&] { return gateway.network.figures().acknowledged >= 2; });
    user.tell(kept);
    user.order(gateway, "next", R"({"t0":5})");
    EXPECT_EQ(gateway.network.figures().commands, 1U);
    EXPECT_TRUE(user.received.empty());
}

/// Answers that the client sent until now.
std::vector<std::string> answersIn(const MqttTap &tap)
{
    std::vector<std::string> answers;
    for (const MqttPacket &packet : tap.sent())
        if (packet.type() == MqttPacket::Publish && MqttPublish(packet).topic == "plant/press7/ack")
            answers.push_back(MqttPublish(packet).payload);
    return answers;
}

/// It goes away between commands and answers.
TEST_F(NetworkTest, KeepsItsAnswersWhileTheBrokerIsAway)
{
    broker.start();
    MqttTap tap(broker.port(), true);
    Gateway gateway(writableSettings(tap.port()));
    Operator user(broker.port());
    std::vector<Order> orders;
    for (int i = 0; i < 3; ++i)
        orders.push_back(user.order(gateway, "q" + std::to_string(i), R"({"t0":1)" + std::to_string(i) + "}"));
    broker.kill();
    gateway.stepUntil([&] { return !gateway.network.figures().isBrokerUp; });
    for (const Order &order : orders)
        gateway.orders.finish(verified(order));
    gateway.step();
    broker.start();
    gateway.stepUntil([&] { return answersIn(tap).size() >= orders.size(); });
    const std::vector<std::string> answers = answersIn(tap);
    for (std::size_t i = 0; i < orders.size(); ++i)
        EXPECT_TRUE(contains(answers.at(i), "{\"id\":\"q" + std::to_string(i) + "\",\"result\":\"verified\""))
            << answers[i];
}

TEST_F(NetworkTest, TellsTenThousandTags)
{
    broker.start();
    const int many = 10000;
    Gateway gateway(gatewaySettings({broker.port()}, many));
    Snapshot all;
    for (std::size_t tag = 0; tag < many; ++tag) {
        Sample sample;
        sample.tag = tag;
        sample.quality = Quality::Good;
        sample.time = 2000;
        sample.values = {quint32(tag)};
        all.push_back(sample);
    }
    gateway.mailbox.post(all);
    MqttUser reader(readerSettings(), {"plant/#"});
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t9999\":9999"); });
    EXPECT_EQ(gateway.network.figures().staleTags, 0u);
}

TEST_F(NetworkTest, KeepsItsConnectionWhenOnlyRulesChange)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    Gateway gateway(settings);
    MqttUser reader(readerSettings(), {"plant/#"});
    gateway.post(2, 42, 3000);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t0\""); });
    const std::size_t lines = gateway.log.size();
    settings.tags[1].report.deadBand = 5;
    gateway.network.apply(settings);
    reader.received.clear();
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t2\":42"); });
    EXPECT_EQ(gateway.log.size(), lines) << "no new connection";
    settings.layout.base = "hall";
    gateway.network.apply(settings);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/status"), "\"offline\""); });
    gateway.stepUntil([&] { return gateway.network.figures().isBrokerUp; });
    settings.broker.tls = TlsSettings{"/nowhere/ca.crt", "", ""};
    EXPECT_ANY_THROW(gateway.network.apply(settings));
    gateway.step();
    EXPECT_TRUE(gateway.network.figures().isBrokerUp) << "the old settings go on";
}

/// Payloads of the gateway's status, as they came.
std::vector<std::string> statusesOf(const MqttUser &reader)
{
    std::vector<std::string> statuses;
    for (const Received &message : reader.received)
        if (message.topic == "plant/press7/status")
            statuses.push_back(message.payload);
    return statuses;
}

/// A signal too many, or settings of the line alone, are nothing to the broker.
TEST_F(NetworkTest, TellsNothingAnewWhenNothingOfItsSettingsChanges)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    MqttUser reader(readerSettings(), {"plant/#"});
    reader.stepUntilConnected();
    Gateway gateway(settings);
    gateway.post(0, 1, 1000);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t0\":1"); });
    const std::size_t lines = gateway.log.size();
    gateway.network.apply(settings);
    settings.interval = milliseconds(250);
    gateway.network.apply(settings);
    settings.http = HttpSettings{"127.0.0.1", 0};
    gateway.network.apply(settings);
    EXPECT_NE(gateway.network.httpPort(), 0);
    gateway.post(0, 2, 2000);
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven"), "\"t0\":2"); });
    EXPECT_EQ(statusesOf(reader).size(), 1U);
    EXPECT_EQ(gateway.log.size(), lines);
}

TEST_F(NetworkTest, IsOnlineSinceItsConnectionBeganWhateverItsTagsAre)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    MqttUser reader(readerSettings(), {"plant/#"});
    reader.stepUntilConnected();
    Gateway gateway(settings);
    const auto tellsStatuses = [&reader](std::size_t count) { return statusesOf(reader).size() >= count; };
    stepBoth(gateway, reader, [&] { return tellsStatuses(1); });
    std::this_thread::sleep_for(milliseconds(2)); // another time of day
    settings.tags.pop_back();
    gateway.network.apply(settings);
    stepBoth(gateway, reader, [&] { return tellsStatuses(2); });
    EXPECT_EQ(statusesOf(reader)[1], statusesOf(reader)[0]);
}

/// The broker answers nothing any more, and keeps the connection.
TEST_F(NetworkTest, ComesBackFromAConnectionThatIsOpenAtOneEndOnly)
{
    broker.start();
    GatewaySettings settings = gatewaySettings({broker.port()});
    settings.broker.keepAlive = std::chrono::seconds(5);
    const TestClock clock; // it stands: the client notices before the gateway
    Gateway gateway(settings, clock.function());
    gateway.stepUntil([&] { return gateway.network.figures().acknowledged >= 2; });
    broker.freeze();
    gateway.post(0, 9, 9000);
    gateway.stepUntil([&] { return gateway.hasSaid("no longer answers"); });
    EXPECT_FALSE(gateway.network.figures().isBrokerUp);
    broker.thaw();
    MqttUser reader(readerSettings(), {"plant/#"});
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t0\":9"); });
}

/// A network that swallows everything: broker and gateway live, and each sees the other fall silent. Nothing that
/// was due is lost.
TEST_F(NetworkTest, ComesBackThroughANetworkThatWentSilent)
{
    const TemporaryFolder folder(memoryFolder());
    broker.start();
    MqttTap tap(broker.port());
    GatewaySettings settings = gatewaySettings({tap.port()});
    settings.broker.keepAlive = std::chrono::seconds(5);
    settings.spool.emplace();
    settings.spool->file = folder.path / "press7.spool";
    MqttUser reader(readerSettings(), {"plant/#"});
    reader.stepUntilConnected();
    const TestClock clock; // it stands: the client notices before the gateway
    Gateway gateway(settings, clock.function());
    stepBoth(gateway, reader, [&] { return contains(reader.newest("plant/press7/oven/state"), "\"t0\""); });
    tap.isSilent = true;
    const Epoch time = std::time(nullptr) * Epoch(1000);
    gateway.post(0, 9, time);
    stepBoth(gateway, reader, [&] {
        return gateway.hasSaid("no longer answers") &&
               contains(reader.newest("plant/press7/status"), "\"offline\"");
    });
    EXPECT_FALSE(gateway.network.figures().isBrokerUp);
    tap.isSilent = false;
    stepBoth(gateway, reader, [&] { return timeIn(reader.newest("plant/press7/oven/history")) == time; });
    EXPECT_TRUE(contains(reader.newest("plant/press7/status"), "\"online\""));
    EXPECT_TRUE(contains(reader.newest("plant/press7/oven/state"), "\"t0\":9"));
}

} // namespace
