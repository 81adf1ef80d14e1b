// The gateway as a program, between a simulated controller and a real broker.
#include "support/mosquitto.h"
#include "support/mqtt_user.h"
#include "support/process.h"
#include "support/pseudo_terminal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <set>
#include <sstream>
#include <sys/un.h>
#include <thread>

namespace
{

struct Ended {
    int code;
    std::string out, log;
};

std::string programOf(const char *name)
{
    return std::string(TARN_BINARY_DIR "/") + name;
}

Ended run(const std::vector<std::string> &arguments)
{
    Process process(programOf("fgs-gateway"), arguments);
    const std::string out = process.restOfOutput(), log = process.restOfLog();
    return {process.wait(), out, log};
}

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

std::string ovenGroup(const std::string &keys = {})
{
    return "[[group]]\nname = \"oven\"\n" + keys + R"(tag = [
    { name = "temp", variable = "5:100:s16", scale = 0.1 },
    { name = "sp", variable = "5:101:s16", scale = 0.1, write = { min = 0, max = 250, step = 0.5 } },
]
)";
}

/// A file for the gateway "press7", and a controller that holds 5:100=201 and 5:101=1000.
class Line
{
public:
    Line()
        : simulator(programOf("fgs-sim"), {"--tcp", "0", "--log", "quiet", "--values", "still", "--set",
                                           "5:100=201", "--set", "5:101=1000"}),
          link(simulator.outputLine())
    {
        write(ovenGroup());
    }

    void write(const std::string &groups, const std::string &brokerLines = {}) const
    {
        std::ofstream(file) << "name = \"press7\"\nlink = \"" << link
                            << "\"\n[line]\ntimeout_ms = 20000\n[commands]\nmax_age_s = 86400\n" // a busy machine
                            << "[broker]\nhost = \"127.0.0.1\"\nport = " << port << "\nkeep_alive_s = 600\n"
                            << brokerLines << groups;
    }

    const TemporaryFolder folder;
    const std::string file = folder.path / "file.toml";
    int port = 1; ///< of the broker

private:
    Process simulator;

public:
    const std::string link;
};

