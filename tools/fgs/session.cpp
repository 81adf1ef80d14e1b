#include "session.h"

#include "output.h"

#include <csignal>

namespace fgs
{

namespace
{

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int)
{
    interrupted = 1;
}

std::unique_ptr<Link> openLink(const std::string &text)
{
    std::unique_ptr<Link> link = makeLink(QString::fromStdString(text));
    if (!link->open())
        throw Failure(ExitLink, QStringLiteral("cannot open link '%1': %2; check the name, the cable and your "
                                               "permissions, and that no other program uses it")
                                    .arg(QString::fromStdString(text), link->error()));
    return link;
}

} // namespace

bool isInterrupted()
{
    return interrupted;
}

void watchForInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

Session::Session(const Options &given, const std::vector<Variable> &variables)
    : options(given), link(openLink(given.link)), host(linkedDriver(), *link, variables, given.host),
      start(link->now())
{
    if (options.trace)
        host.setTrace([this](const TraceEntry &entry) { traceFrame(entry); });
}

void Session::traceFrame(const TraceEntry &entry) const
{
    printMessage(QStringLiteral("%1 %2").arg(seconds(entry.time - start), describe(entry)));
}

Step Session::stepOn()
{
    const Step done = host.step();
    if (done.kind == Step::Idle)
        link->pauseUntil(link->now() + 10ms);
    return done;
}

Step Session::step()
{
    const Step step = stepOn();
    if (!link->isOpen())
        throw Failure(ExitLink, QStringLiteral("link '%1' was lost: %2; check the cable and run the command again")
                                    .arg(QString::fromStdString(options.link), link->error()));
    return step;
}

Session::~Session()
{
    if (options.quiet)
        return;
    if (options.json)
        printJson(summaryJson(host.statistics(), elapsed()));
    else
        printMessage(summaryText(host.statistics(), elapsed(), options.host.timing.timeout));
}

void Session::note(const QString &message) const
{
    if (!options.quiet)
        printMessage(QStringLiteral("fgs: ") + message);
}

ExitCode exitCodeOf(const Host &host, const std::vector<Variable> &variables)
{
    std::size_t known = 0, silent = 0;
    for (const Variable &variable : variables) {
        const Age age = host.ageOf(variable);
        const bool answered = age.outcome != Outcome::NoReply && age.outcome != Outcome::LinkLost;
        known += age.isKnown();
        silent += !age.isKnown() && (age.tried == Never || !answered);
    }
    if (known == variables.size())
        return ExitOk;
    return known ? ExitPartial : silent == variables.size() ? ExitNoReply : ExitBadReply;
}

} // namespace fgs
