// The far end of remote requests: replies whose data all carry one number.
#ifndef TARN_TESTS_REMOTE_LINE_H
#define TARN_TESTS_REMOTE_LINE_H

#include "soak/lossy_line.h"

#include <tarn_fgsseries.h>

namespace stress
{

const int RemoteLink = 5; ///< link number of what is reached by remote requests; that of the controller is 0

class RemoteLine
{
public:
    RemoteLine(const fgssim::FaultRates &percent, std::uint64_t seed) : chooser(percent, seed) {}

    soak::Reply exchange(const Protocol &request);

private:
    fgssim::FaultChooser chooser;
    unsigned number = 0; ///< of the next reply
};

/// The result code that the driver must give in remote mode.
int remoteCodeFor(const std::optional<fgssim::RandomFault> &fault, const RW_VAR &var);

} // namespace stress

#endif
