// The stations of one line: takes a request frame, answers as controllers do.
#ifndef SIM_CONTROLLER_H
#define SIM_CONTROLLER_H

#include "framing.h"
#include "memory.h"

namespace fgssim
{

/// What became of a request.
struct Response {
    enum class Status {
        Answered,  ///< `reply` is to be sent
        Broadcast, ///< for all stations: a write was carried out, a read ignored; never answered
        Elsewhere, ///< for a station that is not here; never answered
        Rejected   ///< nobody accepts it; `cause` says why; never answered
    };
    Status status;
    Request request; ///< empty if elsewhere or rejected
    Bytes reply;
    std::string cause;
};

class Controller
{
public:
    /// Station numbers are 1..255.
    Controller(const std::vector<unsigned> &stationNumbers, Memory start,
               const Framing &frames = ControllerFraming);

    const Framing &framing() const { return *frames; }
    /// REQUIRES: a frame with a good check.
    Response handle(Slice frame);
    /// Moves the values by one step.
    void tick() { memory.tick(); }

private:
    Response answer(const Request &request);
    Response broadcast(const Request &request);
    void store(unsigned station, const Request &request);

    const Framing *frames;
    std::vector<unsigned> stations;
    std::bitset<256> present;
    Memory memory;
};

} // namespace fgssim

#endif
