#include "address_set.h"

namespace fgssim
{

namespace
{

using Addresses = std::bitset<AddressesPerArea>;

unsigned endOfRow(const Addresses &addresses, unsigned from)
{
    while (from < AddressesPerArea && addresses[from])
        ++from;
    return from;
}

void appendRows(const Addresses &addresses, Place place, std::vector<Place> &places)
{
    for (unsigned at = 0; at < AddressesPerArea; ++at) {
        const unsigned end = endOfRow(addresses, at);
        if (end == at)
            continue;
        place.first = at;
        place.count = end - at;
        places.push_back(place);
        at = end;
    }
}

} // namespace

void AddressSet::insert(unsigned station, const Place &place)
{
    Addresses &addresses = held[{station, place.area->number}];
    for (unsigned i = 0; i < place.count; ++i)
        addresses.set(place.first + i);
}

void AddressSet::erase(unsigned station, const Place &place)
{
    const auto found = held.find({station, place.area->number});
    if (found == held.end())
        return;
    for (unsigned i = 0; i < place.count; ++i)
        found->second.reset(place.first + i);
    if (found->second.none())
        held.erase(found);
}

bool AddressSet::touches(unsigned station, const Area &area, unsigned first, unsigned count) const
{
    const auto found = held.find({station, area.number});
    if (found == held.end())
        return false;
    for (unsigned i = 0; i < count; ++i) {
        if (found->second[first + i])
            return true;
    }
    return false;
}

std::vector<Place> AddressSet::places() const
{
    std::vector<Place> places;
    for (const auto &[key, addresses] : held)
        appendRows(addresses, {&areas()[std::size_t(key.second)], 0, 0, key.first}, places);
    return places;
}

} // namespace fgssim
