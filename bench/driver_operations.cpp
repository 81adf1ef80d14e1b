// The driver alone: polling, reading, writing.
#include "driver_under_test.h"
#include "operations.h"

namespace bench
{

namespace
{

template <int Blocks, int Words>
Run poll()
{
    startDriver(Words);
    QList<HOST_VAR> vars;
    for (int i = 0; i < Blocks; ++i)
        vars.append(hostVar(5, 1, i * (Words + 1), Words));
    ReCreatReadVarList(&vars);
    return repeat([reply = replyTo(*ComCommunication())]() mutable {
        ComCommunication();
        require(DataCom(&reply, int(reply.size()))->result == 1, "the driver did not take its reply");
    });
}

/// One word: queued, sent, acknowledged.
Run write()
{
    startDriver(30);
    return repeat([address = QStringLiteral("100"), values = QByteArray("\x12\x34", 2),
                   acknowledge = QByteArray("\x01\xFF\x20", 3)]() mutable {
        SetRegisterData(QString(), 5, address, 1, &values, 1, 0, 0);
        while (!ComCommunication()) // after each five writes a turn of the empty cyclic list
            ;
        require(DataCom(&acknowledge, 3)->result == 1, "the driver did not take its acknowledgement");
    });
}

Run getWords()
{
    startDriver(100);
    return repeat([address = QStringLiteral("100")] {
        QByteArray words;
        GetRegisterData(0, 5, address, 1, &words, 100);
    });
}

// ---- per-station storage, entry by entry

const int FirstEntry = 100000; ///< so that all address texts have six digits
const int Scattered = 7919;    ///< a step to entries that are far apart; it divides none of the sizes

template <int Entries>
void fillStations()
{
    startDriver(30, true);
    PLC_driver.ImageMutex.lock();
    for (int i = 0; i < Entries; ++i)
        ExtendFindSameVar(1, 5, FirstEntry + i);
    PLC_driver.ImageMutex.unlock();
}

template <int Entries, int Step = 1>
Run writeItem()
{
    fillStations<Entries>();
    RW_VAR var;
    var.areaType = 5;
    var.station = 1;
    var.length = 1;
    var.data = QByteArray("\x12\x34", 2);
    return repeat([var, entry = 0]() mutable {
        entry = (entry + Step) % Entries;
        var.address = FirstEntry + entry;
        WriteDataToLocal(&var);
    });
}

template <int Entries, int Step = 1>
Run readItem()
{
    fillStations<Entries>();
    const int texts = 1000;
    QStringList addresses;
    for (int i = 0; i < texts; ++i)
        addresses.append(QString::number(FirstEntry + i * Step % Entries));
    return repeat([addresses, i = 0]() mutable {
        QByteArray word;
        i = (i + 1) % texts;
        GetRegisterData(0, 5, addresses.at(i), 1, &word, 1);
    });
}

template <int Entries>
Run findItem()
{
    fillStations<Entries>();
    return repeat([entry = 0]() mutable {
        entry = (entry + 1) % Entries;
        ExtendFindSameVar(1, 5, FirstEntry + entry);
    });
}

} // namespace

Operations driverOperations()
{
    return {{"poll-6x10", 1000, poll<6, 10>},
            {"poll-1x100", 1000, poll<1, 100>},
            {"write-1", 1000, write},
            {"get-100", 1000, getWords},
            {"station-find-10", 2000, findItem<10>},
            {"station-find-100000", 2000, findItem<100000>},
            {"station-write-10", 2000, writeItem<10>},
            {"station-write-100000", 2000, writeItem<100000>},
            {"station-write-100000-scattered", 2000, writeItem<100000, Scattered>},
            {"station-read-10", 2000, readItem<10>},
            {"station-read-100000", 2000, readItem<100000>},
            {"station-read-100000-scattered", 2000, readItem<100000, Scattered>}};
}

} // namespace bench
