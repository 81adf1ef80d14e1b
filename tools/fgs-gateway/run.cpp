#include "commands.h"
#include "gateway/network.h"
#include "gateway/settings_difference.h"
#include "host/text_error.h"
#include "line_thread.h"
#include "service.h"
#include "tools/console.h"
#include "tools/failure.h"

#include <mutex>

namespace fgs
{

namespace
{

const milliseconds LongestStep{1000}, FarewellLimit{2000};

/// What other threads have to tell people.
class Notices
{
public:
    explicit Notices(Bell &theBell) : bell(theBell) {}

    void add(const std::string &text)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        texts.push_back(text);
        bell.ring();
    }
    std::vector<std::string> take()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(texts, {});
    }

private:
    Bell &bell;
    std::mutex mutex;
    std::vector<std::string> texts;
};

void tell(const std::string &text)
{
    printMessage(QStringLiteral("fgs-gateway: ") + QString::fromStdString(text));
}

std::unique_ptr<LineTrace> openTrace(const Options &options, const GatewaySettings &settings)
{
    if (!options.trace.isWanted())
        return nullptr;
    return std::make_unique<LineTrace>(options.trace, "fgs-gateway " FGS_VERSION, interfaceOf(settings.link));
}

std::string statusOf(const LineState &line, bool isBrokerUp)
{
    const std::string why = line.error.empty() ? "" : " (" + line.error + ")";
    return (line.isUp ? "line up" : "line down" + why) + (isBrokerUp ? ", broker up" : ", broker down");
}

std::shared_ptr<const GatewaySettings> readSettings(const Options &options)
{
    return std::make_shared<const GatewaySettings>(readGatewaySettings(QString::fromStdString(options.file)));
}

/// A gateway from its start to its end, on the main thread.
class Gateway
{
public:
    using Settings = std::shared_ptr<const GatewaySettings>;

    /// Throws TextError if the settings name files that cannot be read.
    Gateway(const Options &theOptions, Settings theSettings, const Stop &theStop, Bell &theBell,
            Signals &theSignals);

    int run();

private:
    void startLine();
    void step();
    void reload();
    void apply(const Settings &next);
    void tellStatus();
    void alive();
    int end();

    const Options &options;
    const Stop &stop;
    Bell &bell;
    Signals &signalled;
    Notices notices{bell};
    Service service{Service::ofEnvironment()};
    std::atomic<bool> hasFailed{false}; ///< the line's thread
    bool wasAlive = false;              ///< that thread's, like the trace
    Settings settings;
    const std::unique_ptr<LineTrace> trace;
    Mailbox mailbox;
    OrderDesk orders;
    Network network;
    std::unique_ptr<LineThread> line;
    std::string status;
};

Gateway::Gateway(const Options &theOptions, Settings theSettings, const Stop &theStop, Bell &theBell,
                 Signals &theSignals)
    : options(theOptions), stop(theStop), bell(theBell), signalled(theSignals), settings(std::move(theSettings)),
      trace(openTrace(theOptions, *settings)), network(*settings, {mailbox, orders, tell, theOptions.readOnly})
{
}

void Gateway::startLine()
{
    line = std::make_unique<LineThread>(
        settings, LineThread::Wiring{mailbox, orders, trace.get(), options.readOnly, [this] { alive(); },
                                     [this](const std::string &text) { notices.add(text); },
                                     [this](const std::string &why) {
                                         hasFailed = true;
                                         notices.add("the line's thread has ended: " + why);
                                     }});
}

/// On the line's thread.
void Gateway::alive()
{
    if (!std::exchange(wasAlive, true))
        service.ready();
    service.feed();
}

void Gateway::step()
{
    network.step(LongestStep, bell.descriptor());
    bell.hush();
    for (const std::string &notice : notices.take())
        tell(notice);
    if (signalled.takeWishToReload())
        reload();
    tellStatus();
}

void Gateway::reload()
{
    service.reloading();
    try {
        apply(readSettings(options));
        tell("'" + options.file + "' was read again and applies");
    } catch (const TextError &error) {
        tell("'" + options.file + "' is refused, what was goes on:\n" + error.what());
    }
    service.ready();
}

void Gateway::apply(const Settings &next)
{
    const bool isOtherLine = differenceOf(*settings, *next).line;
    if (isOtherLine)
        line.reset();
    try {
        network.apply(*next);
        settings = next;
    } catch (const TextError &) {
        if (isOtherLine)
            startLine();
        throw;
    }
    if (isOtherLine && trace)
        trace->changeLine(interfaceOf(settings->link));
    if (isOtherLine)
        startLine();
}

void Gateway::tellStatus()
{
    const std::string now = statusOf(*mailbox.sharedState(), network.isBrokerUp());
    if (now != status && service.status(now))
        status = now;
}

int Gateway::end()
{
    service.stopping();
    line.reset();
    network.end(FarewellLimit);
    for (const std::string &notice : notices.take())
        tell(notice);
    const QString problem = trace ? trace->end() : QString();
    if (!problem.isEmpty())
        tell(problem.toStdString());
    return hasFailed || !problem.isEmpty() ? ExitOther : ExitOk;
}

int Gateway::run()
{
    startLine();
    while (!stop.isRequested() && !hasFailed)
        step();
    return end();
}

} // namespace

/// Faults of the file end with ExitUsage: a service is not started again before they are mended. What the file
/// names may come by itself.
int runCommand(const Options &options, const Stop &stop, Bell &bell, Signals &signalled)
{
    const Gateway::Settings settings = readSettings(options);
    try {
        return Gateway(options, settings, stop, bell, signalled).run();
    } catch (const TextError &error) {
        throw Failure(ExitOther, QString::fromUtf8(error.what()));
    }
}

} // namespace fgs
