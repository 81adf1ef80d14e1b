// A symbolic link to a pseudo-terminal, for the time that the program runs.
#ifndef FGS_SIM_SYMBOLIC_LINK_H
#define FGS_SIM_SYMBOLIC_LINK_H

#include "path_claim.h"

namespace fgssim
{

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
