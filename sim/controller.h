// The stations of one line: takes a request frame, answers as controllers do.
#ifndef SIM_CONTROLLER_H
#define SIM_CONTROLLER_H

#include "conditions.h"
#include "exchange.h"
#include "framing.h"
#include "line_faults.h"
#include "memory.h"

namespace fgssim
{

/// What became of a request.
struct Response {
    enum class Status {
        Answered,  ///< `reply` is to be sent; it may be a refusal
        Broadcast, ///< for all stations: a write was carried out, a read ignored; never answered
        Elsewhere, ///< for a station that is not here; never answered
        Rejected,  ///< nobody accepts it; `cause` says why; never answered
        Silenced   ///< by the conditions; `cause` says by which; never answered
    };
    Status status;
    Request request; ///< empty unless it is answered or for all stations
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
    /// The answered request with its reply and what else may be on the line with it.
    Exchange exchangeOf(Slice frame, const Response &response) const;
    /// Whether the fault can happen to any reply of such frames.
    bool canSuffer(const LineFault &fault) const;
    /// Moves the values by one step.
    void tick() { memory.tick(); }

    Conditions conditions;
    Memory memory;

    const std::vector<unsigned> &stations() const { return numbers; }

private:
    Response answer(const Request &request);
    Response broadcast(const Request &request);
    void store(unsigned station, const Request &request);
    Bytes replyTo(const Request &read) const;

    const Framing *frames;
    std::vector<unsigned> numbers;
    std::bitset<256> present;
};

} // namespace fgssim

#endif
