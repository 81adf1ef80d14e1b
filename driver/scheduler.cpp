// The poll scheduler: what goes out next.
#include "protocol/Func_Read_p.h"
#include "protocol/requests_p.h"

namespace
{

const int MostInARow = 5; ///< writes, then one-shot reads, served before the next cyclic read

// The builders leave at most one request in ProtocolList.

void buildWrite() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CurrentSource = WriteSource;
    RW_VAR *const var = &PLC_driver.WriteVarList.first();
    settings().remoteMode ? Remote_WriteVar(var) : WriteRegister(var);
    ++PLC_driver.WriteTimes; // Deliberate: behaviour 112.
}

void buildOnceRead() TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PLC_driver.CurrentSource = OnceSource;
    setWord(&COMINFO::groupExtra, 0);
    RW_VAR *const var = &PLC_driver.OnceReadVarList.first();
    settings().remoteMode ? Remote_ReadVar(var) : ReadRegister(var);
    ++PLC_driver.OnceReadTimes; // Deliberate: behaviour 112.
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
    if (!PLC_driver.WriteVarList.isEmpty() && PLC_driver.WriteTimes < MostInARow) // Deliberate: behaviour 111.
        return buildWrite();
    if (!PLC_driver.OnceReadVarList.isEmpty() && PLC_driver.OnceReadTimes < MostInARow)
        return buildOnceRead();
    if (PLC_driver.ReadVarList.isEmpty())
        setWord(&COMINFO::cycleDone, 1); // Deliberate: behaviour 115.
    else
        buildCyclicRead();
    PLC_driver.WriteTimes = 0;
    PLC_driver.OnceReadTimes = 0;
}

} // namespace

Protocol *ComCommunication()
{
    if (!requestInFlight()) { // Deliberate: behaviour 116.
        Locker lock(PLC_driver.ListMutex);
        buildNextRequest();
    }
    return const_cast<Protocol *>(requestInFlight()); // found without detaching the list, which the host may share
}
