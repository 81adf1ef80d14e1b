#include "faulty_line.h"

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

/// Another value for each place and each request.
quint32 FaultyLine::value(int station, int area, int address) const
{
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
    fgssim::Exchange x = PLC_driver.settings->remoteMode ? remoteExchange(request) : localExchange(request);
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
        for (std::size_t i = 0; i < request.values.size(); ++i)
            registers[std::make_tuple(int(request.station), request.entries[0].area->number,
                                      int(request.entries[0].address + i))] = request.values[i];
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

/// Remote reads of words only.
fgssim::Exchange FaultyLine::remoteExchange(const QByteArray &bytes)
{
    const fgssim::Bytes frame = toBytes(bytes);
    const fgssim::Slice view(frame);
    const int station = view.u8(4), area = int(view.be16(5)), address = int(view.be16(9));
    const int count = int(view.be16(11));
    note(station, area, address, count);
    const auto reply = [&](int from, int first, int words) {
        QByteArray data(1, char(from));
        data.append(2, '\0');
        for (int i = 0; i < words; ++i)
            frames::put16(data, value(from, area, first + i));
        return toBytes(frames::sealed(data));
    };
    fgssim::Exchange x;
    x.reply = reply(station, address, count);
    x.stranger = reply(Stranger, address, count);
    x.sameShape = reply(station, address + 5000, count);
    x.otherShape = reply(station, 40, 1);
    for (int i = 0; i < 2 * count; ++i)
        x.data.push_back(3 + i);
    return x;
}

void FaultyLine::answer(const QByteArray &bytes)
{
    for (const fgssim::Arrival &arrival : std::exchange(held, {}))
        link.arrive(arrival.after, fromBytes(arrival.bytes));
    fgssim::Exchange x = exchangeFor(bytes);
    Strike strike = {nullptr, 0};
    if (!script.empty()) {
        strike = script.front();
        script.pop_front();
    }
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
