// The three sets of 200 word variables for which the cost on the line is told.
#ifndef BENCH_VARIABLE_SETS_H
#define BENCH_VARIABLE_SETS_H

#include "host/variable.h"

#include <vector>

namespace bench
{

struct VariableSet {
    const char *name;
    std::vector<fgs::Variable> variables; ///< of one word each, in area 5 of station 1, addresses rising
};

/// "dense": no gap. "gaps": 1 to 4 words between neighbours. "islands": 20 islands of ten neighbours, 300 words
/// apart.
inline std::vector<VariableSet> variableSets()
{
    const int count = 200;
    std::vector<VariableSet> sets = {{"dense", {}}, {"gaps", {}}, {"islands", {}}};
    int address = 0;
    for (int i = 0; i < count; ++i) {
        sets[0].variables.push_back({5, i, 1, 1});
        sets[1].variables.push_back({5, address, 1, 1});
        sets[2].variables.push_back({5, i / 10 * 300 + i % 10, 1, 1});
        address += 2 + i * 7 % 4;
    }
    return sets;
}

} // namespace bench

#endif
