// A look at every frame on the line.
#ifndef FGS_HOST_TRACE_H
#define FGS_HOST_TRACE_H

#include "frame.h"
#include "link.h"
#include "outcome.h"

#include <functional>
#include <QtCore/QByteArray>

namespace fgs
{

struct TraceEntry {
    enum Event {
        Sent,     ///< bytes is a request
        Received, ///< bytes is everything that came for it; outcome is what it was taken for
        Stray     ///< bytes came between two transactions and are thrown away
    };
    Event event;
    Time time; ///< of the last of the bytes; without any, of the outcome
    FrameView bytes;
    Outcome outcome; ///< of Received
    int replyAt;     ///< of Received and Good: where the reply starts in bytes
    QByteArray asked =
        QByteArray(); ///< of Received on the remote path: the request, of which the reply repeats nothing
};

using TraceHook = std::function<void(const TraceEntry &)>;

/// "> 01 FE 01 08 02 64 00 AA BE  station 1, read area 5 100x2 (wire 0x08:100)"
QString describe(const TraceEntry &entry);

} // namespace fgs

#endif
