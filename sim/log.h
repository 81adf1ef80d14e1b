// What the simulation tells about itself, line by line. A flood of lines is cut: of each topic a number of lines is
// written at once and then so many a second; the others are counted, and the count is written.
#ifndef SIM_LOG_H
#define SIM_LOG_H

#include "line_times.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace fgssim
{

class Log
{
public:
    enum class Level {
        Quiet,
        Normal, ///< all but frames
        All
    };
    enum class Topic { State, Connection, Rejected, Elsewhere, Unanswered, Fault, Lost, Frame };
    using Sink = std::function<void(const std::string &line)>;

    Log(Level highest, Sink to) : level(highest), sink(std::move(to)) {}

    /// `text` is called, and gives a string, only if the line is written. `now` never goes back.
    template <typename Text>
    void write(Topic topic, Time now, Text text)
    {
        if (admits(topic, now))
            sink(text());
    }
    /// Writes the counts of lines that were left out and have no line after them yet. To be called every second.
    void advance(Time now);
    /// The same, whatever the time: the log ends.
    void flush();

private:
    struct Flow {
        Time next{0}; // when the line after the last one is due, if they come evenly
        std::uint64_t leftOut = 0;
    };
    bool admits(Topic topic, Time now);
    bool hasRoom(Topic topic, Time now) const;
    void tellLeftOut(Topic topic);

    Level level;
    Sink sink;
    std::array<Flow, 8> flows; // by topic
};

} // namespace fgssim

#endif
