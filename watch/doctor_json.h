// What the doctor finds as JSON objects. docs/json.md describes them.
#ifndef FGS_WATCH_DOCTOR_JSON_H
#define FGS_WATCH_DOCTOR_JSON_H

#include "doctor.h"
#include "json.h"

namespace fgs
{

Json jsonOf(const CheckResult &finding);
/// {"doctor":{...}}: how many there are of each mark.
Json countsOf(const std::vector<CheckResult> &findings);

} // namespace fgs

#endif
