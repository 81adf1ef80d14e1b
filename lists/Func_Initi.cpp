// The cyclic read list, built from the host's variables.
#include "image/addresses_p.h"

#include <algorithm>
#include <QtCore/QHash>
#include <vector>

namespace
{

// ---- pieces of variables

/// A record on its way to the cyclic list, as far as records differ there.
struct Piece {
    int areaType;
    int address;
    int station;
    int length;
};
typedef std::vector<Piece> PieceList;

RW_VAR recordOf(const Piece &piece)
{
    RW_VAR var;
    var.hostAddr = -1;
    var.remoteModeCopy = settings().remoteMode;
    var.linkNo = settings().localLinkNo;
    var.areaType = piece.areaType;
    var.address = piece.address;
    var.station = piece.station;
    var.length = piece.length;
    return var;
}

RW_VAR recordOf(const RW_VAR &var)
{
    return var;
}

// What the records of the host and pieces have in common works on lists of either.

template <typename Record, typename List>
void split(int length, int limit, Record record, List &list)
{
    if (length <= limit || limit < 1) // Deliberate: behaviours 211, 212.
        return list.push_back(record);
    const int rest = length % limit; // Deliberate: behaviour 201.
    record.length = limit;
    list.push_back(record);
    record.address = cut(qint64(record.address) + limit);
    record.length = rest;
    if (rest)
        list.push_back(record);
}

template <typename Record>
bool lowerAddress(const Record &a, const Record &b)
{
    return a.address < b.address;
}

// ---- merging

/// Whole elements of `unit` addresses (1, or 8 bits to a byte) from a record's start on: the block that it makes.
struct Block {
    template <typename Record>
    Block(const Record &var, int addressesPerElement)
        : unit(addressesPerElement), start(var.address & ~(unit - 1)),
          length(elements(qint64(var.address) - start + var.length))
    {
    }

    qint64 elements(qint64 addresses) const { return (addresses + unit - 1) / unit; }
    qint64 end() const { return start + unit * length; }
    bool holds(qint64 first, qint64 last) const { return end() > first && end() >= last; }

    int unit;
    qint64 start;
    qint64 length; ///< elements
};

int appendBlock(RW_VAR entry, const Block &block, int count) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
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

/// Joins the records of a sorted list into blocks that span at most limit addresses. Gaps are read along.
template <typename List>
int merge(const List &sorted, int unit, int limit, int count) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    typename List::const_iterator var = sorted.begin();
    if (var == sorted.end())
        return count;
    Block block(*var, unit);
    count = appendBlock(recordOf(*var), block, count); // Deliberate: behaviour 207.
    while (++var != sorted.end()) {
        const qint64 end = qint64(var->address) + var->length;
        if (block.holds(var->address, end))
            continue;
        const qint64 span = end - block.start;
        if (span <= limit) { // Deliberate: behaviours 206, 212.
            block.length = block.elements(span);
            setLength(qint64(count) - 1, block.length);
        } else {
            block = Block(*var, unit);
            count = appendBlock(recordOf(*var), block, count);
        }
    }
    return count;
}

/// Most addresses that one block of the kind may span.
int blockLimit(AreaKind kind)
{
    const int words = settings().blockWords;
    return kind == BitKind ? saturate(qint64(words) * 8) : kind == DoubleWordKind ? words / 2 : words;
}

int mergePieces(PieceList &pieces, AreaKind kind, int count) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    std::stable_sort(pieces.begin(), pieces.end(), lowerAddress<Piece>);
    return merge(pieces, kind == BitKind ? 8 : 1, blockLimit(kind), count);
}

// ---- building

int buildShared(const QList<HOST_VAR> &hostVars) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    PieceList byType[AreaTypes];
    for (int i = 0; i < int(hostVars.size()); ++i) {
        const HOST_VAR &host = hostVars.at(i);
        const int address = addressOf(areaOf(host.areaType), host.address);
        if (address < 0 || host.areaType >= AreaTypes) // Deliberate: behaviour 209.
            continue;
        const int station = settings().defaultStation; // Deliberate: behaviour 208.
        const Piece whole = {host.areaType, address, station, host.length};
        split(host.length, blockLimit(areaOf(host.areaType).kind), whole, byType[host.areaType]);
    }
    // The order in which the image holds the areas: bits, words, double words.
    static const int order[AreaTypes] = {0, 1, 2, 11, 4, 3, 8, 9, 5, 12, 13, 7, 6, 10};
    int count = 0;
    for (int i = 0; i < AreaTypes; ++i)
        count = mergePieces(byType[order[i]], areaOf(order[i]).kind, count);
    return 0;
}

