#include "controller.h"

namespace fgssim
{

Controller::Controller(const std::vector<unsigned> &stationNumbers, Memory start, const Framing &theFrames)
    : frames(&theFrames), stations(stationNumbers), memory(std::move(start))
{
    for (unsigned station : stations)
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
    } catch (const Refusal &refusal) {
        return {Response::Status::Rejected, {}, {}, refusal.what()};
    }
}

Response Controller::answer(const Request &request)
{
    if (request.write) {
        store(request.station, request);
        return {Response::Status::Answered, request, frames->writeReply(request), {}};
    }
    const auto value = [&](const Area &area, unsigned address) {
        return memory.value(request.station, area, address);
    };
    return {Response::Status::Answered, request, frames->readReply(request, value), {}};
}

Response Controller::broadcast(const Request &request)
{
    if (request.write) {
        for (unsigned station : stations)
            store(station, request);
    }
    return {Response::Status::Broadcast, request, {}, {}};
}

void Controller::store(unsigned station, const Request &request)
{
    const Entry &entry = request.entries.front();
    for (std::size_t i = 0; i < request.values.size(); ++i)
        memory.store(station, *entry.area, entry.address + unsigned(i), request.values[i]);
}

} // namespace fgssim
