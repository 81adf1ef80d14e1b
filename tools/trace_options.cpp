#include "trace_options.h"

#include <CLI/CLI.hpp>

namespace fgs
{

namespace
{

std::uint64_t traceLimitIn(const std::string &text)
{
    try {
        return formats::parseTraceLimit(text);
    } catch (const std::invalid_argument &error) {
        throw CLI::ValidationError("--trace-limit", error.what());
    }
}

} // namespace

void addTraceOptions(CLI::App &app, formats::TraceSettings &trace, const std::string &aside)
{
    app.add_option("--trace", trace.path,
                   "Everything on the line into this file, for Wireshark; with - to stdout" + aside)
        ->type_name("FILE.pcapng")
        ->check([](const std::string &path) { return std::string(path.empty() ? "the name is empty" : ""); });
    app.add_option_function<std::string>(
           "--trace-limit", [&trace](const std::string &text) { trace.limit = traceLimitIn(text); },
           "Keeps the newest of the trace, like 10M in all: FILE and, older, FILE.1; each opens alone")
        ->type_name("SIZE");
}

} // namespace fgs
