#include "doctor_json.h"

#include <algorithm>

namespace fgs
{

namespace
{

const char *keyOf(Mark mark)
{
    static const char *const keys[] = {"ok", "found", "notChecked"};
    return keys[static_cast<int>(mark)];
}

} // namespace

Json jsonOf(const CheckResult &finding)
{
    Json json = {{"check", finding.check}, {"mark", keyOf(finding.mark)}, {"text", finding.text.toStdString()}};
    if (finding.mark == Mark::Found)
        json["remedy"] = finding.remedy.toStdString();
    return json;
}

Json countsOf(const std::vector<CheckResult> &findings)
{
    Json counts;
    for (const Mark mark : {Mark::Ok, Mark::Found, Mark::NotChecked})
        counts[keyOf(mark)] = std::count_if(findings.begin(), findings.end(),
                                            [mark](const CheckResult &each) { return each.mark == mark; });
    return {{"doctor", counts}};
}

} // namespace fgs
