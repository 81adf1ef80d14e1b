#include "freshness.h"

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

CellRange cellsOfBytes(int area, int address, int bytes)
{
    const Kind kind = areaOf(area)->kind;
    const int first = kind == Kind::Bit ? address / 8 : address;
    const int width = kind == Kind::Bit ? 1 : kind == Kind::Word ? 2 : 4;
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(first + bytes / width)};
}

CellRange cellsOf(const Variable &variable)
{
    const int unit = areaOf(variable.area)->kind == Kind::Bit ? 8 : 1;
    const int end = variable.address + variable.count;
    return {static_cast<std::size_t>(variable.address / unit), static_cast<std::size_t>((end + unit - 1) / unit)};
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
    const CellRange range = cellsOfBytes(area, address, bytes);
    cells.grow(range.end);
    fill(cells.stored, range, now);
}

void Freshness::failed(int station, int area, int address, int bytes, Time now, Outcome outcome, int received,
                       int expected)
{
    if (!areaOf(area) || address < 0)
        return;
    Cells &cells = places[{station, area}];
    const CellRange range = cellsOfBytes(area, address, bytes);
    cells.grow(range.end);
    fill(cells.failed, range, Failure{now, outcome, received, expected});
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
