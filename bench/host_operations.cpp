// The reference host against the simulated controller.
#include "driver_under_test.h"
#include "host/host.h"
#include "operations.h"
#include "server.h"
#include "tools/fgs/line_trace.h"

#include <QtCore/QTemporaryDir>

namespace bench
{

namespace
{

struct Polling {
    Polling(const char *linkOption, const QString &linkText, int blocks, int words)
        : server(QStringLiteral("fgs-sim"),
                 {QLatin1String(linkOption), QStringLiteral("--log"), QStringLiteral("quiet")}),
          link(fgs::makeLink(linkText.arg(server.address()))), host(fgs::linkedDriver(), *link, {}, options(words))
    {
        require(link->open(), "the link cannot be opened");
        std::vector<fgs::Variable> variables;
        for (int i = 0; i < blocks; ++i)
            variables.push_back({5, i * (words + 1), words, 1});
        host.poll(variables);
    }

    static fgs::HostOptions options(int words)
    {
        fgs::HostOptions options;
        options.blockWords = words;
        return options;
    }

    Server server;
    std::unique_ptr<fgs::Link> link;
    fgs::Host host;
};

/// The same with everything on the line recorded, as by `fgs --trace`.
struct TracedPolling : Polling {
    TracedPolling(const char *linkOption, const QString &linkText, int blocks, int words)
        : Polling(linkOption, linkText, blocks, words), clock(*link),
          trace({folder.filePath(QStringLiteral("trace")).toStdString()}, {"line", ""})
    {
        host.setTrace([this](const fgs::TraceEntry &entry) { trace.record(entry, clock); });
    }

    const QTemporaryDir folder;
    const fgs::WallClock clock;
    fgs::LineTrace trace;
};

template <typename Kind = Polling>
Run poll(const char *linkOption, const QString &linkText, int blocks, int words)
{
    startDriver(words); // empty queues
    const auto polling = std::make_shared<Kind>(linkOption, linkText, blocks, words);
    return repeat([polling] {
        const fgs::Step step = polling->host.step();
        require(step.kind == fgs::Step::Exchanged && step.outcome == fgs::Outcome::Good,
                step.kind == fgs::Step::Exchanged ? fgs::nameOf(step.outcome) : "no link, or nothing to read");
    });
}

template <int Blocks, int Words, typename Kind = Polling>
Run pollTerminal()
{
    return poll<Kind>("--pty", QStringLiteral("%1:115200,8N1"), Blocks, Words);
}

template <int Blocks, int Words>
Run pollTcp()
{
    return poll("--tcp=127.0.0.1:0", QStringLiteral("%1"), Blocks, Words);
}

} // namespace

Operations hostOperations()
{
    return {{"host-pty-6x10", 200, pollTerminal<6, 10>},
            {"host-pty-1x100", 200, pollTerminal<1, 100>},
            {"host-pty-6x10-traced", 200, pollTerminal<6, 10, TracedPolling>},
            {"host-pty-1x100-traced", 200, pollTerminal<1, 100, TracedPolling>},
            {"host-tcp-6x10", 200, pollTcp<6, 10>},
            {"host-tcp-1x100", 200, pollTcp<1, 100>}};
}

} // namespace bench
