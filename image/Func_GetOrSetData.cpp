// The register image, in fixed buffers or per station, and the host's reads and writes on it.
#include "image/areas_p.h"
#include "image/station_p.h"

#include <cstring>

namespace
{

/// Makes the array at least `size` long, with zeros up to `written`, from where on the caller fills it. Returns its
/// bytes; null if no array is so long.
char *grown(QByteArray &array, qint64 size, qint64 written)
{
    const int before = int(array.size());
    if (size > before) {
        if (size > 0x7fff0000)
            return 0;
        array.resize(int(size));
        if (written > before)
            memset(array.data() + before, 0, size_t(written - before));
    }
    return array.data();
}

/// Makes the array at least this long, with zeros.
char *grown(QByteArray &array, qint64 size)
{
    return grown(array, size, size);
}

template <typename Element>
Clip clipBits(const Span<Element> &span, int start, qint64 count)
{
    const int bits = 8 * sizeof(Element);
    return Clip(start, count, span.first * bits, span.end * bits);
}

template <typename Element>
void getBits(QByteArray &out, const Span<Element> &span, int start, int count)
{
    const int bits = 8 * sizeof(Element);
    const Clip clip = clipBits(span, start, count);
    char *const bytes = clip.isEmpty() ? 0 : grown(out, clip.end, clip.begin);
    for (qint64 i = clip.begin; bytes && i < clip.end; ++i) {
        const qint64 at = start + i;
        bytes[i] = char((span.base[at / bits] >> (at & (bits - 1))) & 1);
    }
}

template <typename Element>
void setBits(const Span<Element> &span, int start, const QByteArray *in, int count)
{
    const int bits = 8 * sizeof(Element);
    const Clip clip = clipBits(span, start, in ? qMin(count, int(in->size())) : 0);
    for (qint64 i = clip.begin; i < clip.end; ++i) {
        const qint64 at = start + i;
        const Element mask = Element(1u << (at & (bits - 1)));
        Element &element = span.base[at / bits];
        element = Element(in->at(int(i)) == 1 ? element | mask : element & ~mask); // Deliberate: behaviour 301.
    }
}

/// Little-endian bytes of elements start .. start + count - 1.
template <typename Element>
void getElements(QByteArray &out, const Span<Element> &span, int start, qint64 count)
{
    const qint64 width = sizeof(Element);
    const Clip clip(start, count, span.first, span.end);
    char *const bytes = clip.isEmpty() ? 0 : grown(out, clip.end * width, clip.begin * width);
    if (bytes)
        memcpy(bytes + clip.begin * width, span.base + start + clip.begin, size_t((clip.end - clip.begin) * width));
}

template <typename Element>
void setElements(const Span<Element> &span, int start, const QByteArray *in, qint64 count)
{
    const qint64 width = sizeof(Element);
    const Clip clip(start, in ? qMin(count, qint64(in->size() / width)) : 0, span.first, span.end);
    if (!clip.isEmpty())
        memcpy(span.base + start + clip.begin, in->constData() + clip.begin * width,
               size_t((clip.end - clip.begin) * width));
}

/// Double words counted in 16-bit words. Deliberate: behaviour 302.
void getDoubleWords(QByteArray &out, const Span<unsigned int> &span, int start, int count)
{
    if (count != 1)
        return getElements(out, span, start, count / 2);
    QByteArray whole;
    getElements(whole, span, start, 1);
    if (!whole.isEmpty())
        memcpy(grown(out, 2), whole.constData(), 2);
}

void setDoubleWords(const Span<unsigned int> &span, int start, const QByteArray *in, int count)
{
    setElements(span, start, in, count / 2);
}

// ---- the fixed image; the caller holds ImageMutex

void readFixed(const Area &area, int address, int length, QByteArray &out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    switch (area.kind) {
    case BitKind:
        return getBits(out, wholeOf<unsigned char>(area), address, length);
    case WordKind:
        return getElements(out, wholeOf<unsigned short>(area), address, length);
    case DoubleWordKind:
        return getDoubleWords(out, wholeOf<unsigned int>(area), address, length);
    case NoKind:
        return;
    }
}

void writeFixed(const Area &area, const RW_VAR &var) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    switch (area.kind) {
    case BitKind:
        return setBits(wholeOf<unsigned char>(area), var.address, &var.data, var.length);
    case WordKind:
        return setElements(wholeOf<unsigned short>(area), var.address, &var.data, var.length);
    case DoubleWordKind:
        return setDoubleWords(wholeOf<unsigned int>(area), var.address, &var.data, var.length);
    case NoKind:
        return;
    }
}

// ---- per-station storage; the caller holds ImageMutex

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

void readStation(const Area &area, int station, int areaType, int address, int length, QByteArray &out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    const int count = qMin(length, MostItems);
    if (area.kind == NoKind || count < 1)
        return;
    const int width = kindOf(area.kind).bytesPerElement;
    char *const bytes = grown(out, qint64(count) * width);
    if (isBit(area))
        readStationBits(station, areaType, address, count, bytes);
    else
        readStationElements(station, areaType, address, count, width, bytes);
}

