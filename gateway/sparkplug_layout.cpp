#include "host/text_error.h"
#include "layout.h"
#include "sparkplug_command.h"
#include "sparkplug_host.h"

#include <algorithm>
#include <set>

namespace fgs
{

namespace
{

using namespace sparkplug;

const char Namespace[] = "spBv1.0";
const char SessionMetric[] = "bdSeq";
const char LinkMetric[] = "Link/Up";
const char LinkErrorMetric[] = "Link/Error";

/// What the broker has been told since the births; empty before them.
struct Session {
    bool isBorn = false;
    std::set<int> stations; ///< with a birth, and no death since
    std::uint8_t nextSeq = 0;
    std::vector<Metric> link;
};

/// Of a metric, last.
struct Told {
    bool isGood = true; ///< a quality that is good is told if the one before was not
    Epoch time = 0;
};

Told toldOf(const Metric &metric)
{
    return {metric.quality == GoodQuality, metric.time.value_or(0)};
}

void requireLevel(const std::string &text, const char *key)
{
    if (!text.empty() && text.find_first_of("/+#") == std::string::npos)
        return;
    throw TextError(
        QStringLiteral("%1 = '%2' cannot be a level of a topic; give it some letters, and none of / + #")
            .arg(QLatin1String(key), QString::fromStdString(text)));
}

bool isAlive(const LineState &line, int station)
{
    const auto found = line.stations.find(station);
    return line.isUp && found != line.stations.end() && found->second;
}

std::vector<Metric> linkMetrics(const LineState &line)
{
    const Value error = line.isUp ? Value() : Value(line.error);
    return {{LinkMetric, line.since, DataType::Boolean, false, {}, line.isUp},
            {LinkErrorMetric, line.since, DataType::String, false, {}, error}};
}

/// Whether the values of one mean the same as those of the other.
bool isSame(const Tag &a, const Tag &b)
{
    return textOf(a) == textOf(b) && a.scaling.scale == b.scaling.scale && a.scaling.offset == b.scaling.offset;
}

bool isSame(const std::vector<Metric> &a, const std::vector<Metric> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Metric &one, const Metric &other) { return one.value == other.value; });
}

/// Those that are still of the same type; a record may be older than the settings. None of what cannot be read.
std::vector<Metric> knownMetrics(const Device &device, const Record &record)
{
    std::vector<Metric> metrics;
    try {
        for (Metric &metric : decode(record.content).metrics) {
            const auto place = device.metrics.find(metric.name);
            if (place != device.metrics.end() && metric.type == place->second.type)
                metrics.push_back(std::move(metric));
        }
    } catch (const PayloadError &) {
        metrics.clear();
    }
    return metrics;
}

/// As data have them: the births have told the types.
std::vector<Metric> withoutTypes(std::vector<Metric> metrics)
{
    for (Metric &metric : metrics)
        metric.type.reset();
    return metrics;
}

bool asksForRebirth(const Payload &payload)
{
    return std::any_of(payload.metrics.begin(), payload.metrics.end(), [](const Metric &metric) {
        return metric.name == RebirthMetric && metric.value == Value(true);
    });
}

