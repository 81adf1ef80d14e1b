// Where a program writes its trace, as its command line has it.
#ifndef FORMATS_TRACE_SETTINGS_H
#define FORMATS_TRACE_SETTINGS_H

#include <cstdint>
#include <string>

namespace formats
{

struct TraceSettings {
    std::string path;        ///< empty: no trace; "-": to the standard output
    std::uint64_t limit = 0; ///< bytes of all its files; 0: none

    bool isWanted() const { return !path.empty(); }
    bool isToStdout() const { return path == "-"; }
};

const std::uint64_t LeastTraceLimit = 1 << 16; ///< 64 KB

/// "10M", "500K", "2G", "100000": bytes; K, M and G are powers of 1024. Throws std::invalid_argument, which says
/// what to write instead.
std::uint64_t parseTraceLimit(const std::string &text);

/// What cannot be of the two settings together, and what to do; empty if nothing.
std::string faultOf(const TraceSettings &settings);

} // namespace formats

#endif
