#include "commands.h"
#include "failure.h"
#include "host/frame_text.h"
#include "host/remote_frame.h"
#include "output.h"
#include "progress.h"
#include "watch/json.h"
#include "watch/oddities.h"

#include <cmath>

namespace fgs
{

namespace
{

const int CommonBauds[] = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

struct ByteForm {
    const char *name;
    int bits; ///< on the line, of one byte
};
const ByteForm ByteForms[] = {{"8E1", 11}, {"8N1", 10}};

/// All that is printed.
struct Planned {
    const std::vector<Tag> &tags;
    const LinePlan plan;
    const LinePlan best;
    const LineSpeed line; ///< that the best is the best for
    const QString lineText;
    const LinePauses pauses;
    const std::optional<int> remoteLink;
};

double msOf(Time time)
{
    return millisecondsOf(time);
}

QString msText(Time time)
{
    return QString::number(msOf(time), 'f', 1);
}

Time cycleOf(const Planned &all, const LinePlan &plan)
{
    return cycleTime(plan, all.line, all.pauses);
}

double gainOf(const Planned &all)
{
    const double before = msOf(cycleOf(all, all.plan));
    return before > 0 ? 100 * (1 - msOf(cycleOf(all, all.best)) / before) : 0;
}

QString hexText(const QByteArray &frame)
{
    return QString::fromLatin1(frame.toHex(' ').toUpper());
}

/// A number that is seldom no whole one.
QString countText(double number)
{
    return QString::number(number, 'f', number == std::floor(number) ? 0 : 2);
}

QString amount(double number, const char *what)
{
    return QStringLiteral("%1 %2%3").arg(countText(number), QLatin1String(what),
                                         number == 1 ? QString() : QStringLiteral("s"));
}

// ---- for people

QString nameOf(const Tag &tag)
{
    return tag.name.isEmpty() ? textOf(tag) : tag.name;
}

/// The variables in it, as they were asked for.
QString contentsOf(const Planned &all, const Variable &block)
{
    QStringList names;
    for (const Tag &tag : all.tags)
        if (spanOf(tag.variable).overlaps(spanOf(block)) && !names.contains(nameOf(tag)))
            names << nameOf(tag);
    const int most = 6, more = int(names.size()) - most;
    const QString text = QStringList(names.mid(0, most)).join(QStringLiteral(", "));
    return more > 0 ? QStringLiteral("%1 and %2 more").arg(text).arg(more) : text;
}

void printSummary(const Planned &all)
{
    const LinePlan &plan = all.plan;
    printLine(QStringLiteral("%1 in %2; a cycle takes %3 with %4")
                  .arg(amount(double(all.tags.size()), "variable"), amount(double(plan.blocks.size()), "block"),
                       amount(plan.requestsPerCycle(), "request"), amount(plan.bytesPerCycle(), "byte")));
    printLine(QStringLiteral("blocks of at most %1 words; %2")
                  .arg(plan.storage.blockWords)
                  .arg(plan.storage.perStation ? QStringLiteral("the driver keeps the values per station")
                                               : QStringLiteral("the driver keeps the values in its fixed image")));
    if (all.remoteLink)
        printLine(QStringLiteral("By remote frames, with the link number %1").arg(*all.remoteLink));
}

void printBlocks(const Planned &all)
{
    printLine(QStringLiteral("\nBlocks"));
    for (const Variable &block : all.plan.blocks)
        printLine(QStringLiteral("  %1  %2").arg(placeText({block}, all.plan.isRemote), contentsOf(all, block)));
    if (all.plan.readAlong.empty())
        return;
    printLine(QStringLiteral("\nRead along, though nobody asked for it"));
    for (const Variable &place : all.plan.readAlong)
        printLine(QStringLiteral("  %1").arg(placeText({place}, all.plan.isRemote).trimmed()));
}

void printRequests(const LinePlan &plan)
{
    printLine(plan.rounds == 1
                  ? QStringLiteral("\nRequests of a cycle")
                  : QStringLiteral("\nRequests of %1 cycles, then from the beginning").arg(plan.rounds));
    int number = 0;
    for (const PlannedRequest &request : plan.requests) {
        printLine(QStringLiteral("  %1  %2").arg(++number, 3).arg(hexText(request.frame)));
        printLine(QStringLiteral("       %1: %2 bytes, reply %3")
                      .arg(describeRequest({request.frame.constData(), int(request.frame.size())}))
                      .arg(request.frame.size())
                      .arg(request.replySize));
    }
}

void printCycles(const Planned &all)
{
    QString header = QStringLiteral("\nA cycle in ms");
    for (const ByteForm &form : ByteForms)
        header += QString(QLatin1String(form.name)).rightJustified(12);
    printLine(header);
    for (int baud : CommonBauds) {
        QString row = QStringLiteral("  %1 baud").arg(baud, 6);
        for (const ByteForm &form : ByteForms)
            row += msText(cycleTime(all.plan, {baud, form.bits}, all.pauses)).rightJustified(12);
        printLine(row);
    }
    printLine(QStringLiteral("  %1: %2 ms").arg(all.lineText, msText(cycleOf(all, all.plan))));
}

void printBest(const Planned &all)
{
    if (cycleOf(all, all.best) >= cycleOf(all, all.plan))
        return printLine(QStringLiteral("\nNo block size is better at %1 than %2")
                             .arg(all.lineText)
                             .arg(all.plan.storage.blockWords));
    printLine(QStringLiteral("\nBest at %1: --block %2, %3 ms a cycle instead of %4 (%5 % less), %6 instead of %7")
                  .arg(all.lineText)
                  .arg(all.best.askedBlockWords)
                  .arg(msText(cycleOf(all, all.best)), msText(cycleOf(all, all.plan)),
                       QString::number(gainOf(all), 'f', 1), amount(all.best.requestsPerCycle(), "request"),
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
                  .arg(countText(msOf(pauses.gap)), countText(msOf(pauses.answer))));
}

void printForPeople(const Planned &all)
{
    printSummary(all);
    printBlocks(all);
    printRequests(all.plan);
    printCycles(all);
    printBest(all);
    printOddities(all.plan);
    printAssumptions(all.pauses);
}

// ---- for programs

Json placeJson(const Variable &variable, bool isRemote)
{
    const Area &area = *areaOf(variable.area);
    return {{"variable", textOf(variable).toStdString()},
            {"kind", nameOf(area.kind).toStdString()},
            {"station", variable.station},
            {"wireCode", wireCode(area, isRemote)},
            {"wireAddress", variable.address},
            {"count", variable.count}};
}

Json placesJson(const std::vector<Variable> &variables, bool isRemote)
{
    Json array = Json::array();
    for (const Variable &variable : variables)
        array.push_back(placeJson(variable, isRemote));
    return array;
}

Json tagsJson(const std::vector<Tag> &tags)
{
    Json array = Json::array();
    for (const Tag &tag : tags) {
        Json json;
        if (!tag.name.isEmpty())
            json["name"] = tag.name.toStdString();
        json["variable"] = textOf(tag).toStdString();
        array.push_back(json);
    }
    return array;
}

Json requestsJson(const LinePlan &plan)
{
    Json array = Json::array();
    for (const PlannedRequest &request : plan.requests) {
        Json blocks = Json::array();
        for (const Variable &block : request.blocks)
            blocks.push_back(textOf(block).toStdString());
        array.push_back({{"frame", request.frame.toHex().toUpper().toStdString()},
                         {"bytes", int(request.frame.size())},
                         {"replyBytes", request.replySize},
                         {"blocks", blocks}});
    }
    return array;
}

Json cyclesJson(const Planned &all)
{
    Json array = Json::array();
    for (const ByteForm &form : ByteForms)
        for (int baud : CommonBauds)
            array.push_back({{"baud", baud},
                             {"format", form.name},
                             {"bitsPerByte", form.bits},
                             {"ms", msOf(cycleTime(all.plan, {baud, form.bits}, all.pauses))}});
    return array;
}

Json odditiesJson(const LinePlan &plan)
{
    Json array = Json::array();
    for (const Oddity &oddity : odditiesOf(plan))
        array.push_back({{"number", oddity.number}, {"meaning", oddity.meaning.toStdString()}});
    return array;
}

Json jsonOf(const Planned &all)
{
    const LinePlan &plan = all.plan;
    const Json json = {
        {"variables", tagsJson(all.tags)},
        {"remoteLink", all.remoteLink ? Json(*all.remoteLink) : Json(nullptr)},
        {"blockWords", plan.storage.blockWords},
        {"perStation", plan.storage.perStation},
        {"blocks", placesJson(plan.blocks, plan.isRemote)},
        {"readAlong", placesJson(plan.readAlong, plan.isRemote)},
        {"requests", requestsJson(plan)},
        {"cyclesOfRequests", plan.rounds},
        {"requestsPerCycle", plan.requestsPerCycle()},
        {"bytesPerCycle", plan.bytesPerCycle()},
        {"gapMs", msOf(all.pauses.gap)},
        {"answerMs", msOf(all.pauses.answer)},
        {"cycles", cyclesJson(all)},
        {"line",
         {{"baud", all.line.baud}, {"bitsPerByte", all.line.bitsPerByte}, {"ms", msOf(cycleOf(all, plan))}}},
        {"best",
         {{"blockWords", all.best.askedBlockWords},
          {"requestsPerCycle", all.best.requestsPerCycle()},
          {"bytesPerCycle", all.best.bytesPerCycle()},
          {"ms", msOf(cycleOf(all, all.best))}}},
        {"oddities", odditiesJson(plan)},
    };
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

QString settingsText(const SerialAddress &address)
{
    return QStringLiteral("%1,%2%3%4")
        .arg(address.baud)
        .arg(address.dataBits)
        .arg(QLatin1Char(address.parity))
        .arg(address.stopBits);
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
                         pauses,
                         options.host.remoteLink};
    if (options.json)
        printLine(lineOf(jsonOf(all)));
    else
        printForPeople(all);
    return ExitOk;
}

} // namespace fgs