void append(std::vector<Metric> &metrics, std::vector<Metric> more)
{
    metrics.insert(metrics.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

class SparkplugLayout : public Layout
{
public:
    explicit SparkplugLayout(const GatewaySettings &settings);

    Message will(Epoch now) override;
    SessionMemory sessions() const override { return {{}, nextBdSeq}; }
    void resume(const SessionMemory &sessions) override { nextBdSeq = sessions.next; }
    std::vector<std::string> subscriptions() const override;
    bool awaitsHost() const override { return !hostTopic.empty() && !host.isOnline(); }

    std::vector<Message> births(const Picture &picture, Epoch now) override;
    std::vector<Message> changes(const Picture &before, const Picture &after, Epoch now) override;
    std::vector<Record> records(const std::vector<const Sample *> &samples) const override;
    Message live(const Record &record, Epoch now) override;
    bool canTell(const std::string &key) const override;
    std::optional<Message> history(const Record &record, Epoch now) override;
    std::vector<Message> periodic(const Picture &, Epoch) override { return {}; }
    std::vector<Message> farewell(const Picture &picture, Epoch now) override;

    Incoming incoming(const Received &message) override;
    std::optional<Message> answer(const CommandAnswer &answer, Epoch now) override;

private:
    std::string nodeTopic(const char *type) const { return group + "/" + type + "/" + node; }
    std::string deviceTopic(const char *type, const Device &device) const
    {
        return nodeTopic(type) + "/" + device.name;
    }
    /// With the next number, and a time for what has none.
    Message numbered(const std::string &topic, std::vector<Metric> metrics, Epoch now);
    Metric sessionMetric(Epoch now) const;
    Message death(std::optional<Epoch> time, Epoch now) const;

    Message nodeBirth(const LineState &line, Epoch now);
    Message deviceBirth(const Device &device, const std::vector<Sample> &samples, Epoch now);
    std::optional<Message> deviceChange(const Device &device, const Picture &picture, Epoch now);

    const Device *deviceNamed(const std::string &name) const;
    bool isBorn(const Device &device) const { return session.stations.count(device.station) > 0; }
    /// DDATA, with the qualities that have to be told.
    Message data(const std::string &device, std::vector<Metric> metrics, Epoch now);

    bool isNews(const GatewayTag &tag, Epoch time) const;
    bool isPlaceOf(const MetricPlace &place, const Tag &tag) const;
    std::vector<Metric> heldMetrics(const TagAnswer &answer) const;

    Incoming hostState(const Received &message);
    Incoming command(const Received &message, const Device &device);

    const std::string group, node; ///< group with the namespace in front
    const std::string hostTopic;   ///< empty: there is no primary host
    const std::size_t longestMessage;
    const std::vector<GatewayTag> tags;
    const std::vector<Device> devices;
    const Device nodeAsDevice; ///< which has nothing that can be written

    PrimaryHost host;
    Session session;
    std::map<std::string, Told> told;
    std::uint8_t bdSeq = 0, nextBdSeq = 0;
};

SparkplugLayout::SparkplugLayout(const GatewaySettings &settings)
    : group(std::string(Namespace) + "/" + settings.layout.group), node(settings.name),
      hostTopic(settings.layout.primaryHost.empty()
                    ? std::string()
                    : std::string(Namespace) + "/STATE/" + settings.layout.primaryHost),
      longestMessage(static_cast<std::size_t>(settings.commands.longestMessage)), tags(settings.tags),
      devices(devicesOf(settings.tags)), nodeAsDevice{settings.name, 0, {}, {}}
{
    requireLevel(settings.layout.group, "group");
    requireLevel(settings.name, "name");
    if (!hostTopic.empty())
        requireLevel(settings.layout.primaryHost, "primary_host");
}

// ---- sessions: births and deaths

Message SparkplugLayout::will(Epoch now)
{
    session = {};
    host = {};
    bdSeq = nextBdSeq++;
    return death({}, now); // nobody knows when it will be
}

std::vector<std::string> SparkplugLayout::subscriptions() const
{
    std::vector<std::string> topics = {nodeTopic("NCMD")};
    for (const Device &device : devices)
        topics.push_back(deviceTopic("DCMD", device));
    if (!hostTopic.empty())
        topics.push_back(hostTopic);
    return topics;
}

Message SparkplugLayout::numbered(const std::string &topic, std::vector<Metric> metrics, Epoch now)
{
    for (Metric &metric : metrics)
        if (metric.time.value_or(0) == 0)
            metric.time = now;
    return {topic, encode({now, std::move(metrics), session.nextSeq++}), 0, false};
}

Metric SparkplugLayout::sessionMetric(Epoch now) const
{
    return {SessionMetric, now, DataType::Int64, false, {}, std::uint64_t(bdSeq)};
}

Message SparkplugLayout::death(std::optional<Epoch> time, Epoch now) const
{
    return {nodeTopic("NDEATH"), encode({time, {sessionMetric(now)}, {}}), 1, false};
}

Message SparkplugLayout::nodeBirth(const LineState &line, Epoch now)
{
    session.link = linkMetrics(line);
    std::vector<Metric> metrics = {sessionMetric(now), {RebirthMetric, now, DataType::Boolean, false, {}, false}};
    append(metrics, session.link);
    return numbered(nodeTopic("NBIRTH"), std::move(metrics), now);
}

Message SparkplugLayout::deviceBirth(const Device &device, const std::vector<Sample> &samples, Epoch now)
{
    session.stations.insert(device.station);
    std::vector<Metric> metrics;
    for (std::size_t tag : device.tags)
        append(metrics, metricsOf(tags[tag], samples[tag]));
    for (const Metric &metric : metrics)
        told[metric.name] = toldOf(metric);
    return numbered(deviceTopic("DBIRTH", device), std::move(metrics), now);
}

std::vector<Message> SparkplugLayout::births(const Picture &picture, Epoch now)
{
    session = {};
    if (awaitsHost())
        return {};
    session.isBorn = true;
    std::vector<Message> messages = {nodeBirth(picture.line, now)};
    for (const Device &device : devices)
        if (isAlive(picture.line, device.station))
            messages.push_back(deviceBirth(device, picture.samples, now));
    return messages;
}

std::optional<Message> SparkplugLayout::deviceChange(const Device &device, const Picture &picture, Epoch now)
{
    if (isAlive(picture.line, device.station) == isBorn(device))
        return std::nullopt;
    if (!isBorn(device))
        return deviceBirth(device, picture.samples, now);
    session.stations.erase(device.station);
    return numbered(deviceTopic("DDEATH", device), {}, now);
}

/// Against what was told in this session, so that nothing is missed between two of them.
std::vector<Message> SparkplugLayout::changes(const Picture & /*before*/, const Picture &after, Epoch now)
{
    std::vector<Message> messages;
    if (!session.isBorn)
        return messages;
    for (const Device &device : devices)
        if (std::optional<Message> message = deviceChange(device, after, now))
            messages.push_back(std::move(*message));
    const std::vector<Metric> link = linkMetrics(after.line);
    if (isSame(link, session.link))
        return messages;
    session.link = link;
    messages.push_back(numbered(nodeTopic("NDATA"), withoutTypes(link), now));
    return messages;
}

std::vector<Message> SparkplugLayout::farewell(const Picture & /*picture*/, Epoch now)
{
    session = {};
    return {death(now, now)};
}

// ---- values

/// The station of a birth that has not been sent, or of a death, tells its values with its birth.
std::vector<Record> SparkplugLayout::records(const std::vector<const Sample *> &samples) const
{
    std::map<std::pair<Epoch, int>, std::vector<Metric>> metrics;
    for (const Sample *sample : samples) {
        const int station = tags[sample->tag].tag.variable.station;
        if (!session.isBorn || session.stations.count(station))
            append(metrics[{sample->time, station}], metricsOf(tags[sample->tag], *sample));
    }
    std::vector<Record> records;
    records.reserve(metrics.size());
    for (auto &[place, together] : metrics)
        records.push_back({deviceName(place.second), place.first, encode({{}, std::move(together), {}})});
    return records;
}

const Device *SparkplugLayout::deviceNamed(const std::string &name) const
{
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&name](const Device &device) { return device.name == name; });
    return found == devices.end() ? nullptr : &*found;
}

