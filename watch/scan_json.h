// Plans and results of scans as JSON objects. docs/json.md describes them.
#ifndef FGS_WATCH_SCAN_JSON_H
#define FGS_WATCH_SCAN_JSON_H

#include "json.h"
#include "scan.h"

namespace fgs
{

Json jsonOf(const ScanPlan &plan, Time worst);
Json jsonOf(const ScanResult &result, const ProbeSettings &probe);

/// "fgs poll /dev/ttyUSB0:19200,8E1 5:0@1 5:0@2"; empty without stations.
QString pollCommandFor(const ScanResult &result, const ProbeSettings &probe);
/// "5:0"
QString placeOf(const ProbeSettings &probe);

} // namespace fgs

#endif
