// --trace: what passes the simulator's lines, as pcapng for Wireshark.
#ifndef FGS_SIM_LINE_TRACE_H
#define FGS_SIM_LINE_TRACE_H

#include "formats/recorder.h"
#include "sim/conversation.h"

#include <map>

namespace fgssim
{

/// Each line is an interface, from its first frame on.
class LineTrace
{
public:
    /// Throws formats::TraceError if it cannot be written.
    explicit LineTrace(const formats::TraceSettings &settings);

    /// What the line of a conversation without a name is; the others are TCP connections.
    void nameLine(const formats::Interface &interface) { nameless = interface; }
    void record(const TappedFrame &frame);
    /// Once, as soon as it has ended early: in words why, and what to do. Otherwise empty.
    std::string news() { return recorder.news(); }
    /// In words what is wrong with the trace, and what to do; empty if nothing. Nothing is recorded any more.
    std::string end() { return recorder.end(); }

private:
    unsigned interfaceOf(const std::string &line);

    formats::Recorder recorder;
    formats::Interface nameless;
    std::map<std::string, unsigned> interfaces;
};

} // namespace fgssim

#endif
