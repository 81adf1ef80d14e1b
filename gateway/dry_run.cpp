#include "dry_run.h"

#include "watch/poll_loop.h"

#include <algorithm>
#include <cmath>

namespace fgs
{

namespace
{

const LineSpeed FastestUsual = {115200, 10};
/// Bytes of a record beside its values, and of a value beside its name and digits. What a text or a float takes is
/// not known before.
const int PlainHead = 60, PlainValue = 4, SparkplugHead = 20, SparkplugValue = 20;

/// Between two pauses are whole requests, however the driver's groups of six end; how much more than a cycle that
/// is.
double wholeRequests(const LinePlan &line)
{
    const double requests = line.requestsPerCycle();
    return requests > 0 ? std::ceil(requests) / requests : 1;
}

/// The cycle, and how many cycles' worth of requests it takes.
double planCycle(GatewayPlan &plan, milliseconds interval)
{
    const Time unpaused = cycleTime(plan.line, plan.speed, plan.pauses);
    const double whole = wholeRequests(plan.line);
    const bool pauses = double(unpaused.count()) * whole < double(Time(interval).count());
    plan.cycle = pauses ? Time(interval) : unpaused;
    return pauses ? whole : 1;
}

int valueBytes(const GatewaySettings &settings, const GatewayTag &tag)
{
    const int name = int(tag.name.size());
    if (settings.layout.kind == LayoutKind::Sparkplug)
        return name + SparkplugValue;
    const int each = tag.tag.elementsPerValue(Format::Unsigned);
    const bool isOfText = tag.tag.type->meaning == ValueType::Text;
    const int width = isOfText ? 2 * each + 2 : widestText(tag.tag, Format::Unsigned) + 1;
    return name + PlainValue + tag.tag.variable.count / each * width;
}

bool reads(const PlannedRequest &request, const Variable &variable)
{
    return std::any_of(request.blocks.begin(), request.blocks.end(),
                       [&variable](const Variable &block) { return spanOf(block).overlaps(spanOf(variable)); });
}

/// What one request tells of one group, or of its station, in one record.
struct RecordPlan {
    int bytes = 0;
    double mostPerSecond = 0; ///< that the least times of its values allow
};

using RecordPlans = std::map<std::size_t, RecordPlan>;

RecordPlans recordsOf(const GatewaySettings &settings, const PlannedRequest &request)
{
    const bool isPlain = settings.layout.kind == LayoutKind::Plain;
    RecordPlans records;
    for (const GatewayTag &tag : settings.tags) {
        if (!reads(request, tag.tag.variable))
            continue;
        RecordPlan &record = records[isPlain ? tag.group : 0];
        const double least = std::chrono::duration<double>(tag.report.least).count();
        record.bytes += valueBytes(settings, tag);
        record.mostPerSecond += least > 0 ? 1 / least : HUGE_VAL;
    }
    return records;
}

void planMessages(GatewayPlan &plan, const GatewaySettings &settings, double cyclesAtOnce)
{
    const double cycles = cyclesAtOnce / std::chrono::duration<double>(plan.cycle).count() / plan.line.rounds;
    const int head = settings.layout.kind == LayoutKind::Plain ? PlainHead : SparkplugHead;
    double bytesPerSecond = 0;
    for (const PlannedRequest &request : plan.line.requests)
        for (const auto &[key, record] : recordsOf(settings, request)) {
            const double rate = std::min(cycles, record.mostPerSecond);
            plan.messagesPerSecond += rate;
            bytesPerSecond += rate * (head + record.bytes);
        }
    plan.recordBytes = plan.messagesPerSecond > 0 ? bytesPerSecond / plan.messagesPerSecond : 0;
}

void planSpool(GatewayPlan &plan, const SpoolSettings &spool)
{
    plan.spoolBytes = spool.mostBytes;
    const double rate = plan.messagesPerSecond * plan.recordBytes;
    const double full = rate > 0 ? double(spool.mostBytes) / rate : HUGE_VAL;
    plan.spoolLasts = full < double(spool.longestAge.count())
                          ? std::chrono::seconds(static_cast<std::int64_t>(full))
                          : spool.longestAge;
}

QString speedText(const GatewayPlan &plan)
{
    return plan.serial ? settingsText(*plan.serial) : QStringLiteral("115200,8N1");
}

/// "2 d 3 h", "45 min"
QString spanText(std::chrono::seconds span)
{
    const qint64 minutes = span.count() / 60, hours = minutes / 60;
    if (hours >= 48)
        return QStringLiteral("%1 d %2 h").arg(hours / 24).arg(hours % 24);
    if (hours > 0)
        return QStringLiteral("%1 h %2 min").arg(hours).arg(minutes % 60);
    return minutes > 0 ? QStringLiteral("%1 min").arg(minutes) : QStringLiteral("%1 s").arg(qint64(span.count()));
}

QStringList messageLines(const GatewayPlan &plan)
{
    QStringList lines = {QString(),
                         QStringLiteral("At most %1 messages a second, with a reading every %2 ms")
                             .arg(QString::number(plan.messagesPerSecond, 'f', 1), millisecondsText(plan.cycle))};
    if (plan.spoolLasts)
        lines << QStringLiteral("The spool of %1 MB holds them for %2")
                     .arg(*plan.spoolBytes >> 20)
                     .arg(spanText(*plan.spoolLasts));
    else
        lines << QStringLiteral("There is no spool: while the broker is away, only the newest values are kept");
    return lines;
}

QStringList assumptionLines(const GatewayPlan &plan)
{
    return {
        QString(),
        QStringLiteral("Assumed: every value changes in each cycle, so each request tells of each of its groups; "
                       "a record takes %1 bytes on average;")
            .arg(qRound(plan.recordBytes)),
        QStringLiteral("a line of %1%2; every reply is good at the first try; %3 ms of silence before a request, "
                       "at least four byte times;")
            .arg(speedText(plan),
                 plan.serial ? QString() : QStringLiteral(", for the link is TCP and has no speed of its own"),
                 countText(millisecondsOf(plan.pauses.gap))),
        QStringLiteral("the controller answers at once; nothing is written")};
}

Sample sampleOf(const Reading &reading, std::size_t tag, const WallClock &clock, Time now)
{
    const Time when = reading.time == Never ? now : reading.time;
    return {tag, reading.quality, reading.reason,
            std::chrono::duration_cast<milliseconds>(clock.sinceEpoch(when)).count(), reading.values};
}

bool isText(const std::string &payload)
{
    return std::none_of(payload.begin(), payload.end(),
                        [](char each) { return static_cast<unsigned char>(each) < ' ' || each == '\x7F'; });
}

std::string shownPayload(const std::string &payload)
{
    return isText(payload) ? payload : QByteArray::fromStdString(payload).toHex(' ').toUpper().toStdString();
}

} // namespace

GatewayPlan planOf(const DriverApi &driver, const GatewaySettings &settings)
{
    GatewayPlan plan;
    for (const GatewayTag &tag : settings.tags)
        plan.tags.push_back(tag.tag);
    plan.line = planFor(driver, settings.variables(), settings.host.blockWords, settings.host.remoteLink);
    plan.pauses.gap = settings.host.timing.gap;
    const auto link = parseLink(settings.link);
    if (const SerialAddress *const serial = std::get_if<SerialAddress>(&link))
        plan.serial = *serial;
    plan.speed = plan.serial ? speedOf(*plan.serial) : FastestUsual;
    planMessages(plan, settings, planCycle(plan, settings.interval));
    if (settings.spool)
        planSpool(plan, *settings.spool);
    return plan;
}

QStringList linesOf(const GatewayPlan &plan)
{
    QStringList lines = summaryLines(plan.line) + blockLines(plan.line, plan.tags) + requestLines(plan.line) +
                        cycleLines(plan.line, plan.pauses);
    if (plan.serial)
        lines << QStringLiteral("  %1: %2 ms")
                     .arg(speedText(plan), millisecondsText(cycleTime(plan.line, plan.speed, plan.pauses)));
    return lines + messageLines(plan) + assumptionLines(plan);
}

Json jsonOf(const GatewayPlan &plan)
{
    Json json = jsonOf(plan.line, plan.tags, plan.pauses);
    json["line"] = {{"baud", plan.speed.baud},
                    {"bitsPerByte", plan.speed.bitsPerByte},
                    {"isAssumed", !plan.serial},
                    {"ms", millisecondsOf(cycleTime(plan.line, plan.speed, plan.pauses))}};
    json["readingEveryMs"] = millisecondsOf(plan.cycle);
    json["messagesPerSecond"] = plan.messagesPerSecond;
    json["recordBytes"] = plan.recordBytes;
    if (plan.spoolLasts) {
        json["spoolBytes"] = *plan.spoolBytes;
        json["spoolSeconds"] = std::int64_t(plan.spoolLasts->count());
    }
    return {{"plan", json}};
}

std::vector<Message> readOnce(Host &host, const Link &link, const WallClock &clock, const GatewaySettings &settings,
                              Layout &layout)
{
    const std::vector<Variable> variables = settings.variables();
    host.poll(variables);
    readAll(host, link, variables);
    std::vector<Sample> samples;
    for (std::size_t tag = 0; tag < variables.size(); ++tag)
        samples.push_back(sampleOf(readingOf(host, link, variables[tag]), tag, clock, link.now()));
    std::vector<const Sample *> due;
    due.reserve(samples.size());
    for (const Sample &sample : samples)
        due.push_back(&sample);
    const Epoch now = std::chrono::duration_cast<milliseconds>(clock.sinceEpoch(link.now())).count();
    std::vector<Message> messages;
    for (const Record &record : layout.records(due))
        messages.push_back(layout.live(record, now));
    return messages;
}

QString lineOf(const Message &message)
{
    return QString::fromStdString(message.topic + " " + shownPayload(message.payload));
}

Json jsonOf(const Message &message)
{
    return {{"topic", message.topic},
            {"qos", message.qos},
            {"retained", message.isRetained},
            {"payload", shownPayload(message.payload)}};
}

} // namespace fgs
