#include "commands.h"
#include "host/text_error.h"
#include "search_text.h"
#include "signals.h"
#include "tools/console.h"
#include "tools/failure.h"
#include "watch/doctor_json.h"
#include "watch/doctor_text.h"

#include <algorithm>

namespace fgs
{

namespace
{

/// Of the link's kind, or without a link of all.
void printChecks(const QString &link)
{
    for (const bool isSerial : {true, false}) {
        if (!link.isEmpty() && isSerial != std::holds_alternative<SerialAddress>(parseLink(link)))
            continue;
        if (link.isEmpty())
            printLine(isSerial ? QStringLiteral("of a serial device:") : QStringLiteral("of tcp:HOST:PORT:"));
        for (const CheckText &check : checksOf(isSerial))
            printLine(lineOf(check));
    }
}

DoctorPlan planOf(const Options &options)
{
    DoctorPlan plan;
    plan.link = QString::fromStdString(options.link);
    plan.stations = stationsIn(options.doctor.stations);
    plan.probe = probeOf(options.doctor);
    plan.listen = options.doctor.listen;
    return plan;
}

std::vector<CheckResult> findingsOf(const DoctorPlan &plan, const Stop &stop)
{
    const std::unique_ptr<DoctorSystem> system = thisSystem();
    const ProgressLine progress(true);
    return Doctor(plan, *system, stop).run([&progress](const char *check) {
        progress.show(QStringLiteral("checking: ") + QString::fromLatin1(check));
    });
}

int codeOf(const std::vector<CheckResult> &findings)
{
    if (stoppingSignal())
        return ExitSignal + stoppingSignal();
    const bool isAny = std::any_of(findings.begin(), findings.end(),
                                   [](const CheckResult &each) { return each.mark == Mark::Found; });
    return isAny ? ExitFound : ExitOk;
}

} // namespace

int doctorCommand(const Options &options, const Stop &stop)
{
    if (options.list) {
        printChecks(QString::fromStdString(options.link));
        return ExitOk;
    }
    if (options.link.empty())
        throw TextError(QStringLiteral("the link is missing; write fgs doctor LINK, or fgs doctor --list"));
    const std::vector<CheckResult> findings = findingsOf(planOf(options), stop);
    for (const CheckResult &finding : findings) {
        if (options.json)
            printLine(lineOf(jsonOf(finding)));
        else
            for (const QString &line : linesOf(finding))
                printLine(line);
    }
    if (options.json)
        printLine(lineOf(countsOf(findings)));
    return codeOf(findings);
}

} // namespace fgs
