#include "line_event_text.h"

namespace fgs
{

QString textOf(const LineEvent &event)
{
    switch (event.kind) {
    case LineEvent::LinkLost:
        return (event.wasOpen ? QStringLiteral("link lost: %1 (all values are stale; trying to open it again)")
                              : QStringLiteral("cannot open link: %1 (it is tried again)"))
            .arg(event.text);
    case LineEvent::LinkOpen:
        return event.wasOpen ? QStringLiteral("link open again") : QStringLiteral("link open");
    case LineEvent::StationDown:
        return QStringLiteral("station %1 does not answer").arg(event.station);
    case LineEvent::StationUp:
        return QStringLiteral("station %1 answers again").arg(event.station);
    case LineEvent::UnaskedAnswers:
        return QStringLiteral(
            "bytes arrive that nobody asked for: answers may be doubled, and values may belong to "
            "the request before; they are read again after a longer silence");
    case LineEvent::PlaceSilent:
        return QStringLiteral("%1 does not answer; its neighbours do; left out").arg(textOf(event.place));
    case LineEvent::PlaceBack:
        return QStringLiteral("%1 answers again").arg(textOf(event.place));
    case LineEvent::GapSilent:
        break;
    }
    return QStringLiteral("the gap %1 between variables does not answer; it is no longer read")
        .arg(textOf(event.place));
}

} // namespace fgs
