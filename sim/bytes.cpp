#include "bytes.h"

namespace fgssim
{

namespace
{

std::string digits(Byte value)
{
    const char *const table = "0123456789ABCDEF";
    return {table[value >> 4], table[value & 15]};
}

} // namespace

std::string hex(Slice bytes, std::size_t limit)
{
    std::string text;
    for (Byte byte : bytes.first(limit))
        text += (text.empty() ? "" : " ") + digits(byte);
    if (bytes.size() > limit)
        text += " ... (" + std::to_string(bytes.size()) + " bytes)";
    return text;
}

std::string hexByte(Byte value)
{
    return "0x" + digits(value);
}

} // namespace fgssim