QJsonObject objectIn(const std::string &json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

/// With a broker, and somebody who listens.
class FgsGateway : public ::testing::Test
{
protected:
    void SetUp() override
    {
        NEED_MOSQUITTO();
        broker.start();
        line.port = broker.port();
        line.write(ovenGroup());
        user = std::make_unique<MqttUser>(brokerSettings({broker.port()}, "listener"),
                                          std::vector<std::string>{"fgs/press7/#"});
        user->stepUntilConnected();
    }

    /// The first message of the topic, old or new, of which it is so.
    template <typename Condition>
    QJsonObject await(const std::string &topic, const Condition &isSo)
    {
        return awaitMessageOf("fgs/press7/" + topic, isSo);
    }
    template <typename Condition>
    QJsonObject awaitMessageOf(const std::string &topic, const Condition &isSo)
    {
        for (;; user->step())
            for (const fgs::Received &message : user->received)
                if (message.topic == topic && isSo(objectIn(message.payload)))
                    return objectIn(message.payload);
    }
    QJsonObject awaitState(const char *state)
    {
        return await("status", [state](const QJsonObject &message) {
            return message.value(QStringLiteral("state")).toString() == QLatin1String(state);
        });
    }
    /// A value in the full state of the group.
    void awaitValue(const char *name, double value)
    {
        await("oven/state", [name, value](const QJsonObject &message) {
            return message.value(QStringLiteral("values")).toObject().value(QLatin1String(name)).toDouble(-1) ==
                   value;
        });
    }
    /// What the program says about something.
    static std::string awaitMessage(Process &gateway, const std::string &part)
    {
        std::string message;
        do
            message = gateway.logLine();
        while (!has(message, part) && !message.empty());
        return message;
    }

    void send(const std::string &id, const std::string &set)
    {
        user->tell({"fgs/press7/cmd", R"({"id":")" + id + R"(","ts":)" +
                                          std::to_string(QDateTime::currentMSecsSinceEpoch()) + R"(,"set":)" + set +
                                          "}"});
    }
    /// The final one.
    std::string awaitAnswer(const std::string &id)
    {
        const auto isFinal = [&id](const QJsonObject &answer) {
            return answer.value(QStringLiteral("id")).toString().toStdString() == id &&
                   answer.value(QStringLiteral("result")).toString() != QStringLiteral("accepted");
        };
        return await("ack", isFinal).value(QStringLiteral("result")).toString().toStdString();
    }
    int logins() const
    {
        const std::string log = broker.log();
        int count = 0;
        for (std::size_t at = log.find(" as fgs-gateway-press7"); at != std::string::npos;
             at = log.find(" as fgs-gateway-press7", at + 1))
            ++count;
        return count;
    }

    Mosquitto broker;
    Line line;
    std::unique_ptr<MqttUser> user;
};

TEST_F(FgsGateway, CarriesValuesAndCommandsUntilItIsEnded)
{
    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitState("online");
    awaitValue("temp", 20.1);
    awaitValue("sp", 100);

    await("status", [](const QJsonObject &message) {
        return message.value(QStringLiteral("link")).toString() == QStringLiteral("up");
    });
    send("1", R"({"sp":120.5})");
    EXPECT_EQ(awaitAnswer("1"), "verified");
    send("2", R"({"sp":251})");
    EXPECT_EQ(awaitAnswer("2"), "refused");
    send("3", R"({"temp":1})");
    EXPECT_EQ(awaitAnswer("3"), "refused");

    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    awaitState("offline");
}

/// What was never there is not lost.
TEST_F(FgsGateway, TellsALinkThatCannotBeOpened)
{
    std::ofstream(line.file) << "name = \"press7\"\nlink = \"/dev/nowhere\"\n[broker]\nhost = \"127.0.0.1:"
                             << broker.port() << "\"\n"
                             << ovenGroup();
    Process gateway(programOf("fgs-gateway"), {line.file});
    EXPECT_EQ(awaitMessage(gateway, "link"), "fgs-gateway: cannot open link: /dev/nowhere does not exist; is the "
                                             "adapter plugged in? (it is tried again)");
    awaitState("online");
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(FgsGateway, IsOfflineWhenItWasKilledUntilItIsStartedAgain)
{
    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitState("online");
    user->received.clear();
    gateway.signal(SIGKILL);
    EXPECT_EQ(gateway.wait(), -SIGKILL);
    awaitState("offline");
    user->received.clear();
    const Process again(programOf("fgs-gateway"), {line.file});
    awaitState("online");
    awaitValue("temp", 20.1);
}

TEST_F(FgsGateway, WritesNothingWhenItMayOnlyRead)
{
    Process gateway(programOf("fgs-gateway"), {"--read-only", line.file});
    awaitValue("sp", 100);
    send("1", R"({"sp":120.5})");
    EXPECT_EQ(awaitAnswer("1"), "refused");
    gateway.signal(SIGINT);
    EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(FgsGateway, TakesAFileThatWasChangedOverTheSameConnection)
{
    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitValue("temp", 20.1);

    line.write(ovenGroup("deadband = 5\n"));
    gateway.signal(SIGHUP);
    EXPECT_TRUE(has(awaitMessage(gateway, line.file), "applies"));

    line.write(ovenGroup() + "[[group]]\nname = \"more\"\ntag = [{ name = \"x\", variable = \"5:100\" }]\n");
    gateway.signal(SIGHUP);
    EXPECT_TRUE(has(awaitMessage(gateway, line.file), "applies"));
    await("more/state", [](const QJsonObject &message) {
        return message.value(QStringLiteral("values")).toObject().value(QStringLiteral("x")).toDouble() == 201;
    });
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    EXPECT_EQ(logins(), 1);
}

TEST_F(FgsGateway, RefusesAFileWithFaultsAndGoesOn)
{
    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitValue("temp", 20.1);
    line.write("[[group]]\nname = \"oven\"\ntag = [{ name = \"temp\", variable = \"99:1\" }, { nome = 1 }]\n");
    gateway.signal(SIGHUP);
    EXPECT_TRUE(has(awaitMessage(gateway, line.file), "is refused"));
    EXPECT_TRUE(has(awaitMessage(gateway, ":13:"), "99"));
    send("1", R"({"sp":99.5})");
    EXPECT_EQ(awaitAnswer("1"), "verified");
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    EXPECT_EQ(logins(), 1);
}

/// The service manager.
class Manager
{
public:
    /// `watchdog` in microseconds; few messages wait, and what comes then is lost: read them, or have no watchdog.
    Manager(const std::string &path, const char *watchdog) : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
        ::setenv("WATCHDOG_USEC", watchdog, 1);
    }
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;
    ~Manager()
    {
        ::unsetenv("NOTIFY_SOCKET");
        ::unsetenv("WATCHDOG_USEC");
        ::close(socket);
    }

    /// All of them, in whatever order; passes others over.
    void await(std::set<std::string> beginnings) const
    {
        while (!beginnings.empty()) {
            const std::string message = next();
            for (auto each = beginnings.begin(); each != beginnings.end();)
                each = message.compare(0, each->size(), *each) == 0 ? beginnings.erase(each) : std::next(each);
        }
    }

    /// Everything that has come, without waiting.
    std::vector<std::string> rest() const
    {
        std::vector<std::string> messages;
        char text[4096];
        for (ssize_t size = 0; (size = ::recv(socket, text, sizeof text, MSG_DONTWAIT)) >= 0;)
            messages.emplace_back(text, std::size_t(size));
        return messages;
    }

private:
    std::string next() const
    {
        char text[4096];
        const ssize_t size = ::recv(socket, text, sizeof text, 0);
        return std::string(text, std::size_t(std::max<ssize_t>(0, size)));
    }

    const int socket;
};

TEST_F(FgsGateway, TellsTheServiceManager)
{
    const Manager manager(line.folder.path / "notify", "0");
    Process gateway(programOf("fgs-gateway"), {line.file});
    manager.await({"READY=1", "STATUS=line up, broker up"});
    gateway.signal(SIGHUP);
    manager.await({"RELOADING=1\nMONOTONIC_USEC="});
    manager.await({"READY=1"});
    gateway.signal(SIGTERM);
    manager.await({"STOPPING=1"});
    EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(FgsGateway, FeedsTheWatchdogBeforeAndAfterAReload)
{
    const Manager manager(line.folder.path / "notify", "100000");
    Process gateway(programOf("fgs-gateway"), {line.file});
    manager.await({"WATCHDOG=1"});
    gateway.signal(SIGHUP);
    EXPECT_TRUE(has(awaitMessage(gateway, line.file), "applies"));
    manager.rest();
    manager.await({"WATCHDOG=1"});
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
}

/// Else a line that hangs would not be noticed. The broker's answers show that everything else goes on.
TEST_F(FgsGateway, FeedsTheWatchdogBetweenRequestsOnly)
{
    const int controller = listenOnLoopback(0, 1);
    std::ofstream(line.file) << "name = \"press7\"\nlink = \"tcp:127.0.0.1:" << portOf(controller)
                             << "\"\n[line]\ntimeout_ms = 600000\n[broker]\nhost = \"127.0.0.1:" << broker.port()
                             << "\"\n"
                             << ovenGroup();
    const Manager manager(line.folder.path / "notify", "2"); // fed at every occasion
    Process gateway(programOf("fgs-gateway"), {line.file});
    const int connection = ::accept(controller, nullptr, nullptr);
    manager.await({"WATCHDOG=1"});
    char request;
    EXPECT_EQ(::recv(connection, &request, 1, 0), 1); // and it is never answered
    awaitState("online");
    manager.rest();
    for (const char *id : {"1", "2", "3", "4", "5"}) {
        send(id, R"({"nothing":1})");
        EXPECT_EQ(awaitAnswer(id), "refused");
    }
    for (const std::string &message : manager.rest())
        EXPECT_NE(message, "WATCHDOG=1");
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    ::close(connection);
    ::close(controller);
}

/// What systemd hands to the service of the packaged example.
class ServiceFolders
{
public:
    explicit ServiceFolders(const std::filesystem::path &folder)
        : credentials(folder / "credentials"), state(folder / "state")
    {
        std::filesystem::create_directory(credentials);
        std::filesystem::create_directory(state);
        ::setenv("CREDENTIALS_DIRECTORY", credentials.c_str(), 1);
        ::setenv("STATE_DIRECTORY", state.c_str(), 1);
    }
    ServiceFolders(const ServiceFolders &) = delete;
    ServiceFolders &operator=(const ServiceFolders &) = delete;
    ~ServiceFolders()
    {
        ::unsetenv("CREDENTIALS_DIRECTORY");
        ::unsetenv("STATE_DIRECTORY");
    }

    const std::filesystem::path credentials, state;
};

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

/// The example as it is packaged, but for the addresses of this test.
std::string exampleFor(const Line &line, int brokerPort)
{
    std::ifstream file(TARN_SOURCE_DIR "/docs/gateway.toml");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    text = replaced(text, "/dev/ttyUSB0:19200,8E1", line.link);
    text = replaced(text, "host = \"127.0.0.1\"", "host = \"127.0.0.1:" + std::to_string(brokerPort) + '"');
    return replaced(text, "127.0.0.1:9464", "127.0.0.1:0");
}

TEST_F(FgsGateway, RunsTheExampleWithWhatItsServiceIsGiven)
{
    const ServiceFolders service(line.folder.path);
    std::ofstream(service.credentials / "mqtt") << "secret\n";
    Mosquitto strict;
    strict.addUser("press7", "secret");
    strict.configuration = "allow_anonymous false\npassword_file " + strict.file("passwords") + "\n";
    strict.start();
    fgs::BrokerSettings reader = brokerSettings({strict.port()}, "reader");
    reader.user = "press7";
    reader.passwordFile = service.credentials / "mqtt";
    user = std::make_unique<MqttUser>(reader, std::vector<std::string>{"plant/hall1/press7/#"});
    std::ofstream(line.file) << exampleFor(line, strict.port());

    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitMessageOf("plant/hall1/press7/oven/state", [](const QJsonObject &message) {
        return message.value(QStringLiteral("values")).toObject().value(QStringLiteral("oven_temp")) == 20.1;
    });
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    EXPECT_TRUE(std::filesystem::exists(service.state / "press7.spool"));
}

/// While nobody reads what it has to say it cannot end by itself: more is wrong with the file than a pipe takes.
TEST_F(FgsGateway, EndsAtOnceAtASecondSignal)
{
    const Manager manager(line.folder.path / "notify", "0");
    Process gateway(programOf("fgs-gateway"), {line.file});
    manager.await({"READY=1"});
    std::string faults;
    for (int i = 0; i < 10000; ++i)
        faults += "nonsense_" + std::to_string(i) + " = 1\n";
    line.write(ovenGroup(), faults);
    gateway.signal(SIGHUP);
    manager.await({"RELOADING=1"});
    gateway.signal(SIGTERM);
    gateway.signal(SIGINT);
    const int code = gateway.wait();
    EXPECT_TRUE(code == -SIGINT || code == -SIGTERM) << code; // whichever is taken last
}

/// A port that is kept for whoever listens there.
class ReservedPort
{
public:
    ReservedPort() : socket(boundToLoopback(0)) {}
    ReservedPort(const ReservedPort &) = delete;
    ReservedPort &operator=(const ReservedPort &) = delete;
    ~ReservedPort() { ::close(socket); }

    int number() const { return portOf(socket); }
    std::string address() const { return "127.0.0.1:" + std::to_string(number()); }

private:
    const int socket;
};

/// The whole answer; empty if nobody listens.
std::string answerOf(int port, const std::string &path)
{
    const int caller = callLoopback(port);
    const std::string request = "GET " + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n";
    std::string answer;
    if (::send(caller, request.data(), request.size(), MSG_NOSIGNAL) == ssize_t(request.size())) {
        char bytes[4096];
        for (ssize_t size = 0; (size = ::recv(caller, bytes, sizeof bytes, 0)) > 0;)
            answer.append(bytes, std::size_t(size));
    }
    ::close(caller);
    return answer;
}

/// The first one that has all of this.
std::string awaitAnswerOf(int port, const std::string &path, const std::vector<std::string> &parts)
{
    const auto hasAll = [&parts](const std::string &answer) {
        return std::all_of(parts.begin(), parts.end(), [&](const std::string &part) { return has(answer, part); });
    };
    std::string answer;
    while (!hasAll(answer = answerOf(port, path)))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return answer;
}

TEST_F(FgsGateway, TellsItsHealthAndItsFigures)
{
    const ReservedPort http;
    line.write("[http]\nlisten = \"" + http.address() + "\"\n" + ovenGroup());
    Process gateway(programOf("fgs-gateway"), {line.file});
    awaitAnswerOf(http.number(), "/healthz",
                  {"HTTP/1.1 200", "application/json", R"("ok":true)", R"("broker":{"up":true})"});
    awaitAnswerOf(http.number(), "/metrics", {"HTTP/1.1 200", "text/plain; version=0.0.4", "\nfgs_broker_up 1\n"});
    awaitAnswerOf(http.number(), "/else", {"HTTP/1.1 404"});
    broker.kill();
    awaitAnswerOf(http.number(), "/healthz", {"HTTP/1.1 503", R"("ok":false)", R"("broker":{"up":false})"});
    awaitAnswerOf(http.number(), "/metrics", {"\nfgs_broker_up 0\n"});
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(FgsGateway, IsScrapedByPrometheus)
{
    const std::string program = serverProgram("bin/prometheus");
    if (!isServerThere("bin/prometheus") || !std::string(TARN_EMULATOR).empty())
        GTEST_SKIP() << "there is no " << program << " for this machine";
    const ReservedPort http, own;
    line.write("[http]\nlisten = \"" + http.address() + "\"\n" + ovenGroup());
    std::ofstream(line.folder.path / "prometheus.yml")
        << "global:\n  scrape_interval: 1s\nscrape_configs:\n  - job_name: gateway\n    static_configs:\n"
        << "      - targets: ['" << http.address() << "']\n";
    const Process gateway(programOf("fgs-gateway"), {line.file});
    Process prometheus(program, {"--config.file=" + (line.folder.path / "prometheus.yml").string(),
                                 "--storage.tsdb.path=" + (line.folder.path / "data").string(),
                                 "--web.listen-address=" + own.address()});
    awaitAnswerOf(own.number(), "/api/v1/query?query=fgs_broker_up",
                  {R"("instance":")" + http.address() + '"', R"("job":"gateway")", R"(,"1"])"});
    prometheus.signal(SIGTERM);
    EXPECT_EQ(prometheus.wait(), 0);
}

TEST_F(FgsGateway, RecordsTheLine)
{
    const std::string trace = line.folder.path / "line.pcapng";
    Process gateway(programOf("fgs-gateway"), {"--trace", trace, line.file});
    awaitValue("temp", 20.1);
    gateway.signal(SIGTERM);
    EXPECT_EQ(gateway.wait(), 0);
    Process decode(programOf("fgs"), {"decode", trace});
    EXPECT_TRUE(has(decode.restOfOutput(), "read 5:99x3"));
    EXPECT_EQ(decode.wait(), 0);
}

/// A serial device needs more of Qt than TCP does, and Qt tells what it misses.
TEST_F(FgsGateway, SaysNothingOfItsInsideOverASerialDevice)
{
    std::string device;
    const int master = openPseudoTerminal(device);
    std::ofstream(line.file) << "name = \"press7\"\nlink = \"" << device << ":19200,8E1\"\n[broker]\nhost = "
                             << "\"127.0.0.1:" << broker.port() << "\"\n"
                             << ovenGroup();
    Process gateway(programOf("fgs-gateway"), {line.file});
    await("status", [](const QJsonObject &message) {
        return message.value(QStringLiteral("link")).toString() == QStringLiteral("up");
    });
    gateway.signal(SIGTERM);
    std::istringstream log(gateway.restOfLog());
    EXPECT_EQ(gateway.wait(), 0);
    for (std::string text; std::getline(log, text);)
        EXPECT_EQ(text.find("fgs-gateway: "), 0u) << text;
    ::close(master);
}

TEST_F(FgsGateway, FindsNothingWrongWithLineAndBroker)
{
    const Ended doctor = run({"--doctor", "--json", line.file});
    for (const char *name : {"file", "broker", "login", "publish", "will", "stations", "round trips"})
        EXPECT_TRUE(has(doctor.out, std::string(R"("check":")") + name + R"(","mark":"ok")")) << name << doctor.out;
    EXPECT_TRUE(has(doctor.out, R"({"doctor":{)"));
    EXPECT_TRUE(has(run({"--doctor", line.file}).out, "not checked  certificates"));
}

TEST(FgsGatewayFiles, AreCheckedForAllFaultsAtOnce)
{
    const Line line;
    const Ended good = run({"--check", line.file});
    EXPECT_EQ(good.code, 0) << good.log;
    EXPECT_TRUE(has(good.out, "tags: 2, groups: 1"));

    line.write("[[group]]\nname = \"cmd\"\ntag = [{ name = \"temp\", variable = \"99:1\" }]\n", "hots = 1\n");
    const Ended bad = run({"--check", line.file});
    EXPECT_EQ(bad.code, 2);
    EXPECT_EQ(bad.out, "");
    for (const char *part : {"hots", "cmd", "99"})
        EXPECT_TRUE(has(bad.log, part)) << part << bad.log;
}

TEST(FgsGatewayFiles, OfInitAreReadBack)
{
    const Line line;
    const Ended made = run({"--init", line.link});
    EXPECT_EQ(made.code, 0) << made.log;
    EXPECT_TRUE(has(made.out, "link = \"" + line.link + "\""));
    std::ofstream(line.file) << made.out;
    EXPECT_EQ(run({"--check", line.file}).code, 0);
    EXPECT_EQ(run({"--init", "tcp:nowhere"}).code, 2);
}

TEST(FgsGatewayFiles, ArePlannedAndTriedWithoutABroker)
{
    const Line line;
    const Ended plan = run({"--plan", line.file});
    EXPECT_EQ(plan.code, 0) << plan.log;
    EXPECT_TRUE(has(plan.out, "5:99x3@1"));
    EXPECT_EQ(run({"--plan", "--json", line.file}).out.find(R"({"plan":)"), 0u);

    const Ended test = run({"--test", line.file});
    EXPECT_EQ(test.code, 0) << test.log;
    EXPECT_TRUE(has(test.out, "fgs/press7/oven"));
    EXPECT_TRUE(has(test.out, R"("temp":20.1)")) << test.out;
    EXPECT_TRUE(has(run({"--test", "--json", line.file}).out, R"("topic":"fgs/press7/oven)"));
}

TEST(FgsGatewayFiles, OfALinkThatCannotBeOpenedAreNotTried)
{
    const Line line;
    const int closed = boundToLoopback(0);
    std::ofstream(line.file) << "link = \"tcp:127.0.0.1:" << portOf(closed)
                             << "\"\n[broker]\nhost = \"127.0.0.1\"\n"
                             << ovenGroup();
    const Ended test = run({"--test", line.file});
    EXPECT_EQ(test.code, 3);
    EXPECT_TRUE(has(test.log, "cannot open link"));
    ::close(closed);
}

/// The service manager starts it again after these, and after a fault of the file it does not.
TEST(FgsGatewayFiles, ThatNameMissingOnesAreNoFaultsOfTheFile)
{
    const Line line;
    for (const char *lines : {"user = \"a\"\npassword_file = \"/nowhere/p\"\n", "tls = { ca = \"/nowhere/ca\" }\n",
                              "user = \"a\"\npassword_credential = \"mqtt\"\n"}) {
        line.write(ovenGroup(), lines);
        EXPECT_EQ(run({"--check", line.file}).code, 0) << lines;
        const Ended ended = run({line.file});
        EXPECT_EQ(ended.code, 1) << lines;
        EXPECT_TRUE(has(ended.log, "cannot read")) << ended.log;
    }
}

TEST(FgsGatewayOptions, HaveTheirFaultsTold)
{
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{}, "the file is missing; fgs-gateway --init LINK"},
        {{"--check", "--plan", "x.toml"}, "exclude each other; choose one"},
        {{"--json", "x.toml"}, "--json goes with --plan, --test and --doctor only"},
        {{"--check", "--read-only", "x.toml"}, "--read-only is of a running gateway"},
        {{"--plan", "--trace", "x", "x.toml"}, "--trace is of a running gateway"},
        {{"--trace-limit", "10M", "x.toml"}, "--trace"},
        {{"--init", "/dev/ttyS0", "x.toml"}, "--init reads no file"},
        {{"--nonsense", "x.toml"}, "--nonsense"},
        {{"/nonexistent.toml"}, "/nonexistent.toml"}};
    for (const auto &[arguments, text] : cases) {
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.code, 2) << text;
        EXPECT_TRUE(has(ended.log, text)) << ended.log;
        EXPECT_EQ(ended.out, "");
    }
}

TEST(FgsGatewayOptions, AreHelpedWith)
{
    const Ended help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.out.find("Examples:"), 0u);
    for (const char *part : {"--doctor", "SIGHUP", "Exit code:"})
        EXPECT_TRUE(has(help.out, part)) << part;
    EXPECT_EQ(run({"--version"}).out.find("fgs-gateway "), 0u);
}

} // namespace
