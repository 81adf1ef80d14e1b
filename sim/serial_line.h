// The format of a serial line, and how long its bytes take.
#ifndef SIM_SERIAL_LINE_H
#define SIM_SERIAL_LINE_H

#include "line_times.h"

#include <cstdint>
#include <string>

namespace fgssim
{

/// Frames are binary, so a byte always has 8 data bits.
struct SerialLine {
    int baud = 19200;
    char parity = 'E'; ///< 'N', 'E' or 'O'
    int stopBits = 1;  ///< 1 or 2

    Time byteTime() const
    {
        const std::int64_t bits = 1 + 8 + (parity == 'N' ? 0 : 1) + stopBits;
        return std::chrono::nanoseconds(std::chrono::seconds(bits)) / baud;
    }
};

/// "19200,8E1"
inline std::string textOf(const SerialLine &line)
{
    return std::to_string(line.baud) + ",8" + line.parity + std::to_string(line.stopBits);
}

} // namespace fgssim

#endif
