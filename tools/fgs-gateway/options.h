// The command line of fgs-gateway.
#ifndef FGS_GATEWAY_OPTIONS_H
#define FGS_GATEWAY_OPTIONS_H

#include "formats/trace_settings.h"

#include <string>

namespace fgs
{

struct Options {
    enum Command { Run, Check, Plan, Test, Doctor, Init };
    Command command = Run;
    std::string file; ///< of the settings
    std::string link; ///< of Init
    bool json = false;
    bool readOnly = false; ///< whatever the file allows
    formats::TraceSettings trace;
};

/// Throws Finished for help, version and every error in the options.
Options parseArguments(int argc, const char *const *argv);

} // namespace fgs

#endif
