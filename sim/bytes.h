// Byte strings, a bounds-checked view of them, and their hexadecimal text.
#ifndef SIM_BYTES_H
#define SIM_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fgssim
{

using Byte = std::uint8_t;
using Bytes = std::vector<Byte>;

/// A view of bytes that another object owns. Past the end every byte is 0, and every part is clipped.
class Slice
{
public:
    Slice() = default;
    Slice(const Byte *first, std::size_t count) : start(first), length(count) {}
    Slice(const Bytes &bytes) : Slice(bytes.data(), bytes.size()) {}

    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }
    const Byte *begin() const { return start; }
    const Byte *end() const { return start + length; }

    Byte u8(std::size_t offset) const { return offset < length ? start[offset] : Byte(0); }
    unsigned le16(std::size_t offset) const { return u8(offset) | unsigned(u8(offset + 1)) << 8; }
    unsigned be16(std::size_t offset) const { return unsigned(u8(offset)) << 8 | u8(offset + 1); }

    Slice from(std::size_t offset) const
    {
        const std::size_t skipped = std::min(offset, length);
        return Slice(start + skipped, length - skipped);
    }
    Slice first(std::size_t count) const { return Slice(start, std::min(count, length)); }
    Bytes copy() const { return Bytes(begin(), end()); }

private:
    const Byte *start = nullptr;
    std::size_t length = 0;
};

/// Pairs of upper-case digits with spaces between them; what is beyond `limit` bytes is only counted.
std::string hex(Slice bytes, std::size_t limit = SIZE_MAX);
/// "0x1F"
std::string hexByte(Byte value);

} // namespace fgssim

#endif
