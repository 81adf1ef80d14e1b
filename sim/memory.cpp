#include "memory.h"

namespace fgssim
{

namespace
{

std::uint32_t pageKey(unsigned station, const Area &area, unsigned page)
{
    return station << 16 | unsigned(area.number) << 8 | page;
}

} // namespace

std::uint32_t Memory::value(unsigned station, const Area &area, unsigned address) const
{
    const auto page = pages.find(pageKey(station, area, address / PageSize));
    if (page != pages.end() && page->second.written[address % PageSize])
        return page->second.values[address % PageSize];
    return motion.value(station, area, address);
}

void Memory::store(unsigned station, const Area &area, unsigned address, std::uint32_t value)
{
    Page &page = pages[pageKey(station, area, address / PageSize)];
    page.written.set(address % PageSize);
    page.values[address % PageSize] = value;
}

void Memory::set(unsigned station, const Range &range)
{
    motion.set(station, range);
    for (unsigned address = range.first; address - range.first < range.count; ++address) {
        const auto page = pages.find(pageKey(station, *range.area, address / PageSize));
        if (page != pages.end())
            page->second.written.reset(address % PageSize);
    }
}

} // namespace fgssim
