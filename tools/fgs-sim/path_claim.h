// Which fgs-sim has a path.
#ifndef FGS_SIM_PATH_CLAIM_H
#define FGS_SIM_PATH_CLAIM_H

#include "descriptor.h"

#include <string>

namespace fgssim
{

/// The only use of a path among all running fgs-sim, whether a file stands there or not. It is the name of an
/// abstract socket, so that it ends with the process, however that ends.
class PathClaim
{
public:
    /// Throws EndpointError, which begins with the failure ("--pty: cannot make the link") and names the process,
    /// if another fgs-sim has it. An empty path is nobody's.
    PathClaim(const std::string &path, const std::string &failure);

private:
    const Descriptor socket;
};

/// Where a symbolic link leads; empty if it is none.
std::string linkTarget(const std::string &path);

/// Throws EndpointError.
[[noreturn]] void refusePath(const std::string &failure, const std::string &path, const std::string &why,
                             const std::string &remedy = "choose another path");

} // namespace fgssim

#endif
