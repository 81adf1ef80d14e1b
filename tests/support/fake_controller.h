// A controller in memory, for whoever polls: it includes nothing of the driver, the host or the simulated
// controller.
#ifndef TARN_TESTS_FAKE_CONTROLLER_H
#define TARN_TESTS_FAKE_CONTROLLER_H

#include "support/wire.h"

#include <map>
#include <QtCore/QByteArray>
#include <tuple>

/// What registers hold that were never written.
namespace unwritten
{

inline unsigned zero(int, int, int)
{
    return 0;
}

/// 32 bits, others for every station, area code and address.
inline unsigned mixed(int station, int code, int address)
{
    return (unsigned(station) * 7919u + unsigned(code) * 104729u + unsigned(address) * 2654435u) * 2654435761u;
}

/// Another value for every station, area code and address.
inline unsigned pattern(int station, int code, int address)
{
    const frames::Kind kind = frames::kindOf(unsigned(code));
    const unsigned full = mixed(station, code, address);
    return kind == frames::Kind::Bits ? full >> 31 : kind == frames::Kind::Words ? full >> 16 : full;
}

} // namespace unwritten

/// The registers of any number of stations. A register is one bit, word or double word of the area with a code.
class FakeController
{
public:
    using Unwritten = unsigned (*)(int station, int code, int address);
    explicit FakeController(Unwritten theOthers = unwritten::zero) : others(theOthers) {}

    unsigned &at(int station, int code, int address)
    {
        const Place place(station, code, address);
        return registers.emplace(place, others(station, code, address)).first->second;
    }
    unsigned at(int station, int code, int address) const
    {
        const auto held = registers.find(Place(station, code, address));
        return held == registers.end() ? others(station, code, address) : held->second;
    }

    /// Carries out what the request says and gives the reply; empty for station 0, a wrong check code or an unknown
    /// command.
    QByteArray answer(const QByteArray &request)
    {
        const QByteArray reply = replyTo(request);
        if (isWrite(request) && !reply.isEmpty())
            carryOut(request);
        return reply;
    }

    /// The reply alone, as a controller gives it that can do what is asked.
    QByteArray replyTo(const QByteArray &request) const
    {
        if (request.size() < 9 || !frames::isSealed(request) || request.at(0) == 0)
            return QByteArray();
        if (isWrite(request))
            return request.left(1) + QByteArray("\xFF\x20");
        return request.at(1) == '\xFE' ? readReply(request) : QByteArray();
    }

    void carryOut(const QByteArray &write)
    {
        const int code = int(frames::byteAt(write, 3));
        const int count = frames::bitsOf(unsigned(code)) == 1 ? 1 : int(frames::byteAt(write, 4));
        for (int i = 0; i < count; ++i)
            at(stationOf(write), code, addressAt(write, 5) + i) = frames::writtenItem(write, i);
    }

private:
    using Place = std::tuple<int, int, int>;

    static bool isWrite(const QByteArray &request) { return frames::byteAt(request, 1) == 0xFF; }
    static int stationOf(const QByteArray &request) { return int(frames::byteAt(request, 0)); }
    static int addressAt(const QByteArray &request, int at)
    {
        return int(frames::byteAt(request, at) + 256 * frames::byteAt(request, at + 1));
    }

    QByteArray readReply(const QByteArray &request) const
    {
        QByteArray reply = request.left(3);
        for (int entry = 3; entry + 6 <= int(request.size()); entry += 4) {
            reply += request.mid(entry, 2);
            appendData(reply, request, entry);
        }
        return frames::sealed(reply);
    }

    void appendData(QByteArray &reply, const QByteArray &request, int entry) const
    {
        const int station = stationOf(request), code = int(frames::byteAt(request, entry));
        const int count = int(frames::byteAt(request, entry + 1)), address = addressAt(request, entry + 2);
        const frames::Kind kind = frames::kindOf(unsigned(code));
        for (int i = 0; i < count; i += kind == frames::Kind::Bits ? 8 : 1)
            if (kind == frames::Kind::Bits)
                frames::put8(reply, eightBits(station, code, address + i));
            else if (kind == frames::Kind::Words)
                frames::put16(reply, at(station, code, address + i));
            else
                frames::putDouble(reply, at(station, code, address + i));
    }

    unsigned eightBits(int station, int code, int address) const
    {
        unsigned packed = 0;
        for (int bit = 0; bit < 8; ++bit)
            packed |= (at(station, code, address + bit) & 1u) << bit;
        return packed;
    }

    const Unwritten others;
    std::map<Place, unsigned> registers;
};

#endif
