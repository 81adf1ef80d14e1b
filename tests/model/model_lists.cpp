// The cyclic read list and the two queues.
#include "model.h"

#include <algorithm>
#include <climits>
#include <deque>

namespace model
{

static bool isBits(int areaType)
{
    return (areaType >= 0 && areaType <= 4) || areaType == 11;
}

// (address mod 8 + bits + 7) / 8
static Wide bytesAround(Wide address, Wide bits)
{
    return ((address & 7) + bits + 7) / 8;
}

static Wide wholeByte(Wide address)
{
    return address - (address & 7);
}

// Words to bits; what does not fit into 32 bits is a very large limit, or a very low one.
static int bitsOf(int words)
{
    return static_cast<int>(std::max<Wide>(INT_MIN, std::min<Wide>(INT_MAX, Wide(words) * 8)));
}

// The lengths of the pieces of one variable: of the block size each, and the rest.
static std::vector<int> pieces(Wide length, Wide blockSize)
{
    std::vector<int> lengths;
    if (length < 1)
        return lengths;
    if (blockSize < 1)
        return {wrap(length)};
    for (; length > 0 && lengths.size() < 65536; length -= blockSize)
        lengths.push_back(wrap(std::min(length, blockSize)));
    return lengths;
}

int Model::AddListReadVar(const Var &var)
{
    ReadVarList.push_back(var);
    return static_cast<int>(ReadVarList.size());
}

int Model::ReCreatReadVarList(const std::vector<HostVar> &hostVars)
{
    ReadVarList.clear();
    CycleReadCount = 0;
    set(cycleDone, 0);
    if (hostVars.empty())
        return 0;
    if (get(stationMode) == 0) {
        buildShared(hostVars);
        return 0;
    }
    buildPerStation(hostVars);
    return static_cast<int>(ReadVarList.size());
}

Var Model::blockRecord() const
{
    Var record;
    record.hostType = 0;
    record.hostAddr = -1;
    record.remoteModeCopy = get(remoteMode);
    record.linkNo = get(localLinkNo);
    return record;
}

void Model::buildShared(const std::vector<HostVar> &hostVars)
{
    const int wordLimit = get(blockWords);
    const int bitLimit = bitsOf(wordLimit);
    const int doubleWordLimit = wordLimit / 2;
    std::map<int, std::vector<Var>> working;
    for (const HostVar &host : hostVars) {
        const int address = StringAddressToInt(host.areaType, host.address);
        if (address < 0 || host.areaType > 13)
            continue;
        Var record = blockRecord();
        record.areaType = host.areaType;
        record.address = address;
        record.station = get(defaultStation);
        record.length = host.length;
        const int limit = isBits(host.areaType) ? bitLimit : host.areaType == 10 ? doubleWordLimit : wordLimit;
        WhetherGroup(host.length, limit, record, working[host.areaType]);
    }
    for (int areaType = 0; areaType <= 13; ++areaType)
        Bubble_Sort(working[areaType]);
    int count = 0;
    for (int areaType : {0, 1, 2, 11, 4, 3})
        count = BitVarReCreat(working[areaType], bitLimit, count);
    for (int areaType : {8, 9, 5, 12, 13, 7, 6})
        count = WordVarReCreat(working[areaType], wordLimit, count);
    WordVarReCreat(working[10], doubleWordLimit, count);
}

void Model::buildPerStation(const std::vector<HostVar> &hostVars)
{
    const int blockSize = get(blockWords);
    std::map<int, std::deque<Var>> groups; // newest first
    std::vector<int> keys;
    bool lastIsBits = false;
    for (const HostVar &host : hostVars) {
        const int address = StringAddressToInt(host.areaType, host.address);
        if (address < 0)
            continue;
        lastIsBits = isBits(host.areaType);
        Wide start = address;
        Wide length = host.length;
        if (lastIsBits) {
            start = wholeByte(address);
            length = bytesAround(address, host.length);
        }
        for (int piece : pieces(length, blockSize)) {
            Var record = blockRecord();
            record.areaType = host.areaType;
            record.station = host.station;
            record.address = wrap(start);
            record.length = piece;
            const int key = host.areaType * 255 + host.station;
            groups[key].push_front(record);
            if (std::find(keys.begin(), keys.end(), key) == keys.end())
                keys.push_back(key);
            start += lastIsBits ? Wide(blockSize) * 8 : blockSize;
        }
    }
    int count = 0;
    for (int key : keys) {
        std::vector<Var> group(groups[key].begin(), groups[key].end());
        Bubble_Sort(group);
        if (lastIsBits)
            count = BitVarReCreat(group, bitsOf(blockSize), count);
        else if (key >= 2551 && key <= 2805)
            count = WordVarReCreat(group, blockSize / 2, count);
        else
            count = WordVarReCreat(group, blockSize, count);
    }
}

void Model::WhetherGroup(int length, int limit, const Var &var, std::vector<Var> &list)
{
    if (limit < 1 || length <= limit) {
        list.push_back(var);
        return;
    }
    const int rest = length % limit;
    Var piece = var;
    piece.length = limit;
    list.push_back(piece);
    if (rest == 0)
        return;
    piece.address = wrap(Wide(var.address) + limit);
    piece.length = rest;
    list.push_back(piece);
}

void Model::Bubble_Sort(std::vector<Var> &list)
{
    if (list.size() > 2000) { // bubbling would take minutes
        std::stable_sort(list.begin(), list.end(),
                         [](const Var &a, const Var &b) { return a.address < b.address; });
        return;
    }
    const int n = static_cast<int>(list.size());
    for (int i = 0; i <= n - 2; ++i)
        for (int j = n - 1; j >= i + 1; --j) {
            Var &lower = list[static_cast<size_t>(j - 1)];
            Var &upper = list[static_cast<size_t>(j)];
            if (upper.address < lower.address)
                std::swap(lower, upper);
        }
}

int Model::WordVarReCreat(const std::vector<Var> &list, int limit, int count)
{
    Wide blockStart = 0;
    Wide blockLength = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        const Wide address = list[i].address;
        const Wide length = list[i].length;
        if (i > 0) {
            if (blockStart + blockLength > address && blockStart + blockLength >= address + length)
                continue;
            const Wide span = address + length - blockStart;
            if (span <= limit) {
                blockLength = span;
                ReadVarList[static_cast<size_t>(count - 1)].length = wrap(span);
                continue;
            }
        }
        AddListReadVar(list[i]);
        blockStart = address;
        blockLength = length;
        count = count + 1;
    }
    return count;
}

