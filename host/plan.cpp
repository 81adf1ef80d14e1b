#include "plan.h"

#include "frame.h"

#include <algorithm>
#include <tuple>

namespace fgs
{

namespace
{

const int EchoDataSize = 2; ///< a reply with as many data bytes is as long as its request

/// Downwards, because the lower addresses of an area exist.
Span widened(Span span)
{
    const int fewest = fewestElements(*areaOf(span.area));
    if (span.size() < fewest)
        span.first = std::max(0, span.end - fewest);
    span.end = std::max(span.end, span.first + fewest);
    return span;
}

/// Where a long variable is cut: after even words, so that no value over two of them is torn.
int mostInPart(const Area &area, int blockWords)
{
    const int most = mostElements(area, blockWords);
    return area.kind == AreaKind::Word ? most / 2 * 2 : most;
}

/// The driver's fixed image reads only the first and the last part of a variable of several blocks, so none is
/// longer than one.
Spans cut(const std::vector<Variable> &variables, int blockWords)
{
    Spans pieces;
    for (const Variable &variable : variables) {
        const Span span = widened(spanOf(variable));
        const int most = mostInPart(*areaOf(span.area), blockWords);
        for (int first = span.first; first < span.end && span.station != 0; first += most)
            pieces.push_back(widened({span.station, span.area, first, std::min(first + most, span.end)}));
    }
    return pieces;
}

bool isOfBits(const Span &span)
{
    return areaOf(span.area)->kind == AreaKind::Bit;
}

/// By stations and areas, because then the driver groups the most blocks into a frame; bits by their addresses too.
bool isAskedBefore(const Span &a, const Span &b)
{
    const auto key = [](const Span &span) {
        return std::make_tuple(span.station, span.area, isOfBits(span) ? span.first : 0);
    };
    return key(a) < key(b);
}

/// The driver joins words and double words itself. Bits are joined here, as far as they fit into one block: per
/// station the driver's joining takes their bytes for bits and reads past what was asked, but finds nothing to join
/// between these blocks.
Spans blocksOf(const std::vector<Variable> &variables, int blockWords)
{
    Spans pieces = cut(variables, blockWords), blocks;
    std::stable_sort(pieces.begin(), pieces.end(), isAskedBefore);
    for (const Span &piece : pieces) {
        const bool joins = isOfBits(piece) && !blocks.empty() && blocks.back().isSamePlace(piece) &&
                           piece.end - blocks.back().first <= mostElements(*areaOf(piece.area), blockWords);
        if (joins)
            blocks.back().end = std::max(blocks.back().end, piece.end);
        else
            blocks.push_back(piece);
    }
    return blocks;
}

/// The first address of a block as the driver's lists take it.
QString startText(const Span &block)
{
    return addressText(block.area, variableOf(block).address);
}

HOST_VAR hostVar(const Span &block)
{
    HOST_VAR var;
    var.station = static_cast<unsigned char>(block.station);
    var.areaType = static_cast<unsigned char>(block.area);
    var.address = startText(block);
    var.length = variableOf(block).count + lengthBias(*areaOf(block.area));
    return var;
}

/// Into the last of the blocks if it takes the piece, else as a block of its own.
void join(Spans &blocks, const Span &piece, const Spans &barriers, int most)
{
    if (!blocks.empty() && blocks.back().isSamePlace(piece)) {
        Span &last = blocks.back();
        const Span whole = {piece.station, piece.area, last.first, std::max(last.end, piece.end)};
        if (whole.size() <= most && !anyOverlaps(barriers, {piece.station, piece.area, last.end, piece.first})) {
            last = whole;
            return;
        }
    }
    blocks.push_back(piece);
}

} // namespace

int fewestElements(const Area &area)
{
    return EchoDataSize / bytesPerElement(area) + 1;
}

bool isTooShort(const Span &block)
{
    return block.size() < fewestElements(*areaOf(block.area));
}

int mostElements(const Area &area, int blockWords)
{
    return area.kind == AreaKind::DoubleWord ? blockWords / 2 - lengthBias(area) : blockWords;
}

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
        if (area.kind == AreaKind::Bit)
            storage.blockWords = std::min(storage.blockWords, MaxBitBytes);
    }
    return storage;
}

