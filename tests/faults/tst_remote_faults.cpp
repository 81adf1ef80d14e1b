// The same faults with remote frames, which the reference host does not send: the driver under the poll loop of the
// host guide, with one rule more. After an answer that did not come, nothing new is asked until it can no longer
// come.
#include "faulty_line.h"
#include "host/driver_api.h"

#include <iostream>

using faults::expectationOf;
using faults::Values;
using faults::Verdict;
using fgs::Time;
using fgssim::Exchange;
using fgssim::LineFault;
using namespace std::chrono_literals;

namespace
{

const Time Limit = 100ms;
const Time LateBy = 250ms;
const int Attempts = 2;

int codeOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::BadCheck:
        return 111;
    case Verdict::Missing:
        return 141;
    case Verdict::BadLength:
        return 171;
    default:
        return 1;
    }
}

class RemoteFaults : public DriverTest
{
protected:
    static constexpr int First = 100, Second = 1100, Count = 4;

    void start()
    {
        reset();
        settings.remoteMode = 1;
        settings.retryLimit = Attempts - 1;
        for (int address : {First, Second}) {
            RW_VAR var = variable(5, address, Count);
            var.linkNo = 3;
            var.remoteStoreMark = -1;
            AddListReadVar(&var);
        }
    }

    /// One transaction: the results of its attempts.
    std::vector<int> poll(FakeLink &link)
    {
        std::vector<int> codes;
        do
            codes.push_back(attempt(link));
        while (codes.back() == 0 && codes.size() < 10);
        if (codes.size() > 1)
            drain(link, link.now() + LateBy, LateBy);
        return codes;
    }

    int attempt(FakeLink &link)
    {
        const Protocol *const request = ComCommunication();
        drain(link, link.now() + 2 * Limit, 2ms);
        link.send(request->frame.constData(), request->frameLen);
        QByteArray reply = receive(link, *request);
        return DataCom(&reply, int(reply.size()))->result;
    }

    /// As many bytes as the reply has, behind echoes of the request.
    QByteArray receive(FakeLink &link, const Protocol &request)
    {
        const Time deadline = link.now() + Limit;
        QByteArray bytes;
        char chunk[1024];
        for (;;) {
            while (bytes.startsWith(request.frame))
                bytes.remove(0, request.frameLen);
            const bool perhapsEcho = request.frame.startsWith(bytes);
            if (bytes.size() >= request.replyLen && !perhapsEcho)
                return bytes.left(request.replyLen);
            const int count = link.receive(chunk, sizeof chunk, deadline);
            if (count <= 0)
                return bytes;
            bytes.append(chunk, count);
        }
    }

    void drain(FakeLink &link, Time limit, Time gap)
    {
        char stray[4096];
        while (link.now() < limit && link.receive(stray, sizeof stray, link.now() + gap) > 0) {
        }
    }

    /// Whether the image holds values that the controller never sent for their address.
    bool isDeceived(faults::FaultyLine &line) const
    {
        for (int address : {First, Second}) {
            Values values;
            for (int i = 0; i < Count; ++i)
                values.push_back(PLC_driver.usArea5[address + i]);
            if (values != Values(Count, 0) && !line.sentFor({1, 5, address, Count}).count(values))
                return true;
        }
        return false;
    }

    /// What comes after the limit spoils the second attempt: the driver cannot look behind it.
    static std::vector<int> afterOneFailure(const LineFault &fault)
    {
        return fault.name == "its end after the limit" ? std::vector<int>{0, 111} : std::vector<int>{0, 1};
    }

    Exchange exchange()
    {
        start();
        FakeLink link;
        faults::FaultyLine line(link, Limit);
        return line.exchangeFor(ComCommunication()->frame);
    }

    /// The fault strikes the first attempt, or the last one.
    void check(const LineFault &fault, int place, bool last)
    {
        start();
        FakeLink link;
        faults::FaultyLine line(link, Limit);
        ASSERT_EQ(poll(link), (std::vector<int>{1}));
        if (last)
            line.strike(*fgssim::lineFault("silence"), 0);
        line.strike(fault, place);
        const Time begin = link.now();
        const std::vector<int> codes = poll(link);
        EXPECT_LE(link.now() - begin, Attempts * 2 * Limit + LateBy + 50ms);
        const int code = codeOf(expectationOf(fault).remote);
        EXPECT_EQ(codes, last        ? std::vector<int>({0, code})
                         : code == 1 ? std::vector<int>({1})
                                     : afterOneFailure(fault));
        const bool deceived = isDeceived(line);
        EXPECT_EQ(deceived, expectationOf(fault).remote == Verdict::Deceived);
        if (expectationOf(fault).undetectable)
            return;
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(poll(link), (std::vector<int>{1})) << "a good transaction is lost";
        EXPECT_FALSE(isDeceived(line));
    }
};

TEST_F(RemoteFaults, LoseAtMostTheStruckTransaction)
{
    const Exchange x = exchange();
    int cells = 0;
    for (const LineFault &fault : fgssim::lineFaults())
        for (int place = 0; !fault.cutsLink && place < fault.places(x); ++place)
            for (bool last : {false, true}) {
                SCOPED_TRACE(fault.name + ", place " + std::to_string(place) +
                             (last ? ", last try" : ", first try"));
                check(fault, place, last);
                ++cells;
            }
    std::cout << "cells: " << cells << '\n';
    EXPECT_GE(cells, 200);
}

} // namespace
