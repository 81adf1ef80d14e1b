// The same year with the reference host on top: its poll loop, its link, its statistics.
#ifndef TARN_TESTS_HOST_YEAR_H
#define TARN_TESTS_HOST_YEAR_H

#include "host/host.h"
#include "lossy_line.h"
#include "places.h"
#include "support/virtual_link.h"

namespace soak
{

struct HostReport {
    fgs::Statistics statistics;
    std::uint64_t hours = 0;
    std::uint64_t screens = 0, writes = 0, onceReads = 0; ///< calls of the host
    std::array<std::uint64_t, fgssim::FaultKinds> faults{};
    double clockHours = 0; ///< that passed on the link's clock
    int lostWrites = 0;
    long long heapWarm = 0, heapEnd = 0;
};

/// What must hold is checked all along; the first thing that does not throws std::runtime_error.
class HostYear
{
public:
    HostYear(bool perStation, std::uint64_t seed);

    /// Whole hours of requests, at least two after the one that warms up.
    HostReport run(std::uint64_t transactions);

private:
    using Variables = std::vector<fgs::Variable>;

    void answer(const QByteArray &request);
    void hour();
    void tidy();
    void act();
    void step();
    void write(const fgs::Variable &variable);
    void emptyQueues();
    void readScreen(const Variables &screen);
    void compare(const fgs::Variable &variable);

    const std::vector<Variables> screens;
    Variables all;
    LossyLine line;
    VirtualLink link;
    std::uint64_t sent = 0; ///< requests
    fgs::Host host;
    fgssim::Random random;
    HostReport report;
};

} // namespace soak

#endif
