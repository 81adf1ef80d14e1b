// What is on a line, as pcapng for Wireshark.
#ifndef FGS_WATCH_LINE_TRACE_H
#define FGS_WATCH_LINE_TRACE_H

#include "formats/recorder.h"
#include "host/trace.h"
#include "wall_clock.h"

namespace fgs
{

/// The link as the command line has it. Throws TextError if it is none.
formats::Interface interfaceOf(const QString &link);

/// One thread, the link's.
class LineTrace
{
public:
    /// The application names itself with its version. Throws std::runtime_error if the trace cannot be written.
    LineTrace(const formats::TraceSettings &settings, const std::string &application,
              const formats::Interface &line);

    /// What comes from now on was on this line, whose clock may be another.
    void changeLine(const formats::Interface &line);
    void record(const TraceEntry &entry, const WallClock &clock);
    /// Once, as soon as it has ended early: in words why, and what to do. Otherwise empty.
    QString news() { return QString::fromStdString(recorder.news()); }
    /// In words what is wrong with the trace, and what to do; empty if nothing. Nothing is recorded any more.
    QString end() { return QString::fromStdString(recorder.end()); }

private:
    std::chrono::nanoseconds sinceEpoch(Time when, const WallClock &clock);

    formats::Recorder recorder;
    unsigned interface = 0;
    std::chrono::nanoseconds epoch{0}; ///< of the link's clock, as it was found last
    Time nextLook{0};                  ///< when it is looked at again
};

} // namespace fgs

#endif
