// A file that cannot be used makes room for a new one, and can still be looked into.
#ifndef FGS_GATEWAY_SET_ASIDE_H
#define FGS_GATEWAY_SET_ASIDE_H

#include <string>

namespace fgs
{

/// Renames a database, and the logs beside it, to PATH.damaged-20260131T235959Z and returns the new name. Of those
/// set aside the newest three stay. Throws std::filesystem::filesystem_error.
std::string setAside(const std::string &path);

/// With the logs beside it; one that is not there is no error. Throws as setAside().
void removeDatabase(const std::string &path);

} // namespace fgs

#endif
