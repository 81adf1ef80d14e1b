#include "plain.h"

#include <QtCore/QMultiMap>

namespace plain
{

namespace
{

bool isBits(int areaType)
{
    return areaType <= 4 || areaType == 11;
}

unsigned shifted(unsigned crc)
{
    return (crc >> 1) ^ ((crc & 1) ? 0xA001u : 0u);
}

struct Table {
    unsigned short entry[256];

    Table()
    {
        for (unsigned i = 0; i < 256; ++i) {
            unsigned crc = i;
            for (int bit = 0; bit < 8; ++bit)
                crc = shifted(crc);
            entry[i] = static_cast<unsigned short>(crc);
        }
    }
};

const Table table;

int bytesAround(int address, int bits)
{
    return ((address & 7) + bits + 7) / 8;
}

int numberOf(const HOST_VAR &host)
{
    if (host.areaType > 13)
        return 0;
    return host.address.toInt(nullptr, host.areaType <= 1 ? 8 : 10);
}

RW_VAR record(const HOST_VAR &host, int address, int station, int length, const COMINFO &settings)
{
    RW_VAR var;
    var.hostAddr = -1;
    var.remoteModeCopy = settings.remoteMode;
    var.linkNo = settings.localLinkNo;
    var.areaType = host.areaType;
    var.address = address;
    var.station = station;
    var.length = length;
    return var;
}

/// The first and the last part of a record that is longer than the limit.
void split(RW_VAR var, int limit, QList<RW_VAR> &list)
{
    if (var.length <= limit) {
        list.append(var);
        return;
    }
    const int rest = var.length % limit;
    var.length = limit;
    list.append(var);
    var.address += limit;
    var.length = rest;
    if (rest != 0)
        list.append(var);
}

void mergeWords(const QList<RW_VAR> &sorted, int limit, QList<RW_VAR> &cyclic)
{
    int start = 0, length = 0;
    for (int i = 0; i < sorted.size(); ++i) {
        const int address = sorted[i].address, end = address + sorted[i].length;
        if (i > 0 && start + length > address && start + length >= end)
            continue;
        if (i > 0 && end - start <= limit) {
            length = end - start;
            cyclic.last().length = length;
            continue;
        }
        cyclic.append(sorted[i]);
        start = address;
        length = sorted[i].length;
    }
}

void mergeBits(const QList<RW_VAR> &sorted, int limit, QList<RW_VAR> &cyclic)
{
    int start = 0, bytes = 0;
    for (int i = 0; i < sorted.size(); ++i) {
        const int address = sorted[i].address, end = address + sorted[i].length;
        if (i > 0 && start + 8 * bytes > address && start + 8 * bytes >= end)
            continue;
        if (i > 0 && end - start <= limit) {
            bytes = (end - start + 7) / 8;
            cyclic.last().length = bytes;
            continue;
        }
        cyclic.append(sorted[i]);
        start = address & ~7;
        bytes = bytesAround(address, sorted[i].length);
        cyclic.last().address = start;
        cyclic.last().length = bytes;
    }
}

QList<RW_VAR> sharedList(const QList<HOST_VAR> &hostVars, const COMINFO &settings)
{
    const int limit = settings.blockWords;
    QList<RW_VAR> lists[14], cyclic;
    for (const HOST_VAR &host : hostVars) {
        const int address = numberOf(host);
        if (address < 0 || host.areaType > 13)
            continue;
        split(record(host, address, settings.defaultStation, host.length, settings),
              isBits(host.areaType) ? 8 * limit
              : host.areaType == 10 ? limit / 2
                                    : limit,
              lists[host.areaType]);
    }
    for (QList<RW_VAR> &list : lists)
        bubbleSort(list);
    for (int areaType : {0, 1, 2, 11, 4, 3})
        mergeBits(lists[areaType], 8 * limit, cyclic);
    for (int areaType : {8, 9, 5, 12, 13, 7, 6})
        mergeWords(lists[areaType], limit, cyclic);
    mergeWords(lists[10], limit / 2, cyclic);
    return cyclic;
}

QList<RW_VAR> stationList(const QList<HOST_VAR> &hostVars, const COMINFO &settings)
{
    const int limit = settings.blockWords;
    QMultiMap<int, RW_VAR> pieces;
    QList<int> keys;
    bool lastIsBits = false;
    for (const HOST_VAR &host : hostVars) {
        int address = numberOf(host), length = host.length;
        if (address < 0)
            continue;
        lastIsBits = isBits(host.areaType);
        if (lastIsBits) {
            length = bytesAround(address, length);
            address &= ~7;
        }
        const int key = host.areaType * 255 + host.station;
        for (int done = 0; done < length; done += limit) {
            pieces.insert(key, record(host, address + (lastIsBits ? 8 * done : done), host.station,
                                      qMin(limit, length - done), settings));
            if (!keys.contains(key))
                keys.append(key);
        }
    }
    QList<RW_VAR> cyclic;
    for (int key : keys) {
        QList<RW_VAR> list = pieces.values(key);
        bubbleSort(list);
        if (lastIsBits)
            mergeBits(list, 8 * limit, cyclic);
        else
            mergeWords(list, key >= 2551 && key <= 2805 ? limit / 2 : limit, cyclic);
    }
    return cyclic;
}

bool samePlace(const RW_VAR &a, const RW_VAR &b)
{
    return a.station == b.station && a.areaType == b.areaType && a.address == b.address && a.length == b.length;
}

} // namespace

unsigned short crcByBits(const unsigned char *bytes, int length)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = shifted(crc);
    }
    return static_cast<unsigned short>(crc);
}

unsigned short crcByTable(const unsigned char *bytes, int length)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i)
        crc = (crc >> 8) ^ table.entry[(crc ^ bytes[i]) & 0xFF];
    return static_cast<unsigned short>(crc);
}

void bubbleSort(QList<RW_VAR> &list)
{
    for (int i = 0; i <= list.size() - 2; ++i)
        for (int j = int(list.size()) - 1; j >= i + 1; --j)
            if (list.at(j).address < list.at(j - 1).address)
                std::swap(list[j], list[j - 1]);
}

QList<RW_VAR> cyclicList(const QList<HOST_VAR> &hostVars, const COMINFO &settings)
{
    return settings.stationMode ? stationList(hostVars, settings) : sharedList(hostVars, settings);
}

int findStationValue(QList<EXTENDVAR> &list, int station, int areaType, int address)
{
    for (int i = 0; i < list.size(); ++i)
        if (list.at(i).station == station && list.at(i).areaType == areaType && list.at(i).address == address)
            return i;
    EXTENDVAR entry;
    entry.station = station;
    entry.areaType = areaType;
    entry.address = address;
    entry.value = QByteArray(4, 0);
    list.append(entry);
    return int(list.size()) - 1;
}

void queueWrite(QList<RW_VAR> &queue, const RW_VAR &var)
{
    for (int i = 1; i < queue.size(); ++i)
        if (samePlace(queue.at(i), var)) {
            queue[i] = var;
            return;
        }
    if (queue.size() < 1024)
        queue.append(var);
}

} // namespace plain
