// The reference host against the simulated controller, and alone on a line in virtual time.
#include "driver_under_test.h"
#include "host/host.h"
#include "operations.h"
#include "server.h"
#include "sim/controller.h"
#include "support/virtual_link.h"
#include "watch/line_trace.h"

#include <QtCore/QTemporaryDir>

namespace bench
{

namespace
{

/// The simulated controller in a process of its own.
struct ServedLink {
    ServedLink(const char *linkOption, const QString &linkText)
        : server(QStringLiteral("fgs-sim"),
                 {QLatin1String(linkOption), QStringLiteral("--log"), QStringLiteral("quiet")}),
          link(fgs::makeLink(linkText.arg(server.address())))
    {
        require(link->open(), "the link cannot be opened");
    }

    Server server;
    std::unique_ptr<fgs::Link> link;
};

/// A line in virtual time on which every answer comes at once and whole, so that counts do not depend on how the
/// system delivers it. What a request was answered with is kept: answering costs the same little each time.
class KnownAnswers : public VirtualLink
{
public:
    KnownAnswers() : controller({1}, fgssim::Memory(fgssim::Motion({1}, {}, fgssim::Values::Moving, 1)))
    {
        onSend = [this](const QByteArray &request) {
            QByteArray &answer = answers[request];
            if (answer.isEmpty())
                answer = answerTo(request);
            arrive(std::chrono::milliseconds(1), answer);
        };
    }

private:
    QByteArray answerTo(const QByteArray &request)
    {
        const auto reply =
            controller
                .handle({reinterpret_cast<const fgssim::Byte *>(request.constData()), std::size_t(request.size())})
                .reply;
        return {reinterpret_cast<const char *>(reply.data()), int(reply.size())};
    }

    fgssim::Controller controller;
    std::map<QByteArray, QByteArray> answers;
};

class Polling
{
public:
    Polling(fgs::Link &link, int blocks, int words) : host(fgs::linkedDriver(), link, {}, options(words))
    {
        std::vector<fgs::Variable> variables;
        for (int i = 0; i < blocks; ++i)
            variables.push_back({5, i * (words + 1), words, 1});
        host.poll(variables);
    }

    /// Everything on the line is recorded, as by `fgs --trace`.
    void recordTo(fgs::LineTrace &trace, const fgs::WallClock &clock)
    {
        host.setTrace([&trace, &clock](const fgs::TraceEntry &entry) { trace.record(entry, clock); });
    }

    void step()
    {
        const fgs::Step step = host.step();
        require(step.kind == fgs::Step::Exchanged && step.outcome == fgs::Outcome::Good,
                step.kind == fgs::Step::Exchanged ? fgs::nameOf(step.outcome) : "no link, or nothing to read");
    }

private:
    static fgs::HostOptions options(int words)
    {
        fgs::HostOptions options;
        options.blockWords = words;
        return options;
    }

    fgs::Host host;
};

struct ServedPolling {
    ServedPolling(const char *linkOption, const QString &linkText, int blocks, int words)
        : served(linkOption, linkText), polling(*served.link, blocks, words)
    {
    }

    ServedLink served;
    Polling polling;
};

struct LinePolling {
    LinePolling(int blocks, int words) : polling(link, blocks, words) {}

    KnownAnswers link;
    Polling polling;
};

struct TracedLinePolling : LinePolling {
    TracedLinePolling(int blocks, int words)
        : LinePolling(blocks, words), clock(link),
          trace({folder.filePath(QStringLiteral("trace")).toStdString()}, "bench", {"line", ""})
    {
        polling.recordTo(trace, clock);
    }

    const QTemporaryDir folder;
    const fgs::WallClock clock;
    fgs::LineTrace trace;
};

template <typename Kind, typename... Arguments>
Run poll(int blocks, int words, Arguments... arguments)
{
    startDriver(words); // empty queues
    const auto kept = std::make_shared<Kind>(arguments..., blocks, words);
    return repeat([kept] { kept->polling.step(); });
}

template <int Blocks, int Words>
Run pollTerminal()
{
    return poll<ServedPolling>(Blocks, Words, "--pty", QStringLiteral("%1:115200,8N1"));
}

template <int Blocks, int Words>
Run pollTcp()
{
    return poll<ServedPolling>(Blocks, Words, "--tcp=127.0.0.1:0", QStringLiteral("%1"));
}

template <int Blocks, int Words, typename Kind = LinePolling>
Run pollLine()
{
    return poll<Kind>(Blocks, Words);
}

} // namespace

Operations hostOperations()
{
    return {{"host-pty-6x10", 200, pollTerminal<6, 10>},
            {"host-pty-1x100", 200, pollTerminal<1, 100>},
            {"host-tcp-6x10", 200, pollTcp<6, 10>},
            {"host-tcp-1x100", 200, pollTcp<1, 100>},
            {"host-line-6x10", 2000, pollLine<6, 10>},
            {"host-line-1x100", 2000, pollLine<1, 100>},
            {"host-line-6x10-traced", 2000, pollLine<6, 10, TracedLinePolling>},
            {"host-line-1x100-traced", 2000, pollLine<1, 100, TracedLinePolling>}};
}

} // namespace bench
