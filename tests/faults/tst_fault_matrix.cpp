// Every fault of a reply, at every place that it can strike, with every kind of request, at the first try, at the
// last one, and at one after which another is left; through the driver and the reference host, in virtual time.
#include "matrix_cell.h"

#include <iostream>

using namespace faults;

namespace
{

/// What a request of this kind and its reply look like.
std::vector<Exchange> exchangesOf(const RequestKind &kind)
{
    fake::Link link;
    FaultyLine line(link, Limit);
    std::vector<Exchange> seen;
    link.onSend = [&](const QByteArray &request) {
        seen.push_back(line.exchangeFor(request));
        link.arrive(ReplyDelay, seen.back().reply);
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

/// What the fault does not do to this kind is no cell.
int placesOf(const RequestKind &kind, const Fault &fault, const Exchange &exchange)
{
    const Verdict verdict = kind.how == RequestKind::Write ? fault.acknowledge : fault.read;
    return verdict == Verdict::None ? 0 : fault.positions(exchange);
}

class FaultMatrix : public DriverTest, public ::testing::WithParamInterface<RequestKind>
{
protected:
    /// Whether the fault must deceive: at the only try of a read.
    bool mustDeceive(const Fault &fault, Try when) const
    {
        const bool read = GetParam().how == RequestKind::Poll || GetParam().how == RequestKind::Once;
        return fault.undetectable && read && when == Try::Only;
    }
};

TEST_P(FaultMatrix, LosesAtMostTheStruckTransactionAndGivesNoWrongValue)
{
    const Exchange exchange = exchangesOf(GetParam()).at(0);
    int cells = 0, lost = 0;
    for (const Fault &fault : allFaults())
        for (int position = 0; position < placesOf(GetParam(), fault, exchange); ++position)
            for (Try when : Tries) {
                SCOPED_TRACE(fault.name + ", place " + std::to_string(position) + ", " + TryNames[int(when)]);
                reset();
                Cell cell(GetParam(), fault, position, when);
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
    EXPECT_GE(cells, 100);
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
        for (const Fault &fault : allFaults()) {
            names.insert(fault.name);
            cells += std::size_t(placesOf(kind, fault, exchange)) * std::size(Tries);
        }
    }
    std::cout << names.size() << " faults, " << Kinds.size() << " kinds of request, " << cells << " cells\n";
    EXPECT_EQ(names.size(), allFaults().size()) << "two faults have one name";
    EXPECT_GE(names.size(), 40u);
    EXPECT_GE(cells, 2000u);
}

TEST_F(FaultTable, SaysWhyAFaultDeceives)
{
    for (const Fault &fault : allFaults()) {
        if (fault.undetectable)
            std::cout << fault.name << ": " << fault.undetectable << '\n';
        EXPECT_TRUE(fault.undetectable || fault.read != Verdict::Deceived) << fault.name;
    }
}

} // namespace
