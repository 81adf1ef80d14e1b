// What happens on the line, for people.
#ifndef FGS_WATCH_LINE_EVENT_TEXT_H
#define FGS_WATCH_LINE_EVENT_TEXT_H

#include "host/line_event.h"

namespace fgs
{

/// "link lost: why (all values are stale; trying to open it again)"
QString textOf(const LineEvent &event);

} // namespace fgs

#endif
