#include "commands.h"
#include "progress.h"
#include "tools/console.h"
#include "tools/failure.h"
#include "watch/line_plan_text.h"
#include "watch/oddities.h"

namespace fgs
{

namespace
{

/// All that is printed.
struct Planned {
    const std::vector<Tag> &tags;
    const LinePlan plan;
    const LinePlan best;
    const LineSpeed line; ///< that the best is the best for
    const QString lineText;
    const LinePauses pauses;
};

Time cycleOf(const Planned &all, const LinePlan &plan)
{
    return cycleTime(plan, all.line, all.pauses);
}

double gainOf(const Planned &all)
{
    const double before = millisecondsOf(cycleOf(all, all.plan));
    return before > 0 ? 100 * (1 - millisecondsOf(cycleOf(all, all.best)) / before) : 0;
}

// ---- for people

void printBest(const Planned &all)
{
    if (cycleOf(all, all.best) >= cycleOf(all, all.plan))
        return printLine(QStringLiteral("\nNo block size is better at %1 than %2")
                             .arg(all.lineText)
                             .arg(all.plan.storage.blockWords));
    printLine(QStringLiteral("\nBest at %1: --block %2, %3 ms a cycle instead of %4 (%5 % less), %6 instead of %7")
                  .arg(all.lineText)
                  .arg(all.best.askedBlockWords)
                  .arg(millisecondsText(cycleOf(all, all.best)), millisecondsText(cycleOf(all, all.plan)),
                       QString::number(gainOf(all), 'f', 1), amountText(all.best.requestsPerCycle(), "request"),
                       countText(all.plan.requestsPerCycle())));
}

void printOddities(const LinePlan &plan)
{
    const std::vector<Oddity> oddities = odditiesOf(plan);
    if (oddities.empty())
        return;
    printLine(QStringLiteral("\nWhat is odd on purpose and strikes this list (numbers of docs/behaviour.md)"));
    for (const Oddity &oddity : oddities)
        printLine(QStringLiteral("  %1  %2").arg(oddity.number).arg(oddity.meaning));
}

void printAssumptions(const LinePauses &pauses)
{
    printLine(QStringLiteral("\nAssumed: every reply is good at the first try; %1 ms of silence before a request "
                             "(--gap), at least four byte times;\nthe controller answers after %2 ms (--answer); "
                             "nothing is written")
                  .arg(countText(millisecondsOf(pauses.gap)), countText(millisecondsOf(pauses.answer))));
}

void printLines(const QStringList &lines)
{
    for (const QString &line : lines)
        printLine(line);
}

void printForPeople(const Planned &all)
{
    printLines(summaryLines(all.plan));
    printLines(blockLines(all.plan, all.tags));
    printLines(requestLines(all.plan));
    printLines(cycleLines(all.plan, all.pauses));
    printLine(QStringLiteral("  %1: %2 ms").arg(all.lineText, millisecondsText(cycleOf(all, all.plan))));
    printBest(all);
    printOddities(all.plan);
    printAssumptions(all.pauses);
}

// ---- for programs

Json odditiesJson(const LinePlan &plan)
{
    Json array = Json::array();
    for (const Oddity &oddity : odditiesOf(plan))
        array.push_back({{"number", oddity.number}, {"meaning", oddity.meaning.toStdString()}});
    return array;
}

Json jsonOf(const Planned &all)
{
    Json json = jsonOf(all.plan, all.tags, all.pauses);
    json["line"] = {{"baud", all.line.baud},
                    {"bitsPerByte", all.line.bitsPerByte},
                    {"ms", millisecondsOf(cycleOf(all, all.plan))}};
    json["best"] = {{"blockWords", all.best.askedBlockWords},
                    {"requestsPerCycle", all.best.requestsPerCycle()},
                    {"bytesPerCycle", all.best.bytesPerCycle()},
                    {"ms", millisecondsOf(cycleOf(all, all.best))}};
    json["oddities"] = odditiesJson(all.plan);
    return {{"plan", json}};
}

// ---- what is asked for

/// Of a link that is no serial line, and of none, the settings that links have if they say nothing.
SerialAddress addressOf(const Options &options)
{
    if (options.link.empty())
        return SerialAddress();
    const auto link = parseLink(QString::fromStdString(options.link));
    const SerialAddress *const serial = std::get_if<SerialAddress>(&link);
    return serial ? *serial : SerialAddress();
}

LinePlan bestPlan(const Options &options, const std::vector<Variable> &variables, const LineSpeed &speed,
                  const LinePauses &pauses)
{
    Progress progress([] { return std::chrono::steady_clock::now().time_since_epoch(); }, true);
    return bestPlanFor(linkedDriver(), variables, speed, pauses, options.host.remoteLink, progress.hook());
}

} // namespace

int planCommand(const Options &options)
{
    const std::vector<Tag> tags = readableTags(options);
    const std::vector<Variable> variables = variablesOf(tags);
    const SerialAddress address = addressOf(options);
    const LinePauses pauses = {options.host.timing.gap, options.answer};
    const Planned all = {tags,
                         planFor(linkedDriver(), variables, options.host.blockWords, options.host.remoteLink),
                         bestPlan(options, variables, speedOf(address), pauses),
                         speedOf(address),
                         settingsText(address),
                         pauses};
    if (options.json)
        printLine(lineOf(jsonOf(all)));
    else
        printForPeople(all);
    return ExitOk;
}

} // namespace fgs
