// What all commands share: the open link, the host on it, the way to print, and the end.
#ifndef FGS_TOOL_SESSION_H
#define FGS_TOOL_SESSION_H

#include "options.h"
#include "output.h"
#include "tools/console.h"
#include "tools/reading_codes.h"
#include "watch/json.h"
#include "watch/line_trace.h"

#include <functional>

namespace fgs
{

class Session
{
public:
    /// Opens the link, unless the stop comes first. Throws TextError, or Failure if it cannot be opened. The stop
    /// outlives the session.
    Session(const Options &theOptions, const std::vector<Variable> &variables, Stop &stop);

    const Options &options;

private:
    const std::unique_ptr<LineTrace> trace; ///< null: none is wanted

public:
    const std::unique_ptr<Link> link;
    Host host;
    const WallClock clock;
    const Time start;

    /// Where messages go while it runs; otherwise to stderr.
    void tellBy(std::function<void(const QString &)> teller) { tell = std::move(teller); }

    TextStyle textStyle() const { return {options.format, clock, options.host.timing.timeout, start, isRemote()}; }

    /// Whether stderr has room for it.
    bool showsProgress() const { return !options.quiet && !options.frames; }

    /// A row to stdout, as text or as JSON.
    template <typename... Content>
    void print(const Content &...content) const
    {
        if (options.json)
            printLine(lineOf(jsonOf(content..., jsonStyle(), link->now())));
        else
            printLine(rowText(content..., textStyle(), link->now()));
    }

    /// Prints why it ended, if not as asked, and the summary. Returns the exit code: the given one, unless the end
    /// was a signal, the link is lost or the trace is not whole.
    int end(int code) const;

private:
    JsonStyle jsonStyle() const { return {options.format, clock, start, options.host.timing.timeout, isRemote()}; }
    bool isRemote() const { return options.host.remoteLink.has_value(); }
    void warn(const LineEvent &event) const;
    void noteFrame(const TraceEntry &entry) const;
    bool endTrace() const;
    void tellRoundTrips() const;

    std::function<void(const QString &)> tell = printMessage;
};

} // namespace fgs

#endif
