// A line without time: a request goes in, and what the host would have received comes out. At its end stands the
// simulated controller; faults come at given rates.
#ifndef TARN_TESTS_LOSSY_LINE_H
#define TARN_TESTS_LOSSY_LINE_H

#include "sim/controller.h"
#include "sim/random_faults.h"
#include <QtCore/QByteArray>

namespace soak
{

struct Reply {
    QByteArray bytes; ///< empty: none came in time
    QByteArray late;  ///< came after it
    std::optional<fgssim::RandomFault> fault;
};

class LossyLine
{
public:
    LossyLine(const std::vector<unsigned> &stations, const std::vector<fgssim::Range> &ranges,
              fgssim::Values values, const fgssim::FaultRates &percent, std::uint64_t seed);

    Reply exchange(const QByteArray &request);
    /// The reply without a fault; it counts nowhere.
    QByteArray ask(const QByteArray &request);
    /// Moves the controller's values by one step.
    void tick() { controller.tick(); }

    bool dead = false;  ///< no reply comes
    bool faulty = true; ///< faults come at their rates
    std::uint64_t silences = 0;
    std::uint64_t rejected = 0; ///< requests that the controller did not accept; there is no cause for any
    std::array<std::uint64_t, fgssim::FaultKinds> faults{};

private:
    Reply replyWith(fgssim::RandomFault fault, fgssim::Bytes reply);

    fgssim::Controller controller;
    fgssim::FaultChooser chooser;
};

/// The result code that the driver must give for a reply with this fault, or without one.
int codeFor(const std::optional<fgssim::RandomFault> &fault, int hostType);

} // namespace soak

#endif
