// A set of addresses of many stations.
#ifndef SIM_ADDRESS_SET_H
#define SIM_ADDRESS_SET_H

#include "place.h"

#include <bitset>
#include <map>
#include <vector>

namespace fgssim
{

/// Takes 8 kB for each area of a station that it holds addresses of.
class AddressSet
{
public:
    /// The station of the place does not count.
    void insert(unsigned station, const Place &place);
    void erase(unsigned station, const Place &place);

    bool touches(unsigned station, const Area &area, unsigned first, unsigned count) const;
    /// Its addresses in rows, by station, area and address; each has a station.
    std::vector<Place> places() const;

private:
    using Addresses = std::bitset<AddressesPerArea>;
    using Key = std::pair<unsigned, int>; // station and number of the area

    std::map<Key, Addresses> held; // none is empty
};

} // namespace fgssim

#endif