void writeStationBits(const RW_VAR &var, int count) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    for (int i = 0; i < count; ++i) {
        const int bit = cut(qint64(var.address) + i);
        const int entry = ExtendFindSameVar(var.station, var.areaType, entryOfBit(bit));
        if (stationValue(entry).isEmpty() || i >= var.data.size())
            continue;
        const int mask = 1 << (bit & 7);
        const int old = static_cast<unsigned char>(stationValue(entry).at(0));
        setStationValue(entry, QByteArray(1, char(var.data.at(i) == 1 ? old | mask : old & ~mask)));
    }
}

void writeStationElements(const RW_VAR &var, int count, int width)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    const int present = qMin(count, int(var.data.size()) / width);
    for (int i = 0; i < present; ++i)
        setStationValue(entryOfItem(var.station, var.areaType, var.address, i), var.data.mid(i * width, width));
}

void writeStation(const Area &area, const RW_VAR &var) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    if (isBit(area))
        writeStationBits(var, qMin(var.length, MostItems));
    else if (area.kind == WordKind)
        writeStationElements(var, qMin(var.length, MostItems), 2);
    else if (area.kind == DoubleWordKind)
        writeStationElements(var, qMin(var.length / 2, MostItems), 4);
}

// ---- host writes

/// A write record for the whole of the host's write, without place and data.
RW_VAR writeRecord(const QString &text, int areaType, const QString &address, int station, int hostType,
                   int hostAddr)
{
    RW_VAR var;
    var.hostType = hostType;
    var.hostAddr = hostAddr;
    var.hostField3 = 1;
    var.remoteModeCopy = settings().remoteMode;
    var.linkNo = settings().localLinkNo;
    var.text1 = text;
    var.addressText = address;
    var.areaType = areaType;
    var.station = settings().stationMode ? station : settings().defaultStation;
    return var;
}

/// `size` bytes of values from `from` on; zeros stand in for those that it lacks.
QByteArray padded(const QByteArray &values, qint64 from, int size)
{
    QByteArray bytes = from < values.size() ? values.mid(int(from), size) : QByteArray();
    grown(bytes, size);
    return bytes;
}

int queueWrite(RW_VAR &var)
{
    const int queued = AddListWriteVar(&var, 0);
    if (linkIsFailing())
        WriteDataToLocal(&var);
    return queued;
}

/// Bits go one by one, words in blocks.
int queueWrites(RW_VAR &var, const Area &area, const QByteArray &values, int length, int address)
{
    const int width = isBit(area) ? 1 : 2;
    const Pieces pieces(qMin(length, MostItems), isBit(area) ? 1 : settings().blockWords);
    int queued = 0;
    for (int i = 0; i < pieces.count(); ++i) {
        var.address = cut(address + pieces.offset(i));
        var.length = pieces.size(i);
        var.data = padded(values, pieces.offset(i) * width, var.length * width);
        queued = queueWrite(var);
    }
    return queued;
}

} // namespace

void GetBitFromUC(QByteArray &out, unsigned char *buffer, int start, int count)
{
    getBits(out, spanOf(buffer), start, count);
}

void GetBitFromUS(QByteArray &out, unsigned short *buffer, int start, int count)
{
    getBits(out, spanOf(buffer), start, count);
}

void GetWordFromUS(QByteArray &out, unsigned short *buffer, int start, int count)
{
    getElements(out, spanOf(buffer), start, count);
}

void GetWordFromUI(QByteArray &out, unsigned int *buffer, int start, int count)
{
    getDoubleWords(out, spanOf(buffer), start, count);
}

void SetBitToUC(int start, unsigned char *buffer, QByteArray *in, int count)
{
    setBits(spanOf(buffer), start, in, count);
}

void SetBitToUS(int start, unsigned short *buffer, QByteArray *in, int count)
{
    setBits(spanOf(buffer), start, in, count);
}

void SetWordToUS(int start, unsigned short *buffer, QByteArray *in, int count)
{
    setElements(spanOf(buffer), start, in, count);
}

void SetWordToUI(int start, unsigned int *buffer, QByteArray *in, int count)
{
    setDoubleWords(spanOf(buffer), start, in, count);
}

void WriteDataToLocal(RW_VAR *var)
{
    if (!var)
        return;
    const Area &area = areaOf(var->areaType);
    Locker lock(PLC_driver.ImageMutex);
    if (settings().stationMode)
        writeStation(area, *var);
    else
        writeFixed(area, *var);
}

int GetRegisterData(int, int areaType, QString address, int station, QByteArray *out, int length)
{
    const Area &area = areaOf(areaType);
    const int start = addressOf(area, address);
    if (start < 0)
        return 0;
    QByteArray unwanted;
    QByteArray &bytes = out ? *out : unwanted;
    Locker lock(PLC_driver.ImageMutex);
    if (settings().stationMode)
        readStation(area, station, areaType, start, length, bytes); // Deliberate: behaviour 303.
    else
        readFixed(area, start, length, bytes);
    return 1;
}

int SetRegisterData(QString text, int areaType, QString address, int station, QByteArray *values, int length,
                    int hostType, int hostAddr)
{
    const Area &area = areaOf(areaType);
    const int start = addressOf(area, address);
    if (start < 0)
        return 0;
    RW_VAR var = writeRecord(text, areaType, address, station, hostType, hostAddr);
    const QByteArray bytes = values ? *values : QByteArray();
    if (settings().writeMode == 2)
        return area.writeCode ? queueWrites(var, area, bytes, length, start) : 0; // Deliberate: behaviour 304.
    var.address = start;
    var.length = length;
    var.data = bytes;
    WriteDataToLocal(&var);
    return 1;
}
