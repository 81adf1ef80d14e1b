// Write requests. Values are little-endian in the records and high byte first on the wire.
#include "image/areas_p.h"
#include "protocol/frame_p.h"
#include "protocol/requests_p.h"

namespace
{

const int WriteHeadLength = HeadLength + EntryLength;

/// The area's write code; 0 if it is of another kind. Deliberate: behaviour 427.
int writeCode(AreaKind kind, int areaType)
{
    const Area &area = areaOf(areaType);
    return area.kind == kind ? area.writeCode : 0;
}

void putHead(FrameWriter &frame, const RW_VAR &var, int code, int count)
{
    frame.u8(var.station).u8(WriteCommand).u8(1).entry(entryBytes(code, quint32(count), var.address));
}

Protocol &queueWrite(const RW_VAR &var)
{
    return queueRequest(var, ReplyShape{AcknowledgeLength, 0, 0});
}

/// Elements of `width` bytes, double words low word first. One that the data does not hold whole goes as zeros.
/// Deliberate: behaviour 422.
void writeElements(const RW_VAR &var, int code, int count, int elements, int width)
{
    Protocol &request = queueWrite(var);
    const QByteArray &data = request.var.data;
    const int present = qMin(elements, int(data.size()) / width);
    FrameWriter frame(request, WriteHeadLength + elements * width + CrcLength);
    putHead(frame, request.var, code, count);
    frame.words(data.constData(), present * width / 2).zeros((elements - present) * width).sealCrc();
}

} // namespace

void WriteRegister(RW_VAR *var)
{
    if (!var)
        return;
    const Area &area = areaOf(var->areaType);
    if (area.writeCode && area.kind == BitKind)
        WriteBool(var);
    else if (area.writeCode && area.kind == WordKind)
        WriteAnalog(var);
    else if (area.writeCode && area.kind == DoubleWordKind)
        WriteAnalog_32CV(var);
    if (!linkIsFailing())      // Deliberate: behaviour 311.
        WriteDataToLocal(var); // Deliberate: behaviours 424, 426.
}

void WriteBool(RW_VAR *var)
{
    if (!var)
        return;
    Protocol &request = queueWrite(*var);
    const RW_VAR &bit = request.var;
    FrameWriter frame(request, WriteHeadLength + 1 + CrcLength);
    putHead(frame, bit, writeCode(BitKind, bit.areaType), bit.length);
    frame.u8(!bit.data.isEmpty() && bit.data.at(0) == 1).sealCrc(); // Deliberate: behaviours 301, 421.
}

void WriteAnalog(RW_VAR *var)
{
    if (!var)
        return;
    const int words = qMin(var->length, MostItems); // Deliberate: behaviour 425.
    writeElements(*var, writeCode(WordKind, var->areaType), words, qMax(words, 0), 2);
}

void WriteAnalog_32CV(RW_VAR *var)
{
    if (!var)
        return;
    const int words = qMin(var->length, MostItems);  // Deliberate: behaviour 425.
    const int doubleWords = words / 2 + (words & 1); // Deliberate: behaviour 423.
    writeElements(*var, areaOf(DoubleWordArea).writeCode, doubleWords, words < 1 ? 0 : doubleWords, 4);
}
