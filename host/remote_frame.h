// Remote frames: requests that carry the whole description of their variable and end with a sum.
#ifndef FGS_HOST_REMOTE_FRAME_H
#define FGS_HOST_REMOTE_FRAME_H

#include "frame.h"

namespace fgs
{

const int RemoteHeaderSize = 21; ///< all before the data
const int RemoteSumSize = 1;
const int RemoteReplyDataAt = 3;

/// The fields of a request; numbers stand in it most significant byte first.
struct RemoteRequest {
    int length; ///< of the frame, low 8 bits
    int hostType;
    int hostField;
    int linkNo;
    int station;
    int area; ///< its type, which need not exist
    quint32 address;
    int count; ///< the length of the variable, in the driver's units
    qint32 storeMark;
    qint32 hostField14;
    FrameView data; ///< of a write, as the host gave them; of a read none

    bool isWrite() const { return data.size > 0; }
    /// Of the reply to it.
    int replySize() const;
    /// What that has: bits, eight to a byte, words or double words. An area that is none has words.
    AreaKind kind() const { return areaOf(area) ? areaOf(area)->kind : AreaKind::Word; }
};

/// The frame is whole.
RemoteRequest remoteRequestOf(FrameView frame);
/// The sum that belongs at the end of the frame.
int sumFor(FrameView frame);
/// Bytes of the request with a right sum that starts here; 0 if there is none.
int remoteRequestSize(FrameView start);

} // namespace fgs

#endif
