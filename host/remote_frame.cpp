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

const int PairedBits = 11; ///< the one bit area whose length counts pairs of bytes

/// What RW_VAR::length says of a remote read of so many elements.
int remoteLength(const Span &block)
{
    if (block.area == PairedBits)
        return (block.size() + 1) / 2;
    return areaOf(block.area)->kind == AreaKind::DoubleWord ? 2 * block.size() : block.size();
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
            frame.at(RemoteStationAt),
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
    if (start.size < RemoteReadSize)
        return 0;
    for (const int size : {start.at(0), start.size})
        if (size >= RemoteReadSize && size <= start.size && (size & 0xFF) == start.at(0) &&
            hasGoodSum({start.bytes, size}))
            return size;
    return 0;
}

int remoteReadElements(const Area &area, int length)
{
    if (area.number == PairedBits)
        return 2 * length;
    return area.kind == AreaKind::DoubleWord ? (length + 1) / 2 : length;
}

bool isRemoteRequest(FrameView frame)
{
    if (frame.size < RemoteReadSize)
        return false;
    const int command = frame.at(CommandAt);
    return command != ReadCommand && command != WriteCommand && remoteRequestSize(frame) == frame.size;
}

Span inRemoteUnits(const Span &block, const Spans &barriers)
{
    if (block.area != PairedBits || block.size() % 2 == 0)
        return block;
    const Span lower = {block.station, block.area, block.first - 1, block.end};
    const Span upper = {block.station, block.area, block.first, block.end + 1};
    return lower.first >= 0 && !anyOverlaps(barriers, {block.station, block.area, lower.first, block.first})
               ? lower
               : upper;
}

RW_VAR remoteRead(const Span &block, int linkNo)
{
    RW_VAR var;
    var.hostAddr = -1;
    var.linkNo = linkNo;
    var.remoteStoreMark = -1;
    var.areaType = block.area;
    var.address = variableOf(block).address;
    var.station = block.station;
    var.length = remoteLength(block);
    return var;
}

Span spanOf(const RemoteRequest &read)
{
    const Area &area = *areaOf(read.area);
    const int first = static_cast<int>(read.address) / addressesPerElement(area);
    return {read.station, read.area, first, first + remoteReadElements(area, read.count)};
}

Span remoteSpanOf(const Protocol &request)
{
    const RW_VAR &var = request.var;
    const Area &area = *areaOf(var.areaType);
    const int first = var.address / addressesPerElement(area);
    return {var.station, var.areaType, first, first + request.dataLen / bytesPerElement(area)};
}

RW_VAR remoteWrite(const Variable &variable, const QByteArray &values, int linkNo)
{
    RW_VAR var;
    var.hostField3 = 1; // as in the driver's own writes
    var.linkNo = linkNo;
    var.areaType = variable.area;
    var.address = variable.address;
    var.station = variable.station;
    var.length = areaOf(variable.area)->kind == AreaKind::DoubleWord ? 2 * variable.count : variable.count;
    var.data = values;
    return var;
}

} // namespace fgs
