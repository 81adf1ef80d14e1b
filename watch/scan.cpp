#include "scan.h"

#include "overheard.h"

#include <algorithm>

namespace fgs
{

namespace
{

const int FramesThatCount = 2; ///< good ones, before settings are believed

/// The line is lost, or the scan was stopped.
struct Cut {
    QString why;
};

struct Likely {
    int baud;
    const char *format;
};

const Likely LikelySettings[] = {{19200, "8E1"}, {9600, "8N1"},   {9600, "8E1"},
                                 {19200, "8N1"}, {115200, "8N1"}, {38400, "8E1"}};

} // namespace

const std::vector<int> UsualSpeeds = {19200, 9600, 115200, 38400, 57600, 4800, 2400};
const std::vector<QString> UsualFormats = {QStringLiteral("8E1"), QStringLiteral("8N1"), QStringLiteral("8O1")};

std::vector<QString> linksOf(const QString &device, const std::vector<int> &speeds,
                             const std::vector<QString> &formats)
{
    std::vector<QString> links;
    const auto add = [&](int baud, const QString &format) {
        const QString link = QStringLiteral("%1:%2,%3").arg(device, QString::number(baud), format);
        if (std::find(links.begin(), links.end(), link) == links.end())
            links.push_back(link);
    };
    const auto holds = [](const auto &list, const auto &value) {
        return std::find(list.begin(), list.end(), value) != list.end();
    };
    for (const Likely &likely : LikelySettings)
        if (holds(speeds, likely.baud) && holds(formats, QLatin1String(likely.format)))
            add(likely.baud, QLatin1String(likely.format));
    for (const int baud : speeds)
        for (const QString &format : formats)
            add(baud, format);
    return links;
}

Time worstTime(const ScanPlan &plan, const LinkMaker &makeLink)
{
    Time asking(0);
    for (const QString &text : plan.links)
        asking += static_cast<int>(plan.stations.size()) * questionLimit(*makeLink(text), plan.probe);
    const Time listening = static_cast<int>(plan.links.size()) * plan.listen;
    return std::max(listening, plan.listen + asking);
}

Scan::Scan(const ScanPlan &thePlan, LinkMaker theMaker, const Stop &theStop, ScanObserver &theObserver)
    : plan(thePlan), makeLink(std::move(theMaker)), stop(theStop), observer(theObserver)
{
}

ScanResult Scan::run()
{
    left = worstTime(plan, makeLink);
    try {
        if (!listen())
            ask();
        if (!hasOpened)
            result.kind = ScanResult::NoLink;
    } catch (const Cut &cut) {
        result.kind = stop.isRequested() ? ScanResult::Stopped : ScanResult::NoLink;
        result.error = cut.why;
    }
    result.echoes = echoes.value_or(false);
    std::sort(result.stations.begin(), result.stations.end());
    return result;
}

/// Null: with these settings it cannot be opened.
std::unique_ptr<Link> Scan::open(const QString &text)
{
    std::unique_ptr<Link> link = makeLink(text);
    link->endBy(&stop);
    if (link->open()) {
        hasOpened = true;
        return link;
    }
    result.error = link->error();
    if (stop.isRequested())
        throw Cut{result.error};
    return nullptr;
}

/// Whether there is nothing to ask: something was heard. A line that is silent is so at all settings.
bool Scan::listen()
{
    for (const QString &text : plan.links) {
        observer.listening(text, left);
        const std::unique_ptr<Link> link = open(text);
        if (!link)
            continue;
        Overheard heard;
        listenAt(*link, heard);
        result.bytesHeard += heard.bytes();
        if (heard.frames() >= FramesThatCount) {
            result.kind = ScanResult::Heard;
            result.link = text;
            result.stations = heard.answering();
            result.silent = heard.silent();
            return true;
        }
        left -= plan.listen;
        if (result.bytesHeard == 0)
            return false;
    }
    result.kind = result.bytesHeard > 0 ? ScanResult::NotUnderstood : ScanResult::Nothing;
    return result.bytesHeard > 0;
}

/// As long again from each of the first good frames on, to hear all stations, unless it all repeats itself.
void Scan::listenAt(Link &link, Overheard &heard) const
{
    char bytes[1024];
    Time deadline = link.now() + plan.listen;
    while (link.now() < deadline && !heard.isRepeated()) {
        const int size = link.receive(bytes, int(sizeof bytes), deadline);
        if (size < 0 || link.isEnded())
            throw Cut{link.error()};
        const int before = heard.frames();
        heard.take(bytes, size);
        if (heard.frames() > before && before < FramesThatCount)
            deadline = link.now() + plan.listen;
    }
}

/// Station by station, the likeliest one at all settings first.
void Scan::ask()
{
    for (const bool firstOnly : {true, false})
        for (const QString &text : plan.links)
            if ((firstOnly || plan.stations.size() > 1) && askAt(text, firstOnly))
                return;
}

/// Whether a station answers: then all others were asked, too.
bool Scan::askAt(const QString &text, bool firstOnly)
{
    const std::unique_ptr<Link> link = open(text);
    if (!link)
        return false;
    Prober prober(*link, plan.probe, echoes);
    const Time limit = questionLimit(*link, plan.probe);
    for (std::size_t i = firstOnly ? 0 : 1; i < plan.stations.size(); ++i) {
        observer.asking(text, plan.stations[i], left);
        left -= limit;
        if (isThere(prober, *link, plan.stations[i])) {
            settle(text, plan.stations[i]);
            left = static_cast<int>(plan.stations.size() - i - 1) * limit;
        } else if (firstOnly && result.stations.empty()) {
            return false;
        }
    }
    return !result.stations.empty();
}

void Scan::settle(const QString &text, int station)
{
    result.kind = ScanResult::Answered;
    result.link = text;
    result.stations.push_back(station);
}

/// Of two good answers one may take a second try.
bool Scan::isThere(Prober &prober, const Link &link, int station)
{
    return answers(prober, link, station) && (answers(prober, link, station) || answers(prober, link, station));
}

bool Scan::answers(Prober &prober, const Link &link, int station)
{
    const Answer answer = prober.ask(station);
    if (answer.kind == Answer::Ended)
        throw Cut{link.error()};
    return answer.kind == Answer::Good;
}

} // namespace fgs
