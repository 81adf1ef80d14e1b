// The lists: the cyclic list built anew, and the two queues when they are full.
#include "driver_under_test.h"
#include "operations.h"
#include "plain.h"

namespace bench
{

namespace
{

const int QueueLimit = 1024;

template <int Variables, bool PerStation>
Run rebuild()
{
    startDriver(30, PerStation);
    return repeat([variables = shuffledVariables(Variables)]() mutable { ReCreatReadVarList(&variables); });
}

template <int Variables, bool PerStation>
Run rebuildPlainly()
{
    const COMINFO settings = startDriver(30, PerStation);
    return repeat([variables = shuffledVariables(Variables), settings] { plain::cyclicList(variables, settings); });
}

RW_VAR wish(int address)
{
    RW_VAR var;
    var.hostAddr = address;
    var.areaType = 5;
    var.station = 1;
    var.address = address;
    var.addressText = QString::number(address);
    var.length = 1;
    var.data = QByteArray("\x12\x34", 2);
    return var;
}

/// Wishes that wait already, or, from beyond the queue's limit on, that do not.
QList<RW_VAR> wishes(int first)
{
    QList<RW_VAR> list;
    for (int i = 0; i < QueueLimit; ++i)
        list.append(wish(first + i));
    return list;
}

/// Takes the wishes in scattered order; the queue stays full.
template <int (*Add)(RW_VAR *, int)>
Run addTo(int first)
{
    startDriver(30);
    for (RW_VAR &queued : wishes(0))
        Add(&queued, 0);
    return repeat([given = wishes(first), i = 0]() mutable {
        i = (i + 389) % QueueLimit;
        require(Add(&given[i], 0) == QueueLimit, "the queue is not full");
    });
}

template <int (*Add)(RW_VAR *, int)>
Run addWaiting()
{
    return addTo<Add>(0);
}

template <int (*Add)(RW_VAR *, int)>
Run addNew()
{
    return addTo<Add>(QueueLimit);
}

Run addPlainly()
{
    return repeat([queued = wishes(0), given = wishes(QueueLimit), i = 0]() mutable {
        i = (i + 389) % QueueLimit;
        plain::queueWrite(queued, given.at(i));
    });
}

} // namespace

Operations listOperations()
{
    return {{"rebuild-1000-shared", 20, rebuild<1000, false>},
            {"rebuild-10000-shared", 4, rebuild<10000, false>},
            {"rebuild-1000-stations", 20, rebuild<1000, true>},
            {"rebuild-10000-stations", 4, rebuild<10000, true>},
            {"plain-rebuild-1000-shared", 4, rebuildPlainly<1000, false>},
            {"plain-rebuild-10000-shared", 2, rebuildPlainly<10000, false>},
            {"plain-rebuild-1000-stations", 4, rebuildPlainly<1000, true>},
            {"plain-rebuild-10000-stations", 2, rebuildPlainly<10000, true>},
            {"queue-write-waiting", 500, addWaiting<AddListWriteVar>},
            {"queue-write-new", 500, addNew<AddListWriteVar>},
            {"queue-read-waiting", 500, addWaiting<AddListOnceReadVar>},
            {"queue-read-new", 500, addNew<AddListOnceReadVar>},
            {"plain-queue-write-new", 500, addPlainly}};
}

} // namespace bench
