// Any bytes as a trace: frames or an error with its place, the same however they come; what was read can be
// written, and then reads the same.
#include "formats/pcapng_reader.h"
#include "formats/pcapng_writer.h"
#include "target.h"

#include <sstream>

using namespace formats;
using fuzz::require;

namespace
{

struct Reading {
    std::vector<TracedFrame> frames;
    bool failed = false;
};

Reading read(const std::string &bytes)
{
    std::istringstream source(bytes);
    PcapngReader reader(source);
    Reading reading;
    try {
        while (std::optional<TracedFrame> frame = reader.next())
            reading.frames.push_back(std::move(*frame));
    } catch (const PcapngError &error) {
        reading.failed = true;
        require(error.offset <= bytes.size(), "an error behind the end of the file");
        require(!reader.next(), "a frame after an error");
    }
    return reading;
}

/// Whether the first is the second, written and read.
bool isSame(const TracedFrame &a, const TracedFrame &b)
{
    return a.interface->name == b.interface->name && a.interface->description == b.interface->description &&
           a.time == std::max<std::int64_t>(b.time, 0) && a.direction == b.direction && a.bytes == b.bytes &&
           a.comment == b.comment;
}

/// An interface for each frame, as long as one section may have so many.
std::string written(const std::vector<TracedFrame> &frames)
{
    std::string blocks = sectionBlock("fuzz");
    for (const TracedFrame &frame : frames)
        blocks += interfaceBlock(*frame.interface);
    unsigned number = 0;
    for (const TracedFrame &frame : frames)
        appendFrameBlock(blocks, {number++, frame.time, frame.direction, frame.bytes, frame.comment});
    return blocks;
}

void checkWritten(const std::vector<TracedFrame> &frames)
{
    const Reading again = read(written(frames));
    require(!again.failed && again.frames.size() == frames.size(), "frames are lost when they are written");
    for (std::size_t i = 0; i < frames.size(); ++i)
        require(isSame(again.frames[i], frames[i]), "a frame is another one when it is written");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string file(reinterpret_cast<const char *>(bytes), size);
    const Reading whole = read(file);
    for (const TracedFrame &frame : whole.frames)
        require(frame.offset + frame.bytes.size() <= size, "a frame that is not in the file");
    if (whole.frames.size() <= PcapngReader::MostInterfaces)
        checkWritten(whole.frames);
    const Reading half = read(file.substr(0, size / 2));
    require(half.frames.size() <= whole.frames.size(), "a part of the file has more frames than all of it");
    return 0;
}