Message SparkplugLayout::data(const std::string &device, std::vector<Metric> metrics, Epoch now)
{
    for (Metric &metric : metrics) {
        Told &last = told[metric.name];
        const Told next = toldOf(metric);
        if (next.isGood && last.isGood)
            metric.quality.reset();
        last = next;
    }
    return numbered(nodeTopic("DDATA") + "/" + device, withoutTypes(std::move(metrics)), now);
}

Message SparkplugLayout::live(const Record &record, Epoch now)
{
    const Device *const device = deviceNamed(record.key);
    return data(record.key, device ? knownMetrics(*device, record) : std::vector<Metric>(), now);
}

bool SparkplugLayout::canTell(const std::string &key) const
{
    const Device *const device = deviceNamed(key);
    return !device || isBorn(*device); // one that is gone from the settings never comes back
}

/// Each metric says its quality: history changes nothing of how the values stand.
std::optional<Message> SparkplugLayout::history(const Record &record, Epoch now)
{
    const Device *const device = deviceNamed(record.key);
    if (!device || !isBorn(*device))
        return std::nullopt;
    std::vector<Metric> metrics = withoutTypes(knownMetrics(*device, record));
    if (metrics.empty())
        return std::nullopt;
    for (Metric &metric : metrics)
        metric.isHistorical = true;
    return numbered(deviceTopic("DDATA", *device), std::move(metrics), now);
}

