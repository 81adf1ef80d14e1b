// The lists: the cyclic list built anew, the two queues when they are full, per-station storage searched; beside
// the model of the tests, which does all of it in the plainest way.
#include "driver_under_test.h"
#include "model/model.h"
#include "operations.h"

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
    model::Model plain;
    plain.settings[model::blockWords] = 30;
    plain.settings[model::defaultStation] = 1;
    plain.settings[model::stationMode] = PerStation;
    std::vector<model::HostVar> variables;
    for (const HOST_VAR &var : shuffledVariables(Variables))
        variables.push_back({var.areaType, var.station, var.address.toStdU16String(), var.length});
    return repeat([plain, variables]() mutable { plain.ReCreatReadVarList(variables); });
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

model::Var plainWish(int address)
{
    const RW_VAR wished = wish(address);
    model::Var var;
    var.hostAddr = wished.hostAddr;
    var.areaType = wished.areaType;
    var.station = wished.station;
    var.address = wished.address;
    var.addressText = wished.addressText.toStdU16String();
    var.length = wished.length;
    var.data = {wished.data.begin(), wished.data.end()};
    return var;
}

Run addPlainly()
{
    model::Model plain;
    std::vector<model::Var> given;
    for (int i = 0; i < QueueLimit; ++i) {
        plain.AddListWriteVar(plainWish(i), 0);
        given.push_back(plainWish(QueueLimit + i));
    }
    return repeat([plain, given, i = 0]() mutable {
        i = (i + 389) % QueueLimit;
        plain.AddListWriteVar(given[size_t(i)], 0);
    });
}

template <int Entries>
Run findPlainly()
{
    const int scattered = 7919; // a step to entries that are far apart; it divides none of the sizes
    model::Model plain;
    for (int i = 0; i < Entries; ++i)
        plain.ExtendVarList.push_back({1, 5, i, {}});
    return repeat([plain, entry = 0]() mutable {
        entry = (entry + scattered) % Entries;
        plain.ExtendFindSameVar(1, 5, entry);
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
            {"plain-queue-write-new", 500, addPlainly},
            {"plain-station-find-10", 2000, findPlainly<10>},
            {"plain-station-find-100000", 20, findPlainly<100000>}};
}

} // namespace bench
