#include "symbolic_link.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace fgssim
{

namespace
{

const char *const Failure = "--pty: cannot make the link";

} // namespace

SymbolicLink::SymbolicLink(const std::string &at, const std::string &to)
    : path(at), destination(to), claim(path, Failure)
{
    if (path.empty())
        return;
    if (linkTarget(path).rfind("/dev/pts/", 0) == 0)
        ::unlink(path.c_str());
    if (::symlink(destination.c_str(), path.c_str()) != 0)
        refusePath(Failure, path, std::strerror(errno));
}

SymbolicLink::~SymbolicLink()
{
    if (!path.empty() && linkTarget(path) == destination)
        ::unlink(path.c_str());
}

} // namespace fgssim
