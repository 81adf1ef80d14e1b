#include "freshness.h"

#include "spans.h"

#include <algorithm>
#include <tuple>

namespace fgs
{

namespace
{

struct CellRange {
    std::size_t first;
    std::size_t end;
};

CellRange cellsOfBytes(const Area &area, int address, int bytes)
{
    const int first = address / addressesPerElement(area);
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(first + bytes / bytesPerElement(area))};
}

CellRange cellsOf(const Variable &variable)
{
    const Span span = spanOf(variable);
    return {static_cast<std::size_t>(span.first), static_cast<std::size_t>(span.end)};
}

template <typename Value>
void fill(std::vector<Value> &cells, const CellRange &range, Value value)
{
    std::fill(cells.begin() + static_cast<std::ptrdiff_t>(range.first),
              cells.begin() + static_cast<std::ptrdiff_t>(range.end), value);
}

} // namespace

void Freshness::Cells::grow(std::size_t size)
{
    if (size <= stored.size())
        return;
    stored.resize(size, Never);
    failed.resize(size);
}

void Freshness::stored(int station, int area, int address, int bytes, Time now)
{
    if (!areaOf(area) || address < 0)
        return;
    Cells &cells = places[{station, area}];
    const CellRange range = cellsOfBytes(*areaOf(area), address, bytes);
    cells.grow(range.end);
    fill(cells.stored, range, now);
}

void Freshness::failed(int station, int area, int address, int bytes, Time now, Outcome outcome, int received,
                       int expected)
{
    if (!areaOf(area) || address < 0)
        return;
    Cells &cells = places[{station, area}];
    const CellRange range = cellsOfBytes(*areaOf(area), address, bytes);
    cells.grow(range.end);
    fill(cells.failed, range, Failure{now, outcome, received, expected});
}

void Freshness::doubt(Time since, Time now)
{
    for (auto &[place, cells] : places)
        for (std::size_t i = 0; i < cells.stored.size(); ++i)
            if (cells.stored[i] >= since)
                cells.failed[i] = {std::max(now, cells.stored[i] + 1ns), Outcome::OtherReply, 0, 0};
}

Age Freshness::of(const Variable &variable) const
{
    const auto place = places.find({variable.station, variable.area});
    const CellRange range = cellsOf(variable);
    Age age;
    if (place == places.end() || range.end > place->second.stored.size())
        return age;
    const Cells &cells = place->second;
    age.stored = age.tried = Time::max();
    for (std::size_t i = range.first; i < range.end; ++i) {
        const Failure &failure = cells.failed[i];
        age.stored = std::min(age.stored, cells.stored[i]);
        age.tried = std::min(age.tried, std::max(cells.stored[i], failure.time));
        if (failure.time > cells.stored[i])
            std::tie(age.outcome, age.received, age.expected) =
                std::tie(failure.outcome, failure.received, failure.expected);
    }
    if (age.isKnown() && linkLostAt >= age.tried)
        age.outcome = Outcome::LinkLost;
    return age;
}

} // namespace fgs
