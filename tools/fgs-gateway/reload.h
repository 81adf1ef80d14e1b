// What a file that is read again changes.
#ifndef FGS_GATEWAY_RELOAD_H
#define FGS_GATEWAY_RELOAD_H

#include "gateway/settings.h"

namespace fgs
{

/// Whether the line is polled as before: same link, time limits and variables in the same order.
bool isSameLine(const GatewaySettings &a, const GatewaySettings &b);

} // namespace fgs

#endif
