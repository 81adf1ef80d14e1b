#include "remote_frame.h"

namespace fgs
{

namespace
{

const int LastBitArea = 4, DoubleWordArea = 10; // as lengths of replies have them: area 11 counts words there

quint32 be32(FrameView frame, int at)
{
    return static_cast<quint32>(frame.be16(at)) << 16 | static_cast<quint32>(frame.be16(at + 2));
}

bool hasGoodSum(FrameView frame)
{
    return frame.at(frame.size - RemoteSumSize) == sumFor(frame);
}

} // namespace

int RemoteRequest::replySize() const
{
    const int dataOfWrite = 3;
    const int words = area == DoubleWordArea ? (count + 1) / 2 * 2 : count;
    return RemoteReplyDataAt + (isWrite() ? dataOfWrite : area <= LastBitArea ? count : 2 * words) + CrcSize;
}

RemoteRequest remoteRequestOf(FrameView frame)
{
    return {frame.at(0),
            frame.at(1),
            frame.at(2),
            frame.at(3),
            frame.at(4),
            frame.be16(5),
            be32(frame, 7),
            frame.be16(11),
            static_cast<qint32>(be32(frame, 13)),
            static_cast<qint32>(be32(frame, 17)),
            {frame.bytes + RemoteHeaderSize, frame.size - RemoteHeaderSize - RemoteSumSize}};
}

int sumFor(FrameView frame)
{
    int sum = 0;
    for (int i = 0; i < frame.size - RemoteSumSize; ++i)
        sum += frame.at(i);
    return sum & 0xFF;
}

/// Above 255 bytes the length in the frame is only the low part: such a frame goes up to the end.
int remoteRequestSize(FrameView start)
{
    const int least = RemoteHeaderSize + RemoteSumSize;
    if (start.size < least)
        return 0;
    for (const int size : {start.at(0), start.size})
        if (size >= least && size <= start.size && (size & 0xFF) == start.at(0) && hasGoodSum({start.bytes, size}))
            return size;
    return 0;
}

} // namespace fgs
