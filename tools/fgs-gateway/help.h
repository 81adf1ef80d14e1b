// What --help says beyond the list of options.
#ifndef FGS_GATEWAY_HELP_H
#define FGS_GATEWAY_HELP_H

#include <string>

namespace fgs
{

/// In front of the options.
std::string examples();
/// Behind them: signals and exit codes.
std::string notes();

} // namespace fgs

#endif
