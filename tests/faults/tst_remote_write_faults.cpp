// Every fault of the line with a remote write, whether it was carried out or got lost on its way: what is told of
// it is so, and nothing counts as verified that the controller does not hold.
#include "faulty_line.h"
#include "support/write_results.h"

#include <iostream>

using namespace fgs;
using faults::expectationOf;
using faults::Verdict;

namespace
{

const Time Limit = 100ms;
const Time LateBy = 250ms;
const Time Patience = 5s; ///< with a lost link

const char *const Assignments[] = {"5:150=4660,22136,1,2,3,65535", "2:70=1", "10:60=305419896,1"};

Assignment parsed(const char *text)
{
    return parseAssignment(QString::fromLatin1(text), 1, Format::Unsigned);
}

HostOptions optionsWith(int retries)
{
    HostOptions options;
    options.remoteLink = 3;
    options.retries = retries;
    options.timing.timeout = Limit;
    options.timing.late = LateBy;
    options.timing.firstReconnect = 10ms;
    return options;
}

const std::size_t MostNoise = 16; ///< that the host looks behind

/// Whether the reply stands behind as much noise as the host looks behind.
bool isFoundBehindNoise(const fgssim::Delivery &delivery, const fgssim::Bytes &reply)
{
    if (delivery.empty())
        return false;
    const fgssim::Bytes &bytes = delivery.front().bytes;
    const auto at = std::search(bytes.begin(), bytes.end(), reply.begin(), reply.end());
    return at != bytes.end() && std::size_t(at - bytes.begin()) <= MostNoise && !delivery.front().withNextRequest &&
           delivery.front().after == fgssim::ReplyDelay;
}

struct Cell {
    const char *assignment;
    const fgssim::LineFault &fault;
    int place;
    bool isLost; ///< the struck request
    int retries;
    const fgssim::Exchange &exchange;

    /// What the bytes of a reply are means nothing, so that none of them deceives.
    bool isAcknowledged() const
    {
        const Verdict verdict = expectationOf(fault).remote;
        return verdict == Verdict::Good || verdict == Verdict::Deceived ||
               isFoundBehindNoise(fault.deliver(exchange, place), exchange.reply);
    }
    std::string text() const
    {
        return std::string(assignment) + ", " + fault.name + ", place " + std::to_string(place) +
               (isLost ? ", lost" : ", carried out") + ", retries " + std::to_string(retries);
    }
};

class RemoteWriteFaults : public DriverTest
{
protected:
    /// The exchange that the faults strike, to know their places.
    static fgssim::Exchange exchangeOf(const Assignment &assignment)
    {
        FakeLink link;
        faults::FaultyLine line(link, Limit);
        Host host(linkedDriver(), link, {assignment.tag.variable}, optionsWith(0));
        host.write(assignment.tag.variable, assignment.values);
        return line.exchangeFor(ComCommunication()->frame);
    }

    void check(const Cell &cell)
    {
        FakeLink link;
        faults::FaultyLine line(link, Limit);
        const Assignment assignment = parsed(cell.assignment);
        Host host(linkedDriver(), link, {assignment.tag.variable}, optionsWith(cell.retries));
        if (cell.isLost)
            line.loseStruck();
        holdOthers(line, assignment);
        line.strike(cell.fault, cell.place);
        const WriteReport report = writeAll(host, link, {assignment}, Patience).at(0);
        ++results[report.result];
        checkTruth(report, holds(line, assignment));
        checkOutcome(cell, report.result);
    }

    static void holdOthers(faults::FaultyLine &line, const Assignment &assignment)
    {
        const Variable &variable = assignment.tag.variable;
        for (int i = 0; i < variable.count; ++i)
            line.hold(variable.station, variable.area, variable.address + i, assignment.values[std::size_t(i)] ^ 1);
    }

    static bool holds(const faults::FaultyLine &line, const Assignment &assignment)
    {
        const Variable &variable = assignment.tag.variable;
        for (int i = 0; i < variable.count; ++i)
            if (line.written(variable.station, variable.area, variable.address + i) !=
                assignment.values[std::size_t(i)])
                return false;
        return true;
    }

    static void checkTruth(const WriteReport &report, bool holds)
    {
        const bool isReadBack = report.held.quality != Quality::Unknown;
        EXPECT_EQ(report.holdsAssigned(), isReadBack && holds);
        EXPECT_EQ(report.result == WriteResult::Verified, holds && isReadBack && isAcknowledged(report.result));
        EXPECT_EQ(report.result == WriteResult::Different, !holds && isReadBack && isAcknowledged(report.result));
    }

    static bool isAcknowledged(WriteResult result)
    {
        return result == WriteResult::Verified || result == WriteResult::Different ||
               result == WriteResult::Written;
    }

    /// A request that is sent again is carried out.
    static void checkOutcome(const Cell &cell, WriteResult result)
    {
        if (cell.isAcknowledged()) {
            EXPECT_EQ(result, cell.isLost ? WriteResult::Different : WriteResult::Verified);
        } else if (cell.fault.cutsLink) {
            EXPECT_NE(result, WriteResult::NotSent);
        } else if (cell.retries == 0) {
            EXPECT_EQ(result, WriteResult::NotAcknowledged);
        }
    }

    std::map<WriteResult, int> results;
};

TEST_F(RemoteWriteFaults, AreToldAsTheyAre)
{
    int cells = 0;
    for (const char *assignment : Assignments) {
        const fgssim::Exchange x = exchangeOf(parsed(assignment));
        for (const fgssim::LineFault &fault : fgssim::lineFaults())
            for (int place = 0; place < fault.places(x); ++place)
                for (bool isLost : {false, true})
                    for (int retries : {0, 1}) {
                        const Cell cell = {assignment, fault, place, isLost, retries, x};
                        SCOPED_TRACE(cell.text());
                        reset();
                        check(cell);
                        ++cells;
                    }
    }
    std::cout << "cells: " << cells << '\n';
    for (const auto &[result, count] : results)
        std::cout << keyOf(result) << ": " << count << '\n';
    EXPECT_GE(cells, 1000);
    for (WriteResult result : {WriteResult::Verified, WriteResult::Different, WriteResult::NotAcknowledged})
        EXPECT_GE(results[result], 100) << keyOf(result);
}

} // namespace
