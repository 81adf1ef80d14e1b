// Prints what one refresh of the variable sets costs on the line, by block size, from the frames that the driver
// builds for the reference host's plan.
//   variable SET ADDRESS
//   refresh SET BLOCK-WORDS ROUND-TRIPS BYTES
#include "driver_under_test.h"
#include "host/plan.h"
#include "operations.h"
#include "variable_sets.h"

#include <algorithm>
#include <cstdio>

namespace
{

const int MostBlocksPerFrame = 6;

struct Cost {
    double roundTrips = 0;
    double bytes = 0;
};

/// As many requests as there are blocks make a whole number of passes over the list.
Cost refreshCost(const std::vector<fgs::Variable> &variables, int blockWords)
{
    bench::startDriver(blockWords);
    QList<HOST_VAR> wishes = fgs::cyclicWishes(variables, fgs::storageFor(variables, blockWords));
    ReCreatReadVarList(&wishes);
    const int blocks = int(PLC_driver.ReadVarList.size());
    const int refreshes = std::min(blocks, MostBlocksPerFrame);
    Cost cost;
    for (int i = 0; i < blocks; ++i) {
        const Protocol &request = *ComCommunication();
        cost.roundTrips += 1;
        cost.bytes += request.frameLen + request.replyLen;
        QByteArray reply = bench::replyTo(request);
        bench::require(DataCom(&reply, int(reply.size()))->result == 1, "the driver did not take its reply");
    }
    return {cost.roundTrips / refreshes, cost.bytes / refreshes};
}

} // namespace

int main()
{
    for (const bench::VariableSet &set : bench::variableSets()) {
        for (const fgs::Variable &variable : set.variables)
            std::printf("variable %s %d\n", set.name, variable.address);
        for (int blockWords = fgs::MinBlockWords; blockWords <= fgs::MaxBlockWords; ++blockWords) {
            const Cost cost = refreshCost(set.variables, blockWords);
            std::printf("refresh %s %d %.3f %.1f\n", set.name, blockWords, cost.roundTrips, cost.bytes);
        }
    }
}
