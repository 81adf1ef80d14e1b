#include "remote_line.h"

#include "sim/crc.h"

namespace stress
{

namespace
{

const std::size_t HeadLength = 3;
const std::size_t CrcLength = 2;

fgssim::Bytes goodReply(const Protocol &request, unsigned number)
{
    fgssim::Bytes reply(std::size_t(request.replyLen) - CrcLength, 0);
    const bool bits = request.var.areaType == 2;
    for (std::size_t i = 0; i < std::size_t(request.dataLen); ++i)
        reply[HeadLength + i] = fgssim::Byte(bits ? (number & 1) * 0xFF : i % 2 ? number : number >> 8);
    fgssim::appendCrc(reply);
    return reply;
}

} // namespace

soak::Reply RemoteLine::exchange(const Protocol &request)
{
    fgssim::Bytes reply = goodReply(request, number++);
    const std::optional<fgssim::RandomFault> fault = chooser.choose();
    if (fault == fgssim::RandomFault::Silence || fault == fgssim::RandomFault::Late)
        return {{}, {}, fault};
    if (fault)
        reply = chooser.damage(*fault, std::move(reply));
    return {QByteArray(reinterpret_cast<const char *>(reply.data()), int(reply.size())), {}, fault};
}

int remoteCodeFor(const std::optional<fgssim::RandomFault> &fault, const RW_VAR &var)
{
    const int remote = 100;
    if (var.linkNo != RemoteLink)
        return soak::codeFor(fault, var.hostType);
    if (fault)
        return remote + soak::codeFor(fault, var.hostType);
    return var.remoteStoreMark == -1 ? 1 : remote;
}

} // namespace stress
