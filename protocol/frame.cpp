// Words of the wire, and the life of a request in ProtocolList.
#include "protocol/frame_p.h"

namespace
{

/// ProtocolList as the last request left it: the record and the room of its frame serve the next one.
QList<Protocol> spareRequest;

/// A record to spare holds on to nothing of the host's, nor to the room of a long frame.
void release(Protocol &request)
{
    clearShared(request.var.text1);
    clearShared(request.var.addressText);
    clearShared(request.var.data);
    if (request.frame.size() > readLength(GroupLimit))
        request.frame = QByteArray();
}

Protocol &newRequest(const RW_VAR &var)
{
    QList<Protocol> &list = PLC_driver.ProtocolList;
    if (list.isEmpty() && !spareRequest.isEmpty()) {
        list.swap(spareRequest);
        assign(list.last().var, var);
    } else {
        Protocol request;
        request.var = var;
        list.append(request);
    }
    return list.last();
}

} // namespace

void removeHead()
{
    if (PLC_driver.ProtocolList.size() != 1 || !spareRequest.isEmpty())
        return PLC_driver.ProtocolList.removeFirst();
    PLC_driver.ProtocolList.swap(spareRequest);
    release(spareRequest.first());
}

void removeRequests()
{
    while (!PLC_driver.ProtocolList.isEmpty())
        removeHead();
}

Protocol &queueRequest(const RW_VAR &var, const ReplyShape &reply)
{
    Protocol &request = newRequest(var);
    const bool answered = request.var.station != 0;
    request.replyLen = answered ? reply.length : 0;
    request.dataStart = answered ? reply.dataStart : 0;
    request.dataLen = answered ? reply.dataLen : 0;
    request.spare[0] = request.spare[1] = request.spare[2] = 0;
    setWord(&COMINFO::frameTotal, 1);
    setWord(&COMINFO::frameDone, 0);
    return request;
}

void copyWords(void *to, const void *from, int words)
{
    typedef size_t Several __attribute__((vector_size(16)));
    unsigned char *const out = static_cast<unsigned char *>(to);
    const unsigned char *const in = static_cast<const unsigned char *>(from);
    const size_t size = 2 * size_t(qMax(words, 0));
    const size_t oddBytes = static_cast<size_t>(-1) / 0xFFFF * 0xFF; // 0x00FF00FF..
    size_t at = 0;
    for (Several several; at + sizeof several <= size; at += sizeof several) {
        memcpy(&several, in + at, sizeof several);
        several = ((several & oddBytes) << 8) | ((several >> 8) & oddBytes);
        memcpy(out + at, &several, sizeof several);
    }
    for (; at < size; at += 2) {
        const unsigned char high = in[at];
        out[at] = in[at + 1];
        out[at + 1] = high;
    }
}

unsigned char *newFrame(Protocol &request, int length)
{
    QByteArray &frame = request.frame;
    request.frameLen = length;
    if (!frame.isDetached()) // the host has kept the last one
        frame = QByteArray();
    if (frame.size() != length) {
        frame.reserve(qMax(length, readLength(GroupLimit)));
        frame.resize(length);
    }
    return reinterpret_cast<unsigned char *>(frame.data());
}
