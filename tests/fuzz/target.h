// What every fuzz target defines, and how it tells of a finding.
#ifndef TARN_TESTS_FUZZ_TARGET_H
#define TARN_TESTS_FUZZ_TARGET_H

#include "input.h"

#include <cstdio>
#include <cstdlib>

/// Runs one input, from the same state each time. Returns 0; a finding ends the program.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size);

namespace fuzz
{

[[noreturn]] inline void finding(const std::string &what)
{
    std::fprintf(stderr, "FINDING: %s\n", what.c_str());
    std::abort();
}

inline void require(bool holds, const std::string &what)
{
    if (!holds)
        finding(what);
}

/// What the comparison with the model says.
inline void requireNone(const std::string &difference)
{
    require(difference.empty(), difference);
}

} // namespace fuzz

#endif
