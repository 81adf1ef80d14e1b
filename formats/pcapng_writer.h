// A trace of lines as pcapng, block by block, little-endian. No input or output.
#ifndef FORMATS_PCAPNG_WRITER_H
#define FORMATS_PCAPNG_WRITER_H

#include "pcapng.h"

#include <string_view>

namespace formats
{

/// A frame to be written.
struct Frame {
    unsigned interface; ///< counted from 0, as their blocks were written
    std::int64_t time;  ///< nanoseconds since 1970 in UTC; one before that is written as 0
    Direction direction;
    std::string_view bytes;   ///< may be none: nothing was on the line, and the comment tells why
    std::string_view comment; ///< UTF-8, at most 65,535 bytes; empty: none
};

/// What every trace begins with. The application is the program that records, with its version.
std::string sectionBlock(std::string_view application);
std::string interfaceBlock(const Interface &interface);

std::size_t frameBlockSize(const Frame &frame);
/// Fills exactly frameBlockSize() bytes.
void writeFrameBlock(char *block, std::size_t size, const Frame &frame);
inline void appendFrameBlock(std::string &blocks, const Frame &frame)
{
    const std::size_t start = blocks.size(), size = frameBlockSize(frame);
    blocks.resize(start + size);
    writeFrameBlock(blocks.data() + start, size, frame);
}

} // namespace formats

#endif
