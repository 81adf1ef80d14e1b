#include "scan_json.h"

namespace fgs
{

namespace
{

const char *keyOf(ScanResult::ResultKind kind)
{
    static const char *const keys[] = {"heard", "answered", "notUnderstood", "nothing", "noLink", "stopped"};
    return keys[kind];
}

Json textOrNull(const QString &text)
{
    return text.isEmpty() ? Json(nullptr) : Json(text.toStdString());
}

} // namespace

QString placeOf(const ProbeSettings &probe)
{
    return QStringLiteral("%1:%2").arg(probe.place.area).arg(addressText(probe.place.area, probe.place.address));
}

QString pollCommandFor(const ScanResult &result, const ProbeSettings &probe)
{
    QString command;
    for (const int station : result.stations)
        command += QStringLiteral(" %1@%2").arg(placeOf(probe)).arg(station);
    return command.isEmpty() ? QString() : QStringLiteral("fgs poll ") + result.link + command;
}

Json jsonOf(const ScanPlan &plan, Time worst)
{
    Json links = Json::array();
    for (const QString &link : plan.links)
        links.push_back(link.toStdString());
    return {{"plan",
             {{"links", links},
              {"stations", plan.stations},
              {"probe", placeOf(plan.probe).toStdString()},
              {"listenSeconds", secondsOf(plan.listen)},
              {"timeoutMs", millisecondsOf(plan.probe.patience)},
              {"worstSeconds", secondsOf(worst)}}}};
}

Json jsonOf(const ScanResult &result, const ProbeSettings &probe)
{
    Json json = {{"found", keyOf(result.kind)},           {"link", textOrNull(result.link)},
                 {"stations", result.stations},           {"silent", result.silent},
                 {"probe", placeOf(probe).toStdString()}, {"echo", result.echoes},
                 {"bytesHeard", result.bytesHeard},       {"poll", textOrNull(pollCommandFor(result, probe))}};
    if (!result.error.isEmpty())
        json["error"] = result.error.toStdString();
    return {{"scan", json}};
}

} // namespace fgs
