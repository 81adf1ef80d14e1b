// What all commands share: the open link, the host on it, interruption and the summary.
#ifndef FGS_TOOL_SESSION_H
#define FGS_TOOL_SESSION_H

#include "failure.h"
#include "options.h"

namespace fgs
{

class Session
{
public:
    /// Opens the link. Throws TextError, or Failure if the link cannot be opened.
    Session(const Options &options, const std::vector<Variable> &variables);
    /// Prints the summary.
    ~Session();

    const Options &options;
    const std::unique_ptr<Link> link;
    Host host;

    /// One step of the host; waits a little when there is nothing to send. Throws Failure when the link is lost.
    Step step();
    /// The same, but a lost link is opened again as soon as it can be.
    Step stepOn();

    /// Time since the start.
    Time elapsed() const { return link->now() - start; }
    /// To stderr, unless the user wants none.
    void note(const QString &message) const;

private:
    void traceFrame(const TraceEntry &entry) const;

    const Time start;
};

/// Whether Ctrl-C was pressed, or the program asked to end. A second Ctrl-C ends it at once.
bool isInterrupted();
void watchForInterrupts();

/// Ok if every variable has a value; otherwise what the reasons of those that have none amount to.
ExitCode exitCodeOf(const Host &host, const std::vector<Variable> &variables);

} // namespace fgs

#endif
