// A symbolic link to a pseudo-terminal, for the time that the program runs.
#ifndef FGS_SIM_SYMBOLIC_LINK_H
#define FGS_SIM_SYMBOLIC_LINK_H

#include "descriptor.h"

#include <string>

namespace fgssim
{

/// The only use of a path among all running fgs-sim, whether a link stands there or not. It is the name of an
/// abstract socket, so that it ends with the process, however that ends.
class PathClaim
{
public:
    /// Throws EndpointError, which names the process, if another fgs-sim has it.
    explicit PathClaim(const std::string &path);

private:
    const Descriptor socket;
};

class SymbolicLink
{
public:
    /// A link to a terminal that an fgs-sim has left behind is replaced. Throws EndpointError.
    SymbolicLink(const std::string &at, const std::string &to);
    SymbolicLink(const SymbolicLink &) = delete;
    SymbolicLink &operator=(const SymbolicLink &) = delete;
    /// Removes it, unless it leads somewhere else by now.
    ~SymbolicLink();

private:
    const std::string path, destination;
    const PathClaim claim;
};

} // namespace fgssim

#endif
