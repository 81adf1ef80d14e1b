#include "commands.h"
#include "display.h"
#include "session.h"

#include <unistd.h>

namespace fgs
{

namespace
{

/// Counts how often every variable was asked for. A variable of a resting station counts as asked.
class Rounds
{
public:
    Rounds(const Host &theHost, const std::vector<Variable> &theVariables, Time now)
        : host(theHost), variables(theVariables), started(now)
    {
    }

    /// Whether a round has just ended; the next one has begun.
    bool endsAt(Time now)
    {
        while (next < variables.size() && isServed(variables[next]))
            ++next;
        if (next < variables.size())
            return false;
        next = 0;
        lastStart = started;
        started = now;
        ++count;
        return true;
    }

    /// Puts the start of the round that begins off.
    void startAt(Time time) { started = time; }

    int count = 0;
    Time lastStart{0};

private:
    bool isServed(const Variable &variable) const
    {
        return host.ageOf(variable).tried > started || host.rests(variable.station);
    }

    const Host &host;
    const std::vector<Variable> &variables;
    Time started;
    std::size_t next = 0; ///< the first one that may not have been asked for
};

class PollLoop
{
public:
    PollLoop(Session &theSession, const std::vector<Variable> &theVariables, std::unique_ptr<Display> theDisplay)
        : session(theSession), options(theSession.options), variables(theVariables), display(std::move(theDisplay)),
          rounds(theSession.host, theVariables, theSession.link->now())
    {
    }

    void run()
    {
        session.host.poll(variables);
        while (!isOver()) {
            session.stepOn();
            tellOfLink();
            const bool roundEnds = rounds.endsAt(session.link->now());
            if (session.link->now() >= shownAt + display->pause())
                show();
            if (roundEnds && !isOver())
                pauseBetweenRounds();
        }
        show();
    }

private:
    bool isOver() const
    {
        return isInterrupted() || stdoutClosed || (options.cycles && rounds.count >= options.cycles) ||
               (options.seconds > 0 && session.elapsed() >= std::chrono::duration<double>(options.seconds));
    }

    void tellOfLink()
    {
        const bool open = session.link->isOpen();
        if (open == wasOpen)
            return;
        wasOpen = open;
        if (!options.quiet)
            display->remark(
                open ? QStringLiteral("link open again")
                     : QStringLiteral("link lost: %1; trying to open it again").arg(session.link->error()));
    }

    void show()
    {
        std::vector<Row> rows;
        for (const Variable &variable : variables)
            rows.push_back(rowOf(session.host, variable));
        display->show(rows, session.host, session.elapsed(), session.link->now());
        stdoutClosed = flushOutput() != 0;
        shownAt = session.link->now();
    }

    void pauseBetweenRounds()
    {
        const Time end = rounds.lastStart + options.interval;
        for (Time now = session.link->now(); now < end && !isOver(); now = session.link->now())
            session.link->pauseUntil(std::min(end, now + 100ms));
        rounds.startAt(session.link->now());
    }

    Session &session;
    const Options &options;
    const std::vector<Variable> &variables;
    const std::unique_ptr<Display> display;
    Rounds rounds;
    Time shownAt{0};
    bool wasOpen = true;
    bool stdoutClosed = false;
};

/// A table needs a terminal that can redraw, and frames that are not traced in between.
std::unique_ptr<Display> makeDisplay(const Options &options)
{
    const bool table = isatty(STDOUT_FILENO) && qgetenv("TERM") != "dumb" && !options.json && !options.trace;
    return table ? makeTable(options.format) : makeLines(options.format, options.json);
}

} // namespace

ExitCode pollCommand(const Options &options)
{
    const std::vector<Variable> variables = readableVariables(options);
    Session session(options, variables);
    PollLoop(session, variables, makeDisplay(options)).run();
    return isInterrupted() ? ExitInterrupted : exitCodeOf(session.host, variables);
}

} // namespace fgs
