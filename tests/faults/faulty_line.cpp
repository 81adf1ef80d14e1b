#include "faulty_line.h"

#include "sim/remote_frame.h"
#include "sim_bytes.h"

namespace faults
{

namespace
{

fgssim::Request elsewhere(fgssim::Request request)
{
    for (fgssim::Entry &entry : request.entries)
        entry.address += 5000;
    return request;
}

fgssim::Request otherQuestion(int station)
{
    return {unsigned(station), false, {{&fgssim::areas()[7], 5, 40}}, {}};
}

} // namespace

FaultyLine::FaultyLine(FakeLink &line, Time theLimit) : link(line), limit(theLimit)
{
    link.onSend = [this](const QByteArray &request) { answer(request); };
}

quint32 FaultyLine::written(int station, int area, int address) const
{
    const auto found = registers.find(std::make_tuple(station, area, address));
    return found == registers.end() ? 0 : found->second;
}

/// What was written, otherwise another value for each place and each request.
quint32 FaultyLine::value(int station, int area, int address) const
{
    const auto found = registers.find(std::make_tuple(station, area, address));
    if (found != registers.end())
        return found->second;
    const quint32 full =
        unwritten::mixed(station, area, address) ^ (tick * 2246822519u + tick * quint32(address) * 40503u);
    const fgssim::AreaKind kind = fgssim::areas()[std::size_t(area)].kind;
    return kind == fgssim::AreaKind::DoubleWord ? full : kind == fgssim::AreaKind::Word ? full >> 16 : full >> 31;
}

void FaultyLine::note(int station, int area, int address, int count)
{
    Values values;
    for (int i = 0; i < count; ++i)
        values.push_back(value(station, area, address + i));
    const Place place(station, area, address, count);
    sent[place].insert(values);
    last[place] = values;
}

/// The reply to a read; with `counts` as one that the controller sends.
fgssim::Bytes FaultyLine::readReply(const fgssim::Request &request, bool counts)
{
    const int station = int(request.station);
    for (const fgssim::Entry &entry : request.entries)
        if (counts)
            note(station, entry.area->number, int(entry.address), int(entry.count));
    return fgssim::readReply(request, [this, station](const fgssim::Area &area, unsigned address) {
        return value(station, area.number, int(address));
    });
}

fgssim::Exchange FaultyLine::exchangeFor(const QByteArray &request)
{
    ++tick;
    const bool isRemote = PLC_driver.settings->remoteMode;
    fgssim::Exchange x = isRemote ? remoteExchange(request) : localExchange(request);
    x.asked = unsigned(request.at(isRemote ? 4 : 0) & 0xFF);
    x.request = toBytes(request);
    x.station = {0};
    x.command = {1};
    x.number = {2};
    x.limit = limit;
    return x;
}

fgssim::Exchange FaultyLine::localExchange(const QByteArray &bytes)
{
    fgssim::Request request = fgssim::parseRequest(toBytes(bytes));
    fgssim::Exchange x;
    x.hasCheck = !request.write;
    x.otherShape = readReply(otherQuestion(int(request.station)), false);
    if (request.write) {
        carryOut(request);
        x.reply = fgssim::writeReply(request);
        request.station = Stranger;
        x.stranger = fgssim::writeReply(request);
        return x;
    }
    markEntries(x, request);
    x.reply = readReply(request, true);
    x.sameShape = readReply(elsewhere(request), false);
    request.station = Stranger;
    x.stranger = readReply(request, false);
    return x;
}

void FaultyLine::carryOut(const fgssim::Request &write)
{
    for (std::size_t i = 0; i < write.values.size() && !isLost; ++i)
        registers[std::make_tuple(int(write.station), write.entries[0].area->number,
                                  int(write.entries[0].address + i))] = write.values[i];
}

fgssim::Exchange FaultyLine::remoteWriteExchange(const fgssim::Request &request)
{
    carryOut(request);
    fgssim::Exchange x;
    x.reply = fgssim::remoteWriteReply(request);
    fgssim::Request toOther = request;
    toOther.station = Stranger;
    x.stranger = fgssim::remoteWriteReply(toOther);
    x.otherShape = toBytes(frames::sealed(QByteArray::fromHex("0152011234")));
    for (int at = 3; at < x.size() - 2; ++at)
        x.data.push_back(at);
    return x;
}

fgssim::Exchange FaultyLine::remoteExchange(const QByteArray &bytes)
{
    fgssim::Request request = fgssim::parseRemoteRequest(toBytes(bytes));
    if (request.write)
        return remoteWriteExchange(request);
    const fgssim::Entry &entry = request.entries[0];
    const int station = int(request.station);
    note(station, entry.area->number, int(entry.address), int(entry.count));
    fgssim::Exchange x;
    x.reply = remoteReply(request);
    x.sameShape = remoteReply(elsewhere(request));
    x.otherShape = remoteReply({request.station, false, {{&fgssim::areas()[7], 1, 40}}, {}});
    request.station = Stranger;
    x.stranger = remoteReply(request);
    for (int at = 3; at < x.size() - 2; ++at)
        x.data.push_back(at);
    return x;
}

fgssim::Bytes FaultyLine::remoteReply(const fgssim::Request &read) const
{
    return fgssim::remoteReadReply(read, [this, &read](const fgssim::Area &area, unsigned address) {
        return value(int(read.station), area.number, int(address));
    });
}

void FaultyLine::answer(const QByteArray &bytes)
{
    for (const fgssim::Arrival &arrival : std::exchange(held, {}))
        link.arrive(arrival.after, fromBytes(arrival.bytes));
    Strike strike = {nullptr, 0};
    if (!script.empty()) {
        strike = script.front();
        script.pop_front();
    }
    isLost = losesStruck && strike.fault;
    fgssim::Exchange x = exchangeFor(bytes);
    isLost = false;
    if (strike.fault && strike.fault->cutsLink)
        return link.cut();
    if (strike.fault)
        return deliver(strike.fault->deliver(x, strike.place));
    if (bytes.at(0) != 0)
        link.arrive(fgssim::ReplyDelay, fromBytes(x.reply));
}

void FaultyLine::deliver(const fgssim::Delivery &delivery)
{
    for (const fgssim::Arrival &arrival : delivery)
        if (arrival.withNextRequest)
            held.push_back(arrival);
        else
            link.arrive(arrival.after, fromBytes(arrival.bytes));
}

} // namespace faults
