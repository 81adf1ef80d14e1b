// Every fault of the line with a host on the remote path: no wrong value unless nobody could tell, at most one job
// lost, and everything right afterwards.
#include "faulty_line.h"
#include "host/host.h"

#include <iostream>

using namespace fgs;
using faults::expectationOf;
using faults::Values;
using faults::Verdict;

namespace
{

const Time Limit = 100ms;
const Time LateBy = 250ms;

class RemoteCell
{
public:
    RemoteCell(const fgssim::LineFault &theFault, int thePlace, bool isLastTry)
        : fault(theFault), place(thePlace), isLast(isLastTry)
    {
    }

    void run()
    {
        HostOptions options;
        options.remoteLink = 3;
        options.retries = 1;
        options.timing.timeout = Limit;
        options.timing.late = LateBy;
        options.timing.firstReconnect = 10ms;
        host = std::make_unique<Host>(linkedDriver(), link, std::vector<Variable>{asked, other}, options);
        show(asked);
        ASSERT_EQ(lost, 0);
        strike();
        recover();
        host.reset();
    }

private:
    /// Whether the fault gives bytes of the right length with a good check code that are not the reply.
    bool deceives() const
    {
        return expectationOf(fault).remote == Verdict::Deceived || expectationOf(fault).undetectable;
    }

    Step step()
    {
        const Step made = host->step();
        lost += made.ended && made.outcome != Outcome::Good;
        return made;
    }

    void strike()
    {
        if (isLast)
            line.strike(*fgssim::lineFault("silence"), 0);
        line.strike(fault, place);
        Step made;
        for (int i = 0; i < 8 && !made.ended; ++i)
            made = step();
        EXPECT_TRUE(made.ended) << "the job does not end";
        EXPECT_LE(lost, 1);
        if (expectationOf(fault).remote == Verdict::Good) {
            EXPECT_EQ(made.outcome, Outcome::Good);
        }
        checkValues(asked);
    }

    /// What deceives may shift the answers until a longer silence.
    void recover()
    {
        const int before = lost;
        if (deceives()) {
            show(other);
            link.pauseUntil(link.now() + 1s);
        }
        for (const Variable &variable : {other, asked, other})
            show(variable);
        EXPECT_EQ(lost, before) << "good transactions are lost";
        for (const Variable &variable : {other, asked})
            EXPECT_EQ(host->values(variable), line.lastSentFor({1, 5, variable.address, variable.count}));
    }

    void show(const Variable &variable)
    {
        host->poll({variable});
        step();
        checkValues(variable);
    }

    void checkValues(const Variable &variable)
    {
        if (deceives())
            return;
        const Values values = host->values(variable);
        if (!host->ageOf(variable).isKnown()) {
            EXPECT_EQ(values, Values(values.size(), 0));
            return;
        }
        EXPECT_TRUE(line.sentFor({1, 5, variable.address, variable.count}).count(values)) << "a wrong value";
    }

    const fgssim::LineFault &fault;
    const int place;
    const bool isLast;
    const Variable asked = parseVariable(QStringLiteral("5:100x4")),
                   other = parseVariable(QStringLiteral("5:1100x4"));
    FakeLink link;
    faults::FaultyLine line{link, Limit};
    std::unique_ptr<Host> host;
    int lost = 0;
};

class RemoteHostFaults : public DriverTest
{
protected:
    /// The exchange that the faults strike, to know their places.
    static fgssim::Exchange exchange()
    {
        FakeLink link;
        faults::FaultyLine line(link, Limit);
        HostOptions options;
        options.remoteLink = 3;
        const std::vector<Variable> asked = {parseVariable(QStringLiteral("5:100x4"))};
        Host host(linkedDriver(), link, asked, options);
        host.poll(asked);
        return line.exchangeFor(ComCommunication()->frame);
    }
};

TEST_F(RemoteHostFaults, LoseAtMostOneJobAndNeverLie)
{
    const fgssim::Exchange x = exchange();
    int cells = 0;
    for (const fgssim::LineFault &fault : fgssim::lineFaults())
        for (int place = 0; place < fault.places(x); ++place)
            for (bool isLast : {false, true}) {
                SCOPED_TRACE(fault.name + ", place " + std::to_string(place) +
                             (isLast ? ", last try" : ", first try"));
                reset();
                RemoteCell(fault, place, isLast).run();
                ++cells;
            }
    std::cout << "cells: " << cells << '\n';
    EXPECT_GE(cells, 200);
}

} // namespace
