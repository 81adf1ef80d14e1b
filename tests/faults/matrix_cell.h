// One cell of the fault matrix.
#ifndef FGS_TESTS_MATRIX_CELL_H
#define FGS_TESTS_MATRIX_CELL_H

#include "request_kinds.h"

namespace faults
{

using namespace fgs;

inline std::vector<int> codes; ///< that the driver gave, in order

inline RW_VAR *recordedDataCom(QByteArray *reply, int length)
{
    RW_VAR *const served = DataCom(reply, length);
    codes.push_back(served->result);
    return served;
}

inline DriverApi recordedDriver()
{
    DriverApi api = linkedDriver();
    api.DataCom = recordedDataCom;
    return api;
}

inline int codeOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::BadCheck:
        return 11;
    case Verdict::Missing:
        return 41;
    case Verdict::BadLength:
        return 71;
    default:
        return 1;
    }
}

/// One cell: a panel whose line has one fault.
class Cell
{
public:
    Cell(const RequestKind &theKind, const fgssim::LineFault &theFault, int thePlace, Try theTry)
        : kind(theKind), fault(theFault), expected(expectationOf(fault)), place(thePlace), when(theTry),
          asked(parsed(kind.asked)), others(parsed(kind.others))
    {
        codes.clear();
    }

    void run()
    {
        HostOptions options;
        options.retries = when == Try::Only ? 0 : 1;
        options.timing.timeout = Limit;
        options.timing.late = LateBy;
        options.timing.turnaround = 20ms;
        options.timing.firstReconnect = 10ms;
        std::vector<Variable> all = asked;
        all.insert(all.end(), others.begin(), others.end());
        if (kind.written)
            all.push_back(parseVariable(QLatin1String(kind.written)));
        host = std::make_unique<Host>(recordedDriver(), link, all, options);
        prepare();
        strike();
        recover();
        host.reset();
    }

    int wrongValues = 0;
    int lost = 0; ///< jobs that the driver gave up

private:
    bool isWrite() const { return kind.how == RequestKind::Write; }
    Verdict verdict() const
    {
        return kind.how == RequestKind::Broadcast && !fault.cutsLink ? Verdict::Good
               : isWrite()                                           ? expected.acknowledge
                                                                     : expected.read;
    }
    bool isBad() const { return codeOf(verdict()) != 1; }

    /// A good value of everything; then the request that the fault is for.
    void prepare()
    {
        if (kind.how != RequestKind::Once) {
            host->poll(asked);
            step();
            ASSERT_EQ(codes, std::vector<int>{1});
        } else {
            host->readSoon(asked);
        }
        if (!kind.written)
            return;
        const Variable variable = parseVariable(QLatin1String(kind.written));
        for (int i = 0; i < variable.count; ++i)
            writtenValues.push_back(areaOf(variable.area)->kind == AreaKind::Bit ? 1 : 0x1234u + unsigned(i));
        ASSERT_TRUE(host->write(variable, writtenValues));
    }

    Step step()
    {
        const Time start = link.now();
        const Step made = host->step();
        EXPECT_LE(link.now() - start, StepBound);
        lost += made.ended && made.outcome != Outcome::Good;
        return made;
    }

    void strike()
    {
        codes.clear();
        if (when == Try::Last)
            line.strike(*fgssim::lineFault("silence"), 0);
        line.strike(fault, place);
        Step made;
        for (int i = 0; i < 8 && !made.ended; ++i)
            made = step();
        EXPECT_TRUE(made.ended) << "the job does not end";
        EXPECT_EQ(codes, wantedCodes());
        EXPECT_LE(lost, 1);
        EXPECT_EQ(host->writesLost(), isWrite() && made.outcome != Outcome::Good);
        countWrongValues(asked);
        checkWritten();
    }

    /// The result of each attempt. A broadcast has one attempt only, and the end of a link is no attempt.
    std::vector<int> wantedCodes() const
    {
        const int code = codeOf(verdict());
        if (kind.how == RequestKind::Broadcast)
            return {1};
        if (when == Try::Only)
            return {code};
        if (when == Try::Last)
            return {0, code};
        if (!isBad())
            return {1};
        return {0, spoilsNextTry() ? codeOf(Verdict::BadLength) : 1};
    }

    /// The end of an acknowledgement that comes ahead of the next one hides it: it has no check to be found by.
    bool spoilsNextTry() const { return isWrite() && fault.name == "its end after the limit"; }

    /// The panel changes to a screen of the same shape and back. Nothing more may be lost, nothing may be old. What
    /// deceives may go on until the shift ends.
    void recover()
    {
        const int lostBefore = lost;
        if (expected.undetectable) {
            show(others);
            endShift();
        }
        for (const std::vector<Variable> *screen : {&others, &asked}) {
            show(*screen);
            for (const Variable &variable : *screen)
                EXPECT_EQ(host->values(variable), line.lastSentFor(placeOf(variable)))
                    << textOf(variable).toStdString();
        }
        EXPECT_EQ(lost, lostBefore) << "good transactions are lost";
        if (!expected.undetectable) {
            EXPECT_EQ(wrongValues, 0);
        }
    }

    /// A pause does it, or a question of another shape.
    void endShift()
    {
        if (when == Try::Last)
            return link.pauseUntil(link.now() + 2 * fgssim::ReplyDelay);
        host->poll(parsed({"5:3000x17"}));
        step();
    }

    void show(const std::vector<Variable> &screen)
    {
        host->poll(screen);
        for (int i = 0; i < 3; ++i) {
            step();
            countWrongValues(screen);
        }
    }

    static Place placeOf(const Variable &v) { return {v.station, v.area, v.address, v.count}; }

    /// A value counts as known from the first good reply on; until then the image holds zeros.
    void countWrongValues(const std::vector<Variable> &variables)
    {
        for (const Variable &variable : variables) {
            const Values values = host->values(variable);
            if (host->ageOf(variable).isKnown())
                wrongValues += !line.sentFor(placeOf(variable)).count(values);
            else
                EXPECT_EQ(values, Values(values.size(), 0)) << textOf(variable).toStdString();
        }
    }

    void checkWritten()
    {
        if (!kind.written || host->writesLost())
            return;
        const Variable variable = parseVariable(QLatin1String(kind.written));
        for (int i = 0; i < variable.count; ++i)
            EXPECT_EQ(line.written(variable.station, variable.area, variable.address + i),
                      writtenValues[std::size_t(i)])
                << i;
    }

    const RequestKind &kind;
    const fgssim::LineFault &fault;
    const Expectation &expected;
    const int place;
    const Try when;
    const std::vector<Variable> asked, others;
    Values writtenValues;
    FakeLink link;
    FaultyLine line{link, Limit};
    std::unique_ptr<Host> host;
};

} // namespace faults

#endif
