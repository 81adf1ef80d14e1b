// What the simulation tells about itself, line by line.
#ifndef SIM_LOG_H
#define SIM_LOG_H

#include <functional>
#include <string>

namespace fgssim
{

class Log
{
public:
    enum class Level {
        Quiet,
        Normal, ///< start, connections, rejections and faults
        All     ///< also every frame
    };
    using Sink = std::function<void(const std::string &line)>;

    Log(Level highest, Sink to) : level(highest), sink(std::move(to)) {}

    bool wants(Level of) const { return of <= level; }
    void write(Level of, const std::string &line) const
    {
        if (wants(of))
            sink(line);
    }

private:
    Level level;
    Sink sink;
};

} // namespace fgssim

#endif
