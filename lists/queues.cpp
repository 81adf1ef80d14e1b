// The queues of writes and one-shot reads.
#include "image/addresses_p.h"

namespace
{

const int QueueLimit = 1024;

bool samePlace(const RW_VAR &a, const RW_VAR &b)
{
    return a.station == b.station && a.areaType == b.areaType && a.address == b.address && a.length == b.length;
}

bool sameWish(const RW_VAR &a, const RW_VAR &b)
{
    return a.hostType == b.hostType && a.hostAddr == b.hostAddr && samePlace(a, b);
}

/// Index of the first match from `from` on, -1 if there is none.
int find(const QList<RW_VAR> &queue, int from, const RW_VAR &var, bool (*same)(const RW_VAR &, const RW_VAR &))
{
    for (int i = from; i < int(queue.size()); ++i)
        if (same(queue.at(i), var))
            return i;
    return -1;
}

void appendWithinLimit(QList<RW_VAR> &queue, const RW_VAR &var)
{
    if (int(queue.size()) < QueueLimit) // Deliberate: behaviour 222.
        queue.append(var);
}

/// Places a one-shot read by its address text; bits become whole bytes.
void place(RW_VAR &var, int address)
{
    const Area &area = areaOf(var.areaType);
    if (area.kind == NoKind) // Deliberate: behaviour 225.
        return;
    var.address = isBit(area) ? alignedBit(address) : address;
    if (isBit(area))
        var.length = bytesOfBits(address, var.length);
}

void queueOnceRead(RW_VAR piece) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    QList<RW_VAR> &queue = PLC_driver.OnceReadVarList;
    const RW_VAR whole(piece);
    const int stride = isBit(areaOf(whole.areaType)) ? 8 : 1; // Deliberate: behaviour 225.
    const Pieces pieces(whole.length, settings().blockWords);
    for (int i = 0; i < pieces.count() && int(queue.size()) < QueueLimit; ++i) {
        piece.address = cut(whole.address + pieces.offset(i) * stride);
        piece.length = pieces.size(i);
        if (find(queue, 0, piece, sameWish) < 0) // Deliberate: behaviour 224.
            queue.append(piece);
    }
}

} // namespace

int AddListWriteVar(RW_VAR *var, int mode)
{
    Locker lock(PLC_driver.ListMutex);
    QList<RW_VAR> &queue = PLC_driver.WriteVarList;
    if (!var)
        return int(queue.size());
    const bool asItStands = mode == 1 || queue.size() < 2;                // Deliberate: behaviour 223.
    const int queued = asItStands ? -1 : find(queue, 1, *var, samePlace); // Deliberate: behaviour 221.
    if (asItStands)
        queue.append(*var); // Deliberate: behaviour 227.
    else if (queued >= 0)
        queue[queued] = *var;
    else
        appendWithinLimit(queue, *var);
    return int(queue.size());
}

int AddListOnceReadVar(RW_VAR *var, int mode)
{
    RW_VAR wish = var ? *var : RW_VAR();
    const int address = addressOf(areaOf(wish.areaType), wish.addressText);
    if (mode != 1 && address < 0)
        return 0;
    Locker lock(PLC_driver.ListMutex);
    QList<RW_VAR> &queue = PLC_driver.OnceReadVarList;
    if (var && mode == 1) { // Deliberate: behaviour 223.
        queue.append(wish); // Deliberate: behaviour 227.
    } else if (var) {
        wish.remoteStoreMark = 0; // Deliberate: behaviour 226.
        wish.hostField14 = 0;
        if (!settings().stationMode)
            wish.station = settings().defaultStation;
        place(wish, address);
        queueOnceRead(wish);
    }
    return int(queue.size());
}
