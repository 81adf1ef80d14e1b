// Sets of neighbouring registers, in the elements that frames count: bytes of eight bits, words or double words.
#ifndef FGS_HOST_SPANS_H
#define FGS_HOST_SPANS_H

#include "variable.h"

#include <tarn_fgsseries.h>
#include <vector>

namespace fgs
{

/// Elements of one area of one station, from `first` up to `end`, without it.
struct Span {
    int station;
    int area;
    int first;
    int end;

    int size() const { return end - first; }
    bool isSamePlace(const Span &other) const { return station == other.station && area == other.area; }
    bool touches(const Span &other) const { return isSamePlace(other) && first <= other.end && other.first <= end; }
    bool overlaps(const Span &other) const { return isSamePlace(other) && first < other.end && other.first < end; }
    bool operator==(const Span &other) const
    {
        return isSamePlace(other) && first == other.first && end == other.end;
    }
};

/// In the order of stations, areas and addresses, and none touches another, unless said otherwise.
using Spans = std::vector<Span>;

Span spanOf(const Variable &variable);
/// What a block of the driver's cyclic list reads.
Span spanOf(const RW_VAR &block);
/// Bits by whole bytes.
Variable variableOf(const Span &span);

/// They may touch and overlap each other as before.
Spans inOrder(Spans spans);
/// In order, with those that touch each other united.
Spans united(Spans spans);
/// The parts of the spans that are in none of the others. Both may be in any order.
Spans without(const Spans &spans, const Spans &others);
/// The parts of the spans that are in one of the others. Both may be in any order.
Spans common(const Spans &spans, const Spans &others);
bool anyOverlaps(const Spans &spans, const Span &span);

} // namespace fgs

#endif
