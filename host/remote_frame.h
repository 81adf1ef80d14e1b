// Remote frames as far as a host looks into them, and the records that make the driver build them. Requests carry
// the whole description of their variable and a sum; replies have a CRC, and a length that the request tells, but
// repeat nothing of the question.
#ifndef FGS_HOST_REMOTE_FRAME_H
#define FGS_HOST_REMOTE_FRAME_H

#include "frame.h"
#include "spans.h"

#include <QtCore/QByteArray>

namespace fgs
{

const int RemoteStationAt = 4;   ///< in a request
const int RemoteHeaderSize = 21; ///< of a request: all before the data
const int RemoteSumSize = 1;
const int RemoteReadSize = RemoteHeaderSize + RemoteSumSize; ///< of a request; a write has its data on top
const int RemoteReplyDataAt = 3;                             ///< the first data byte of a read reply
const int RemoteWriteReplySize = 8;

/// Whether the driver built a remote frame. Records of a host that asks so have the host type 0.
inline bool isRemote(const Protocol &request)
{
    const char command = request.frame.at(CommandAt);
    return command != char(ReadCommand) && command != char(WriteCommand);
}
/// Whether it writes, on either path.
inline bool isWrite(const Protocol &request)
{
    return request.frame.at(CommandAt) == char(WriteCommand) ||
           (isRemote(request) && request.frameLen > RemoteReadSize);
}
/// As the frame tells, on either path.
inline int stationOf(const Protocol &request)
{
    return request.frame.at(isRemote(request) ? RemoteStationAt : StationAt) & 0xFF;
}

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

/// What names the area on the wire: its code, in remote frames its number.
inline int wireCode(const Area &area, bool isRemote)
{
    return isRemote ? area.number : area.code;
}

/// The frame is whole.
RemoteRequest remoteRequestOf(FrameView frame);
/// The sum that belongs at the end of the frame.
int sumFor(FrameView frame);
/// Bytes of the request with a right sum that starts here; 0 if there is none.
int remoteRequestSize(FrameView start);

/// Elements that a remote read of such a length asks for: bytes of bits, pairs of them in area 11, words, or double
/// words counted as two words.
int remoteReadElements(const Area &area, int length);
/// Whether these bytes, of whom nothing else is known, are a remote request.
bool isRemoteRequest(FrameView frame);

/// The block in the lengths of remote reads. They count pairs of bytes in area 11: a block of an odd number of them
/// takes in the byte below, or the one above if the one below is among the barriers.
Span inRemoteUnits(const Span &block, const Spans &barriers);
/// A record that reads such a block and has its values stored; hostAddr is -1.
RW_VAR remoteRead(const Span &block, int linkNo);
/// What a read of an area that there is reads.
Span spanOf(const RemoteRequest &read);
/// What a remote read in flight reads.
Span remoteSpanOf(const Protocol &request);
/// A record that writes these values, in the bytes of the driver's byte strings.
RW_VAR remoteWrite(const Variable &variable, const QByteArray &values, int linkNo);

} // namespace fgs

#endif
