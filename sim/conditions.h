// What is not as it should be with the stations, on purpose.
#ifndef SIM_CONDITIONS_H
#define SIM_CONDITIONS_H

#include "address_set.h"
#include "frame.h"

namespace fgssim
{

struct Conditions {
    std::bitset<256> off; ///< stations that are switched off: they hear nothing
    AddressSet missing;   ///< a request that touches one of these is not carried out and gets silence
    AddressSet refusing;  ///< a write that touches one of these is not carried out and is refused

    /// Why the station is silent about the request; empty if it is not.
    std::string silenceAbout(unsigned station, const Request &request) const;
    bool refuses(unsigned station, const Request &request) const;
};

} // namespace fgssim

#endif
