// Read requests: groups of one to six variables for the cyclic list, single variables for one-shot reads.
#include "protocol/Func_Read_p.h"

#include "image/areas_p.h"
#include "protocol/frame_p.h"
#include "protocol/requests_p.h"

QList<RW_VAR> CurrentRWVar;
int iRet_ValidLen[GroupLimit];
int iRet_ValidStar[GroupLimit];

namespace
{

/// What a read request asks of one variable.
struct Entry {
    quint32 bytes; ///< as in the frame
    int dataBytes; ///< in the reply
};

/// The entry of a length in a kind's units; numbers are cut to 32 bits here and to their width in the frame.
/// Deliberate: behaviour 406.
Entry entryOf(AreaKind kind, int code, const RW_VAR &var)
{
    const Kind &shape = kindOf(kind);
    const unsigned length = unsigned(var.length) + unsigned(shape.lengthBias); // Deliberate: behaviour 401.
    return Entry{entryBytes(code, length * unsigned(shape.addressesPerElement), var.address),
                 int(length * unsigned(shape.bytesPerElement))};
}

Entry entryOf(const RW_VAR &var)
{
    const Area &area = areaOf(var.areaType);
    return entryOf(area.kind, area.readCode, var); // Deliberate: behaviour 405.
}

/// The area's read code; 0 if it is of another kind. Deliberate: behaviour 409.
int readCode(AreaKind kind, int areaType)
{
    const Area &area = areaOf(areaType);
    return area.kind == kind ? area.readCode : 0;
}

/// Where the data of variable `index` stand in the reply.
void setPosition(int index, int start, int length)
{
    iRet_ValidStar[index] = start;
    iRet_ValidLen[index] = length;
}

/// The length of the reply to the entries; if it will be answered, the positions of its data are set.
int layReply(const Entry *entries, int count, bool answered)
{
    qint64 start = FirstData;
    for (int i = 0; i < count; ++i) {
        if (answered)
            setPosition(i, cut(start), entries[i].dataBytes);
        start += qint64(entries[i].dataBytes) + ReplyHeadLength;
    }
    return cut(start - ReplyHeadLength + CrcLength);
}

int replyLength(const Entry &entry)
{
    return layReply(&entry, 1, false);
}

void writeFrame(Protocol &request, const Entry *entries, int count)
{
    FrameWriter frame(request, readLength(count));
    frame.u8(request.var.station).u8(ReadCommand).u8(count);
    for (int i = 0; i < count; ++i)
        frame.entry(entries[i].bytes);
    frame.sealCrc();
}

/// The list that CurrentRWVar was before. It is filled while CurrentRWVar still stands, so that a variable may come
/// from there, and keeps its entries for the next time, which saves 20 to 42 % of a poll on the panel.
QList<RW_VAR> nextRWVar;

/// Makes copies of the variables those of the request in flight, and returns the first copy.
const RW_VAR &setCurrent(RW_VAR *const *vars, int count)
{
    while (int(nextRWVar.size()) > count)
        nextRWVar.removeLast();
    const int kept = int(nextRWVar.size());
    QList<RW_VAR>::iterator copy = nextRWVar.begin();
    for (int i = 0; i < kept; ++i, ++copy)
        assign(*copy, *vars[i]);
    for (int i = kept; i < count; ++i)
        nextRWVar.append(*vars[i]);
    CurrentRWVar.swap(nextRWVar);
    return CurrentRWVar.at(0);
}

/// A single read whose data position goes into the request itself. Deliberate: behaviours 403, 408.
void readSingle(const RW_VAR &var, const Entry &entry)
{
    const ReplyShape reply = {replyLength(entry), FirstData, entry.dataBytes};
    writeFrame(queueRequest(var, reply), &entry, 1);
}

} // namespace

void readGroup(RW_VAR *const *vars, int count)
{
    Entry entries[GroupLimit];
    for (int i = 0; i < count; ++i) {
        if (!vars[i])
            return;
        entries[i] = entryOf(*vars[i]);
    }
    const RW_VAR &first = setCurrent(vars, count);
    const int length = layReply(entries, count, first.station != 0);           // Deliberate: behaviour 404.
    writeFrame(queueRequest(first, ReplyShape{length, 0, 0}), entries, count); // Deliberate: behaviours 407, 408.
}

void ReadRegister1(RW_VAR *a)
{
    RW_VAR *const vars[] = {a};
    readGroup(vars, 1);
}

void ReadRegister2(RW_VAR *a, RW_VAR *b)
{
    RW_VAR *const vars[] = {a, b};
    readGroup(vars, 2);
}

void ReadRegister3(RW_VAR *a, RW_VAR *b, RW_VAR *c)
{
    RW_VAR *const vars[] = {a, b, c};
    readGroup(vars, 3);
}

void ReadRegister4(RW_VAR *a, RW_VAR *b, RW_VAR *c, RW_VAR *d)
{
    RW_VAR *const vars[] = {a, b, c, d};
    readGroup(vars, 4);
}

void ReadRegister5(RW_VAR *a, RW_VAR *b, RW_VAR *c, RW_VAR *d, RW_VAR *e)
{
    RW_VAR *const vars[] = {a, b, c, d, e};
    readGroup(vars, 5);
}

void ReadRegister6(RW_VAR *a, RW_VAR *b, RW_VAR *c, RW_VAR *d, RW_VAR *e, RW_VAR *f)
{
    RW_VAR *const vars[] = {a, b, c, d, e, f};
    readGroup(vars, 6);
}

void ReadRegister(RW_VAR *var)
{
    if (!var)
        return;
    switch (areaOf(var->areaType).kind) {
    case BitKind:
        return ReadBool(var);
    case WordKind:
        return ReadAnalog(var);
    case DoubleWordKind:
        return ReadAnalog_32CV(var);
    case NoKind:
        return; // Deliberate: behaviour 405.
    }
}

void ReadBool(RW_VAR *var)
{
    if (!var)
        return;
    const Entry entry = entryOf(BitKind, readCode(BitKind, var->areaType), *var);
    const RW_VAR &current = setCurrent(&var, 1);
    const bool answered = current.station != 0; // Deliberate: behaviour 404.
    setPosition(0, answered ? FirstData : 0, answered ? entry.dataBytes : 0);
    writeFrame(queueRequest(current, ReplyShape{replyLength(entry), 0, 0}), &entry, 1);
}

void ReadAnalog(RW_VAR *var)
{
    if (var)
        readSingle(*var, entryOf(WordKind, readCode(WordKind, var->areaType), *var));
}

void ReadAnalog_32CV(RW_VAR *var)
{
    if (!var)
        return;
    var->length /= 2; // Deliberate: behaviour 402.
    readSingle(*var, entryOf(DoubleWordKind, areaOf(DoubleWordArea).readCode, *var));
}
