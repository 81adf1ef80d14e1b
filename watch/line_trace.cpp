#include "line_trace.h"

#include "host/devices.h"

namespace fgs
{

namespace
{

std::string settingsOf(const SerialAddress &address)
{
    return std::to_string(address.baud) + "," + std::to_string(address.dataBits) + address.parity +
           std::to_string(address.stopBits);
}

const char *commentOf(const TraceEntry &entry)
{
    if (entry.event == TraceEntry::Sent)
        return "";
    return entry.event == TraceEntry::Stray ? "thrown away: came without a question" : nameOf(entry.outcome);
}

} // namespace

formats::Interface interfaceOf(const QString &link)
{
    const std::variant<SerialAddress, TcpAddress> address = parseLink(link);
    const auto *const serial = std::get_if<SerialAddress>(&address);
    return serial ? formats::Interface{serial->device.toStdString(), settingsOf(*serial)}
                  : formats::Interface{link.toStdString(), ""};
}

LineTrace::LineTrace(const formats::TraceSettings &settings, const std::string &application,
                     const formats::Interface &line)
try : recorder(settings, application), interface(recorder.addInterface(line)) {
} catch (const formats::TraceError &error) {
    throw std::runtime_error("the trace '" + settings.path + "' " + error.what());
}

void LineTrace::changeLine(const formats::Interface &line)
{
    interface = recorder.addInterface(line);
    nextLook = Time(0);
}

/// Two clocks are not read for each frame.
std::chrono::nanoseconds LineTrace::sinceEpoch(Time when, const WallClock &clock)
{
    if (when >= nextLook) {
        epoch = clock.sinceEpoch(when) - when;
        nextLook = when + std::chrono::milliseconds(100);
    }
    return epoch + when;
}

/// The answer to a broadcast, which is none, leaves nothing.
void LineTrace::record(const TraceEntry &entry, const WallClock &clock)
{
    if (entry.bytes.size == 0 && entry.outcome == Outcome::Good)
        return;
    const std::string_view bytes(entry.bytes.bytes, static_cast<std::size_t>(entry.bytes.size));
    recorder.record({interface, sinceEpoch(entry.time, clock).count(),
                     entry.event == TraceEntry::Sent ? formats::Direction::Outbound : formats::Direction::Inbound,
                     bytes, commentOf(entry)});
}

} // namespace fgs
