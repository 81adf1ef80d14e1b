// A trace of a bad line, answered again: the host comes to the same outcomes, in virtual time, so to the last one.
#include "host/driver_api.h"
#include "host/host.h"
#include "sim/conversation.h"
#include "support/virtual_link.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace
{

using fgssim::RecordedBytes;

fgssim::Bytes copied(fgs::FrameView frame)
{
    return {frame.bytes, frame.bytes + frame.size};
}

/// A link with a simulated controller at its far end, which sends when its time has come.
class SimulatedLink : public VirtualLink
{
public:
    explicit SimulatedLink(fgssim::Simulation &simulation) : conversation(simulation, times())
    {
        onSend = [this](const QByteArray &request) {
            const auto *const bytes = reinterpret_cast<const fgssim::Byte *>(request.constData());
            conversation.receive({bytes, std::size_t(request.size())}, clock);
        };
    }

    int receive(char *data, int most, Time deadline) override
    {
        for (auto event = conversation.nextEvent(); event && *event <= deadline; event = conversation.nextEvent()) {
            const Time when = std::max(*event, clock);
            conversation.advance(when);
            const fgssim::Bytes due = conversation.takeDue(when);
            if (!due.empty()) {
                arrive(when - clock, QByteArray(reinterpret_cast<const char *>(due.data()), int(due.size())));
                break;
            }
        }
        return VirtualLink::receive(data, most, deadline);
    }

private:
    static fgssim::LineTimes times()
    {
        fgssim::LineTimes times;
        times.delay = 3ms;
        times.lateBy = 1700ms;
        return times;
    }

    fgssim::Conversation conversation;
};

fgssim::Simulation simulation(const fgssim::FaultRates &faults, std::optional<fgssim::Replay> replay = {})
{
    fgssim::Motion motion({1, 2}, {}, fgssim::Values::Pattern, 1);
    return {fgssim::Controller({1, 2}, fgssim::Memory(std::move(motion))),
            fgssim::FaultChooser(faults, 7),
            fgssim::Log(fgssim::Log::Level::Quiet, {}),
            {},
            {},
            std::move(replay)};
}

struct Run {
    std::vector<std::string> outcomes; ///< of each request, with its bytes
    std::vector<RecordedBytes> host, controller;
    fgs::Statistics statistics;
};

std::string outcome(const fgs::TraceEntry &entry, const fgssim::Bytes &request)
{
    return fgssim::hex(request) + " " + fgs::nameOf(entry.outcome) + " " + fgssim::hex(copied(entry.bytes));
}

Run run(fgssim::Simulation simulation)
{
    Run run;
    simulation.tap = [&run](const fgssim::TappedFrame &frame) {
        run.controller.push_back({frame.line, frame.time, frame.isRequest, frame.bytes.copy()});
    };
    SimulatedLink link(simulation);
    std::vector<fgs::Variable> variables;
    for (const char *text : {"5:100x4", "0:17", "10:5", "5:300x30@2", "5:600x40", "12:0x8@2", "5:1000x200"})
        variables.push_back(fgs::parseVariable(QLatin1String(text)));
    fgs::Host host(fgs::linkedDriver(), link, variables, {});
    fgssim::Bytes request;
    host.setTrace([&](const fgs::TraceEntry &entry) {
        run.host.push_back({"", entry.time, entry.event != fgs::TraceEntry::Sent, copied(entry.bytes)});
        if (entry.event == fgs::TraceEntry::Sent)
            request = copied(entry.bytes);
        else if (entry.event == fgs::TraceEntry::Received)
            run.outcomes.push_back(outcome(entry, request));
    });
    host.poll(variables);
    for (int step = 0; step < 1500; ++step)
        host.step();
    run.statistics = host.statistics();
    return run;
}

const Run &faultyRun()
{
    static const Run theRun = run(simulation({3, 3, 3, 3, 3, 3}));
    return theRun;
}

} // namespace

TEST(FaultyRun, HasManyOutcomes)
{
    const auto &recorded = faultyRun();
    EXPECT_GE(recorded.outcomes.size(), 1500u);
    for (const fgs::Outcome outcome :
         {fgs::Outcome::Good, fgs::Outcome::NoReply, fgs::Outcome::Incomplete, fgs::Outcome::BadCheck})
        EXPECT_GT(recorded.statistics.of(outcome), 10) << fgs::nameOf(outcome);
}

TEST(FaultyRun, ReplayedFromTheHostsTraceHasTheSameOutcomes)
{
    EXPECT_EQ(run(simulation({}, fgssim::Replay(faultyRun().host, true))).outcomes, faultyRun().outcomes);
}

TEST(FaultyRun, ReplayedFromTheControllersTraceHasTheSameOutcomes)
{
    EXPECT_EQ(run(simulation({}, fgssim::Replay(faultyRun().controller, true))).outcomes, faultyRun().outcomes);
}
