// --trace and --trace-limit, the same for every program that has a line.
#ifndef FGS_TOOL_TRACE_OPTIONS_H
#define FGS_TOOL_TRACE_OPTIONS_H

#include "formats/trace_settings.h"

namespace CLI
{
class App;
}

namespace fgs
{

/// `aside`: what the help adds about a trace to stdout. The settings outlive the parsing.
void addTraceOptions(CLI::App &app, formats::TraceSettings &trace, const std::string &aside = {});

} // namespace fgs

#endif
