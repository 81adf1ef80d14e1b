// What follows from a judged reply: the same request again, or the end of its job.
#include "driver/job_ends_p.h"

#include "driver/result_codes_p.h"
#include "protocol/requests_p.h"

void passRetValue(RW_VAR *source, RW_VAR *destination)
{
    if (!source || !destination)
        return;
    assignAllButData(*destination, *source);
    clearShared(destination->data);
}

namespace
{

enum Status { OnceReadDone = 1, OnceReadFailed = 2 }; ///< last argument of the host callback

void addTo(int COMINFO::*word, int amount)
{
    setWord(word, cut(qint64(settings().*word) + amount));
}

/// Takes note of a failed reply. Returns whether the request goes out again.
bool retry() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CycleReadCount = 0;
    setLinkIsFailing(true); // Deliberate: behaviour 134.
    setWord(&COMINFO::cycleDone, 0);
    const qint64 failures = qint64(settings().retryCount) + 1;
    const bool again = failures <= settings().retryLimit;
    setWord(&COMINFO::retryCount, again ? cut(failures) : 0);
    return again;
}

/// Takes note of an answered frame. Returns whether the job has further frames. Deliberate: behaviour 125.
bool nextFrame() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    setLinkIsFailing(false); // Deliberate: behaviour 134.
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
/// Deliberate: behaviour 129.
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
    passRetValue(&list.first(), &PLC_driver.RetVar); // Deliberate: behaviour 131.
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
            reportOnceRead(PLC_driver.OnceReadVarList); // Deliberate: behaviour 508.
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
/// Deliberate: behaviours 127, 128.
void purge() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (settings().stationMode) {
        removeStation(PLC_driver.OnceReadVarList, PLC_driver.RetVar.station); // Deliberate: behaviour 136.
        removeStation(PLC_driver.WriteVarList, PLC_driver.RetVar.station);
    } else {
        PLC_driver.OnceReadVarList.clear();
        PLC_driver.WriteVarList.clear();
    }
}

} // namespace

int settle(int code, bool remote)
{
    const bool good = code == GoodCode || code == RemoteGoodCode;
    if (!good) {
        if (retry())
            return 0; // Deliberate: behaviour 130.
        removeRequests();
    } else {
        if (nextFrame())
            return code;
        if (!remote)
            countCycle(); // Deliberate: behaviour 508.
    }
    endJob(remote);
    if (!good)
        purge();
    return code;
}
