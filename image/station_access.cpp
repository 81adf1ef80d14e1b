// Between per-station storage and byte strings.
#include "image/station_access_p.h"

#include "image/conversions_p.h"
#include "image/station_p.h"

namespace
{

/// Address of the entry that holds a bit, rounded toward zero.
int entryOfBit(int address)
{
    return address < 0 ? alignedBit(address + 7) : alignedBit(address);
}

int entryOfItem(int station, int areaType, int address, int item)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    return ExtendFindSameVar(station, areaType, cut(qint64(address) + item));
}

void readStationBits(int station, int areaType, int address, int count, char *out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    for (int i = 0; i < count; ++i) {
        const int bit = cut(qint64(address) + i);
        const QByteArray &value = stationValue(ExtendFindSameVar(station, areaType, entryOfBit(bit)));
        out[i] = char(value.isEmpty() ? 0 : (static_cast<unsigned char>(value.at(0)) >> (bit & 7)) & 1);
    }
}

void readStationElements(int station, int areaType, int address, int count, int width, char *out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    for (int i = 0; i < count; ++i, out += width) {
        const QByteArray &value = stationValue(entryOfItem(station, areaType, address, i));
        if (value.size() >= width)
            memcpy(out, value.constData(), size_t(width));
        else
            memset(out, 0, size_t(width));
    }
}

void writeStationBits(const RW_VAR &var, int count) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    for (int i = 0; i < count; ++i) {
        const int bit = cut(qint64(var.address) + i);
        const int entry = ExtendFindSameVar(var.station, var.areaType, entryOfBit(bit));
        if (stationValue(entry).isEmpty() || i >= var.data.size())
            continue;
        const bool on = var.data.at(i) == 1; // Deliberate: behaviour 301.
        const int mask = 1 << (bit & 7);
        const int old = static_cast<unsigned char>(stationValue(entry).at(0));
        setStationValue(entry, QByteArray(1, char(on ? old | mask : old & ~mask)));
    }
}

void writeStationElements(const RW_VAR &var, int count, int width)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    const int present = qMin(count, int(var.data.size()) / width);
    for (int i = 0; i < present; ++i)
        setStationValue(entryOfItem(var.station, var.areaType, var.address, i), var.data.mid(i * width, width));
}

} // namespace

void readStation(const Area &area, int station, int areaType, int address, int length, QByteArray &out)
{
    const int count = qMin(length, MostItems); // Deliberate: behaviour 303.
    if (area.kind == NoKind || count < 1)
        return;
    const int width = kindOf(area.kind).bytesPerElement;
    char *const bytes = grown(out, qint64(count) * width, 0);
    if (isBit(area))
        readStationBits(station, areaType, address, count, bytes);
    else
        readStationElements(station, areaType, address, count, width, bytes);
}

void writeStation(const Area &area, const RW_VAR &var)
{
    const int items = area.kind == DoubleWordKind ? var.length / 2 : var.length; // Deliberate: behaviour 303.
    const int count = qMin(items, MostItems);
    if (isBit(area))
        writeStationBits(var, count);
    else if (area.kind != NoKind)
        writeStationElements(var, count, kindOf(area.kind).bytesPerElement);
}
