// What a new file of settings changes for a gateway that runs.
#ifndef FGS_GATEWAY_SETTINGS_DIFFERENCE_H
#define FGS_GATEWAY_SETTINGS_DIFFERENCE_H

#include "settings.h"

namespace fgs
{

struct SettingsDifference {
    bool line = false; ///< link, interval, time limits, variables and types in their order: what is polled, and how
    bool tags = false; ///< names, variables, types, groups; samples of before have no meaning
    bool content = false; ///< what is sent and taken: tags, their rules, name, layout, commands
    bool connection = false;
    bool spool = false;
    bool http = false;
};

SettingsDifference differenceOf(const GatewaySettings &before, const GatewaySettings &after);

} // namespace fgs

#endif
