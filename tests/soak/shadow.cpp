#include "shadow.h"

#include <algorithm>
#include <stdexcept>

namespace soak
{

namespace
{

const int MostInARow = 5;
const int QueueLimit = 1024;
const int GroupLimit = 6;

int entriesOf(const QList<RW_VAR> &queue, int station)
{
    return int(std::count_if(queue.begin(), queue.end(), [=](const RW_VAR &v) { return v.station == station; }));
}

[[noreturn]] void fail(const char *what, long long actual, const char *but, long long expected)
{
    throw std::runtime_error(std::string(what) + " is " + std::to_string(actual) + but + std::to_string(expected));
}

} // namespace

void mustBe(const char *what, long long actual, long long expected)
{
    if (actual != expected)
        fail(what, actual, ", but must be ", expected);
}

void mustNotExceed(const char *what, long long actual, long long most)
{
    if (actual > most)
        fail(what, actual, ", but must not exceed ", most);
}

void Shadow::rebuilt(int mostBlocks)
{
    blocks = int(PLC_driver.ReadVarList.size());
    mustNotExceed("ReadVarList", blocks, mostBlocks);
    cycleCount = 0;
    cycleDone = false;
    mustBe("cycleDone after a rebuild", info.cycleDone, 0);
}

void Shadow::beforeRequest()
{
    source = !PLC_driver.WriteVarList.isEmpty() && writesInARow < MostInARow     ? Write
             : !PLC_driver.OnceReadVarList.isEmpty() && oncesInARow < MostInARow ? Once
                                                                                 : Cyclic;
    writesInARow = source == Write ? writesInARow + 1 : source == Once ? writesInARow : 0;
    oncesInARow = source == Once ? oncesInARow + 1 : source == Write ? oncesInARow : 0;
    cycleDone = cycleDone || (source == Cyclic && blocks == 0);
}

void Shadow::afterRequest(const Protocol *request)
{
    mustBe("a request", request != nullptr, source != Cyclic || blocks > 0);
    if (!request)
        return;
    ++sum.requests;
    served = request->var;
    mustBe("CurrentSource", PLC_driver.CurrentSource, source);
    mustBe("WriteTimes", PLC_driver.WriteTimes, writesInARow);
    mustBe("OnceReadTimes", PLC_driver.OnceReadTimes, oncesInARow);
    mustBe("ProtocolList", PLC_driver.ProtocolList.size(), 1);
    mustBe("frameLen", request->frameLen, request->frame.size());
    mustBe("frameTotal", info.frameTotal, 1);
    mustBe("frameDone", info.frameDone, 0);
    mustNotExceed("CurrentRWVar", CurrentRWVar.size(), GroupLimit);
}

/// Queued entries that a final failure of the request in flight leaves.
int Shadow::survivors() const
{
    return info.stationMode ? writes + onces - entriesOf(PLC_driver.WriteVarList, served.station) -
                                  entriesOf(PLC_driver.OnceReadVarList, served.station)
                            : 0;
}

void Shadow::beforeReply(const Reply &reply)
{
    writes = int(PLC_driver.WriteVarList.size());
    onces = int(PLC_driver.OnceReadVarList.size());
    left = reply.fault && retries >= info.retryLimit ? survivors() : 0;
    calls = 0;
}

void Shadow::afterReply(const Reply &reply, const RW_VAR &result)
{
    const int code = codeFor(reply.fault, served.hostType);
    count(reply);
    if (!reply.fault) {
        mustBe("result", result.result, code);
        checkGood();
    } else {
        cycleCount = 0;
        cycleDone = false;
        checkFailed(result, code);
    }
    mustBe("CommFailFlag", PLC_driver.CommFailFlag, reply.fault.has_value());
    mustBe("retryCount", info.retryCount, retries);
    mustBe("cycleDone", info.cycleDone, cycleDone);
    mustBe("CycleReadCount", PLC_driver.CycleReadCount, cycleCount);
    mustBe("blocks in ReadVarList", PLC_driver.ReadVarList.size(), blocks);
    checkQueues();
}

void Shadow::count(const Reply &reply)
{
    const int band = codeFor(reply.fault, 0) / 30; // 11, 41, 71
    if (reply.fault)
        ++sum.failures[band];
}

void Shadow::checkGood()
{
    countCycle();
    ++sum.good[source];
    mustBe("frameDone after a reply", info.frameDone, 1);
    mustBe("writes queued", PLC_driver.WriteVarList.size(), writes - (source == Write));
    mustBe("one-shot reads queued", PLC_driver.OnceReadVarList.size(), onces - (source == Once));
    checkCallback(source == Once, 1);
}

void Shadow::checkFailed(const RW_VAR &result, int code)
{
    const bool again = ++retries <= info.retryLimit;
    mustBe("result of a failure", result.result, again ? 0 : code);
    if (again) {
        ++sum.repeated;
        mustBe("writes queued", PLC_driver.WriteVarList.size(), writes);
        mustBe("requests kept", PLC_driver.ProtocolList.size(), 1);
        return checkCallback(false, 0);
    }
    retries = 0;
    ++sum.lost[source];
    checkPurged();
    checkCallback(source == Once, 2);
}

void Shadow::checkPurged()
{
    mustBe("entries left by a failure", PLC_driver.WriteVarList.size() + PLC_driver.OnceReadVarList.size(), left);
    sum.purged += std::uint64_t(writes + onces - (source != Cyclic) - left);
}

void Shadow::checkCallback(bool expected, int status)
{
    mustBe("callbacks", calls, expected);
    if (!expected)
        return;
    ++sum.callbacks;
    const int arguments[] = {info.hostHandle, served.hostType, served.hostAddr, status};
    for (int i = 0; i < 4; ++i)
        mustBe("argument of the callback", call[i], arguments[i]);
}

void Shadow::countCycle()
{
    if (cycleDone || ++cycleCount <= blocks)
        return;
    cycleCount = 0;
    cycleDone = true;
}

void Shadow::checkQueues()
{
    mustNotExceed("WriteVarList", PLC_driver.WriteVarList.size(), QueueLimit);
    mustNotExceed("OnceReadVarList", PLC_driver.OnceReadVarList.size(), QueueLimit);
    mustNotExceed("ProtocolList", PLC_driver.ProtocolList.size(), 1);
    mustNotExceed("SpareVarList", PLC_driver.SpareVarList.size(), 0);
}

void Shadow::called(int handle, int hostType, int hostAddr, int status)
{
    const int arguments[] = {handle, hostType, hostAddr, status};
    std::copy(std::begin(arguments), std::end(arguments), call);
    ++calls;
}

} // namespace soak
