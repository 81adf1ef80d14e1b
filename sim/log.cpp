#include "log.h"

#include <algorithm>
#include <utility>

namespace fgssim
{

namespace
{

struct Row {
    const char *name;
    Log::Level level;
    int atOnce, perSecond; // lines
};

// By topic. The frames are more than a serial line of 115,200 baud carries.
const Row Rows[] = {
    {"state", Log::Level::Normal, 1000, 100},    {"connections", Log::Level::Normal, 20, 1},
    {"rejected", Log::Level::Normal, 20, 1},     {"not for a station here", Log::Level::Normal, 20, 1},
    {"unanswered", Log::Level::Normal, 20, 1},   {"faults", Log::Level::Normal, 100, 10},
    {"replies lost", Log::Level::Normal, 20, 1}, {"frames", Log::Level::All, 5000, 2000},
};

const Row &rowOf(Log::Topic topic)
{
    return Rows[std::size_t(topic)];
}

Time intervalOf(const Row &row)
{
    return Time(std::chrono::seconds(1)) / row.perSecond;
}

} // namespace

bool Log::admits(Topic topic, Time now)
{
    if (rowOf(topic).level > level)
        return false;
    Flow &flow = flows[std::size_t(topic)];
    if (!hasRoom(topic, now)) {
        ++flow.leftOut;
        return false;
    }
    flow.next = std::max(flow.next, now) + intervalOf(rowOf(topic));
    tellLeftOut(topic);
    return true;
}

bool Log::hasRoom(Topic topic, Time now) const
{
    const Row &row = rowOf(topic);
    return flows[std::size_t(topic)].next - now <= intervalOf(row) * (row.atOnce - 1);
}

void Log::tellLeftOut(Topic topic)
{
    const std::uint64_t count = std::exchange(flows[std::size_t(topic)].leftOut, 0);
    if (count > 0)
        sink(std::string(rowOf(topic).name) + ": " + std::to_string(count) + " more such lines");
}

void Log::advance(Time now)
{
    for (std::size_t topic = 0; topic < flows.size(); ++topic) {
        if (hasRoom(Topic(topic), now))
            tellLeftOut(Topic(topic));
    }
}

void Log::flush()
{
    for (std::size_t topic = 0; topic < flows.size(); ++topic)
        tellLeftOut(Topic(topic));
}

} // namespace fgssim
