#include "conditions.h"

namespace fgssim
{

namespace
{

/// How many addresses an entry reaches. The count of a written bit says nothing.
unsigned reach(const Request &request, const Entry &entry)
{
    return request.write ? unsigned(request.values.size()) : entry.count;
}

/// The first entry that touches an address of the set; null: none does.
const Entry *touching(const AddressSet &set, unsigned station, const Request &request)
{
    for (const Entry &entry : request.entries) {
        if (set.touches(station, *entry.area, entry.address, reach(request, entry)))
            return &entry;
    }
    return nullptr;
}

} // namespace

std::string Conditions::silenceAbout(unsigned station, const Request &request) const
{
    if (off[station])
        return "station " + std::to_string(station) + " is switched off";
    const Entry *const entry = touching(missing, station, request);
    return entry ? "an address is missing in " +
                       notation({entry->area, entry->address, reach(request, *entry), station})
                 : "";
}

bool Conditions::refuses(unsigned station, const Request &request) const
{
    return request.write && touching(refusing, station, request);
}

} // namespace fgssim
