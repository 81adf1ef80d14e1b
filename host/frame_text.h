// What frames say, for people.
#ifndef FGS_HOST_FRAME_TEXT_H
#define FGS_HOST_FRAME_TEXT_H

#include "frame.h"

#include <QtCore/QString>

namespace fgs
{

/// "station 1, read area 5 100x4 (wire 0x08:100)". The check code is not looked at.
/// "link 1, station 1, remote read area 5 100x4" of a remote frame.
QString describeRequest(FrameView frame);
/// "station 1, area 5 x2: 0001 0002", "station 1, write done". The check code is not looked at.
QString describeReply(FrameView frame);
/// "station 1, area 5 100x2: 0001 0002 (reply begins 01 52 01)", "station 1, write done (...)": the reply itself
/// tells nothing but the values.
QString describeRemoteReply(FrameView reply, FrameView request);

} // namespace fgs

#endif
