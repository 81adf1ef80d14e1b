// The second request path: sum-checked frames that carry the whole description of a variable, and their replies.
#include "protocol/frame_p.h"
#include "protocol/Func_DealData_p.h"
#include "protocol/requests_p.h"

namespace
{

const int RemoteHeadLength = 21;
const int SumLength = 1;
const int RemoteReplyOverhead = 5; ///< bytes of a read reply around its data
const int RemoteFirstData = 3;
const int RemoteWriteReply = 8;

/// The whole description of the request's variable, the data behind it. Deliberate: behaviour 506.
void writeFrame(Protocol &request, const QByteArray &data)
{
    const RW_VAR &var = request.var;
    const int length = RemoteHeadLength + int(data.size()) + SumLength;
    FrameWriter frame(request, length);
    frame.u8(length).u8(var.hostType).u8(var.hostField3).u8(var.linkNo).u8(var.station);
    frame.be16(var.areaType).be32(var.address).be16(var.length).be32(var.remoteStoreMark).be32(var.hostField14);
    frame.raw(data).sealSum(); // Deliberate: behaviour 503.
}

/// Data bytes of a read reply: a byte a bit, whole double words, otherwise words. Deliberate: behaviour 510.
int remoteDataBytes(int areaType, qint64 length)
{
    if (areaType >= 0 && areaType <= 4) // Deliberate: behaviour 502.
        return cut(length);
    if (areaOf(areaType).kind == DoubleWordKind)
        return cut(4 * (length / 2 + (length > 0 && length % 2)));
    return cut(2 * length);
}

/// The piece of the request being answered.
StoredPiece headPiece()
{
    const Protocol *const request = requestInFlight();
    return request ? StoredPiece{&request->var, request->dataStart, request->dataLen} : StoredPiece{0, 0, 0};
}

} // namespace

void Remote_ReadVar(RW_VAR *var)
{
    if (!var)
        return;
    const int dataBytes = remoteDataBytes(var->areaType, var->length);
    const ReplyShape reply = {cut(qint64(dataBytes) + RemoteReplyOverhead), RemoteFirstData, dataBytes};
    writeFrame(queueRequest(*var, reply), QByteArray());
}

void Remote_WriteVar(RW_VAR *var)
{
    if (!var)
        return;
    Protocol &request = queueRequest(*var, ReplyShape{RemoteWriteReply, 0, 0}); // Deliberate: behaviour 512.
    writeFrame(request, request.var.data);                                      // Deliberate: behaviour 509.
    WriteDataToLocal(var);                                                      // Deliberate: behaviour 507.
}

void SaveToRemoteDataErea(QByteArray *reply)
{
    int lastEntry = 0;
    storePiece(reply, headPiece(), lastEntry); // Deliberate: behaviour 511.
}

void SaveBitToUCRemote(QByteArray *reply, unsigned char *buffer)
{
    storeElements(reply, headPiece(), buffer);
}

void SaveWordToUSRemote(QByteArray *reply, unsigned short *buffer)
{
    storeElements(reply, headPiece(), buffer);
}

void SaveWordToUIRemote(QByteArray *reply, unsigned int *buffer)
{
    storeElements(reply, headPiece(), buffer);
}
