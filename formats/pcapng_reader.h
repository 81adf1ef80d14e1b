// Reads traces of lines from pcapng, as it stands in a file or comes through a pipe, in constant memory.
#ifndef FORMATS_PCAPNG_READER_H
#define FORMATS_PCAPNG_READER_H

#include "pcapng.h"

#include <istream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace formats
{

/// The file is damaged, cut off or of another kind; the text says where, what is wrong and what to do.
class PcapngError : public std::runtime_error
{
public:
    PcapngError(std::uint64_t where, const std::string &what)
        : std::runtime_error("offset " + std::to_string(where) + ": " + what), offset(where)
    {
    }

    const std::uint64_t offset; ///< in bytes from the beginning of the file
};

/// A frame as it was read.
struct TracedFrame {
    std::shared_ptr<const Interface> interface;
    std::int64_t time; ///< nanoseconds since 1970 in UTC; times before and after what that can hold are its ends
    Direction direction;
    std::string bytes;    ///< none: nothing was on the line
    std::string comment;  ///< several ones with line breaks between them; empty: none
    std::uint64_t offset; ///< of its block in the file
};

/// Takes both byte orders, any resolution of times, any number of sections and interfaces. Blocks and options that
/// it does not know are passed over.
class PcapngReader
{
public:
    /// The source outlives the reader.
    explicit PcapngReader(std::istream &theSource) : source(theSource) {}

    /// The next frame; none once all have been read. Throws PcapngError: what was read before is whole, and nothing
    /// comes after it.
    std::optional<TracedFrame> next();

    /// The packets so far that are no frames of ours: of another link type, or for another dissector.
    std::uint64_t foreignPackets() const { return foreign; }

    static const std::uint32_t LongestBlock = 1 << 24; ///< of those that are looked into, in bytes
    static const std::size_t MostInterfaces = 1024;    ///< of one section

private:
    struct Recorded; ///< an interface with what its packets need
    using Options = std::vector<std::pair<std::uint16_t, std::string_view>>;

    bool beginBlock();
    void beginSection();
    void readBody();
    void skipBody();
    void endBlock();
    void take(char *bytes, std::size_t count);
    void addInterface();
    std::optional<TracedFrame> frameOfBlock();
    static bool readTags(std::string_view packet, TracedFrame &frame);
    Options optionsFrom(std::size_t at);
    std::uint16_t u16(std::string_view bytes) const;
    std::uint32_t u32(std::string_view bytes) const;
    std::uint64_t u64(std::string_view bytes) const;
    std::string_view part(std::size_t at, std::size_t size, const char *what);
    [[noreturn]] void fail(const std::string &what);

    std::istream &source;
    std::uint64_t position = 0; ///< of what is read next
    std::uint64_t blockStart = 0;
    std::uint32_t type = 0, length = 0; ///< of the block
    std::string body;                   ///< of the block, without its length at the end
    bool isBigEndian = false;
    bool hasSection = false;
    bool isOver = false;
    std::vector<std::shared_ptr<const Recorded>> interfaces; ///< of the section
    std::uint64_t foreign = 0;
};

} // namespace formats

#endif
