#include "replay_file.h"

#include "formats/pcapng_reader.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace fgssim
{

namespace
{

RecordedBytes recordedBytes(const formats::TracedFrame &frame)
{
    return {frame.interface->name, Time(frame.time), frame.direction == formats::Direction::Inbound,
            Bytes(frame.bytes.begin(), frame.bytes.end())};
}

struct Recording {
    std::vector<RecordedBytes> frames;
    std::string fault; ///< why it is not whole
};

Recording read(std::istream &source)
{
    Recording recording;
    formats::PcapngReader reader(source);
    try {
        while (const std::optional<formats::TracedFrame> frame = reader.next())
            if (frame->direction != formats::Direction::Unknown)
                recording.frames.push_back(recordedBytes(*frame));
    } catch (const formats::PcapngError &error) {
        recording.fault = error.what();
    }
    return recording;
}

} // namespace

Replay readReplay(const std::string &path, bool inTime, const std::function<void(const std::string &)> &warn)
{
    const std::string name = "the trace '" + path + "' ";
    std::ifstream source(path, std::ios::binary);
    if (!source || source.peek() == std::ifstream::traits_type::eof())
        throw std::runtime_error(name + "cannot be read: " + (source ? "it is empty" : std::strerror(errno)) +
                                 "; record one with fgs --trace or fgs-sim --trace");
    const Recording recording = read(source);
    Replay replay(recording.frames, inTime);
    const std::string rest = recording.fault.empty() ? "" : "; " + recording.fault;
    if (replay.requests() == 0)
        throw std::runtime_error(name + "has no requests to answer among its " +
                                 std::to_string(recording.frames.size()) + " frames" + rest +
                                 "; record one with fgs --trace or fgs-sim --trace");
    if (!rest.empty())
        warn(name + "is used up to where it is damaged" + rest);
    return replay;
}

} // namespace fgssim
