// Frames in the tests: hexadecimal text to bytes, and a check code of the tests' own.
#ifndef SIM_FRAMES_H
#define SIM_FRAMES_H

#include "sim/bytes.h"

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

/// The bytes and their CRC, computed bit by bit.
inline fgssim::Bytes sealed(fgssim::Bytes frame)
{
    unsigned crc = 0xFFFF;
    for (unsigned byte : frame) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? (crc >> 1) ^ 0xA001u : crc >> 1;
    }
    frame.push_back(fgssim::Byte(crc & 0xFF));
    frame.push_back(fgssim::Byte(crc >> 8));
    return frame;
}

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
