// The cyclic read list, built from the host's variables, and the queues of writes and one-shot reads.
#include "image/areas_p.h"

#include <algorithm>
#include <QtCore/QHash>

namespace
{

const int QueueLimit = 1024;

// ---- merging

/// Whole elements of `unit` addresses (1, or 8 bits to a byte) from a record's start on: the block that it makes.
struct Block {
    Block(const RW_VAR &var, int addressesPerElement)
        : unit(addressesPerElement), start(var.address & ~(unit - 1)),
          length(elements(qint64(var.address) - start + var.length))
    {
    }

    qint64 elements(qint64 addresses) const { return (addresses + unit - 1) / unit; }
    qint64 end() const { return start + unit * length; }
    qint64 spanTo(const RW_VAR &var) const { return qint64(var.address) + var.length - start; }
    bool holds(const RW_VAR &var) const { return end() > var.address && end() >= qint64(var.address) + var.length; }

    int unit;
    qint64 start;
    qint64 length; ///< elements
};

int appendBlock(const RW_VAR &var, const Block &block, int count)
    TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    RW_VAR entry(var);
    entry.address = cut(block.start);
    entry.length = cut(block.length);
    AddListReadVar(&entry);
    return cut(qint64(count) + 1);
}

void setLength(qint64 index, qint64 length) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (index >= 0 && index < int(PLC_driver.ReadVarList.size()))
        PLC_driver.ReadVarList[int(index)].length = cut(length);
}

/// Joins the records of a sorted list into blocks that span at most limit addresses. Gaps are read along. The
/// list is taken by value: it may be the cyclic list itself.
int merge(const QList<RW_VAR> sorted, int unit, int limit, int count)
    TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    if (sorted.isEmpty())
        return count;
    Block block(sorted.at(0), unit);
    count = appendBlock(sorted.at(0), block, count);
    for (int i = 1; i < int(sorted.size()); ++i) {
        const RW_VAR &var = sorted.at(i);
        if (block.holds(var))
            continue;
        const qint64 span = block.spanTo(var);
        if (limit >= 1 && span <= limit) { // Deliberate: behaviour 206.
            block.length = block.elements(span);
            setLength(qint64(count) - 1, block.length);
        } else {
            block = Block(var, unit);
            count = appendBlock(var, block, count);
        }
    }
    return count;
}

// ---- building

/// Most addresses that one block of the kind may span.
int blockLimit(AreaKind kind)
{
    const int words = settings().blockWords;
    return kind == BitKind ? saturate(qint64(words) * 8) : kind == DoubleWordKind ? words / 2 : words;
}

RW_VAR blockRecord(int areaType, int address, int station, int length)
{
    RW_VAR var;
    var.hostAddr = -1;
    var.remoteModeCopy = settings().remoteMode;
    var.linkNo = settings().localLinkNo;
    var.areaType = areaType;
    var.address = address;
    var.station = station;
    var.length = length;
    return var;
}

int buildShared(const QList<HOST_VAR> &hostVars) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    QList<RW_VAR> byType[AreaTypes];
    for (int i = 0; i < int(hostVars.size()); ++i) {
        const HOST_VAR &host = hostVars.at(i);
        const int address = addressOf(areaOf(host.areaType), host.address);
        if (address < 0 || host.areaType >= AreaTypes)
            continue;
        RW_VAR var = blockRecord(host.areaType, address, settings().defaultStation, host.length);
        WhetherGroup(host.length, blockLimit(areaOf(host.areaType).kind), &var, &byType[host.areaType]);
    }
    // The order in which the image holds the areas: bits, words, double words.
    static const int order[AreaTypes] = {0, 1, 2, 11, 4, 3, 8, 9, 5, 12, 13, 7, 6, 10};
    int count = 0;
    for (int i = 0; i < AreaTypes; ++i) {
        QList<RW_VAR> &list = byType[order[i]];
        const AreaKind kind = areaOf(order[i]).kind;
        Bubble_Sort(&list);
        count = merge(list, kind == BitKind ? 8 : 1, blockLimit(kind), count);
    }
    return 0;
}

/// Pieces by area type and station, the keys in the order of their first occurrence.
class Groups
{
public:
    void add(const RW_VAR &var)
    {
        const int key = var.areaType * Stations + var.station; // Deliberate: behaviour 203.
        QHash<int, int>::const_iterator found = indexOfKey.constFind(key);
        const int index = found == indexOfKey.constEnd() ? append(key) : found.value();
        pieces[index].prepend(var); // the newest first
    }

    int count() const { return int(keys.size()); }
    QList<RW_VAR> &group(int index) { return pieces[index]; }
    bool isDoubleWords(int index) const
    {
        return keys.at(index) >= 10 * 255 + 1 && keys.at(index) <= 10 * 255 + 255;
    }

private:
    static const int Stations = 255;

    int append(int key)
    {
        indexOfKey.insert(key, count());
        keys.append(key);
        pieces.append(QList<RW_VAR>());
        return count() - 1;
    }

    QHash<int, int> indexOfKey;
    QList<int> keys;
    QList<QList<RW_VAR>> pieces;
};