/// Pieces by area type and station, the keys in the order of their first occurrence.
class Groups
{
public:
    void add(const Piece &piece)
    {
        const int key = piece.areaType * Stations + piece.station; // Deliberate: behaviour 203.
        QHash<int, int>::const_iterator found = indexOfKey.constFind(key);
        const int index = found == indexOfKey.constEnd() ? append(key) : found.value();
        pieces[size_t(index)].push_back(piece);
    }

    int count() const { return int(keys.size()); }
    /// The newest piece first. Deliberate: behaviour 210.
    PieceList newestFirst(int index) const
    {
        const PieceList &group = pieces[size_t(index)];
        return PieceList(group.rbegin(), group.rend());
    }
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
        pieces.push_back(PieceList());
        return count() - 1;
    }

    QHash<int, int> indexOfKey;
    QList<int> keys;
    std::vector<PieceList> pieces;
};

/// Adds the pieces of one host variable. Bits are widened to whole bytes and counted in bytes from there on.
void addPieces(Groups &groups, const HOST_VAR &host, int address)
{
    const bool bits = isBit(areaOf(host.areaType));
    const int start = bits ? alignedBit(address) : address;
    const int length = bits ? bytesOfBits(address, host.length) : host.length;
    const Pieces pieces(length, settings().blockWords); // Deliberate: behaviours 211, 213.
    for (int i = 0; i < pieces.count(); ++i) {
        const int at = cut(start + pieces.offset(i) * (bits ? 8 : 1));
        groups.add(Piece{host.areaType, at, host.station, pieces.size(i)}); // Deliberate: behaviour 205.
    }
}

int buildPerStation(const QList<HOST_VAR> &hostVars) TARN_THREAD(requires_capability(PLC_driver.ListMutex))
{
    Groups groups;
    bool lastIsBit = false;
    for (int i = 0; i < int(hostVars.size()); ++i) {
        const HOST_VAR &host = hostVars.at(i);
        const int address = addressOf(areaOf(host.areaType), host.address);
        if (address < 0) // Deliberate: behaviour 209.
            continue;
        lastIsBit = isBit(areaOf(host.areaType));
        addPieces(groups, host, address);
    }
    int count = 0;
    for (int i = 0; i < groups.count(); ++i) {
        const AreaKind kind = lastIsBit                 ? BitKind // Deliberate: behaviour 204.
                              : groups.isDoubleWords(i) ? DoubleWordKind
                                                        : WordKind;
        PieceList pieces = groups.newestFirst(i);
        count = mergePieces(pieces, kind, count);
    }
    return int(PLC_driver.ReadVarList.size());
}

} // namespace

int AddListReadVar(RW_VAR *var) TARN_THREAD(no_thread_safety_analysis)
{
    if (var)
        PLC_driver.ReadVarList.append(*var); // Deliberate: behaviour 104.
    return int(PLC_driver.ReadVarList.size());
}

void WhetherGroup(int length, int limit, RW_VAR *var, QList<RW_VAR> *list)
{
    if (var && list)
        split(length, limit, RW_VAR(*var), *list);
}

void Bubble_Sort(QList<RW_VAR> *list)
{
    if (list)
        std::stable_sort(list->begin(), list->end(), lowerAddress<RW_VAR>);
}

// The lists are copied: they may be the cyclic list itself.

int WordVarReCreat(QList<RW_VAR> *list, int limit, int count)
{
    return list ? merge(QList<RW_VAR>(*list), 1, limit, count) : count;
}

int BitVarReCreat(QList<RW_VAR> *list, int limit, int count)
{
    return list ? merge(QList<RW_VAR>(*list), 8, limit, count) : count;
}

int ReCreatReadVarList(QList<HOST_VAR> *hostVars)
{
    Locker lock(PLC_driver.ListMutex);
    PLC_driver.ReadVarList.clear();
    PLC_driver.CycleReadCount = 0; // Deliberate: behaviour 214.
    setWord(&COMINFO::cycleDone, 0);
    if (!hostVars || hostVars->isEmpty())
        return 0;
    return settings().stationMode ? buildPerStation(*hostVars)
                                  : buildShared(*hostVars); // Deliberate: behaviour 202.
}
