// What an HTTP server without threads answers: to callers of every kind, and to a real Prometheus.
#include "gateway/http_server.h"
#include "gateway/metrics.h"
#include "host/text_error.h"
#include "support/loopback.h"
#include "support/process.h"
#include "support/temporary_folder.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <poll.h>
#include <unistd.h>

using namespace fgs;

namespace
{

class Caller
{
public:
    explicit Caller(int port) : socket(callLoopback(port, SOCK_NONBLOCK)) {}
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;
    ~Caller() { ::close(socket); }

    /// Once the connection is there, as much as it takes.
    bool trySend(std::string &text)
    {
        const ssize_t size = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
        if (size > 0)
            text.erase(0, std::size_t(size));
        return size > 0;
    }
    void receive()
    {
        char bytes[65536];
        for (ssize_t size = 0; !hasEnded && (size = ::recv(socket, bytes, sizeof bytes, 0)) != -1;) {
            received.append(bytes, std::size_t(size));
            hasEnded = size == 0;
        }
        hasEnded = hasEnded || errno == ECONNRESET;
    }

    std::string received;
    bool hasEnded = false;

private:
    const int socket;
};

class HttpServerTest : public ::testing::Test
{
protected:
    static HttpReply reply(const std::string &path)
    {
        if (path == "/metrics")
            return {200, "text/plain; version=0.0.4", "fgs_up 1\n"};
        if (path == "/large")
            return {200, "text/plain", std::string(3000000, 'x')};
        if (path == "/throws")
            throw std::runtime_error("no figures");
        return {404, "text/plain", "not found\n"};
    }

    /// A turn of the loop that the server lives in.
    static void step(HttpServer &which)
    {
        pollfd wanted = {which.descriptor(), POLLIN, 0};
        const auto wait = std::min(which.longestWait(), std::chrono::milliseconds(10));
        ::poll(&wanted, 1, int(wait.count()));
        which.step();
    }
    static void send(HttpServer &which, Caller &caller, std::string text)
    {
        while (!text.empty()) {
            if (!caller.trySend(text))
                step(which);
        }
    }
    /// Until the caller has this, or the connection has ended.
    static void waitFor(HttpServer &which, Caller &caller, const std::string &end)
    {
        while (!caller.hasEnded && caller.received.find(end) == std::string::npos) {
            step(which);
            caller.receive();
        }
    }
    /// All that comes up to the end of the connection.
    std::string answerTo(const std::string &request)
    {
        Caller caller(server.port());
        send(server, caller, request);
        while (!caller.hasEnded) {
            step(server);
            caller.receive();
        }
        return caller.received;
    }
    static std::string request(const std::string &method, const std::string &path)
    {
        return method + " " + path + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n";
    }

