// Where the simulated controller can be reached. A link is open as long as its object lives.
#ifndef FGS_SIM_ENDPOINT_H
#define FGS_SIM_ENDPOINT_H

#include "options.h"

#include <memory>

namespace fgssim
{

/// The link cannot be opened; the text says which, why and what to do.
class EndpointError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Endpoint
{
public:
    Endpoint() = default;
    Endpoint(const Endpoint &) = delete;
    Endpoint &operator=(const Endpoint &) = delete;
    virtual ~Endpoint() = default;

    /// A device path or tcp:HOST:PORT, as clients take it. Of a serial device, what is open at this end.
    virtual std::string address() const = 0;
};

// All throw EndpointError.
std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times, const PtyAddress &address);
std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times,
                                       const SerialAddress &address);
std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times, const TcpAddress &address);

} // namespace fgssim

#endif
