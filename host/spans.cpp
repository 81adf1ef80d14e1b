#include "spans.h"

#include <algorithm>
#include <tuple>

namespace fgs
{

namespace
{

bool isBefore(const Span &a, const Span &b)
{
    return std::tie(a.station, a.area, a.first) < std::tie(b.station, b.area, b.first);
}

/// What one hole leaves of the spans.
Spans withoutOne(const Spans &spans, const Span &hole)
{
    Spans rest;
    for (const Span &span : spans) {
        if (!span.overlaps(hole)) {
            rest.push_back(span);
            continue;
        }
        if (span.first < hole.first)
            rest.push_back({span.station, span.area, span.first, hole.first});
        if (hole.end < span.end)
            rest.push_back({span.station, span.area, hole.end, span.end});
    }
    return rest;
}

} // namespace

Span spanOf(const Variable &variable)
{
    const Area &area = *areaOf(variable.area);
    return {variable.station, variable.area, variable.address / addressesPerElement(area),
            elementsFor(area, variable.address + variable.count)};
}

Span spanOf(const RW_VAR &block)
{
    const Area &area = *areaOf(block.areaType);
    const int first = block.address / addressesPerElement(area);
    return {block.station, block.areaType, first, first + block.length - lengthBias(area)};
}

Variable variableOf(const Span &span)
{
    const int unit = addressesPerElement(*areaOf(span.area));
    return {span.area, span.first * unit, span.size() * unit, span.station};
}

Spans inOrder(Spans spans)
{
    std::sort(spans.begin(), spans.end(), isBefore);
    return spans;
}

Spans united(Spans spans)
{
    const Spans ordered = inOrder(std::move(spans));
    Spans all;
    for (const Span &span : ordered)
        if (!all.empty() && all.back().touches(span))
            all.back().end = std::max(all.back().end, span.end);
        else
            all.push_back(span);
    return all;
}

Spans without(const Spans &spans, const Spans &others)
{
    Spans rest = spans;
    for (const Span &other : others)
        rest = withoutOne(rest, other);
    return rest;
}

Spans common(const Spans &spans, const Spans &others)
{
    Spans parts;
    for (const Span &span : spans)
        for (const Span &other : others)
            if (span.overlaps(other))
                parts.push_back(
                    {span.station, span.area, std::max(span.first, other.first), std::min(span.end, other.end)});
    return united(parts);
}

bool anyOverlaps(const Spans &spans, const Span &span)
{
    return std::any_of(spans.begin(), spans.end(), [&span](const Span &each) { return each.overlaps(span); });
}

} // namespace fgs