// ---- what hosts say

Incoming SparkplugLayout::hostState(const Received &message)
{
    if (message.payload.size() > longestMessage)
        return {};
    const PrimaryHost::Taken taken = host.take(message.payload);
    if (taken != PrimaryHost::Counts)
        return {taken == PrimaryHost::IsOld ? Incoming::OldHostState : Incoming::Nothing, {}, false};
    if (!host.isOnline())
        session = {};
    return {Incoming::HostState, {}, host.isOnline()};
}

Incoming SparkplugLayout::incoming(const Received &message)
{
    if (!hostTopic.empty() && message.topic == hostTopic)
        return hostState(message);
    if (message.topic == nodeTopic("NCMD"))
        return command(message, nodeAsDevice);
    for (const Device &device : devices)
        if (message.topic == deviceTopic("DCMD", device))
            return command(message, device);
    return {};
}

/// What is no command is one too: it is refused, counted and told of as the others are.
Incoming SparkplugLayout::command(const Received &message, const Device &device)
{
    if (message.payload.size() > longestMessage)
        return {Incoming::Command, message.payload, false};
    try {
        const CommandPayload decoded = {message.topic, message.payload, decode(message.payload)};
        if (&device == &nodeAsDevice && asksForRebirth(decoded.payload) && !message.isRetained)
            return {Incoming::Rebirth, {}, false};
        return {Incoming::Command, commandJson(decoded, device, tags), false, faultIn(decoded.payload)};
    } catch (const PayloadError &error) {
        return {Incoming::Command, {}, false, std::string("no Sparkplug payload: ") + error.what()};
    }
}

/// Whether it is worth telling: not if something newer has been told.
bool SparkplugLayout::isNews(const GatewayTag &tag, Epoch time) const
{
    const auto last = told.find(metricNames(tag).front());
    return last == told.end() || time >= last->second.time;
}

/// As a whole, or that value of it alone.
bool SparkplugLayout::isPlaceOf(const MetricPlace &place, const Tag &tag) const
{
    const Tag &whole = tags[place.tag].tag;
    return isSame(whole, tag) || isSame(valueOf(whole, Format::Unsigned, static_cast<int>(place.value)), tag);
}

/// None if they are no news, or the tag is another one than it was when the command came.
std::vector<Metric> SparkplugLayout::heldMetrics(const TagAnswer &answer) const
{
    const HeldValue &held = *answer.held;
    GatewayTag written;
    written.tag = held.tag;
    written.name = answer.name;
    const Device *const device = deviceNamed(deviceName(held.tag.variable.station));
    if (!device)
        return {};
    const auto place = device->metrics.find(metricNames(written).front());
    if (place == device->metrics.end() || !isPlaceOf(place->second, held.tag) || !isNews(written, held.time))
        return {};
    return metricsOf(written, {place->second.tag, held.quality, held.reason, held.time, held.values});
}

/// The values that were read back, of one station as the commands are; what was refused has not changed.
std::optional<Message> SparkplugLayout::answer(const CommandAnswer &answer, Epoch now)
{
    std::vector<Metric> metrics;
    std::string key;
    for (const TagAnswer &tag : answer.tags) {
        if (!tag.held)
            continue;
        key = deviceName(tag.held->tag.variable.station);
        append(metrics, heldMetrics(tag));
    }
    const Device *const device = deviceNamed(key);
    if (metrics.empty() || !device || !isBorn(*device))
        return std::nullopt;
    return data(key, std::move(metrics), now);
}

} // namespace

std::unique_ptr<Layout> makeSparkplugLayout(const GatewaySettings &settings)
{
    return std::make_unique<SparkplugLayout>(settings);
}

} // namespace fgs
