// The driver object, its entry points, the poll scheduler and the reply intake.
#include "driver/tarn_fgsseries_p.h"
#include "image/areas_p.h"
#include "protocol/frame_p.h"

Tarn_FGsSeries PLC_driver;
void *LB;
void *LW;
void *RWI;

const COMINFO noSettings = COMINFO();

namespace
{

enum Source { CyclicSource = 0, WriteSource = 1, OnceSource = 2, NoSource = 100 };

const int MostInARow = 5; ///< writes, then one-shot reads, served before the next cyclic read

enum Status { OnceReadDone = 1, OnceReadFailed = 2 }; ///< last argument of the host callback

// Reasons of GetDriverReturnValue().
enum Reason { Good, BadCheck, NoReply, WrongLength, RemoteGood, RemoteBadCheck, RemoteNoReply, RemoteWrongLength };

enum Code { GoodCode = 1, RemoteGoodCode = 100 }; ///< the results of answered requests; all others are failures

enum Check { Bad = 0, GoodData = 1, NothingToStore = 2 };

} // namespace

Tarn_FGsSeries::Tarn_FGsSeries()
    : settings(0), CallBackFunc(0), CallBackContext(0), CurrentSource(NoSource), WriteTimes(0), OnceReadTimes(0),
      CycleReadCount(0), CommFailFlag(0), spareFlag(0), ucArea0(), ucArea1(), ucArea2(), ucArea11(), ucArea4(),
      ucArea3(), usArea8(), usArea9(), usArea5(), usArea12(), usArea13(), usArea7(), usArea6(), uiArea10()
{
    RetVar.result = 1;
}

// ---- start-up and addresses

void SetComInfo(COMINFO *info)
{
    PLC_driver.settings = info;
    setWord(&COMINFO::status13, 0);
    setWord(&COMINFO::status10, 0);
}

void RegistCallBackFuncIntf(void (*func)(int, int, int, int), int context)
{
    PLC_driver.CallBackFunc = func;
    PLC_driver.CallBackContext = context;
}

int FlashLocalRegister(void *lb, void *lw, void *rwi)
{
    LB = lb;
    LW = lw;
    RWI = rwi;
    return 452; // Deliberate: behaviour 101.
}

int QueryFinishFlag()
{
    return 1;
}

namespace
{

/// A number of digits only, as nearly every address is; -1 for any other text, and for more digits than surely fit.
int plainNumber(const QString &text, int base)
{
    const int mostDigits = 9;
    const int size = int(text.size());
    if (size < 1 || size > mostDigits)
        return -1;
    const QChar *const digits = text.constData();
    int number = 0;
    for (int i = 0; i < size; ++i) {
        const int digit = digits[i].unicode() - '0';
        if (digit < 0 || digit >= base)
            return -1;
        number = number * base + digit;
    }
    return number;
}

} // namespace

int addressOf(const Area &area, const QString &text)
{
    if (area.kind == NoKind)
        return 0;
    const int number = plainNumber(text, area.base);
    return number >= 0 ? number : text.toInt(0, area.base);
}

int StringAddressToInt(int areaType, QString text)
{
    return addressOf(areaOf(areaType), text);
}

int PLCAddressChangeIntef(int areaType, QString text)
{
    const int firstDoubleWord = 200;
    const Area &area = areaOf(areaType);
    const int address = addressOf(area, text);
    if (area.kind != DoubleWordKind)
        return address;
    return address < firstDoubleWord ? -1 : address - firstDoubleWord; // Deliberate: behaviour 102.
}

// ---- scheduler

namespace
{

// The builders leave at most one request in ProtocolList.

void buildWrite() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CurrentSource = WriteSource;
    RW_VAR *const var = &PLC_driver.WriteVarList.first();
    settings().remoteMode ? Remote_WriteVar(var) : WriteRegister(var);
    ++PLC_driver.WriteTimes;
}

void buildOnceRead() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CurrentSource = OnceSource;
    setWord(&COMINFO::groupExtra, 0);
    RW_VAR *const var = &PLC_driver.OnceReadVarList.first();
    settings().remoteMode ? Remote_ReadVar(var) : ReadRegister(var);
    ++PLC_driver.OnceReadTimes;
}

/// The entries at the front of the cyclic list that one request can read: one station, at most GroupLimit.
int takeGroup(RW_VAR **vars) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    QList<RW_VAR> &list = PLC_driver.ReadVarList;
    const int most = settings().remoteMode ? 1 : qMin(GroupLimit, int(list.size())); // Deliberate: behaviour 114.
    QList<RW_VAR>::iterator var = list.begin();
    const int station = var->station;
    int count = 0;
    for (; count < most && var->station == station; ++count, ++var) // Deliberate: behaviour 113.
        vars[count] = &*var;
    return count;
}

