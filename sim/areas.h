// The fourteen register areas of a controller.
#ifndef SIM_AREAS_H
#define SIM_AREAS_H

#include "bytes.h"

#include <array>

namespace fgssim
{

/// What one address of an area holds; the value is its number of bits.
enum class AreaKind { Bit = 1, Word = 16, DoubleWord = 32 };

inline unsigned bitsOf(AreaKind kind)
{
    return unsigned(kind);
}
/// Bytes of data that so many addresses take in a frame.
inline std::size_t dataLength(AreaKind kind, unsigned count)
{
    return count * bitsOf(kind) / 8;
}
/// The value as an address holds it; negative ones are two's complement.
inline std::uint32_t cutToWidth(std::int64_t value, AreaKind kind)
{
    return std::uint32_t(std::uint64_t(value) & ((std::uint64_t(1) << bitsOf(kind)) - 1));
}
std::string counted(unsigned count, AreaKind kind); ///< "1 bit", "2 words", "0 double words"

struct Area {
    int number; ///< 0..13
    AreaKind kind;
    Byte code; ///< in frames
    bool writable;
    int base; ///< of its addresses in texts: 8 or 10
};

const unsigned AddressesPerArea = 65536; ///< in every area; addresses count bits, words or double words

using Areas = std::array<Area, 14>;

const Areas &areas();              ///< in the order of their numbers
const Area *areaOfCode(Byte code); ///< null: there is none

/// The address as people write it: octal in areas 0 and 1, otherwise decimal.
std::string addressText(const Area &area, unsigned address);

} // namespace fgssim

#endif
