// Write requests. Values are little-endian in the records and high byte first on the wire.
#include "image/areas_p.h"
#include "protocol/frame_p.h"

namespace
{

const int WriteHeadLength = HeadLength + EntryLength;

/// The area's write code; 0 if it is of another kind.
int writeCode(AreaKind kind, int areaType)
{
    const Area &area = areaOf(areaType);
    return area.kind == kind ? area.writeCode : 0;
}

void putHead(FrameWriter &frame, const RW_VAR &var, int code, int count)
{
    frame.u8(var.station).u8(WriteCommand).u8(1).u8(code).u8(count).le16(var.address);
}

/// Elements of `width` bytes as the wire has them: words low word first, each high byte first. An element that
/// the data does not hold whole goes as zeros.
void putElements(FrameWriter &frame, const QByteArray &data, int count, int width)
{
    for (int element = 0; element < count; ++element) {
        const int at = element * width;
        const bool present = data.size() >= at + width;
        for (int b = 0; b < width; ++b)
            frame.u8(present ? data.at(at + (b ^ 1)) : 0);
    }
}

void queueWriteFrame(FrameWriter &frame, const RW_VAR &var)
{
    queueRequest(frame.sealCrc(), var, ReplyShape{AcknowledgeLength, 0, 0});
}

void writeElements(const RW_VAR &var, int code, int count, int elements, int width)
{
    FrameWriter frame(WriteHeadLength + elements * width + CrcLength);
    putHead(frame, var, code, count);
    putElements(frame, var.data, elements, width);
    queueWriteFrame(frame, var);
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
    if (!PLC_driver.CommFailFlag)
        WriteDataToLocal(var); // Deliberate: behaviour 424.
}

void WriteBool(RW_VAR *var)
{
    if (!var)
        return;
    FrameWriter frame(WriteHeadLength + 1 + CrcLength);
    putHead(frame, *var, writeCode(BitKind, var->areaType), var->length);
    frame.u8(!var->data.isEmpty() && var->data.at(0) == 1);
    queueWriteFrame(frame, *var);
}

void WriteAnalog(RW_VAR *var)
{
    if (!var)
        return;
    const int words = qMin(var->length, MostItems);
    writeElements(*var, writeCode(WordKind, var->areaType), words, qMax(words, 0), 2);
}

void WriteAnalog_32CV(RW_VAR *var)
{
    if (!var)
        return;
    const int words = qMin(var->length, MostItems);
    const int doubleWords = words / 2 + (words & 1);
    writeElements(*var, areaOf(DoubleWordArea).writeCode, doubleWords, words < 1 ? 0 : doubleWords, 4);
}
