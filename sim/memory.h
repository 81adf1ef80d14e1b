// The registers of all stations. A written address keeps its value: it moves no more.
#ifndef SIM_MEMORY_H
#define SIM_MEMORY_H

#include "motion.h"

#include <bitset>
#include <unordered_map>

namespace fgssim
{

/// Takes memory only for what was written: about 3 MB for each station at most.
class Memory
{
public:
    explicit Memory(Motion start) : motion(std::move(start)) {}

    std::uint32_t value(unsigned station, const Area &area, unsigned address) const;
    void store(unsigned station, const Area &area, unsigned address, std::uint32_t value);
    /// The addresses move, even if they were written. The station of the range does not count.
    void set(unsigned station, const Range &range);
    void tick() { motion.tick(); }

private:
    static const unsigned PageSize = 1024; // addresses
    struct Page {
        std::bitset<PageSize> written;
        std::array<std::uint32_t, PageSize> values;
    };

    Motion motion;
    std::unordered_map<std::uint32_t, Page> pages; // by station, area and address / PageSize
};

} // namespace fgssim

#endif
