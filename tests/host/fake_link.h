// A line in virtual time with a controller at its end, and the faults that a test wants.
#ifndef FGS_TESTS_FAKE_LINK_H
#define FGS_TESTS_FAKE_LINK_H

#include "host/statistics.h"
#include "support/fixture.h"
#include "support/frames.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <tuple>

namespace fgs
{

inline void PrintTo(Outcome outcome, std::ostream *out)
{
    *out << nameOf(outcome);
}

} // namespace fgs

namespace fake
{

using namespace std::chrono_literals;
using fgs::Time;

/// What a register holds that was never written: another value for every station, area code and address.
inline unsigned patternValue(int station, int code, int address)
{
    return (unsigned(station) * 7919u + unsigned(code) * 104729u + unsigned(address) * 2654435u) * 2654435761u;
}

/// Every station there is, with registers that keep what is written.
class Controller
{
public:
    unsigned value(int station, int code, int address) const
    {
        const auto written = registers.find(std::make_tuple(station, code, address));
        const unsigned full = written == registers.end() ? patternValue(station, code, address) : written->second;
        return code <= 5 ? full >> 31 : code == 0x13 ? full : full >> 16;
    }

    QByteArray answer(const QByteArray &request)
    {
        ++requests;
        return at(request, 1) == 0xFE ? answerRead(request) : answerWrite(request);
    }

    int requests = 0;

private:
    static int at(const QByteArray &bytes, int index) { return static_cast<unsigned char>(bytes.at(index)); }

    QByteArray answerRead(const QByteArray &request) const
    {
        QByteArray reply = request.left(3);
        for (int i = 0; i < at(request, 2); ++i) {
            const int entry = 3 + 4 * i, address = at(request, entry + 2) + 256 * at(request, entry + 3);
            reply += request.mid(entry, 2);
            appendValues(reply, at(request, 0), at(request, entry), at(request, entry + 1), address);
        }
        return frames::sealed(reply);
    }

    void appendValues(QByteArray &reply, int station, int code, int count, int address) const
    {
        unsigned packed = 0;
        for (int i = 0; i < count; ++i) {
            const unsigned number = value(station, code, address + i);
            packed |= (number & 1) << (i % 8);
            if (code == 0x13)
                frames::putDouble(reply, number);
            else if (code > 5)
                frames::put16(reply, number);
            else if (i % 8 == 7) {
                frames::put8(reply, packed);
                packed = 0;
            }
        }
    }

    QByteArray answerWrite(const QByteArray &request)
    {
        const int code = at(request, 3), address = at(request, 5) + 256 * at(request, 6);
        const auto word = [&request](int index) {
            return unsigned(at(request, 7 + 2 * index) * 256 + at(request, 8 + 2 * index));
        };
        for (int i = 0; i < (code <= 5 ? 1 : at(request, 4)); ++i)
            registers[std::make_tuple(at(request, 0), code, address + i)] =
                code <= 5      ? unsigned(at(request, 7)) << 31
                : code == 0x13 ? word(2 * i) | word(2 * i + 1) << 16
                               : word(i) << 16;
        return request.left(1) + bytes("FF 20");
    }

    std::map<std::tuple<int, int, int>, unsigned> registers;
};

class Link : public fgs::Link
{
public:
    /// Answers after 5 ms, but for station 0, until a test sets onSend.
    Link()
    {
        onSend = [this](const QByteArray &request) { answer(request); };
    }

    std::function<void(const QByteArray &request)> onSend;
    Controller controller;
    std::vector<QByteArray> sent;
    std::vector<Time> sentAt;
    Time clock = 1000s;
    Time perByte = Time(0);
    int refusals = 0;
    bool opened = true;
    bool connection = false;    ///< what isConnection() says
    std::vector<Time> openedAt; ///< the tries, with success or without
    QString lostBy = QStringLiteral("cut");

    void answer(const QByteArray &request, Time after = 5ms)
    {
        if (request.at(0) != 0)
            arrive(after, controller.answer(request));
    }
    void arrive(Time after, const QByteArray &data)
    {
        if (!data.isEmpty())
            arrivals.emplace(clock + after, data);
    }
    void cut() { opened = false; }

    bool open() override
    {
        openedAt.push_back(clock);
        if (isEnded())
            return false;
        if (refusals > 0)
            --refusals;
        else
            opened = true;
        return opened;
    }
    bool isOpen() const override { return opened; }
    QString error() const override { return lostBy; }
    bool isConnection() const override { return connection; }
    void close(const QString &why) override
    {
        opened = false;
        lostBy = why;
    }

    bool send(const char *data, int size) override
    {
        if (!opened)
            return false;
        sent.push_back(QByteArray(data, size));
        sentAt.push_back(clock);
        onSend(sent.back());
        return opened;
    }

    int receive(char *data, int most, Time deadline) override
    {
        guard();
        if (!opened)
            return -1;
        const Time end = waitEnd(deadline);
        if (arrivals.empty() || arrivals.begin()->first > end) {
            clock = end;
            return 0;
        }
        clock = std::max(clock, arrivals.begin()->first);
        const Time due = arrivals.begin()->first;
        QByteArray chunk = arrivals.begin()->second;
        arrivals.erase(arrivals.begin());
        const int size = std::min(most, int(chunk.size()));
        std::memcpy(data, chunk.constData(), size_t(size));
        if (size < chunk.size())
            arrivals.emplace_hint(arrivals.begin(), due, chunk.mid(size));
        return size;
    }

    Time now() const override { return clock; }
    void pauseUntil(Time time) override
    {
        guard();
        clock = waitEnd(time);
    }
    Time byteTime() const override { return perByte; }

private:
    /// When a wait until the deadline ends.
    Time waitEnd(Time deadline) const { return isEnded() ? clock : std::max(clock, std::min(deadline, endTime)); }

    /// A loop that never ends in real time fails the test instead.
    void guard()
    {
        if (++calls > 2000000)
            throw std::runtime_error("the host asks without end");
    }

    std::multimap<Time, QByteArray> arrivals;
    int calls = 0;
};

} // namespace fake

#endif
