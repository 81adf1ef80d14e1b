#include "plan.h"

#include <algorithm>
#include <map>
#include <utility>

namespace fgs
{

namespace
{

/// What is wanted of one area of one station, in elements: bytes of eight bits, words or double words.
struct Range {
    int first;
    int end;

    int size() const { return end - first; }
};

using Place = std::pair<int, int>; ///< station, area: in this order the driver groups the most blocks into a frame
using Ranges = std::map<Place, std::vector<Range>>;

/// A reply with two data bytes is as long as its request and begins like it, so an echo would pass for it.
int fewestElements(const Area &area)
{
    return area.kind == Kind::Bit ? 3 : area.kind == Kind::Word ? 2 : 1;
}

/// A grouped read of double words takes one less than the length asked for.
int lengthBias(const Area &area)
{
    return area.kind == Kind::DoubleWord ? 1 : 0;
}

int mostElements(const Area &area, int blockWords)
{
    return area.kind == Kind::DoubleWord ? blockWords / 2 - lengthBias(area) : blockWords;
}

/// Downwards, because the lower addresses of an area exist.
Range widened(Range range, int fewest)
{
    if (range.size() < fewest)
        range.first = std::max(0, range.end - fewest);
    range.end = std::max(range.end, range.first + fewest);
    return range;
}

Ranges rangesOf(const std::vector<Variable> &variables)
{
    Ranges ranges;
    for (const Variable &variable : variables) {
        const Area &area = *areaOf(variable.area);
        const int unit = addressesPerElement(area);
        const Range range = {variable.address / unit, (variable.address + variable.count + unit - 1) / unit};
        if (variable.station != 0)
            ranges[{variable.station, variable.area}].push_back(widened(range, fewestElements(area)));
    }
    return ranges;
}

/// The driver's fixed image reads only the first and the last part of a variable of several blocks, so none is
/// longer than one.
std::vector<Range> cut(const std::vector<Range> &ranges, int most, int fewest)
{
    std::vector<Range> pieces;
    for (const Range &range : ranges)
        for (int first = range.first; first < range.end; first += most)
            pieces.push_back(widened({first, std::min(first + most, range.end)}, fewest));
    return pieces;
}

/// Joins the pieces that fit into one block together.
std::vector<Range> joined(std::vector<Range> pieces, int most)
{
    std::sort(pieces.begin(), pieces.end(), [](const Range &a, const Range &b) { return a.first < b.first; });
    std::vector<Range> blocks;
    for (const Range &piece : pieces) {
        if (!blocks.empty() && piece.end - blocks.back().first <= most)
            blocks.back().end = std::max(blocks.back().end, piece.end);
        else
            blocks.push_back(piece);
    }
    return blocks;
}

/// The driver joins words and double words itself. Bits are joined here: per station the driver's joining takes
/// their bytes for bits and reads past what was asked, but finds nothing to join between these blocks.
std::vector<Range> blocksOf(const Area &area, const std::vector<Range> &ranges, int blockWords)
{
    const int most = mostElements(area, blockWords);
    const std::vector<Range> pieces = cut(ranges, most, fewestElements(area));
    return area.kind == Kind::Bit ? joined(pieces, most) : pieces;
}

HOST_VAR hostVar(const Place &place, int address, int length)
{
    HOST_VAR var;
    var.station = static_cast<unsigned char>(place.first);
    var.areaType = static_cast<unsigned char>(place.second);
    var.address = addressText(place.second, address);
    var.length = length;
    return var;
}

} // namespace

Storage storageFor(const std::vector<Variable> &variables, int blockWords)
{
    Storage storage;
    storage.blockWords = qBound(MinBlockWords, blockWords, MaxBlockWords);
    if (!variables.empty())
        storage.station = variables.front().station;
    for (const Variable &variable : variables) {
        const Area &area = *areaOf(variable.area);
        if (variable.station != storage.station || variable.address + variable.count > area.capacity)
            storage.perStation = true;
        if (area.kind == Kind::Bit)
            storage.blockWords = std::min(storage.blockWords, MaxBitBytes);
    }
    return storage;
}

QList<HOST_VAR> cyclicWishes(const std::vector<Variable> &variables, const Storage &storage, int firstStation)
{
    QList<HOST_VAR> wishes;
    const Ranges ranges = rangesOf(variables);
    for (const auto &[place, wanted] : ranges) {
        const Area &area = *areaOf(place.second);
        const int unit = addressesPerElement(area);
        for (const Range &block : blocksOf(area, wanted, storage.blockWords))
            wishes.append(hostVar(place, block.first * unit, block.size() * unit + lengthBias(area)));
    }
    const auto isDue = [firstStation](const HOST_VAR &wish) { return wish.station >= firstStation; };
    std::rotate(wishes.begin(), std::find_if(wishes.begin(), wishes.end(), isDue), wishes.end());
    // Per station the kind of the last variable decides how the driver joins all of them. A word of length 0 reads
    // nothing and makes it join by the rule of words, which leaves the blocks of bits alone.
    if (storage.perStation && !wishes.isEmpty())
        wishes.append(hostVar({wishes.last().station, 5}, 0, 0));
    return wishes;
}

std::vector<RW_VAR> onceWishes(const std::vector<Variable> &variables, const Storage &storage)
{
    std::vector<RW_VAR> wishes;
    for (const HOST_VAR &wish : cyclicWishes(variables, storage)) {
        if (areaOf(wish.areaType)->kind != Kind::Bit)
            continue;
        RW_VAR var;
        var.hostAddr = static_cast<int>(wishes.size());
        var.areaType = wish.areaType;
        var.addressText = wish.address;
        var.station = wish.station;
        var.length = wish.length;
        wishes.push_back(var);
    }
    return wishes;
}

} // namespace fgs
