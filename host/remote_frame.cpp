#include "remote_frame.h"

namespace fgs
{

namespace
{

const int PairedBits = 11; ///< the one bit area whose length counts pairs of bytes

int sumOf(FrameView frame)
{
    int sum = 0;
    for (int i = 0; i < frame.size; ++i)
        sum += frame.at(i);
    return sum & 0xFF;
}

/// What RW_VAR::length says of a remote read of so many elements.
int remoteLength(const Span &block)
{
    if (block.area == PairedBits)
        return (block.size() + 1) / 2;
    return areaOf(block.area)->kind == AreaKind::DoubleWord ? 2 * block.size() : block.size();
}

} // namespace

int remoteReadElements(const Area &area, int length)
{
    if (area.number == PairedBits)
        return 2 * length;
    return area.kind == AreaKind::DoubleWord ? (length + 1) / 2 : length;
}

bool isRemoteRequest(FrameView frame)
{
    if (frame.size < RemoteReadSize || frame.at(0) != (frame.size & 0xFF))
        return false;
    const int command = frame.at(CommandAt), last = frame.size - 1;
    return command != ReadCommand && command != WriteCommand && frame.at(last) == sumOf({frame.bytes, last});
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