    HttpServer server{"127.0.0.1", 0, reply, std::chrono::seconds(1)};
};

void expectPart(const std::string &text, const std::string &part)
{
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

TEST_F(HttpServerTest, AnswersGet)
{
    const std::string answer = answerTo(request("GET", "/metrics?x=1"));
    EXPECT_EQ(answer.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << answer;
    expectPart(answer, "\r\nContent-Type: text/plain; version=0.0.4\r\n");
    expectPart(answer, "\r\nContent-Length: 9\r\n");
    expectPart(answer, "\r\n\r\nfgs_up 1\n");
}

TEST_F(HttpServerTest, AnswersHeadWithoutABody)
{
    const std::string answer = answerTo(request("HEAD", "/metrics"));
    EXPECT_EQ(answer.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << answer;
    expectPart(answer, "\r\nContent-Length: 9\r\n");
    EXPECT_EQ(answer.find("fgs_up"), std::string::npos);
}

TEST_F(HttpServerTest, RefusesOtherMethodsAndNamesThoseThereAre)
{
    for (const char *method : {"PUT", "DELETE", "OPTIONS", "BREW"}) {
        const std::string answer = answerTo(request(method, "/metrics"));
        EXPECT_EQ(answer.rfind("HTTP/1.1 405 ", 0), 0u) << answer;
        expectPart(answer, "\r\nAllow: GET, HEAD\r\n");
    }
    const std::string post = answerTo("POST /metrics HTTP/1.1\r\nHost: x\r\nContent-Length: 100000\r\n\r\nxxx");
    EXPECT_EQ(post.rfind("HTTP/1.1 405 ", 0), 0u) << post;
}

TEST_F(HttpServerTest, PassesOnWhatTheHandlerSays)
{
    EXPECT_EQ(answerTo(request("GET", "/else")).rfind("HTTP/1.1 404 ", 0), 0u);
    const std::string answer = answerTo(request("GET", "/throws"));
    EXPECT_EQ(answer.rfind("HTTP/1.1 500 ", 0), 0u) << answer;
    expectPart(answer, "no figures");
}

TEST_F(HttpServerTest, SendsMoreThanASocketTakesAtOnce)
{
    const std::string answer = answerTo(request("GET", "/large"));
    EXPECT_EQ(answer.size() - answer.find("\r\n\r\n") - 4, 3000000u);
}

TEST_F(HttpServerTest, ServesTwoAtOnceAndAgainOnTheSameConnection)
{
    const std::string kept = "GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n";
    Caller one(server.port()), two(server.port());
    send(server, one, kept.substr(0, 20));
    for (int i = 0; i < 2; ++i) {
        send(server, two, kept);
        waitFor(server, two, "fgs_up 1\n");
        EXPECT_EQ(two.received.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << two.received;
        two.received.clear();
    }
    send(server, one, kept.substr(20));
    waitFor(server, one, "fgs_up 1\n");
    expectPart(one.received, "fgs_up 1\n");
}

TEST_F(HttpServerTest, TakesARequestByteByByte)
{
    Caller caller(server.port());
    for (char byte : request("GET", "/metrics")) {
        send(server, caller, std::string(1, byte));
        step(server);
    }
    waitFor(server, caller, "fgs_up 1\n");
    expectPart(caller.received, "fgs_up 1\n");
}

TEST_F(HttpServerTest, ClosesAConnectionOnWhichNothingHappens)
{
    Caller silent(server.port()), slow(server.port());
    send(server, slow, "GET /met");
    while (!silent.hasEnded || !slow.hasEnded) {
        step(server);
        silent.receive();
        slow.receive();
    }
    EXPECT_EQ(silent.received, "");
}

TEST_F(HttpServerTest, MoreThanTheLimitWaitUntilThereIsRoom)
{
    HttpServer patient("127.0.0.1", 0, reply, std::chrono::seconds(1000));
    std::vector<std::unique_ptr<Caller>> callers;
    for (int i = 0; i < 32; ++i) {
        callers.push_back(std::make_unique<Caller>(patient.port()));
        send(patient, *callers.back(), "GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n");
        waitFor(patient, *callers.back(), "fgs_up 1\n");
    }
    Caller late(patient.port());
    std::string text = request("GET", "/metrics");
    for (int i = 0; i < 100; ++i) {
        if (!text.empty())
            late.trySend(text);
        step(patient);
        late.receive();
    }
    EXPECT_EQ(late.received, "") << "there is no limit";
    callers.pop_back();
    while (!late.hasEnded) {
        if (!text.empty())
            late.trySend(text);
        step(patient);
        late.receive();
    }
    expectPart(late.received, "fgs_up 1\n");
}

TEST_F(HttpServerTest, OutlivesGarbage)
{
    std::string noise;
    for (int i = 0; i < 3000; ++i)
        noise += char(i * 7 + i / 256);
    const std::string bad[] = {"\r\n\r\n\r\n",
                               "GET\r\n\r\n",
                               noise + "\r\n\r\n",
                               std::string(5000, '\0') + "\r\n\r\n",
                               "GET /" + std::string(100000, 'a') + " HTTP/1.1\r\n\r\n",
                               "GET /metrics HTTP/1.1\r\nX: " + std::string(100000, 'a') + "\r\n\r\n"};
    for (const std::string &request : bad) {
        Caller caller(server.port());
        std::string text = request;
        while (!caller.hasEnded) { // answered with an error, closed, or closed after the silence
            if (!text.empty())
                caller.trySend(text);
            step(server);
            caller.receive();
        }
        EXPECT_EQ(caller.received.find("HTTP/1.1 200"), std::string::npos);
    }
    expectPart(answerTo(request("GET", "/metrics")), "fgs_up 1\n");
}

TEST_F(HttpServerTest, SaysWhyItCannotListen)
{
    const auto told = [](const std::string &address, int port) -> std::string {
        try {
            HttpServer(address, port, reply);
            return "it listens";
        } catch (const TextError &error) {
            return error.what();
        }
    };
    EXPECT_EQ(told("127.0.0.1", server.port()),
              "HTTP cannot listen on 127.0.0.1:" + std::to_string(server.port()) +
                  ": Address already in use; choose another port in [http] listen, or end the program that has it");
    EXPECT_EQ(told("192.0.2.1", 0), "HTTP cannot listen on 192.0.2.1:0: Cannot assign requested address; choose an "
                                    "address of this machine in [http] listen");
    expectPart(told("300.1.1.1", 0), "choose an address of this machine in [http] listen");
}

TEST_F(HttpServerTest, IsScrapedByPrometheus)
{
    const std::string program = std::string(TARN_SERVERS) + "/usr/bin/prometheus";
    if (!std::filesystem::exists(program) || !std::string(TARN_EMULATOR).empty())
        GTEST_SKIP() << "there is no " << program << " for this machine";
    GatewayFigures figures;
    figures.line.isUp = true;
    figures.line.statistics.outcomes[std::size_t(Outcome::BadCheck)] = 4711;
    HttpServer gateway("127.0.0.1", 0, [&](const std::string &path) {
        return path == "/metrics" ? HttpReply{200, "text/plain; version=0.0.4", metricsText(figures)}
                                  : reply("/else");
    });
    TemporaryFolder folder;
    std::ofstream(folder.path / "prometheus.yml")
        << "global:\n  scrape_interval: 1s\nscrape_configs:\n  - job_name: gateway\n    static_configs:\n"
        << "      - targets: ['127.0.0.1:" << gateway.port() << "']\n";
    const int reserved = boundToLoopback(0); // it listens there all the same
    const int port = portOf(reserved);
    Process prometheus(program, {"--config.file=" + (folder.path / "prometheus.yml").string(),
                                 "--storage.tsdb.path=" + (folder.path / "data").string(),
                                 "--web.listen-address=127.0.0.1:" + std::to_string(port)});
    const std::string query = "GET /api/v1/query?query=fgs_request_failures_total%7Boutcome=%22badCheck%22%7D "
                              "HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n";
    nlohmann::json result;
    while (result.empty()) {
        Caller caller(port);
        std::string text = query;
        while (!caller.hasEnded) {
            if (!text.empty() && !caller.trySend(text) && errno == ECONNREFUSED)
                break;
            step(gateway);
            caller.receive();
        }
        step(gateway);
        const std::size_t body = caller.received.find('{');
        if (body != std::string::npos)
            result = nlohmann::json::parse(caller.received.substr(body), nullptr, false)["data"]["result"];
    }
    EXPECT_EQ(result[0]["value"][1], "4711");
    EXPECT_EQ(result[0]["metric"]["job"], "gateway");
    prometheus.signal(SIGTERM);
    EXPECT_EQ(prometheus.wait(), 0);
    ::close(reserved);
}

} // namespace
