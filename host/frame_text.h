// What frames say, for people.
#ifndef FGS_HOST_FRAME_TEXT_H
#define FGS_HOST_FRAME_TEXT_H

#include "frame.h"

#include <QtCore/QString>

namespace fgs
{

/// "station 1, read area 5 100x4 (wire 0x08:100)". The check code is not looked at.
QString describeRequest(FrameView frame);
/// "station 1, area 5 x2: 0001 0002", "station 1, write done". The check code is not looked at.
QString describeReply(FrameView frame);

} // namespace fgs

#endif
