#include "metrics.h"

#include "process_figures.h"

#include <nlohmann/json.hpp>
#include <prometheus/collectable.h>
#include <prometheus/text_serializer.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace fgs
{

namespace
{

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using Labels = std::vector<ClientMetric::Label>;
using Json = nlohmann::ordered_json;

/// A figure without labels.
struct Single {
    const char *name;
    MetricType type;
    const char *help;
    double (*value)(const GatewayFigures &figures);
};

double inSeconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

const Single singles[] = {
    {"fgs_up", MetricType::Gauge, "Whether the link to the controllers is up.",
     [](const GatewayFigures &f) { return double(f.line.isUp); }},
    {"fgs_requests_total", MetricType::Counter, "Requests sent to controllers, repetitions included.",
     [](const GatewayFigures &f) { return double(f.line.statistics.requests); }},
    {"fgs_request_retries_total", MetricType::Counter, "Requests that were sent again after a failure.",
     [](const GatewayFigures &f) { return double(f.line.statistics.retries); }},
    {"fgs_jobs_abandoned_total", MetricType::Counter, "Jobs given up after the last retry.",
     [](const GatewayFigures &f) { return double(f.line.statistics.abandoned); }},
    {"fgs_stray_bytes_total", MetricType::Counter, "Bytes that came between two transactions.",
     [](const GatewayFigures &f) { return double(f.line.statistics.strayBytes); }},
    {"fgs_link_reconnects_total", MetricType::Counter, "How often the link was opened again.",
     [](const GatewayFigures &f) { return double(f.line.statistics.reconnects); }},
    {"fgs_line_busy_seconds_total", MetricType::Counter, "Time that requests and their answers took.",
     [](const GatewayFigures &f) { return inSeconds(f.line.busy); }},
    {"fgs_tags", MetricType::Gauge, "Tags of the gateway.", [](const GatewayFigures &f) { return double(f.tags); }},
    {"fgs_tags_stale", MetricType::Gauge, "Tags whose value is old or unknown.",
     [](const GatewayFigures &f) { return double(f.staleTags); }},
    {"fgs_oldest_value_age_seconds", MetricType::Gauge, "Age of the oldest value.",
     [](const GatewayFigures &f) { return f.oldestValueAge; }},
    {"fgs_broker_up", MetricType::Gauge, "Whether the broker is connected.",
     [](const GatewayFigures &f) { return double(f.isBrokerUp); }},
    {"fgs_awaits_host", MetricType::Gauge, "Whether nothing is sent until the primary host is online.",
     [](const GatewayFigures &f) { return double(f.awaitsHost); }},
    {"fgs_publish_sent_total", MetricType::Counter, "Messages sent to the broker, repetitions included.",
     [](const GatewayFigures &f) { return double(f.sent); }},
    {"fgs_publish_acknowledged_total", MetricType::Counter,
     "Messages that the broker has acknowledged, and those of QoS 0 that were written to the connection.",
     [](const GatewayFigures &f) { return double(f.acknowledged); }},
    {"fgs_publish_dropped_total", MetricType::Counter, "Values and messages that will never be sent.",
     [](const GatewayFigures &f) { return double(f.dropped); }},
    {"fgs_commands_total", MetricType::Counter, "Commands that came.",
     [](const GatewayFigures &f) { return double(f.commands); }},
};

const Single spoolSingles[] = {
    {"fgs_spool_up", MetricType::Gauge, "Whether the spool keeps on the disk what it is given.",
     [](const GatewayFigures &f) { return double(f.spoolProblem.empty()); }},
    {"fgs_spool_bytes", MetricType::Gauge, "Bytes of the messages in the spool.",
     [](const GatewayFigures &f) { return double(f.spoolBytes); }},
    {"fgs_spool_oldest_age_seconds", MetricType::Gauge, "Age of the oldest message in the spool.",
     [](const GatewayFigures &f) { return f.spoolOldestAge; }},
};

/// Upper bounds of the published histogram; each is one of RoundTripBounds.
constexpr std::array<Time, 11> DurationBounds = {1ms,   2500us, 5ms,   10ms, 25ms,  50ms,
                                                 100ms, 250ms,  500ms, 1s,   2500ms};

MetricFamily family(const char *name, MetricType type, const char *help)
{
    MetricFamily made;
    made.name = name;
    made.type = type;
    made.help = help;
    return made;
}

void addValue(MetricFamily &of, const Labels &labels, double value)
{
    ClientMetric metric;
    metric.label = labels;
    metric.gauge.value = value;
    metric.counter.value = value;
    of.metric.push_back(metric);
}

MetricFamily familyOf(const Single &single, const GatewayFigures &figures)
{
    MetricFamily made = family(single.name, single.type, single.help);
    addValue(made, {}, single.value(figures));
    return made;
}

MetricFamily buildInfo()
{
    MetricFamily made = family("fgs_build_info", MetricType::Gauge, "Always 1, for the labels.");
    addValue(made, {{"version", FGS_VERSION}, {"qt", qVersion()}}, 1);
    return made;
}

MetricFamily stations(const std::map<int, bool> &up)
{
    MetricFamily made = family("fgs_station_up", MetricType::Gauge, "Whether the station answers.");
    for (const auto &[station, isUp] : up)
        addValue(made, {{"station", std::to_string(station)}}, isUp);
    return made;
}

MetricFamily requestFailures(const Statistics &statistics)
{
    MetricFamily made =
        family("fgs_request_failures_total", MetricType::Counter, "Requests without a good answer, by outcome.");
    for (int i = 0; i < OutcomeCount; ++i) {
        const Outcome outcome = static_cast<Outcome>(i);
        if (outcome != Outcome::Good)
            addValue(made, {{"outcome", keyOf(outcome)}}, double(statistics.of(outcome)));
    }
    return made;
}

MetricFamily commandFailures(const std::array<quint64, CommandFailureCount> &failures)
{
    MetricFamily made =
        family("fgs_command_failures_total", MetricType::Counter, "Commands refused or failed, by reason.");
    for (int i = 0; i < CommandFailureCount; ++i) {
        const CommandFailure reason = static_cast<CommandFailure>(i);
        if (reason != CommandFailure::None)
            addValue(made, {{"reason", keyOf(reason)}}, double(failures[static_cast<std::size_t>(i)]));
    }
    return made;
}

quint64 countUpTo(Time bound, const RoundTripCounts &counts)
{
    quint64 sum = 0;
    for (std::size_t i = 0; i < RoundTripBounds.size() && RoundTripBounds[i] <= bound; ++i)
        sum += counts[i];
    return sum;
}

MetricFamily durations(const RoundTrips &times)
{
    MetricFamily made = family("fgs_transaction_duration_seconds", MetricType::Histogram,
                               "From the end of a request to the end of its answer.");
    ClientMetric metric;
    ClientMetric::Histogram &histogram = metric.histogram;
    histogram.sample_count = times.count();
    histogram.sample_sum = inSeconds(times.mean()) * double(times.count());
    for (Time bound : DurationBounds)
        histogram.bucket.push_back({countUpTo(bound, times.histogram()), inSeconds(bound)});
    histogram.bucket.push_back({times.count(), std::numeric_limits<double>::infinity()});
    made.metric.push_back(metric);
    return made;
}

void addProcess(std::vector<MetricFamily> &families)
{
    for (const ProcessFigure &figure : processFigures()) {
        families.push_back(
            family(figure.name, figure.isTotal ? MetricType::Counter : MetricType::Gauge, figure.help));
        addValue(families.back(), {}, figure.value);
    }
}

/// Made anew at each scrape, of figures that others keep.
class GatewayMetrics : public prometheus::Collectable
{
public:
    explicit GatewayMetrics(const GatewayFigures &theFigures) : figures(theFigures) {}

    std::vector<MetricFamily> Collect() const override
    {
        std::vector<MetricFamily> families = {
            buildInfo(), stations(figures.line.stations), requestFailures(figures.line.statistics),
            durations(figures.line.statistics.roundTrips), commandFailures(figures.commandFailures)};
        for (const Single &single : singles)
            families.push_back(familyOf(single, figures));
        if (figures.hasSpool)
            for (const Single &single : spoolSingles)
                families.push_back(familyOf(single, figures));
        addProcess(families);
        return families;
    }

private:
    const GatewayFigures &figures;
};

void addError(Json &to, const std::string &error)
{
    if (!error.empty())
        to["error"] = error;
}

} // namespace

std::string metricsText(const GatewayFigures &figures)
{
    return prometheus::TextSerializer().Serialize(GatewayMetrics(figures).Collect());
}

Health healthOf(const GatewayFigures &figures)
{
    const bool isOk = figures.line.isUp && figures.isBrokerUp && figures.spoolProblem.empty();
    Json line = {{"up", figures.line.isUp}, {"since", figures.line.since}};
    addError(line, figures.line.error);
    Json broker = {{"up", figures.isBrokerUp}};
    if (figures.awaitsHost)
        broker["awaitsHost"] = true;
    Json all = {{"ok", isOk}, {"line", line}, {"broker", broker}};
    if (figures.hasSpool) {
        all["spool"] = {{"up", figures.spoolProblem.empty()}};
        addError(all["spool"], figures.spoolProblem);
    }
    return {isOk, all.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"};
}

} // namespace fgs
