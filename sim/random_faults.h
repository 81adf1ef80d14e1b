// Faults of the line, at given rates: each reply gets at most one.
#ifndef SIM_RANDOM_FAULTS_H
#define SIM_RANDOM_FAULTS_H

#include "bytes.h"
#include "random.h"

#include <array>
#include <optional>

namespace fgssim
{

enum class RandomFault {
    Silence, ///< the request is carried out, but no reply comes
    Late,    ///< the reply comes late
    Crc,     ///< one bit is wrong, so that the check fails; of an acknowledgement in what stands for the check
    Short,   ///< at least one byte is missing at the end, and at least one comes
    Long,    ///< 1 to 8 more bytes follow
    Noise    ///< 1 to 8 more bytes come first
};

const std::size_t FaultKinds = 6;
extern const std::array<const char *, FaultKinds> FaultNames; ///< as in the command line

/// Percent of the replies, by kind; together at most 100.
using FaultRates = std::array<double, FaultKinds>;

class FaultChooser
{
public:
    FaultChooser(const FaultRates &percent, std::uint64_t seed);

    /// The fault of the next reply, if it gets one.
    std::optional<RandomFault> choose();
    /// The reply as it comes with a fault that changes bytes; with the others as it was.
    Bytes damage(RandomFault fault, Bytes reply);

private:
    Bytes withWrongBit(Bytes reply);
    Bytes someBytes();

    FaultRates rates;
    Random random;
};

} // namespace fgssim

#endif
