// Prints how much of the time the line carries bytes or waits for the controller, while the reference host polls.
// The line and the controller run in virtual time, kept to the byte; what host and driver take to compute is real
// time and is added.
//   SET BAUD BUSY LINE-SILENCE MORE-SILENCE LATE     (percent)
// LINE-SILENCE are the four byte times between two frames on a serial line, MORE-SILENCE what the host keeps on top
// before a request, LATE what is left: the host computes.
#include "host/host.h"
#include "operations.h"
#include "sim/conversation.h"
#include "variable_sets.h"

#include <cstdio>

namespace
{

using fgs::Time;
using namespace std::chrono_literals;

const int BitsPerByte = 10; ///< 8N1
const int SilentBytes = 4;

Time realNow()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

fgssim::Simulation simulation()
{
    using namespace fgssim;
    Motion motion({1}, {}, Values::Moving, 1);
    return {Controller({1}, Memory(std::move(motion))), FaultChooser({}, 1), Log(Log::Level::Quiet, {}), {}};
}

fgssim::LineTimes pace(Time perByte)
{
    fgssim::LineTimes times;
    times.byteTime = perByte;
    return times;
}

struct Spent {
    Time carrying{0};
    Time lineSilence{0};
    Time moreSilence{0};
};

Spent operator-(const Spent &a, const Spent &b)
{
    return {a.carrying - b.carrying, a.lineSilence - b.lineSilence, a.moreSilence - b.moreSilence};
}

/// Counts real time while the host computes, and jumps while it waits.
class Line : public fgs::Link
{
public:
    explicit Line(int baud)
        : perByte(Time(1s) * BitsPerByte / baud), shared(simulation()), controller(shared, pace(perByte)),
          left(realNow())
    {
    }

    bool open() override { return true; }
    bool isOpen() const override { return true; }
    QString error() const override { return {}; }
    Time byteTime() const override { return perByte; }

    Time now() const override
    {
        const Time real = realNow();
        clock += real - left;
        left = real;
        return clock;
    }
    void pauseUntil(Time time) override
    {
        clock = std::max(now(), time);
        left = realNow();
    }

    bool send(const char *bytes, int size) override
    {
        const Time at = now();
        const Time silence = clock - lastByte, least = SilentBytes * perByte;
        spent.lineSilence += std::min(least, silence);
        spent.moreSilence += std::max(Time(0), std::min(kept, silence) - least);
        controller.receive(fgssim::Slice(reinterpret_cast<const fgssim::Byte *>(bytes), std::size_t(size)), at);
        spent.carrying += size * perByte;
        left = realNow();
        return true;
    }
    int receive(char *bytes, int most, Time deadline) override
    {
        now();
        const int count = await(bytes, most, deadline);
        left = realNow();
        return count;
    }

    Time kept{0}; ///< the silence that the host keeps
    Spent spent;  ///< all told

private:
    int await(char *bytes, int most, Time deadline)
    {
        for (;;) {
            const fgssim::Bytes due = controller.takeDue(clock);
            waiting.insert(waiting.end(), due.begin(), due.end());
            if (!waiting.empty())
                return take(bytes, most);
            const auto event = controller.nextEvent();
            if (clock >= deadline)
                return 0;
            clock = event ? std::min(deadline, *event) : deadline;
        }
    }
    int take(char *bytes, int most)
    {
        const auto count = std::min(waiting.size(), std::size_t(most));
        std::copy_n(waiting.begin(), count, bytes);
        waiting.erase(waiting.begin(), waiting.begin() + long(count));
        spent.carrying += long(count) * perByte;
        lastByte = clock;
        return int(count);
    }

    const Time perByte;
    fgssim::Simulation shared;
    fgssim::Conversation controller;
    fgssim::Bytes waiting;
    mutable Time clock{0}; ///< on the line
    mutable Time left;     ///< real time at the last look at the clock
    Time lastByte{0};
};

double percent(Time part, Time whole)
{
    return 100.0 * double(part.count()) / double(whole.count());
}

void measure(const bench::VariableSet &set, int baud)
{
    const int transactions = 500;
    Line line(baud);
    fgs::HostOptions options;
    line.kept = std::max(options.timing.gap, 4 * line.byteTime());
    fgs::Host host(fgs::linkedDriver(), line, set.variables, options);
    host.poll(set.variables);
    host.step(); // the first one has waited for the line to fall silent
    const Spent before = line.spent;
    const Time start = line.now();
    for (int i = 0; i < transactions; ++i)
        bench::require(host.step().outcome == fgs::Outcome::Good, "the controller did not answer");
    const Time whole = line.now() - start;
    const Spent spent = line.spent - before;
    std::printf("%s %d %.2f %.2f %.2f %.2f\n", set.name, baud, percent(spent.carrying, whole),
                percent(spent.lineSilence, whole), percent(spent.moreSilence, whole),
                percent(whole - spent.carrying - spent.lineSilence - spent.moreSilence, whole));
}

} // namespace

int main()
{
    for (const bench::VariableSet &set : bench::variableSets())
        for (int baud : {9600, 19200, 115200})
            measure(set, baud);
}
