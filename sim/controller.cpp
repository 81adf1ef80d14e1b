#include "controller.h"

namespace fgssim
{

namespace
{

const unsigned MaxStation = 255;
const unsigned Elsewhere = 5000; // addresses away

Request ofStation(Request request, unsigned station)
{
    request.station = station;
    return request;
}

Request elsewhere(Request read)
{
    for (Entry &entry : read.entries) {
        const bool isAbove = entry.address + entry.count + Elsewhere <= AddressesPerArea;
        entry.address = isAbove ? entry.address + Elsewhere : entry.address - Elsewhere;
    }
    return read;
}

Request otherQuestion(unsigned station)
{
    return {station, false, {{&areas()[7], 5, 40}}, {}};
}

} // namespace

Controller::Controller(const std::vector<unsigned> &stationNumbers, Memory start, const Framing &theFrames)
    : memory(std::move(start)), frames(&theFrames), numbers(stationNumbers)
{
    for (unsigned station : numbers)
        present.set(station);
}

Response Controller::handle(Slice frame)
{
    const unsigned station = frames->stationOf(frame);
    if (station != EveryStation && !present[station])
        return {Response::Status::Elsewhere, {}, {}, {}};
    try {
        const Request request = frames->parseRequest(frame);
        return station == EveryStation ? broadcast(request) : answer(request);
    } catch (const Refusal &cause) {
        return {Response::Status::Rejected, {}, {}, cause.what()};
    }
}

Response Controller::answer(const Request &request)
{
    if (std::string cause = conditions.silenceAbout(request.station, request); !cause.empty())
        return {Response::Status::Silenced, {}, {}, std::move(cause)};
    if (!request.write)
        return {Response::Status::Answered, request, replyTo(request), {}};
    if (conditions.refuses(request.station, request))
        return {Response::Status::Answered, request, refusal(request), {}};
    store(request.station, request);
    return {Response::Status::Answered, request, frames->writeReply(request), {}};
}

Bytes Controller::replyTo(const Request &read) const
{
    const ValueSource value = [&](const Area &area, unsigned address) {
        return memory.value(read.station, area, address);
    };
    return frames->readReply(read, value);
}

Response Controller::broadcast(const Request &request)
{
    if (request.write) {
        for (unsigned station : numbers) {
            if (conditions.silenceAbout(station, request).empty() && !conditions.refuses(station, request))
                store(station, request);
        }
    }
    return {Response::Status::Broadcast, request, {}, {}};
}

void Controller::store(unsigned station, const Request &request)
{
    const Entry &entry = request.entries.front();
    for (std::size_t i = 0; i < request.values.size(); ++i)
        memory.store(station, *entry.area, entry.address + unsigned(i), request.values[i]);
}

Exchange Controller::exchangeOf(Slice frame, const Response &response) const
{
    const Request &request = response.request;
    Exchange x;
    x.asked = request.station;
    x.request = frame.copy();
    x.reply = response.reply;
    frames->markReply(x, request);
    x.otherShape = replyTo(otherQuestion(request.station));
    const Request toOther = ofStation(request, request.station % MaxStation + 1);
    x.stranger = request.write ? frames->writeReply(toOther) : replyTo(toOther);
    if (!request.write)
        x.sameShape = replyTo(elsewhere(request)); // acknowledgements are all alike
    return x;
}

bool Controller::canSuffer(const LineFault &fault) const
{
    const auto strikes = [&](const Request &request, const Bytes &reply) {
        return fault.places(exchangeOf({}, {Response::Status::Answered, request, reply, {}})) > 0;
    };
    const Request read = otherQuestion(1), write = {1, true, read.entries, {}};
    return strikes(read, replyTo(read)) || strikes(write, frames->writeReply(write));
}

} // namespace fgssim
