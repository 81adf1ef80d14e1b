// Blocks of pcapng, written out byte by byte as the standard has them.
#ifndef TARN_TESTS_PCAPNG_BYTES_H
#define TARN_TESTS_PCAPNG_BYTES_H

#include <algorithm>
#include <string>

/// The bytes of pairs of hexadecimal digits; spaces are for people.
inline std::string fromHex(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); at += 2)
        bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
    return bytes;
}

// Little-endian: type, length, content, options, length again.

/// A section header of the application "fgs 1.0".
inline std::string sectionBytes()
{
    return fromHex("0A0D0D0A 2C000000 4D3C2B1A 0100 0000 FFFFFFFFFFFFFFFF"
                   "0400 0700 66677320312E3000"
                   "0000 0000 2C000000");
}

/// /dev/ttyUSB0, 19200,8E1, in nanoseconds.
inline std::string interfaceBytes()
{
    return fromHex("01000000 40000000 FC00 0000 00000000"
                   "0200 0C00 2F6465762F74747955534230"
                   "0300 0900 31393230302C384531 000000"
                   "0900 0100 09 000000"
                   "0000 0000 40000000");
}

/// 01FE01080264 00AABE at 1700000000.000000123 s, which is 0x17979CFE362A007B ns, outbound.
inline std::string requestBytes()
{
    return fromHex("06000000 4C000000 00000000 FE9C9717 7B002A36 1D000000 1D000000"
                   "000C 0004 66677300  0023 0004 00000000  0000 0000"
                   "01FE0108026400AABE 000000"
                   "0200 0400 02000000"
                   "0000 0000 4C000000");
}

/// No byte came until a second later, 0x17979CFE71C4CA7B ns, inbound, "no reply".
inline std::string silenceBytes()
{
    return fromHex("06000000 4C000000 00000000 FE9C9717 7BCAC471 14000000 14000000"
                   "000C 0004 66677300  0023 0004 00000001  0000 0000"
                   "0100 0800 6E6F207265706C79"
                   "0200 0400 01000000"
                   "0000 0000 4C000000");
}

#endif
