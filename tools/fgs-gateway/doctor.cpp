#include "commands.h"
#include "gateway/gateway_doctor.h"
#include "tools/console.h"
#include "tools/failure.h"
#include "watch/doctor_json.h"
#include "watch/doctor_text.h"

#include <algorithm>
#include <unistd.h>

namespace fgs
{

namespace
{

void showProgress(const char *check)
{
    if (::isatty(STDERR_FILENO))
        printMessage(QStringLiteral("checking: ") + QLatin1String(check));
}

void print(const std::vector<CheckResult> &findings)
{
    for (const CheckResult &finding : findings)
        for (const QString &line : linesOf(finding))
            printLine(line);
}

void printJson(const std::vector<CheckResult> &findings)
{
    for (const CheckResult &finding : findings)
        printLine(lineOf(jsonOf(finding)));
    printLine(lineOf(countsOf(findings)));
}

} // namespace

int doctorCommand(const Options &options, const Stop &stop, const Signals &signalled)
{
    const std::unique_ptr<DoctorSystem> system = thisSystem();
    const std::vector<CheckResult> findings =
        GatewayDoctor(QString::fromStdString(options.file), thisClock(), *system, stop).run(showProgress);
    (options.json ? printJson : print)(findings);
    if (signalled.stopping())
        return ExitSignal + signalled.stopping();
    const bool isAny = std::any_of(findings.begin(), findings.end(),
                                   [](const CheckResult &each) { return each.mark == Mark::Found; });
    return isAny ? ExitFound : ExitOk;
}

} // namespace fgs
