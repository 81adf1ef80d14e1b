// Checked replies into the per-station list.
#include "protocol/station_store_p.h"

#include "image/station_p.h"
#include "protocol/frame_p.h"

namespace
{

/// The value bytes of one element, least significant first; none unless the reply holds it whole.
/// Deliberate: behaviour 442.
QByteArray valueAt(const ReplyView &reply, qint64 element, int width)
{
    if (!reply.holds(element, width))
        return QByteArray();
    char value[sizeof(unsigned int)];
    copyElements(value, reply.bytes + element, 1, width);
    return QByteArray(value, width);
}

void resizeStationValue(int entry, int size) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    if (entry >= int(PLC_driver.ExtendVarList.size()))
        return;
    QByteArray value = stationValue(entry);
    value.append(QByteArray(qMax(0, size - int(value.size())), 0)).truncate(size);
    setStationValue(entry, value);
}

} // namespace

void storePerStation(const QByteArray *reply, const StoredPiece &piece, const Area &area, int &lastEntry)
{
    if (area.kind == NoKind) // Deliberate: behaviour 444.
        return;
    const RW_VAR &var = *piece.var;
    const ReplyView view(reply);
    const Kind &kind = kindOf(area.kind);
    const int width = kind.bytesPerElement;
    const int length = qBound(0, piece.length, MostItems * width);
    for (int i = 0; i < length / width; ++i) {
        const int address = cut(var.address + qint64(i) * kind.addressesPerElement);
        lastEntry = ExtendFindSameVar(var.station, var.areaType, address);
        setStationValue(lastEntry, valueAt(view, piece.start + qint64(i) * width, width));
    }
    resizeStationValue(lastEntry, length); // Deliberate: behaviour 441.
}
