// The client against a real broker, and against one that does what a broker should not do.
#include "host/text_error.h"
#include "support/fake_broker.h"
#include "support/mosquitto.h"
#include "support/mqtt_user.h"
#include "support/process.h"

using namespace fgs;
using std::chrono::steady_clock;

namespace
{

Message message(const std::string &topic, const std::string &payload, bool isRetained = false)
{
    Message made;
    made.topic = topic;
    made.payload = payload;
    made.isRetained = isRetained;
    return made;
}

bool beginsWith(const std::string &text, const std::string &begin)
{
    return text.rfind(begin, 0) == 0;
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

class MqttClientTest : public testing::Test
{
protected:
    void SetUp() override { NEED_MOSQUITTO(); }

    BrokerSettings settings(const std::string &id = "gateway") const { return brokerSettings({broker.port()}, id); }
    std::string name() const { return "broker 127.0.0.1:" + std::to_string(broker.port()); }

    /// What the first try comes to.
    static std::string firstEnd(const BrokerSettings &settings)
    {
        MqttUser user(settings);
        user.stepUntil([&] { return !user.ends.empty() || user.connections; });
        return user.ends.empty() ? "connected" : user.ends[0];
    }

    Mosquitto broker;
};

TEST_F(MqttClientTest, PublishesAndReceives)
{
    broker.start();
    MqttUser reader(settings("reader"), {"plant/#", "other"});
    reader.stepUntilConnected();
    MqttUser writer(settings());
    writer.tell(message("plant/a", "one"));
    writer.tell(message("plant/b", std::string("\0\xFF two", 6), true));
    reader.stepUntil([&] { return reader.received.size() == 2; });
    EXPECT_EQ(reader.newest("plant/a"), "one");
    EXPECT_EQ(reader.newest("plant/b"), std::string("\0\xFF two", 6));
    EXPECT_FALSE(reader.received[1].isRetained) << "only for who subscribes later";
    EXPECT_EQ(reader.refusedTopics, "");

    MqttUser later(settings("later"), {"plant/#"});
    later.stepUntil([&] { return !later.received.empty(); });
    EXPECT_TRUE(later.received[0].isRetained);
}

TEST_F(MqttClientTest, TakesNoMoreOfALargeMessageThanTellsThatItIsTooLarge)
{
    broker.start();
    MqttUser reader(settings("reader"), {"plant/#"});
    reader.stepUntilConnected();
    MqttUser writer(settings());
    const std::string longest(MqttClient::LongestPayload - 1, 'x');
    writer.tell(message("plant/a", longest));
    writer.tell(message("plant/b", std::string(8U << 20, 'y')));
    reader.stepUntil([&] { return reader.received.size() == 2; });
    EXPECT_TRUE(reader.newest("plant/a") == longest);
    EXPECT_EQ(reader.newest("plant/b").size(), MqttClient::LongestPayload);
    EXPECT_EQ(reader.client.overrun(), 0U);
}

TEST_F(MqttClientTest, ConnectsToABrokerThatIsStartedLater)
{
    MqttUser user(settings());
    user.stepUntil([&] { return user.ends.size() == 3; });
    EXPECT_EQ(user.ends[0],
              "cannot reach " + name() + ": Connection refused; check host and port, and whether it runs");
    EXPECT_EQ(user.client.publish(message("a", "b")), 0) << "not connected";
    broker.start();
    user.stepUntilConnected();
    EXPECT_EQ(user.wills, int(user.ends.size()) + 1) << "one for each try";
}

TEST_F(MqttClientTest, ComesBackAndSubscribesAgainAfterEachKill)
{
    broker.start();
    MqttUser user(settings(), {"cmd"});
    for (int i = 1; i <= 3; ++i) {
        user.stepUntilConnected();
        user.tell(message("cmd", std::to_string(i)));
        user.stepUntil([&] { return user.newest("cmd") == std::to_string(i); });
        broker.kill();
        user.stepUntil([&] { return !user.client.isConnected() && !user.isSubscribed; });
        broker.start();
    }
    user.stepUntilConnected();
    EXPECT_EQ(user.connections, 4);
    EXPECT_PRED2(beginsWith, user.ends[0], name() + " has closed the connection");
}

TEST_F(MqttClientTest, TakesTheNextAddressOfACluster)
{
    Mosquitto second;
    second.start();
    BrokerSettings both = brokerSettings({broker.port(), second.port()}, "gateway");
    MqttUser user(both);
    user.stepUntilConnected();
    ASSERT_EQ(user.ends.size(), 1u);
    EXPECT_PRED2(beginsWith, user.ends[0], "cannot reach " + name());
    broker.start();
    second.kill();
    user.stepUntil([&] { return user.connections == 2; });
    second.start();
    user.client.walkOn();
    user.stepUntil([&] { return user.connections == 3; });
    EXPECT_EQ(user.ends.back(), "left " + name());
    broker.kill();
    user.step(100);
    EXPECT_TRUE(user.client.isConnected()) << "to the second";
}

/// In a process of its own, made while this one has a single thread.
TEST_F(MqttClientTest, LeavesItsWillWhenItIsKilledAndNotWhenItEnds)
{
    broker.start();
    const pid_t victim = ::fork();
    if (victim == 0) {
        MqttUser user(settings("killed"), {}, message("status", "killed is lost", true));
        user.tell(message("status", "killed is there", true));
        for (;;)
            ::pause();
    }
    MqttUser reader(settings("reader"), {"status"});
    reader.stepUntil([&] { return reader.newest("status") == "killed is there"; });
    ::kill(victim, SIGKILL);
    ::waitpid(victim, nullptr, 0);
    reader.stepUntil([&] { return reader.newest("status") == "killed is lost"; });

    MqttUser clean(settings("clean"), {}, message("status", "clean is lost"));
    clean.tell(message("status", "clean is there"));
    clean.client.stop(milliseconds(10000));
    MqttUser later(settings("later"));
    later.tell(message("status", "later is there"));
    reader.stepUntil([&] { return reader.newest("status") == "later is there"; });
    EXPECT_EQ(reader.received[reader.received.size() - 2].payload, "clean is there");
}

TEST_F(MqttClientTest, LeavesItsWillIfItPartsByIt)
{
    broker.start();
    MqttUser reader(settings("reader"), {"status"});
    reader.stepUntilConnected();
    MqttUser user(settings("gateway"), {}, message("status", "lost"));
    user.tell(message("status", "there"));
    user.client.walkOn(fgs::MqttClient::Parting::ByWill);
    reader.stepUntil([&] { return reader.newest("status") == "lost"; });
    user.stepUntil([&] { return user.connections == 2; });
    user.client.stop(milliseconds(10000), fgs::MqttClient::Parting::ByWill);
    reader.stepUntil([&] {
        return std::count_if(reader.received.begin(), reader.received.end(),
                             [](const fgs::Received &each) { return each.payload == "lost"; }) == 2;
    });
}

TEST_F(MqttClientTest, TellsThatAnotherClientMayHaveItsId)
{
    broker.start();
    MqttUser first(settings("same"));
    first.stepUntilConnected();
    MqttUser second(settings("same"));
    second.stepUntilConnected();
    first.stepUntil([&] { return !first.ends.empty(); });
    EXPECT_PRED2(contains, first.ends[0], "another client has the id 'same'");
}

TEST_F(MqttClientTest, ShowsThePasswordThatIsInTheFileAtEachTry)
{
    broker.addUser("press7", "secret");
    broker.configuration = "password_file " + broker.file("passwords") + "\n";
    broker.start();
    const std::string file = broker.file("password");
    std::ofstream(file) << "wrong\n";
    BrokerSettings withUser = settings();
    withUser.user = "press7";
    withUser.passwordFile = file;
    MqttUser user(withUser);
    user.stepUntil([&] { return !user.ends.empty(); });
    EXPECT_EQ(user.ends[0],
              name() + " does not let this gateway in; check user, password_file and the broker's access list");
    std::filesystem::remove(file);
    const std::string missing = "cannot read password_file " + file +
                                ": No such file or directory; let the user of the gateway read it, or take "
                                "password_credential, which a service can always read";
    user.stepUntil([&] { return user.ends.back() == missing; });
    std::ofstream(file) << "secret\n";
    user.stepUntilConnected();
}

TEST_F(MqttClientTest, NamesAFileThatItCannotRead)
{
    BrokerSettings without = settings();
    without.user = "press7";
    without.passwordFile = "/nowhere/password";
    EXPECT_THROW(MqttClient{without}, TextError);
    without = settings();
    without.tls = TlsSettings{"/nowhere/ca.crt", "", ""};
    EXPECT_THROW(MqttClient{without}, TextError);
}

class MqttTlsTest : public MqttClientTest
{
protected:
    void SetUp() override
    {
        NEED_MOSQUITTO();
        broker.makeCertificate("plant", "server");
        broker.makeCertificate("plant", "gateway");
        broker.makeCertificate("stranger", "other");
        broker.configuration += "cafile " + broker.file("plant.crt") + "\ncertfile " + broker.file("server.crt") +
                                "\nkeyfile " + broker.file("server.key") + "\n";
    }

    BrokerSettings tlsSettings(const std::string &authority, const std::string &certificate) const
    {
        BrokerSettings made = settings();
        made.tls = TlsSettings{broker.file(authority + ".crt"), "", ""};
        if (!certificate.empty()) {
            made.tls->certificate = broker.file(certificate + ".crt");
            made.tls->key = broker.file(certificate + ".key");
        }
        return made;
    }
};

TEST_F(MqttTlsTest, TrustsItsAuthorityOnly)
{
    broker.start();
    EXPECT_EQ(firstEnd(tlsSettings("plant", "")), "connected");
    EXPECT_EQ(firstEnd(tlsSettings("stranger", "")),
              "no TLS with " + name() + ": certificate verify failed; check ca, certificate and key");
    EXPECT_PRED2(beginsWith, firstEnd(settings()), name() + " closes the connection before it answers; check port");
}

TEST_F(MqttTlsTest, ShowsItsCertificateWhereItIsWanted)
{
    broker.configuration += "require_certificate true\n";
    broker.start();
    EXPECT_EQ(firstEnd(tlsSettings("plant", "gateway")), "connected");
    EXPECT_PRED2(beginsWith, firstEnd(tlsSettings("plant", "")), "no TLS with " + name());
    EXPECT_PRED2(beginsWith, firstEnd(tlsSettings("plant", "other")), "no TLS with " + name());
}

TEST_F(MqttTlsTest, SpeaksNoTlsWithABrokerThatHasNone)
{
    const BrokerSettings withTls = tlsSettings("plant", "");
    broker.configuration = "allow_anonymous true\n";
    broker.start();
    EXPECT_EQ(
        firstEnd(withTls),
        "no TLS with " + name() +
            ": unexpected eof while reading; check port (is it the one without TLS?), ca, certificate and key");
}

TEST_F(MqttTlsTest, TellsThatTheHostIsNotInTheCertificate)
{
    broker.makeCertificate("plant", "server", "DNS:broker1.plant.example");
    broker.start();
    EXPECT_EQ(firstEnd(tlsSettings("plant", "")),
              "no TLS with " + name() +
                  ": host is none of the names in its certificate; write one of them as host");
}

TEST_F(MqttTlsTest, ReadsACertificateThatWasRenewedAtTheNextTry)
{
    broker.start();
    const BrokerSettings withTls = tlsSettings("stranger", "");
    MqttUser user(withTls);
    user.stepUntil([&] { return !user.ends.empty(); });
    std::filesystem::copy_file(broker.file("plant.crt"), broker.file("stranger.crt"),
                               std::filesystem::copy_options::overwrite_existing);
    user.stepUntilConnected();
}

/// Both are acknowledged all the same: 3.1.1 knows no other answer to PUBLISH.
TEST_F(MqttClientTest, HearsNothingOfWhatTheAccessListForbids)
{
    std::ofstream(broker.file("acl")) << "topic read open\ntopic write open\n";
    broker.configuration += "acl_file " + broker.file("acl") + "\n";
    broker.start();
    MqttUser user(settings(), {"closed", "open"});
    user.stepUntilConnected();
    user.tell(message("closed", "acknowledged all the same"));
    user.tell(message("open", "arrives"));
    user.stepUntil([&] { return !user.received.empty(); });
    EXPECT_EQ(user.received[0].payload, "arrives");
}

TEST(MqttClientWithABadBroker, NamesTheSubscriptionsThatAreRefused)
{
    FakeBroker broker;
    broker.granted = 0x80;
    MqttUser user(brokerSettings({broker.port()}, "gateway"), {"plant/cmd"});
    user.stepUntilConnected();
    EXPECT_EQ(user.refusedTopics, "plant/cmd");
}

/// The broker keeps its port and the connection, and answers nothing any more.
TEST_F(MqttClientTest, NoticesAConnectionThatIsOpenAtOneEndOnly)
{
    broker.start();
    BrokerSettings watchful = settings();
    watchful.keepAlive = std::chrono::seconds(5);
    MqttUser user(watchful);
    user.stepUntilConnected();
    broker.freeze();
    user.stepUntil([&] { return !user.ends.empty(); });
    EXPECT_EQ(user.ends[0], name() + " no longer answers");
    user.stepUntil([&] { return user.ends.size() == 2; });
    EXPECT_EQ(user.ends[1], name() + " does not answer");
    broker.thaw();
    user.stepUntilConnected();
}

TEST(MqttClientWithABadBroker, ComesToAnEndWhileItConnects)
{
    FakeBroker broker;
    broker.isSilent = true;
    MqttUser user(brokerSettings({broker.port()}, "gateway"));
    user.stepUntil([&] { return broker.connects == 1; });
    user.client.stop(milliseconds(0));
    EXPECT_FALSE(user.client.isConnected());
}

TEST(MqttClientWithABadBroker, SaysWhyItIsRefused)
{
    FakeBroker broker;
    const std::string name = "broker 127.0.0.1:" + std::to_string(broker.port());
    const std::vector<std::string> texts = {" does not speak MQTT 3.1.1",
                                            " refuses the client id 'gateway'; check client_id",
                                            " is not available",
                                            " refuses the password; check user and password_file",
                                            " does not let this gateway in",
                                            " refuses the connection with code 77"};
    const int codes[] = {1, 2, 3, 4, 5, 77};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        broker.answer = codes[i];
        MqttUser user(brokerSettings({broker.port()}, "gateway"));
        user.stepUntil([&] { return !user.ends.empty(); });
        EXPECT_PRED2(beginsWith, user.ends[0], name + texts[i]);
        EXPECT_EQ(user.connections, 0);
    }
}

/// The pauses grow, and are a quarter shorter at most.
TEST(MqttClientWithABadBroker, PausesBetweenTheTries)
{
    FakeBroker broker;
    broker.answer = 5;
    const steady_clock::time_point begin = steady_clock::now();
    MqttUser user(brokerSettings({broker.port()}, "gateway"), {}, {}, {milliseconds(40), milliseconds(100)});
    user.stepUntil([&] { return broker.connects == 5; });
    EXPECT_GE(steady_clock::now() - begin, milliseconds((40 + 80 + 100 + 100) * 3 / 4));
}

TEST(MqttClientWithABadBroker, PausesAfterAllAddressesWereTried)
{
    FakeBroker first, second;
    first.answer = second.answer = 3;
    const milliseconds never(3600000);
    MqttUser user(brokerSettings({first.port(), second.port()}, "gateway"), {}, {}, {never, never});
    user.stepUntil([&] { return user.ends.size() == 2; });
    user.step(100);
    EXPECT_EQ(first.connects, 1);
    EXPECT_EQ(second.connects, 1);
}

/// A window of messages, and no more: not in the library either, and not after a new connection.
TEST(MqttClientWithABadBroker, StopsAtTheBoundAndBeginsAnewWithEachConnection)
{
    FakeBroker broker;
    broker.acknowledges = false;
    BrokerSettings settings = brokerSettings({broker.port()}, "gateway");
    settings.mostInFlight = 7;
    MqttUser user(settings);
    user.stepUntilConnected();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(user.client.publish(message("old", std::to_string(i))) != 0, i < 7) << i;
    EXPECT_FALSE(user.client.hasRoom());
    user.stepUntil([&] { return broker.sent().size() == 7; });
    EXPECT_TRUE(user.acknowledged.empty());

    user.client.walkOn();
    user.stepUntil([&] { return user.connections == 2; });
    EXPECT_TRUE(user.client.hasRoom());
    broker.acknowledges = true;
    user.tell(message("new", "is acknowledged"));
    EXPECT_EQ(user.acknowledged.size(), 1u) << "none of the connection before";
    ASSERT_EQ(broker.sent().size(), 8u) << "the library sends nothing again";
    EXPECT_EQ(broker.sent()[7].topic, "new");
}

/// What is published between a new connection and its news would count as lost with the one before.
TEST(MqttClientWithABadBroker, TakesNothingBeforeTheUserKnowsOfTheConnection)
{
    FakeBroker broker;
    MqttClient client(brokerSettings({broker.port()}, "gateway"), ShortPauses);
    client.start();
    while (client.takeNews().empty())
        readable(client.descriptor());
    client.connect({});
    readable(client.descriptor());
    EXPECT_FALSE(client.isConnected());
    EXPECT_EQ(client.publish(message("a", "b")), 0);
    client.takeNews();
    EXPECT_TRUE(client.isConnected());
    EXPECT_NE(client.publish(message("a", "b")), 0);
}

TEST(MqttClientWithABadBroker, WaitsAtItsEndForWhatIsNotAcknowledged)
{
    FakeBroker broker;
    MqttUser user(brokerSettings({broker.port()}, "gateway"));
    user.stepUntilConnected();
    for (int i = 0; i < 10; ++i)
        EXPECT_NE(user.client.publish(message("a", std::to_string(i))), 0);
    user.client.stop(milliseconds(60000));
    while (broker.disconnects == 0)
        std::this_thread::yield();
    EXPECT_EQ(broker.sent().size(), 10u);
}

TEST(MqttClientWithABadBroker, EndsWithoutAnAcknowledgementAfterTheLimit)
{
    FakeBroker broker;
    broker.acknowledges = false;
    MqttUser user(brokerSettings({broker.port()}, "gateway"));
    user.stepUntilConnected();
    EXPECT_NE(user.client.publish(message("a", "b")), 0);
    user.client.stop(milliseconds(50));
    while (broker.disconnects == 0)
        std::this_thread::yield();
}

TEST(MqttClientWithABadBroker, AcknowledgesWithoutOneWhatIsNotToBeAcknowledged)
{
    FakeBroker broker;
    broker.acknowledges = false;
    MqttUser user(brokerSettings({broker.port()}, "gateway"));
    Message once = message("a", "b");
    once.qos = 0;
    user.tell(once);
    EXPECT_TRUE(user.client.hasRoom());
}

} // namespace
