// A request with its reply, and what else may be on the line: what faults of the line are made from.
#ifndef SIM_EXCHANGE_H
#define SIM_EXCHANGE_H

#include "frame.h"
#include "line_times.h"

namespace fgssim
{

/// Of any protocol whose replies end with the CRC of crc.h, or with nothing.
struct Exchange {
    unsigned asked = 0; ///< the station that the request is for
    Bytes request, reply;
    std::vector<int> station, command, number, codes, counts; ///< where they stand in the reply
    std::vector<int> data;                                    ///< likewise
    bool hasCheck = true;                                     ///< of the reply; an acknowledgement has none
    Bytes stranger;                                           ///< another station's answer to the same question
    Bytes otherShape; ///< this station's answer to a question of another shape
    Bytes sameShape;  ///< its answer to the same question about other addresses; empty: there is none
    Time limit{0};    ///< the client's, for an answer

    int size() const { return int(reply.size()); } ///< of the reply
    int headEnd() const;                           ///< where the last data begin
};

/// Notes where the entries of a read stand in its reply.
void markEntries(Exchange &exchange, const Request &read);
/// Notes where the parts of the reply stand, and whether it has a check.
void markReply(Exchange &exchange, const Request &request);
/// The same with remote frames: three bytes in front, and data, which in a reply to a write mean nothing.
void markRemoteReply(Exchange &exchange, const Request &request);

} // namespace fgssim

#endif
