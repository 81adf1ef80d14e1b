// Frames of the simulated controller from hexadecimal text.
#ifndef SIM_FRAMES_H
#define SIM_FRAMES_H

#include "sim/bytes.h"
#include "support/wire.h"

#include <sstream>

/// "01 FE 0A"
inline fgssim::Bytes bytes(const std::string &text)
{
    fgssim::Bytes result;
    std::istringstream stream(text);
    for (unsigned byte; stream >> std::hex >> byte;)
        result.push_back(fgssim::Byte(byte));
    return result;
}

using frames::sealed;

inline fgssim::Bytes sealed(const std::string &text)
{
    return sealed(bytes(text));
}

inline fgssim::Bytes operator+(fgssim::Bytes left, const fgssim::Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

#endif
