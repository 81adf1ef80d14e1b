// Prints how much of the time the line carries bytes or waits for the controller, while the reference host polls.
// The line and the controller run in virtual time, kept to the byte; what host and driver take to compute is real
// time and is added.
//   SET BAUD BUSY LINE-SILENCE MORE-SILENCE LATE     (percent)
// LINE-SILENCE are the four byte times between two frames on a serial line, MORE-SILENCE what the host keeps on top
// before a request, LATE what is left: the host computes.
#include "host/host.h"
#include "operations.h"
#include "sim/conversation.h"
#include "support/paced_line.h"
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
class MeasuredLink : public VirtualLink
{
public:
    explicit MeasuredLink(int baud)
        : shared(simulation()), controller(shared, pace(Time(1s) * BitsPerByte / baud)), lastByte(clock),
          left(realNow())
    {
        perByte = Time(1s) * BitsPerByte / baud;
        onSend = [this](const QByteArray &request) { exchange(request); };
    }

    Time now() const override { return clock + (realNow() - left); }
    void pauseUntil(Time time) override
    {
        clock = now();
        VirtualLink::pauseUntil(time);
        left = realNow();
    }

    bool send(const char *bytes, int size) override
    {
        clock = now();
        const bool sent = VirtualLink::send(bytes, size);
        left = realNow();
        return sent;
    }
    int receive(char *bytes, int most, Time deadline) override
    {
        clock = now();
        const int count = VirtualLink::receive(bytes, most, deadline);
        if (count > 0) {
            spent.carrying += count * perByte;
            lastByte = clock;
        }
        left = realNow();
        return count;
    }

    Time kept{0}; ///< the silence that the host keeps
    Spent spent;  ///< all told

private:
    void exchange(const QByteArray &request)
    {
        const Time silence = clock - lastByte, least = SilentBytes * perByte;
        spent.lineSilence += std::min(least, silence);
        spent.moreSilence += std::max(Time(0), std::min(kept, silence) - least);
        spent.carrying += int(request.size()) * perByte;
        answerBy(controller, *this, request);
    }

    fgssim::Simulation shared;
    fgssim::Conversation controller;
    Time lastByte; ///< on the line
    Time left;     ///< real time when the host last went on computing
};

double percent(Time part, Time whole)
{
    return 100.0 * double(part.count()) / double(whole.count());
}

void measure(const bench::VariableSet &set, int baud)
{
    const int transactions = 500;
    MeasuredLink line(baud);
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