int Model::BitVarReCreat(const std::vector<Var> &list, int limit, int count)
{
    Wide blockStart = 0;
    Wide blockBytes = 0;
    for (size_t i = 0; i < list.size(); ++i) {
        const Wide address = list[i].address;
        const Wide length = list[i].length;
        if (i > 0) {
            const Wide end = blockStart + 8 * blockBytes;
            if (end > address && end >= address + length)
                continue;
            const Wide span = address + length - blockStart;
            if (span <= limit) {
                blockBytes = (span + 7) / 8;
                ReadVarList[static_cast<size_t>(count - 1)].length = wrap(blockBytes);
                continue;
            }
        }
        blockStart = wholeByte(address);
        blockBytes = bytesAround(address, length);
        Var block = list[i];
        block.address = wrap(blockStart);
        block.length = wrap(blockBytes);
        AddListReadVar(block);
        count = count + 1;
    }
    return count;
}

int Model::AddListWriteVar(const Var &var, int mode)
{
    if (mode == 1 || WriteVarList.size() < 2) {
        WriteVarList.push_back(var);
        return static_cast<int>(WriteVarList.size());
    }
    for (size_t i = 1; i < WriteVarList.size(); ++i) {
        Var &queued = WriteVarList[i];
        if (queued.station == var.station && queued.areaType == var.areaType && queued.address == var.address &&
            queued.length == var.length) {
            queued = var;
            return static_cast<int>(WriteVarList.size());
        }
    }
    if (WriteVarList.size() < 1024)
        WriteVarList.push_back(var);
    return static_cast<int>(WriteVarList.size());
}

int Model::AddListOnceReadVar(Var var, int mode)
{
    if (mode == 1) {
        OnceReadVarList.push_back(var);
        return static_cast<int>(OnceReadVarList.size());
    }
    const int address = StringAddressToInt(var.areaType, var.addressText);
    if (address < 0)
        return 0;
    var.remoteStoreMark = 0;
    var.hostField14 = 0;
    if (get(stationMode) == 0)
        var.station = get(defaultStation);
    Wide start = var.address;
    Wide length = var.length;
    if (isBits(var.areaType)) {
        start = wholeByte(address);
        length = bytesAround(address, var.length);
    } else if (var.areaType >= 5 && var.areaType <= 13) {
        start = address;
    }
    const Wide blockSize = get(blockWords);
    for (int pieceLength : pieces(length, blockSize)) {
        Var piece = var;
        piece.address = wrap(start);
        piece.length = pieceLength;
        addOnceReadPiece(piece);
        start += isBits(var.areaType) ? blockSize * 8 : blockSize;
    }
    return static_cast<int>(OnceReadVarList.size());
}

void Model::addOnceReadPiece(const Var &piece)
{
    for (const Var &waiting : OnceReadVarList)
        if (waiting.hostType == piece.hostType && waiting.hostAddr == piece.hostAddr &&
            waiting.station == piece.station && waiting.areaType == piece.areaType &&
            waiting.address == piece.address && waiting.length == piece.length)
            return;
    if (OnceReadVarList.size() < 1024)
        OnceReadVarList.push_back(piece);
}

} // namespace model
