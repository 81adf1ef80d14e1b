// Where the simulated controller can be reached. A link is open as long as its object lives.
#ifndef FGS_SIM_LINK_H
#define FGS_SIM_LINK_H

#include "options.h"

#include <memory>

namespace fgssim
{

/// The link cannot be opened; the text says which, why and what to do.
class LinkError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Link
{
public:
    Link() = default;
    Link(const Link &) = delete;
    Link &operator=(const Link &) = delete;
    virtual ~Link() = default;

    /// What a client opens: a device path or HOST:PORT.
    virtual std::string address() const = 0;
};

// All throw LinkError.
std::unique_ptr<Link> openLink(Simulation &simulation, const Timing &timing, const PtyAddress &address);
std::unique_ptr<Link> openLink(Simulation &simulation, const Timing &timing, const SerialAddress &address);
std::unique_ptr<Link> openLink(Simulation &simulation, const Timing &timing, const TcpAddress &address);

} // namespace fgssim

#endif
