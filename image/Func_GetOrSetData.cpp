// The host's reads and writes.
#include "image/addresses_p.h"
#include "image/conversions_p.h"
#include "image/station_access_p.h"

namespace
{

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

/// `size` bytes of values from `from` on; zeros stand in for those that it lacks. Deliberate: behaviour 314.
QByteArray padded(const QByteArray &values, qint64 from, int size)
{
    QByteArray bytes = from < values.size() ? values.mid(int(from), size) : QByteArray();
    grown(bytes, size, size);
    return bytes;
}

int queueWrite(RW_VAR &var)
{
    const int queued = AddListWriteVar(&var, 0);
    if (linkIsFailing()) // Deliberate: behaviour 311.
        WriteDataToLocal(&var);
    return queued;
}

/// Bits go one by one, words in blocks. Deliberate: behaviours 312, 313.
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
    return queued; // Deliberate: behaviour 316.
}

} // namespace

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
    return 1; // Deliberate: behaviour 308.
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
