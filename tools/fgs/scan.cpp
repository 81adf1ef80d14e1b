#include "commands.h"
#include "host/device_trouble.h"
#include "host/held_device.h"
#include "search_text.h"
#include "signals.h"
#include "tools/console.h"
#include "tools/failure.h"
#include "watch/scan_json.h"

namespace fgs
{

namespace
{

/// The device, held for the scan, or the connection.
class ScannedLine
{
public:
    explicit ScannedLine(const QString &link) : address(parseLink(link))
    {
        const auto *const serial = std::get_if<SerialAddress>(&address);
        if (serial && serial->device != link)
            throw TextError(
                QStringLiteral("link '%1': a scan finds the settings; write %2, and limit what is tried "
                               "by --speeds and --formats")
                    .arg(link, serial->device));
    }

    bool isSerial() const { return std::holds_alternative<SerialAddress>(address); }
    bool isPseudoTerminal() const { return device && device->isPseudoTerminal(); }

    void hold()
    {
        if (const auto *const serial = std::get_if<SerialAddress>(&address))
            device = holdDevice(serial->device);
    }

    LinkMaker maker() const
    {
        return [this](const QString &text) {
            return device ? device->linkWith(std::get<SerialAddress>(parseLink(text))) : makeLink(text);
        };
    }

private:
    const std::variant<SerialAddress, TcpAddress> address;
    std::unique_ptr<HeldDevice> device;
};

ScanPlan planOf(const Options &options, const ScannedLine &line)
{
    const SearchOptions &search = options.scan;
    const QString link = QString::fromStdString(options.link);
    ScanPlan plan;
    plan.links = {link};
    if (line.isSerial())
        plan.links = linksOf(link, search.speeds.empty() ? UsualSpeeds : speedsIn(search.speeds),
                             search.formats.empty() ? UsualFormats : formatsIn(search.formats));
    plan.stations = stationsIn(search.stations.empty() ? "1-32" : search.stations);
    plan.probe = probeOf(search);
    plan.listen = search.listen;
    return plan;
}

class ScanProgress : public ScanObserver
{
public:
    explicit ScanProgress(bool isWanted) : line(isWanted) {}

    void listening(const QString &link, Time left) override { show(link, QStringLiteral("listening"), left); }
    void asking(const QString &link, int station, Time left) override
    {
        show(link, QStringLiteral("asking station %1").arg(station), left);
    }

private:
    void show(const QString &link, const QString &what, Time left) const
    {
        line.show(QStringLiteral("%1  %2, at most %3 more").arg(link, what, durationText(left)));
    }

    const ProgressLine line;
};

void printPlan(const ScanPlan &plan, Time worst)
{
    printLine(
        QStringLiteral("1. listens for %1 at the first of these settings, at all of them if anything is heard; "
                       "what it understands ends the scan:")
            .arg(durationText(plan.listen)));
    for (const QString &link : plan.links)
        printLine(QStringLiteral("     ") + link);
    printLine(
        QStringLiteral("2. if nothing is heard, reads the word %1 of station %2 at each of them, in this order")
            .arg(placeOf(plan.probe))
            .arg(plan.stations.front()));
    const std::vector<int> others(plan.stations.begin() + 1, plan.stations.end());
    if (!others.empty())
        printLine(QStringLiteral("3. then of the stations %1; after the first that answers, at its settings only")
                      .arg(numbersText(others)));
    printLine(QStringLiteral("takes at most %1").arg(durationText(worst)));
}

void printRow(const char *name, const QString &text)
{
    if (!text.isEmpty())
        printLine(QString::fromLatin1(name).leftJustified(10) + text);
}

void printFound(const ScanResult &result, const ProbeSettings &probe)
{
    printRow("link", result.link);
    printRow("stations", numbersText(result.stations));
    printRow("silent", numbersText(result.silent));
    printRow("found by", result.kind == ScanResult::Heard ? QStringLiteral("listening; nothing was sent")
                                                          : QStringLiteral("reading the word ") + placeOf(probe));
    printRow("echo", result.echoes ? QStringLiteral("the line gives back what is sent") : QString());
    printRow("poll", pollCommandFor(result, probe));
}

/// What to do about a result, or how far it goes.
QString noteOn(const ScanResult &result, const ScanPlan &plan, bool isPseudoTerminal)
{
    switch (result.kind) {
    case ScanResult::Heard:
        return QStringLiteral("another host is polling here; end it before you poll, as two disturb each other");
    case ScanResult::Answered:
        return isPseudoTerminal
                   ? QStringLiteral("a pseudo-terminal has no parity: the format is the first one tried")
                   : QString();
    case ScanResult::NotUnderstood:
        return QStringLiteral(
                   "%1 bytes were heard, but no good frame at any of %2 settings, so nothing was sent; "
                   "try other --speeds and --formats, or look for noise: is the line terminated and biased?")
            .arg(result.bytesHeard)
            .arg(plan.links.size());
    case ScanResult::Nothing:
        return QStringLiteral("nothing was heard, and no station answers%1; check the wiring (A and B exchanged?), "
                              "that the controller is on, and try other --stations, --speeds or --formats")
            .arg(result.echoes ? QStringLiteral(", only the line's own echo") : QString());
    default:
        return QString();
    }
}

int codeOf(const ScanResult &result)
{
    switch (result.kind) {
    case ScanResult::NotUnderstood:
        return ExitBadReply;
    case ScanResult::NoLink:
        return ExitLink;
    case ScanResult::Stopped:
        return ExitSignal + stoppingSignal();
    default:
        return result.stations.empty() ? ExitNoReply : ExitOk;
    }
}

void print(const ScanResult &result, const ScanPlan &plan, const Options &options, bool isPseudoTerminal)
{
    if (options.json)
        printLine(lineOf(jsonOf(result, plan.probe)));
    else if (!result.link.isEmpty())
        printFound(result, plan.probe);
    flushOutput(); // the result comes before what is said of it
    const QString note = noteOn(result, plan, isPseudoTerminal);
    if (!note.isEmpty() && !options.quiet)
        printMessage(QStringLiteral("fgs: ") + note);
}

ScanResult scanWith(const ScanPlan &plan, const ScannedLine &line, const Options &options, const Stop &stop)
{
    ScanProgress progress(!options.quiet);
    return Scan(plan, line.maker(), stop, progress).run();
}

int scanLine(ScannedLine &line, const ScanPlan &plan, const Options &options, const Stop &stop)
try {
    line.hold();
    const ScanResult result = scanWith(plan, line, options, stop);
    if (result.kind == ScanResult::NoLink)
        throw Failure(ExitLink,
                      QStringLiteral("link '%1': %2").arg(QString::fromStdString(options.link), result.error));
    print(result, plan, options, line.isPseudoTerminal());
    return codeOf(result);
} catch (const DeviceTrouble &trouble) {
    throw Failure(ExitLink, QStringLiteral("cannot open link '%1': %2")
                                .arg(QString::fromStdString(options.link), QString::fromUtf8(trouble.what())));
}

} // namespace

int scanCommand(const Options &options, const Stop &stop)
{
    ScannedLine line(QString::fromStdString(options.link));
    const ScanPlan plan = planOf(options, line);
    if (!options.scan.dryRun)
        return scanLine(line, plan, options, stop);
    const Time worst = worstTime(plan, line.maker());
    if (options.json)
        printLine(lineOf(jsonOf(plan, worst)));
    else
        printPlan(plan, worst);
    return ExitOk;
}

} // namespace fgs