/// Adds the pieces of one host variable. Bits are widened to whole bytes and counted in bytes from there on.
void addPieces(Groups &groups, const HOST_VAR &host, int address)
{
    const bool bits = isBit(areaOf(host.areaType));
    const int start = bits ? alignedBit(address) : address;
    const Pieces pieces(bits ? bytesOfBits(address, host.length) : host.length, settings().blockWords);
    for (int i = 0; i < pieces.count(); ++i) {
        const int at = cut(start + pieces.offset(i) * (bits ? 8 : 1));
        groups.add(blockRecord(host.areaType, at, host.station, pieces.size(i))); // Deliberate: behaviour 205.
    }
}

int buildPerStation(const QList<HOST_VAR> &hostVars) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    Groups groups;
    bool lastIsBit = false;
    for (int i = 0; i < int(hostVars.size()); ++i) {
        const HOST_VAR &host = hostVars.at(i);
        const int address = addressOf(areaOf(host.areaType), host.address);
        if (address < 0)
            continue;
        lastIsBit = isBit(areaOf(host.areaType));
        addPieces(groups, host, address);
    }
    int count = 0;
    for (int i = 0; i < groups.count(); ++i) {
        const AreaKind kind = lastIsBit                 ? BitKind // Deliberate: behaviour 204.
                              : groups.isDoubleWords(i) ? DoubleWordKind
                                                        : WordKind;
        Bubble_Sort(&groups.group(i));
        count = merge(groups.group(i), kind == BitKind ? 8 : 1, blockLimit(kind), count);
    }
    return int(PLC_driver.ReadVarList.size());
}

// ---- queues

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
    if (int(queue.size()) < QueueLimit)
        queue.append(var);
}

/// Places a one-shot read by its address text; bits become whole bytes.
void place(RW_VAR &var, int address)
{
    const Area &area = areaOf(var.areaType);
    if (area.kind == NoKind)
        return;
    var.address = isBit(area) ? alignedBit(address) : address;
    if (isBit(area))
        var.length = bytesOfBits(address, var.length);
}

void queueOnceRead(RW_VAR piece) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    QList<RW_VAR> &queue = PLC_driver.OnceReadVarList;
    const RW_VAR whole(piece);
    const int stride = isBit(areaOf(whole.areaType)) ? 8 : 1;
    const Pieces pieces(whole.length, settings().blockWords);
    for (int i = 0; i < pieces.count() && int(queue.size()) < QueueLimit; ++i) {
        piece.address = cut(whole.address + pieces.offset(i) * stride);
        piece.length = pieces.size(i);
        if (find(queue, 0, piece, sameWish) < 0)
            queue.append(piece);
    }
}

} // namespace

int AddListReadVar(RW_VAR *var) TARN_THREAD(no_thread_safety_analysis)
{
    if (var)
        PLC_driver.ReadVarList.append(*var);
    return int(PLC_driver.ReadVarList.size());
}

void WhetherGroup(int length, int limit, RW_VAR *var, QList<RW_VAR> *list)
{
    if (!var || !list)
        return;
    RW_VAR piece(*var);
    if (length <= limit || limit < 1)
        return list->append(piece);
    const int rest = length % limit; // Deliberate: behaviour 201.
    piece.length = limit;
    list->append(piece);
    piece.address = cut(qint64(piece.address) + limit);
    piece.length = rest;
    if (rest)
        list->append(piece);
}

static bool lowerAddress(const RW_VAR &a, const RW_VAR &b)
{
    return a.address < b.address;
}

void Bubble_Sort(QList<RW_VAR> *list)
{
    if (list)
        std::stable_sort(list->begin(), list->end(), lowerAddress);
}

int WordVarReCreat(QList<RW_VAR> *list, int limit, int count)
{
    return list ? merge(*list, 1, limit, count) : count;
}

int BitVarReCreat(QList<RW_VAR> *list, int limit, int count)
{
    return list ? merge(*list, 8, limit, count) : count;
}

int ReCreatReadVarList(QList<HOST_VAR> *hostVars)
{
    Locker lock(PLC_driver.ListMutex);
    PLC_driver.ReadVarList.clear();
    PLC_driver.CycleReadCount = 0;
    setWord(&COMINFO::cycleDone, 0);
    if (!hostVars || hostVars->isEmpty())
        return 0;
    return settings().stationMode ? buildPerStation(*hostVars)
                                  : buildShared(*hostVars); // Deliberate: behaviour 202.
}

int AddListWriteVar(RW_VAR *var, int mode)
{
    Locker lock(PLC_driver.ListMutex);
    QList<RW_VAR> &queue = PLC_driver.WriteVarList;
    if (!var)
        return int(queue.size());
    const bool asItStands = mode == 1 || queue.size() < 2;
    const int queued = asItStands ? -1 : find(queue, 1, *var, samePlace); // Deliberate: behaviour 221.
    if (asItStands)
        queue.append(*var);
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
    if (var && mode == 1) {
        queue.append(wish);
    } else if (var) {
        wish.remoteStoreMark = 0;
        wish.hostField14 = 0;
        if (!settings().stationMode)
            wish.station = settings().defaultStation;
        place(wish, address);
        queueOnceRead(wish);
    }
    return int(queue.size());
}