void buildCyclicRead() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CurrentSource = CyclicSource;
    RW_VAR *vars[GroupLimit];
    const int count = takeGroup(vars);
    setWord(&COMINFO::groupExtra, count - 1);
    if (settings().remoteMode)
        Remote_ReadVar(vars[0]);
    else
        readGroup(vars, count);
}

void buildNextRequest() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (!PLC_driver.WriteVarList.isEmpty() && PLC_driver.WriteTimes < MostInARow)
        return buildWrite();
    if (!PLC_driver.OnceReadVarList.isEmpty() && PLC_driver.OnceReadTimes < MostInARow)
        return buildOnceRead();
    if (PLC_driver.ReadVarList.isEmpty())
        setWord(&COMINFO::cycleDone, 1);
    else
        buildCyclicRead();
    PLC_driver.WriteTimes = 0;
    PLC_driver.OnceReadTimes = 0;
}

/// The request in flight, to look at.
const Protocol *head()
{
    const QList<Protocol> &list = PLC_driver.ProtocolList;
    return list.isEmpty() ? 0 : &list.at(0);
}

} // namespace

Protocol *ComCommunication()
{
    if (!head()) {
        Locker lock(PLC_driver.ListMutex);
        buildNextRequest();
    }
    return const_cast<Protocol *>(head()); // found without detaching the list, which the host may share
}

// ---- result codes

int SwitchErrorReturn(int base)
{
    const Protocol *const request = head();
    const int hostType = request ? request->var.hostType : 0;
    return cut(qint64(base) + (hostType >= 1 && hostType <= 11 ? hostType + 1 : 1)); // Deliberate: behaviour 141.
}

int GetDriverReturnValue(int reason)
{
    switch (reason) {
    case Good:
        return GoodCode;
    case BadCheck:
        return SwitchErrorReturn(10);
    case NoReply:
        return SwitchErrorReturn(40);
    case WrongLength:
        return SwitchErrorReturn(70);
    case RemoteGood:
        return RemoteGoodCode;
    case RemoteBadCheck:
        return SwitchErrorReturn(110);
    case RemoteNoReply:
        return SwitchErrorReturn(140);
    case RemoteWrongLength:
        return SwitchErrorReturn(170);
    default:
        return 200;
    }
}

// ---- reply intake

namespace
{

/// Good, or the outcome of the two length tests that come before any check of the bytes.
Reason judgeLength(int length, Reason noReply, Reason wrongLength)
{
    const Protocol *const request = head();
    const int expected = request ? request->replyLen : 0;
    if (length == 0)
        return expected == 0 ? Good : noReply;
    return length == expected || expected == -1 ? Good : wrongLength;
}

bool isAcknowledge(const unsigned char *bytes)
{
    return bytes[1] == WriteCommand && bytes[2] == WriteAcknowledge; // Deliberate: behaviour 122.
}

bool crcIsGood(unsigned char *bytes, int length)
{
    const int covered = length - CrcLength;
    const unsigned crc = CalCRC(bytes, static_cast<unsigned short>(covered));
    return bytes[covered] == (crc & 0xFF) && bytes[covered + 1] == crc >> 8;
}

} // namespace

int CheckGetData(QByteArray *reply, int length)
{
    const Protocol *const request = head();
    if (length == 0)
        return request && request->var.station == 0 ? NothingToStore : Bad;
    if (!reply || length < CrcLength || length > int(reply->size()))
        return Bad;
    const QByteArray &bytes = *reply;
    unsigned char *const first = reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData()));
    if (length == AcknowledgeLength)
        return isAcknowledge(first) ? NothingToStore : Bad;
    return crcIsGood(first, length) ? GoodData : Bad;
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
    if (CheckGetData(reply, length) == Bad)
        return GetDriverReturnValue(RemoteBadCheck);
    const Protocol *const request = head();
    if (!request || request->var.remoteStoreMark != -1)
        return GetDriverReturnValue(RemoteGood); // Deliberate: behaviour 504.
    {
        Locker lock(PLC_driver.ImageMutex);
        SaveToRemoteDataErea(reply);
    }
    return GetDriverReturnValue(settings().frameDone == 1 ? RemoteGood : Good);
}

void passRetValue(RW_VAR *source, RW_VAR *destination)
{
    if (!source || !destination)
        return;
    assignAllButData(*destination, *source);
    clearShared(destination->data);
}