Spans fromLongestAgo(Spans blocks, const AskedAt &askedAt)
{
    const auto isEarlier = [&askedAt](const Span &a, const Span &b) { return askedAt(a) < askedAt(b); };
    std::rotate(blocks.begin(), std::min_element(blocks.begin(), blocks.end(), isEarlier), blocks.end());
    return blocks;
}

QList<HOST_VAR> cyclicWishes(const std::vector<Variable> &variables, const Storage &storage, const AskedAt &askedAt)
{
    Spans blocks = blocksOf(variables, storage.blockWords);
    if (askedAt)
        blocks = fromLongestAgo(std::move(blocks), askedAt);
    QList<HOST_VAR> wishes;
    for (const Span &block : blocks)
        wishes.append(hostVar(block));
    // Per station the kind of the last variable decides how the driver joins all of them. A word of length 0 reads
    // nothing and makes it join by the rule of words, which leaves the blocks of bits alone.
    if (storage.perStation && !blocks.empty())
        wishes.append(hostVar({blocks.back().station, 5, 0, 0}));
    return wishes;
}

std::vector<RW_VAR> onceWishes(const std::vector<Variable> &variables, const Storage &storage)
{
    std::vector<RW_VAR> wishes;
    for (const Span &block : blocksOf(variables, storage.blockWords)) {
        if (!isOfBits(block))
            continue;
        RW_VAR var;
        var.hostAddr = static_cast<int>(wishes.size());
        var.areaType = block.area;
        var.addressText = startText(block);
        var.station = block.station;
        var.length = variableOf(block).count;
        wishes.push_back(var);
    }
    return wishes;
}

// ---- blocks that the driver is not to join

Spans exactBlocks(const Spans &spans, const Spans &barriers, int blockWords)
{
    Spans blocks;
    for (const Span &span : spans) {
        const Area &area = *areaOf(span.area);
        const int part = mostInPart(area, blockWords);
        for (int first = span.first; first < span.end; first += part)
            join(blocks, {span.station, span.area, first, std::min(first + part, span.end)}, barriers,
                 mostElements(area, blockWords));
    }
    return blocks;
}

Span widenedAway(const Span &block, const Spans &barriers)
{
    const Area &area = *areaOf(block.area);
    const int lacking = fewestElements(area) - block.size();
    if (lacking <= 0)
        return block;
    const Span lower = {block.station, block.area, block.first - lacking, block.end};
    const Span upper = {block.station, block.area, block.first, block.end + lacking};
    if (lower.first >= 0 && !anyOverlaps(barriers, lower))
        return lower;
    const int limit = AddressCount / addressesPerElement(area);
    return upper.end <= limit && !anyOverlaps(barriers, upper) ? upper : block;
}

Span sampleOf(const Spans &wanted, int number)
{
    const int count = static_cast<int>(wanted.size()), lap = number / count;
    const Span &span = wanted[static_cast<std::size_t>(number % count)];
    const int size = std::min(span.size(), fewestElements(*areaOf(span.area)));
    const int room = span.size() - size;
    // The beginning, the end, and then points all over it.
    const int offset = room == 0 ? 0 : lap % 2 ? room - lap / 2 * 7 % (room + 1) : lap / 2 * 7 % (room + 1);
    const Span sample = {span.station, span.area, span.first + offset, span.first + offset + size};
    const Spans below = {{span.station, span.area, 0, sample.first}};
    return widenedAway(sample, lap % 2 ? Spans() : below);
}

RW_VAR exactBlock(const Span &block)
{
    const Area &area = *areaOf(block.area);
    RW_VAR var;
    var.hostAddr = -1;
    var.areaType = block.area;
    var.address = block.first * addressesPerElement(area);
    var.station = block.station;
    var.length = block.size() + lengthBias(area);
    return var;
}

int requestsFor(const std::vector<RW_VAR> &blocks)
{
    int requests = 0, inLast = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const bool joins = inLast > 0 && inLast < MaxEntries && blocks[i].station == blocks[i - 1].station;
        inLast = joins ? inLast + 1 : 1;
        requests += inLast == 1;
    }
    return requests;
}

} // namespace fgs
