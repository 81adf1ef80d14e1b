#include "line_plan_text.h"

#include "host/frame_text.h"
#include "host/remote_frame.h"
#include "oddities.h"

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

QString hexText(const QByteArray &frame)
{
    return QString::fromLatin1(frame.toHex(' ').toUpper());
}

QString nameOf(const Tag &tag)
{
    return tag.name.isEmpty() ? textOf(tag) : tag.name;
}

/// The variables in it, as they were asked for.
QString contentsOf(const std::vector<Tag> &tags, const Variable &block)
{
    QStringList names;
    for (const Tag &tag : tags)
        if (spanOf(tag.variable).overlaps(spanOf(block)) && !names.contains(nameOf(tag)))
            names << nameOf(tag);
    const int most = 6, more = int(names.size()) - most;
    const QString text = QStringList(names.mid(0, most)).join(QStringLiteral(", "));
    return more > 0 ? QStringLiteral("%1 and %2 more").arg(text).arg(more) : text;
}

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

Json cyclesJson(const LinePlan &plan, const LinePauses &pauses)
{
    Json array = Json::array();
    for (const ByteForm &form : ByteForms)
        for (int baud : CommonBauds)
            array.push_back({{"baud", baud},
                             {"format", form.name},
                             {"bitsPerByte", form.bits},
                             {"ms", millisecondsOf(cycleTime(plan, {baud, form.bits}, pauses))}});
    return array;
}

} // namespace

QString countText(double number)
{
    return QString::number(number, 'f', number == std::floor(number) ? 0 : 2);
}

QString amountText(double number, const char *what)
{
    return QStringLiteral("%1 %2%3").arg(countText(number), QLatin1String(what),
                                         number == 1 ? QString() : QStringLiteral("s"));
}

QString millisecondsText(Time time)
{
    return QString::number(millisecondsOf(time), 'f', 1);
}

QString settingsText(const SerialAddress &address)
{
    return QStringLiteral("%1,%2%3%4")
        .arg(address.baud)
        .arg(address.dataBits)
        .arg(QLatin1Char(address.parity))
        .arg(address.stopBits);
}

QStringList summaryLines(const LinePlan &plan)
{
    QStringList lines = {
        QStringLiteral("%1 in %2; a cycle takes %3 with %4")
            .arg(amountText(double(plan.variables.size()), "variable"),
                 amountText(double(plan.blocks.size()), "block"), amountText(plan.requestsPerCycle(), "request"),
                 amountText(plan.bytesPerCycle(), "byte")),
        QStringLiteral("blocks of at most %1 words; %2")
            .arg(plan.storage.blockWords)
            .arg(plan.storage.perStation ? QStringLiteral("the driver keeps the values per station")
                                         : QStringLiteral("the driver keeps the values in its fixed image"))};
    if (plan.remoteLink)
        lines << QStringLiteral("By remote frames, with the link number %1").arg(*plan.remoteLink);
    return lines;
}

QStringList blockLines(const LinePlan &plan, const std::vector<Tag> &tags)
{
    QStringList lines = {QString(), QStringLiteral("Blocks")};
    for (const Variable &block : plan.blocks)
        lines << QStringLiteral("  %1  %2").arg(placeText({block}, plan.isRemote()), contentsOf(tags, block));
    if (!plan.readAlong.empty())
        lines << QString() << QStringLiteral("Read along, though nobody asked for it");
    for (const Variable &place : plan.readAlong)
        lines << QStringLiteral("  %1").arg(placeText({place}, plan.isRemote()).trimmed());
    return lines;
}

QStringList requestLines(const LinePlan &plan)
{
    QStringList lines = {QString(),
                         plan.rounds == 1
                             ? QStringLiteral("Requests of a cycle")
                             : QStringLiteral("Requests of %1 cycles, then from the beginning").arg(plan.rounds)};
    int number = 0;
    for (const PlannedRequest &request : plan.requests) {
        lines << QStringLiteral("  %1  %2").arg(++number, 3).arg(hexText(request.frame));
        lines << QStringLiteral("       %1: %2 bytes, reply %3")
                     .arg(describeRequest({request.frame.constData(), int(request.frame.size())}))
                     .arg(request.frame.size())
                     .arg(request.replySize);
    }
    return lines;
}

QStringList cycleLines(const LinePlan &plan, const LinePauses &pauses)
{
    QString header = QStringLiteral("A cycle in ms");
    for (const ByteForm &form : ByteForms)
        header += QString(QLatin1String(form.name)).rightJustified(12);
    QStringList lines = {QString(), header};
    for (int baud : CommonBauds) {
        QString row = QStringLiteral("  %1 baud").arg(baud, 6);
        for (const ByteForm &form : ByteForms)
            row += millisecondsText(cycleTime(plan, {baud, form.bits}, pauses)).rightJustified(12);
        lines << row;
    }
    return lines;
}

Json jsonOf(const LinePlan &plan, const std::vector<Tag> &tags, const LinePauses &pauses)
{
    return {{"variables", tagsJson(tags)},
            {"remoteLink", plan.remoteLink ? Json(*plan.remoteLink) : Json(nullptr)},
            {"blockWords", plan.storage.blockWords},
            {"perStation", plan.storage.perStation},
            {"blocks", placesJson(plan.blocks, plan.isRemote())},
            {"readAlong", placesJson(plan.readAlong, plan.isRemote())},
            {"requests", requestsJson(plan)},
            {"cyclesOfRequests", plan.rounds},
            {"requestsPerCycle", plan.requestsPerCycle()},
            {"bytesPerCycle", plan.bytesPerCycle()},
            {"gapMs", millisecondsOf(pauses.gap)},
            {"answerMs", millisecondsOf(pauses.answer)},
            {"cycles", cyclesJson(plan, pauses)}};
}

} // namespace fgs