namespace
{

void addTo(int COMINFO::*word, int amount)
{
    setWord(word, cut(qint64(settings().*word) + amount));
}

/// Takes note of a failed reply. Returns whether the request goes out again.
bool retry() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CycleReadCount = 0;
    setLinkIsFailing(true);
    setWord(&COMINFO::cycleDone, 0);
    const qint64 failures = qint64(settings().retryCount) + 1;
    const bool again = failures <= settings().retryLimit;
    setWord(&COMINFO::retryCount, again ? cut(failures) : 0);
    return again;
}

/// Takes note of an answered frame. Returns whether the job has further frames. Deliberate: behaviour 125.
bool nextFrame() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    setLinkIsFailing(false);
    removeHead();
    addTo(&COMINFO::frameDone, 1);
    return settings().frameDone < settings().frameTotal; // Deliberate: behaviour 133.
}

void countCycle() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (settings().cycleDone)
        return;
    PLC_driver.CycleReadCount = cut(qint64(PLC_driver.CycleReadCount) + 1);
    if (PLC_driver.CycleReadCount > int(PLC_driver.ReadVarList.size())) { // Deliberate: behaviour 126.
        PLC_driver.CycleReadCount = 0;
        setWord(&COMINFO::cycleDone, 1);
    }
}

/// Passes the head of a queue back in RetVar and removes it.
void endHead(QList<RW_VAR> &queue)
{
    if (queue.isEmpty())
        return;
    passRetValue(&queue.first(), &PLC_driver.RetVar);
    queue.removeFirst();
}

/// Whether no later entry of the one-shot queue belongs to the same host variable as its head.
bool isLastOfWish(const QList<RW_VAR> &queue)
{
    const RW_VAR &first = queue.at(0);
    for (int i = 1; i < int(queue.size()); ++i)
        if (queue.at(i).hostType == first.hostType && queue.at(i).hostAddr == first.hostAddr)
            return false;
    return true;
}

void reportOnceRead(const QList<RW_VAR> &queue)
{
    if (queue.isEmpty() || !PLC_driver.CallBackFunc || !isLastOfWish(queue))
        return;
    const int status = linkIsFailing() ? OnceReadFailed : OnceReadDone;
    PLC_driver.CallBackFunc(settings().hostHandle, queue.at(0).hostType, queue.at(0).hostAddr, status);
}

/// Moves the group just read to the end of the cyclic list, in its order.
void rotateCyclicList() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    QList<RW_VAR> &list = PLC_driver.ReadVarList;
    if (list.isEmpty())
        return;
    const int size = int(list.size());
    passRetValue(&list.first(), &PLC_driver.RetVar);
    for (int moves = cut((qint64(settings().groupExtra) + 1) % size); moves > 0; --moves)
        list.move(0, size - 1);
}

void endJob(bool remote) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    switch (PLC_driver.CurrentSource) {
    case WriteSource:
        return endHead(PLC_driver.WriteVarList);
    case OnceSource:
        if (!remote)
            reportOnceRead(PLC_driver.OnceReadVarList);
        return endHead(PLC_driver.OnceReadVarList);
    case CyclicSource:
        return rotateCyclicList();
    }
}

void removeStation(QList<RW_VAR> &queue, int station)
{
    QList<RW_VAR> kept;
    for (int i = 0; i < int(queue.size()); ++i)
        if (queue.at(i).station != station)
            kept.append(queue.at(i));
    queue = kept;
}

/// After a job that failed for good: what waits for the station, or for the one controller, is given up.
void purge() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (settings().stationMode) {
        removeStation(PLC_driver.OnceReadVarList, PLC_driver.RetVar.station);
        removeStation(PLC_driver.WriteVarList, PLC_driver.RetVar.station);
    } else {
        PLC_driver.OnceReadVarList.clear();
        PLC_driver.WriteVarList.clear();
    }
}

/// What DataCom() leaves in RetVar.result for a reply that was judged.
int settle(int code, bool remote) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    const bool good = code == GoodCode || code == RemoteGoodCode;
    if (!good) {
        if (retry())
            return 0;
        removeRequests();
    } else {
        if (nextFrame())
            return code;
        if (!remote)
            countCycle();
    }
    endJob(remote);
    if (!good)
        purge();
    return code;
}

} // namespace

RW_VAR *DataCom(QByteArray *reply, int length)
{
    RW_VAR &ret = PLC_driver.RetVar;
    ret.result = 1;
    const Protocol *const request = head();
    if (request) {
        const bool remote = request->var.linkNo != settings().localLinkNo;
        const int code = remote ? DealDataOfRemoteArea(reply, length) : DealDataOfLocalArea(reply, length);
        Locker lock(PLC_driver.ListMutex);
        ret.result = settle(code, remote);
    }
    return &ret;
}
