#include "session.h"

#include "signals.h"
#include "watch/line_event_text.h"

#include <cstdio>

namespace fgs
{

namespace
{

std::unique_ptr<Link> openLink(const Options &options, Stop &stop)
{
    const QString text = QString::fromStdString(options.link);
    std::unique_ptr<Link> link = makeLink(text);
    const Time end =
        options.seconds > 0
            ? link->now() + std::chrono::duration_cast<Time>(std::chrono::duration<double>(options.seconds))
            : Time::max();
    link->endBy(&stop, end);
    if (!link->open() && !stoppingSignal())
        throw Failure(ExitLink, QStringLiteral("cannot open link '%1': %2").arg(text, link->error()));
    return link;
}

/// Opened first: a trace that cannot be written stops the program before a byte is sent.
std::unique_ptr<LineTrace> openTrace(const Options &options)
{
    if (!options.trace.isWanted())
        return nullptr;
    if (options.trace.isToStdout())
        printDataTo(stderr);
    return std::make_unique<LineTrace>(options.trace, "fgs " FGS_VERSION,
                                       interfaceOf(QString::fromStdString(options.link)));
}

} // namespace

Session::Session(const Options &theOptions, const std::vector<Variable> &variables, Stop &stop)
    : options(theOptions), trace(openTrace(theOptions)), link(openLink(theOptions, stop)),
      host(linkedDriver(), *link, variables, theOptions.host), clock(*link), start(link->now())
{
    host.setEvents([this](const LineEvent &event) { warn(event); });
    if (options.frames || trace)
        host.setTrace([this](const TraceEntry &entry) { noteFrame(entry); });
}

void Session::noteFrame(const TraceEntry &entry) const
{
    if (trace) {
        trace->record(entry, clock);
        if (const QString news = trace->news(); !news.isEmpty())
            tell(QStringLiteral("fgs: ") + news);
    }
    if (options.frames)
        printMessage(
            QStringLiteral("%1 %2 %3").arg(clock.text(entry.time), seconds(entry.time - start), describe(entry)));
}

/// False: something is missing in it, and has been told.
bool Session::endTrace() const
{
    const QString problem = trace ? trace->end() : QString();
    if (!problem.isEmpty())
        printMessage(QStringLiteral("fgs: ") + problem);
    return problem.isEmpty();
}

/// Of what makes values doubtful; the rest is told by the rows. A display of its own takes the events over.
void Session::warn(const LineEvent &event) const
{
    if (event.kind != LineEvent::UnaskedAnswers)
        return;
    if (options.json)
        printLine(lineOf(jsonOf(event, jsonStyle())));
    else if (!options.quiet)
        printMessage(QStringLiteral("fgs: ") + textOf(event));
}

void Session::tellRoundTrips() const
{
    const RoundTrips &times = host.statistics().roundTrips;
    if (times.count() && (options.stats || !options.quiet))
        printMessage((options.stats ? histogramText : roundTripsText)(times, options.host.timing.timeout));
}

int Session::end(int code) const
{
    flushOutput(); // the rows come before what is said of them
    const int number = stoppingSignal();
    const bool isLost = !link->isOpen() && (host.statistics().linkLost || !number);
    if (isLost)
        printMessage(
            QStringLiteral("fgs: link '%1' is lost: %2").arg(QString::fromStdString(options.link), link->error()));
    if (options.json && !options.quiet)
        printLine(lineOf(jsonOf(host.statistics(), jsonStyle(), link->now())));
    else if (!options.quiet)
        printMessage(summaryText(host.statistics(), textStyle(), link->now()));
    if (!options.json)
        tellRoundTrips();
    const bool isTraced = endTrace();
    return number ? ExitSignal + number : isLost ? ExitLink : code == ExitOk && !isTraced ? ExitOther : code;
}

} // namespace fgs
