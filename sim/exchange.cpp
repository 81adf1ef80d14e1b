#include "exchange.h"

namespace fgssim
{

int Exchange::headEnd() const
{
    int end = 0;
    for (const std::vector<int> *field : {&station, &command, &number, &codes, &counts}) {
        for (int at : *field)
            end = std::max(end, at + 1);
    }
    return end;
}

void markEntries(Exchange &exchange, const Request &read)
{
    int at = 3; // behind station, command and number of entries
    for (const Entry &entry : read.entries) {
        exchange.codes.push_back(at++);
        exchange.counts.push_back(at++);
        for (std::size_t left = dataLength(entry.area->kind, entry.count); left > 0; --left)
            exchange.data.push_back(at++);
    }
}

void markReply(Exchange &exchange, const Request &request)
{
    exchange.station = {0};
    exchange.command = {1};
    exchange.number = {2};
    exchange.hasCheck = !request.write;
    if (!request.write)
        markEntries(exchange, request);
}

void markRemoteReply(Exchange &exchange, const Request &)
{
    exchange.station = {0};
    exchange.command = {1};
    exchange.number = {2};
    for (int at = 3; at < exchange.size() - 2; ++at)
        exchange.data.push_back(at);
}

} // namespace fgssim
