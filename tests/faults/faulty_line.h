// A line in virtual time with a controller at its end, and a script of faults for the replies to come. The
// controller is the simulated one: its encoder shares no code with the driver. Its values move with every request.
#ifndef FGS_TESTS_FAULTY_LINE_H
#define FGS_TESTS_FAULTY_LINE_H

#include "expectations.h"
#include "support/fake_link.h"

#include <deque>
#include <set>
#include <tuple>

namespace faults
{

using fgssim::Time;
using Values = std::vector<quint32>;
/// Station, area, address and count of one block.
using Place = std::tuple<int, int, int, int>;

class FaultyLine
{
public:
    /// Limit: the client's, for an answer.
    FaultyLine(FakeLink &line, Time limit);

    /// What happens to the next replies, in this order; after them nothing does.
    void strike(const fgssim::LineFault &fault, int place) { script.push_back({&fault, place}); }
    /// From now on requests whose replies are struck get lost: nobody carries them out.
    void loseStruck() { losesStruck = true; }
    bool isStruck() const { return script.empty(); }

    /// The request and its reply without a fault. A write is carried out.
    fgssim::Exchange exchangeFor(const QByteArray &request);

    /// Every row of values that the controller sent for the place, and the last one.
    const std::set<Values> &sentFor(const Place &place) { return sent[place]; }
    const Values &lastSentFor(const Place &place) { return last[place]; }
    /// From now on the address holds it, until it is written.
    void hold(int station, int area, int address, quint32 value)
    {
        registers[std::make_tuple(station, area, address)] = value;
    }
    /// What was written there, if anything.
    quint32 written(int station, int area, int address) const;

private:
    struct Strike {
        const fgssim::LineFault *fault;
        int place;
    };
    void answer(const QByteArray &bytes);
    void deliver(const fgssim::Delivery &delivery);
    fgssim::Exchange localExchange(const QByteArray &bytes);
    fgssim::Exchange remoteExchange(const QByteArray &bytes);
    fgssim::Exchange remoteWriteExchange(const fgssim::Request &request);
    fgssim::Bytes remoteReply(const fgssim::Request &read) const;
    void carryOut(const fgssim::Request &write);
    fgssim::Bytes readReply(const fgssim::Request &request, bool counts);
    quint32 value(int station, int area, int address) const;
    void note(int station, int area, int address, int count);

    FakeLink &link;
    const Time limit;
    std::deque<Strike> script;
    fgssim::Delivery held;
    unsigned tick = 0;
    bool losesStruck = false;
    bool isLost = false; ///< the request at hand
    std::map<std::tuple<int, int, int>, quint32> registers;
    std::map<Place, std::set<Values>> sent;
    std::map<Place, Values> last;
};

} // namespace faults

#endif
