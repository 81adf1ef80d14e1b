#include "frame_text.h"

#include "remote_frame.h"

#include <QtCore/QStringList>

namespace fgs
{

namespace
{

bool isRefusal(FrameView frame)
{
    return frame.size == AcknowledgeSize && frame.at(CommandAt) == WriteCommand && frame.at(CountAt) == Rejected;
}

QString number(int value, int digits)
{
    return QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

QString nameOfArea(int code)
{
    const Area *const area = areaOfCode(code);
    return area ? QStringLiteral("area %1").arg(area->number)
                : QStringLiteral("unknown area code 0x%1").arg(number(code, 2));
}

QString nameOfStation(int station)
{
    return station ? QStringLiteral("station %1").arg(station) : QStringLiteral("all stations");
}

/// "area 5 100x4 (wire 0x08:100)"
QString describePlace(FrameView entry)
{
    const int code = entry.at(0), count = entry.at(1), address = entry.le16(2);
    const Area *const area = areaOfCode(code);
    return QStringLiteral("%1 %2x%3 (wire 0x%4:%5)")
        .arg(nameOfArea(code), area ? addressText(area->number, address) : QString::number(address))
        .arg(count)
        .arg(number(code, 2))
        .arg(address);
}

/// The values of one entry, in hexadecimal; bits by the byte, the lowest address in bit 0.
QString describeValues(const Area &area, FrameView data)
{
    QStringList values;
    const int width = bytesPerElement(area);
    for (int i = 0; i + width <= data.size; i += width)
        values << (width == 1   ? number(data.at(i), 2)
                   : width == 2 ? number(data.be16(i), 4)
                                : number(data.be16(i + 2), 4) + number(data.be16(i), 4));
    return values.join(QLatin1Char(' '));
}

QString describeWrite(FrameView frame)
{
    const Area *const area = areaOfCode(frame.at(EntriesAt));
    const int dataAt = EntriesAt + RequestEntrySize;
    const FrameView data = {frame.bytes + dataAt, frame.size - dataAt - CrcSize};
    return QStringLiteral("%1, write %2 = %3")
        .arg(nameOfStation(frame.at(StationAt)), describePlace(frame.from(EntriesAt)),
             area && data.size > 0 ? describeValues(*area, data) : QStringLiteral("?"));
}

// ---- remote frames

/// "area 5 100x4", counting values.
QString describePlace(const RemoteRequest &request, int values)
{
    const bool isKnown = areaOf(request.area) && request.address < quint32(AddressCount);
    return QStringLiteral("area %1 %2x%3")
        .arg(request.area)
        .arg(isKnown ? addressText(request.area, static_cast<int>(request.address))
                     : QString::number(request.address))
        .arg(values);
}

/// Elements that a remote read asks for; of an unknown area none.
int elementsOf(const RemoteRequest &read)
{
    const Area *const area = areaOf(read.area);
    return area ? remoteReadElements(*area, read.count) : 0;
}

/// Values that a remote read asks for; of an unknown area its length.
int valuesOf(const RemoteRequest &read)
{
    const Area *const area = areaOf(read.area);
    return area ? elementsOf(read) * addressesPerElement(*area) : read.count;
}

/// Bytes of one value in the data of a write: one a bit, and of an unknown area.
int widthOfWritten(const RemoteRequest &write)
{
    const Area *const area = areaOf(write.area);
    return !area || area->kind == AreaKind::Bit ? 1 : bytesPerElement(*area);
}

/// The data of a write: a byte a bit, otherwise least significant byte first.
QString describeWritten(const RemoteRequest &write)
{
    const FrameView data = write.data;
    const int width = widthOfWritten(write);
    QStringList values;
    for (int i = 0; i + width <= data.size; i += width)
        values << (width == 1   ? QString::number(data.at(i))
                   : width == 2 ? number(data.le16(i), 4)
                                : number(data.le16(i + 2), 4) + number(data.le16(i), 4));
    return values.join(QLatin1Char(' '));
}

QString describeRemoteRequest(FrameView frame)
{
    const RemoteRequest request = remoteRequestOf(frame);
    const QString head =
        QStringLiteral("link %1, %2, remote").arg(request.linkNo).arg(nameOfStation(request.station));
    return request.isWrite() ? QStringLiteral("%1 write %2 = %3")
                                   .arg(head, describePlace(request, request.data.size / widthOfWritten(request)),
                                        describeWritten(request))
                             : QStringLiteral("%1 read %2").arg(head, describePlace(request, valuesOf(request)));
}

QString hexOf(FrameView bytes)
{
    QStringList all;
    for (int i = 0; i < bytes.size; ++i)
        all << number(bytes.at(i), 2);
    return all.join(QLatin1Char(' '));
}

} // namespace

QString describeRemoteReply(FrameView reply, FrameView request)
{
    const RemoteRequest asked = remoteRequestOf(request);
    const QString station = nameOfStation(asked.station),
                  head = QStringLiteral(" (reply begins %1)").arg(hexOf({reply.bytes, RemoteReplyDataAt}));
    if (asked.isWrite())
        return station + QStringLiteral(", write done") + head;
    const Area *const area = areaOf(asked.area);
    const int size = area ? elementsOf(asked) * bytesPerElement(*area) : 0;
    return QStringLiteral("%1, %2: %3")
               .arg(station, describePlace(asked, valuesOf(asked)),
                    area ? describeValues(*area, {reply.bytes + RemoteReplyDataAt, size}) : QStringLiteral("?")) +
           head;
}

QString describeRequest(FrameView frame)
{
    if (isRemoteRequest(frame))
        return describeRemoteRequest(frame);
    const int entries = frame.size > CountAt ? frame.at(CountAt) : 0;
    if (entries < 1 || frame.size < EntriesAt + entries * RequestEntrySize)
        return QStringLiteral("not a request");
    if (frame.at(CommandAt) == WriteCommand)
        return describeWrite(frame);
    QStringList places;
    for (int i = 0; i < entries; ++i)
        places << describePlace(frame.from(EntriesAt + i * RequestEntrySize));
    return QStringLiteral("%1, read %2").arg(nameOfStation(frame.at(StationAt)), places.join(QStringLiteral(", ")));
}

QString describeReply(FrameView frame)
{
    if (isRefusal(frame))
        return QStringLiteral("%1, write refused").arg(nameOfStation(frame.at(StationAt)));
    if (replySize(frame) == 0 || replySize(frame) > frame.size)
        return QStringLiteral("not a reply");
    if (frame.at(CommandAt) == WriteCommand)
        return QStringLiteral("%1, write done").arg(nameOfStation(frame.at(StationAt)));
    QStringList parts;
    for (int i = 0, at = EntriesAt; i < frame.at(CountAt); ++i) {
        const Area &area = *areaOfCode(frame.at(at));
        const FrameView data = {frame.bytes + at + ReplyHeaderSize, dataSize(area, frame.at(at + 1))};
        parts << QStringLiteral("%1 x%2: %3")
                     .arg(nameOfArea(area.code))
                     .arg(frame.at(at + 1))
                     .arg(describeValues(area, data));
        at += ReplyHeaderSize + data.size;
    }
    return QStringLiteral("%1, %2").arg(nameOfStation(frame.at(StationAt)), parts.join(QStringLiteral(", ")));
}

} // namespace fgs
