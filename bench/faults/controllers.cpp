#include "controllers.h"

#include "faults/sim_bytes.h"
#include "sim/crc.h"
#include "sim/frame.h"

namespace bench
{

using faults::Stranger;
using faults::toBytes;

namespace
{

fgssim::Exchange exchangeOf(const QByteArray &request)
{
    fgssim::Exchange x;
    x.request = toBytes(request);
    x.station = {0};
    x.command = {1};
    return x;
}

} // namespace

/// Another one for each station, address and request.
unsigned PolledController::value(int station, int address) const
{
    const unsigned mixed = (unsigned(station) * 7919u + unsigned(address) * 2654435u + tick * 40503u) * 2654435761u;
    return mixed >> 16;
}

Answer FgsController::answer(const QByteArray &bytes)
{
    ++tick;
    fgssim::Request request = fgssim::parseRequest(toBytes(bytes));
    const auto reply = [&request, this](int station, unsigned shift) {
        fgssim::Request asked = request;
        asked.station = unsigned(station);
        return fgssim::readReply(asked, [this, station, shift](const fgssim::Area &, unsigned address) {
            return value(station, int(address + shift));
        });
    };
    Answer answer = {request.entries[0].address >= 1000, {}, exchangeOf(bytes)};
    fgssim::Exchange &x = answer.exchange;
    for (const fgssim::Entry &entry : request.entries) {
        for (unsigned i = 0; i < entry.count; ++i)
            answer.values.push_back(value(1, int(entry.address + i)));
    }
    markEntries(x, request);
    x.number = {2};
    x.reply = reply(1, 0);
    x.stranger = reply(Stranger, 0);
    x.sameShape = reply(1, 5000);
    request.entries = {{&fgssim::areas()[7], 5, 40}};
    x.otherShape = reply(1, 0);
    return answer;
}

Answer ModbusController::answer(const QByteArray &bytes)
{
    ++tick;
    const fgssim::Bytes frame = toBytes(bytes);
    const fgssim::Slice view(frame);
    const int address = int(view.be16(2)), count = int(view.be16(4));
    Answer answer = {address >= 100, {}, exchangeOf(bytes)};
    fgssim::Exchange &x = answer.exchange;
    x.counts = {2};
    for (int i = 0; i < count; ++i) {
        answer.values.push_back(value(1, address + i));
        x.data.insert(x.data.end(), {3 + 2 * i, 4 + 2 * i});
    }
    x.reply = reply(1, address, count);
    x.stranger = reply(Stranger, address, count);
    x.sameShape = reply(1, address + 5000, count);
    x.otherShape = reply(1, 40, 5);
    return answer;
}

fgssim::Bytes ModbusController::reply(int station, int address, int count) const
{
    fgssim::Bytes bytes = {fgssim::Byte(station), 3, fgssim::Byte(2 * count)};
    for (int i = 0; i < count; ++i) {
        bytes.push_back(fgssim::Byte(value(station, address + i) >> 8 & 0xFF));
        bytes.push_back(fgssim::Byte(value(station, address + i) & 0xFF));
    }
    fgssim::appendCrc(bytes);
    return bytes;
}

} // namespace bench
