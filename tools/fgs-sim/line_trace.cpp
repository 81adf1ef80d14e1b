#include "line_trace.h"

#include "log_times.h"

namespace fgssim
{

LineTrace::LineTrace(const formats::TraceSettings &settings) : recorder(settings, "fgs-sim " FGS_SIM_VERSION) {}

unsigned LineTrace::interfaceOf(const std::string &line)
{
    const auto found = interfaces.find(line);
    if (found != interfaces.end())
        return found->second;
    const std::string peer = line.substr(0, line.find(' '));
    const unsigned number = recorder.addInterface(line.empty() ? nameless : formats::Interface{"tcp:" + peer, ""});
    interfaces.emplace(line, number);
    return number;
}

void LineTrace::record(const TappedFrame &frame)
{
    const std::string_view bytes(reinterpret_cast<const char *>(frame.bytes.begin()), frame.bytes.size());
    recorder.record({interfaceOf(frame.line), sinceEpoch(frame.time).count(),
                     frame.isRequest ? formats::Direction::Inbound : formats::Direction::Outbound, bytes,
                     frame.what});
}

} // namespace fgssim
