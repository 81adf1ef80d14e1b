#include "sparkplug_command.h"

#include "command_text.h"

#include <algorithm>
#include <QtCore/QCryptographicHash>
#include <set>

namespace fgs::sparkplug
{

namespace
{

const int DigestDigits = 16;

std::string digestOf(const CommandPayload &command)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::fromStdString(command.topic));
    hash.addData(QByteArray::fromStdString(command.bytes));
    return hash.result().toHex().left(DigestDigits).toStdString();
}

Json headOf(const CommandPayload &command)
{
    Json json = Json::object();
    if (const std::optional<std::string> id = commandId(command)) {
        json["id"] = *id;
        json["ts"] = *command.payload.time;
    }
    return json;
}

std::string textOf(const Json &json)
{
    return lineOf(json).toStdString();
}

/// What came for the values of one tag; null where nothing did.
using Written = std::vector<std::optional<Json>>;

bool isWhole(const Written &values)
{
    return std::all_of(values.begin(), values.end(), [](const std::optional<Json> &value) { return value; });
}

Json arrayOf(const Written &values)
{
    Json array = Json::array();
    for (const std::optional<Json> &value : values)
        array.push_back(*value);
    return array;
}

void addTag(Json &set, const GatewayTag &tag, const Written &values)
{
    const std::vector<std::string> names = metricNames(tag);
    if (names.size() > 1 && isWhole(values)) {
        set[tag.name] = arrayOf(values);
        return;
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        if (values[i])
            set[names[i]] = *values[i];
}

} // namespace

std::optional<std::string> commandId(const CommandPayload &command)
{
    if (!command.payload.time)
        return std::nullopt;
    return std::to_string(*command.payload.time) + "-" + digestOf(command);
}

std::string faultIn(const Payload &payload)
{
    if (payload.metrics.empty())
        return "there is no metric in it; send those that are to be written";
    std::set<std::string> names;
    for (const Metric &metric : payload.metrics)
        if (!names.insert(metric.name).second)
            return "the metric " + inQuotes(metric.name) + " stands twice; name each once";
    return {};
}

std::string commandJson(const CommandPayload &command, const Device &device, const std::vector<GatewayTag> &tags)
{
    Json set = Json::object();
    std::map<std::size_t, Written> written;
    for (const Metric &metric : command.payload.metrics) {
        const auto place = device.metrics.find(metric.name);
        if (place == device.metrics.end()) {
            set[device.name + "/" + metric.name] = writtenJson(metric, DataType::String);
            continue;
        }
        const auto &[tag, value, type] = place->second;
        Written &values = written[tag];
        values.resize(metricNames(tags[tag]).size());
        values[value] = writtenJson(metric, type);
    }
    for (const auto &[tag, values] : written)
        addTag(set, tags[tag], values);
    Json json = headOf(command);
    json["set"] = std::move(set);
    return textOf(json);
}

} // namespace fgs::sparkplug
