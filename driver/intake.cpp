// The reply intake: judges a reply and has it stored.
#include "driver/job_ends_p.h"
#include "driver/result_codes_p.h"
#include "protocol/frame_p.h"
#include "protocol/requests_p.h"

namespace
{

enum Check { Bad = 0, GoodData = 1, NothingToStore = 2 };

/// Good, or the outcome of the two length tests that come before any check of the bytes.
Reason judgeLength(int length, Reason noReply, Reason wrongLength)
{
    const Protocol *const request = requestInFlight();
    const int expected = request ? request->replyLen : 0;
    if (length == 0)
        return expected == 0 ? Good : noReply;                        // Deliberate: behaviour 123.
    return length == expected || expected == -1 ? Good : wrongLength; // Deliberate: behaviour 124.
}

bool isAcknowledge(const unsigned char *bytes)
{
    return bytes[1] == WriteCommand && bytes[2] == WriteAcknowledge; // Deliberate: behaviour 122.
}

bool crcIsGood(unsigned char *bytes, int length)
{
    const int covered = length - CrcLength;
    const unsigned crc = CalCRC(bytes, static_cast<unsigned short>(covered)); // Deliberate: behaviour 154.
    return bytes[covered] == (crc & 0xFF) && bytes[covered + 1] == crc >> 8;
}

} // namespace

int CheckGetData(QByteArray *reply, int length)
{
    const Protocol *const request = requestInFlight();
    if (length == 0)
        return request && request->var.station == 0 ? NothingToStore : Bad; // Deliberate: behaviour 123.
    if (!reply || length < CrcLength || length > int(reply->size()))        // Deliberate: behaviour 135.
        return Bad;
    const QByteArray &bytes = *reply;
    unsigned char *const first = reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData()));
    if (length == AcknowledgeLength) // Deliberate: behaviour 122.
        return isAcknowledge(first) ? NothingToStore : Bad;
    return crcIsGood(first, length) ? GoodData : Bad; // Deliberate: behaviour 121.
}

int DealDataOfLocalArea(QByteArray *reply, int length)
{
    const Reason outcome = judgeLength(length, NoReply, WrongLength);
    if (outcome != Good)
        return GetDriverReturnValue(outcome);
    const int check = CheckGetData(reply, length);
    if (check == GoodData) {
        Locker lock(PLC_driver.ImageMutex);
        SaveToLocalDataErea(reply);
    }
    return check == Bad ? GetDriverReturnValue(BadCheck) : GoodCode;
}

int DealDataOfRemoteArea(QByteArray *reply, int length)
{
    const Reason outcome = judgeLength(length, RemoteNoReply, RemoteWrongLength);
    if (outcome != Good)
        return GetDriverReturnValue(outcome);
    if (CheckGetData(reply, length) == Bad) // Deliberate: behaviour 503.
        return GetDriverReturnValue(RemoteBadCheck);
    const Protocol *const request = requestInFlight();
    if (!request || request->var.remoteStoreMark != -1)
        return GetDriverReturnValue(RemoteGood); // Deliberate: behaviour 504.
    {
        Locker lock(PLC_driver.ImageMutex);
        SaveToRemoteDataErea(reply);
    }
    return GetDriverReturnValue(settings().frameDone == 1 ? RemoteGood : Good); // Deliberate: behaviour 505.
}

RW_VAR *DataCom(QByteArray *reply, int length)
{
    RW_VAR &ret = PLC_driver.RetVar;
    ret.result = 1; // Deliberate: behaviours 130, 132.
    const Protocol *const request = requestInFlight();
    if (request) {
        const bool remote = request->var.linkNo != settings().localLinkNo; // Deliberate: behaviour 501.
        const int code = remote ? DealDataOfRemoteArea(reply, length) : DealDataOfLocalArea(reply, length);
        Locker lock(PLC_driver.ListMutex);
        ret.result = settle(code, remote);
    }
    return &ret;
}
