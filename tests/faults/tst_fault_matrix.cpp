// Every fault of a reply, at every place that it can strike, with every kind of request, at the first try, at the
// last one, and at one after which another is left; through the driver and the reference host, in virtual time.
#include "matrix_cell.h"
#include "sim_bytes.h"

#include <iostream>

using namespace faults;
using fgssim::Exchange;
using fgssim::LineFault;
using fgssim::lineFaults;

namespace
{

const int PlacesApart = TARN_SANITIZED ? 3 : 1; ///< of the places that a fault is tried at

/// What a request of this kind and its reply look like.
std::vector<Exchange> exchangesOf(const RequestKind &kind)
{
    FakeLink link;
    FaultyLine line(link, Limit);
    std::vector<Exchange> seen;
    link.onSend = [&](const QByteArray &request) {
        seen.push_back(line.exchangeFor(request));
        link.arrive(fgssim::ReplyDelay, fromBytes(seen.back().reply));
    };
    std::vector<Variable> variables = parsed(kind.asked);
    if (kind.written)
        variables.push_back(parseVariable(QLatin1String(kind.written)));
    Host host(linkedDriver(), link, variables);
    if (kind.written)
        host.write(variables.back(), Values(std::size_t(variables.back().count), 1));
    else if (kind.how == RequestKind::Once)
        host.readSoon(variables);
    else
        host.poll(variables);
    host.step();
    return seen;
}

class FaultMatrix : public DriverTest, public ::testing::WithParamInterface<RequestKind>
{
protected:
    /// Whether the fault must deceive: at the only try of a read.
    bool mustDeceive(const LineFault &fault, Try when) const
    {
        const bool read = GetParam().how == RequestKind::Poll || GetParam().how == RequestKind::Once;
        return expectationOf(fault).undetectable && read && when == Try::Only;
    }
};

TEST_P(FaultMatrix, LosesAtMostTheStruckTransactionAndGivesNoWrongValue)
{
    const Exchange exchange = exchangesOf(GetParam()).at(0);
    int cells = 0, lost = 0;
    for (const LineFault &fault : lineFaults())
        for (int place = 0; place < fault.places(exchange); place += PlacesApart)
            for (Try when : Tries) {
                SCOPED_TRACE(fault.name + ", place " + std::to_string(place) + ", " + TryNames[int(when)]);
                reset();
                Cell cell(GetParam(), fault, place, when);
                cell.run();
                ++cells;
                lost += cell.lost;
                if (mustDeceive(fault, when)) {
                    EXPECT_GT(cell.wrongValues, 0) << "it can be told, so it is in the wrong list";
                }
                if (HasFatalFailure())
                    return;
            }
    std::cout << "cells: " << cells << ", transactions given up: " << lost << '\n';
    EXPECT_GE(cells, 100 / PlacesApart);
}

INSTANTIATE_TEST_SUITE_P(Of, FaultMatrix, ::testing::ValuesIn(Kinds),
                         [](const auto &kind) { return std::string(kind.param.name); });

class FaultTable : public DriverTest
{
};

TEST_F(FaultTable, MakesThousandsOfCells)
{
    std::set<std::string> names;
    std::size_t cells = 0;
    for (const RequestKind &kind : Kinds) {
        reset();
        const Exchange exchange = exchangesOf(kind).at(0);
        for (const LineFault &fault : lineFaults()) {
            names.insert(fault.name);
            cells += std::size_t(fault.places(exchange)) * std::size(Tries);
        }
    }
    std::cout << names.size() << " faults, " << Kinds.size() << " kinds of request, " << cells << " cells\n";
    EXPECT_EQ(names.size(), lineFaults().size()) << "two faults have one name";
    EXPECT_GE(names.size(), 40u);
    EXPECT_GE(cells, 2000u);
}

TEST_F(FaultTable, SaysWhyAFaultDeceives)
{
    for (const Expectation &expected : expectations()) {
        if (expected.undetectable)
            std::cout << expected.fault << ": " << expected.undetectable << '\n';
        EXPECT_TRUE(expected.undetectable || expected.read != Verdict::Deceived) << expected.fault;
    }
}

TEST_F(FaultTable, HasAnExpectationForEachFault)
{
    std::vector<std::string> faults, expected;
    for (const LineFault &fault : lineFaults())
        faults.push_back(fault.name);
    for (const Expectation &each : expectations())
        expected.push_back(each.fault);
    EXPECT_EQ(faults, expected);
}

TEST_F(FaultTable, ExpectsNothingOfAFaultThatCannotStrike)
{
    std::map<std::string, std::pair<int, int>> places; // by fault: of reads, of writes
    for (const RequestKind &kind : Kinds) {
        reset();
        const Exchange exchange = exchangesOf(kind).at(0);
        for (const LineFault &fault : lineFaults())
            (exchange.hasCheck ? places[fault.name].first : places[fault.name].second) += fault.places(exchange);
    }
    for (const Expectation &expected : expectations()) {
        EXPECT_EQ(expected.read == Verdict::None, places[expected.fault].first == 0) << expected.fault;
        EXPECT_EQ(expected.acknowledge == Verdict::None, places[expected.fault].second == 0) << expected.fault;
    }
}

} // namespace
