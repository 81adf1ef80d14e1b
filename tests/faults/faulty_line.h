// A line in virtual time with a controller at its end, and a script of faults for the replies to come. The
// controller is fgs-sim's: its encoder shares no code with the driver. Its values move with every request.
#ifndef FGS_TESTS_FAULTY_LINE_H
#define FGS_TESTS_FAULTY_LINE_H

#include "host/fake_link.h"
#include "line_faults.h"
#include "sim/frame.h"

#include <deque>
#include <set>
#include <tuple>

namespace faults
{

using Values = std::vector<quint32>;
/// Station, area, address and count of one block.
using Place = std::tuple<int, int, int, int>;

class FaultyLine
{
public:
    /// Limit: the client's, for an answer.
    FaultyLine(fake::Link &line, Time limit);

    /// What happens to the next replies, in this order; after them nothing does.
    void strike(const Fault &fault, int position) { script.push_back({&fault, position}); }
    bool isStruck() const { return script.empty(); }

    /// The request and its reply without a fault.
    Exchange exchangeFor(const QByteArray &request);

    /// Every row of values that the controller sent for the place, and the last one.
    const std::set<Values> &sentFor(const Place &place) { return sent[place]; }
    const Values &lastSentFor(const Place &place) { return last[place]; }
    /// What was written there, if anything.
    quint32 written(int station, int area, int address) const;

private:
    struct Strike {
        const Fault *fault;
        int position;
    };
    struct Held {
        Time after;
        QByteArray bytes;
    };
    void answer(const QByteArray &bytes);
    void deliver(const Delivery &delivery);
    Exchange localExchange(const QByteArray &bytes);
    Exchange remoteExchange(const QByteArray &bytes);
    QByteArray readReply(const fgssim::Request &request, bool counts);
    quint32 value(int station, int area, int address) const;
    void note(int station, int area, int address, int count);

    fake::Link &link;
    const Time limit;
    std::deque<Strike> script;
    std::vector<Held> held;
    unsigned tick = 0;
    std::map<std::tuple<int, int, int>, quint32> registers;
    std::map<Place, std::set<Values>> sent;
    std::map<Place, Values> last;
};

} // namespace faults

#endif
