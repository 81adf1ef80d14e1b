// The two kinds of frames that a line may carry.
#ifndef SIM_FRAMING_H
#define SIM_FRAMING_H

#include "exchange.h"

namespace fgssim
{

struct Framing {
    Extent (*extent)(Slice start);          ///< of the request that starts so
    std::string (*checkFault)(Slice frame); ///< what is wrong with the check of a whole request; empty: nothing
    unsigned (*stationOf)(Slice frame);     ///< of a request with a good check
    Request (*parseRequest)(Slice frame);   ///< the same; throws Refusal if nobody would accept it
    Bytes (*readReply)(const Request &request, const ValueSource &value);
    Bytes (*writeReply)(const Request &request);
    /// Of an exchange whose reply is there.
    void (*markReply)(Exchange &exchange, const Request &request);
    std::size_t entryHead; ///< bytes in front of the data of each entry of a read reply
};

/// Of the controller protocol, frame.h.
extern const Framing ControllerFraming;
/// Of remote access, remote_frame.h.
extern const Framing RemoteFraming;

} // namespace fgssim

#endif
