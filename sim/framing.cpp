#include "framing.h"

#include "crc.h"
#include "remote_frame.h"

namespace fgssim
{

namespace
{

std::string crcFault(Slice frame)
{
    if (hasGoodCrc(frame))
        return {};
    const std::size_t covered = frame.size() - CrcLength;
    Bytes right = frame.first(covered).copy();
    appendCrc(right);
    return "bad CRC " + hex(frame.from(covered)) + ", computed " + hex(Slice(right).from(covered));
}

std::string sumFault(Slice frame)
{
    const Slice covered = frame.first(frame.size() - 1);
    const Byte sum = sumOf(covered), sent = frame.u8(covered.size());
    return sum == sent ? std::string() : "bad sum " + hexByte(sent) + ", computed " + hexByte(sum);
}

unsigned controllerStation(Slice frame)
{
    return frame.u8(0);
}

} // namespace

const Framing ControllerFraming = {requestExtent, crcFault,   controllerStation, parseRequest,
                                   readReply,     writeReply, markReply,         2};
const Framing RemoteFraming = {remoteExtent,    sumFault,         remoteStation,   parseRemoteRequest,
                               remoteReadReply, remoteWriteReply, markRemoteReply, 0};

} // namespace fgssim
