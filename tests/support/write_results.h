// What became of writes, as tests compare and print it.
#ifndef TARN_TESTS_WRITE_RESULTS_H
#define TARN_TESTS_WRITE_RESULTS_H

#include "watch/writing.h"

#include <ostream>

namespace fgs
{

inline void PrintTo(WriteResult result, std::ostream *out)
{
    *out << keyOf(result);
}

using Results = std::vector<WriteResult>;

inline Results resultsOf(const std::vector<WriteReport> &reports)
{
    Results results;
    for (const WriteReport &report : reports)
        results.push_back(report.result);
    return results;
}

} // namespace fgs

#endif
