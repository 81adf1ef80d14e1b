#include "layout.h"

#include "watch/json.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace fgs
{

namespace
{

const char *const NotFinite = "notFinite"; ///< the reason why a number is null

/// What is no UTF-8 is replaced. Most values are whole numbers, for which the serializer is slow.
std::string textOf(const Json &json)
{
    if (json.is_number_unsigned())
        return std::to_string(json.get<std::uint64_t>());
    if (json.is_number_integer())
        return std::to_string(json.get<std::int64_t>());
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// Most keys are names, which need no escapes.
std::string keyText(const std::string &key)
{
    const bool isPlain = std::all_of(key.begin(), key.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    });
    return isPlain ? '"' + key + '"' : textOf(Json(key));
}

/// A JSON object that only grows: a group may have thousands of tags.
class ObjectText
{
public:
    void add(const std::string &key, const Json &value) { addText(key, textOf(value)); }
    void addText(const std::string &key, const std::string &json)
    {
        if (!members.empty())
            members += ',';
        members += keyText(key);
        members += ':';
        members += json;
    }
    void addMembers(const std::string &object) { members += "," + object.substr(1, object.size() - 2); }
    std::string text() const { return "{" + members + "}"; }

private:
    std::string members;
};

bool isNumber(const ValueType &type)
{
    return type.meaning != ValueType::Text && type.size != AreaKind::Bit;
}

/// Texts of values are the shortest that mean the same, so that 0.1 does not become 0.10000000149.
Json fractionJson(const QString &text)
{
    const double number = text.toDouble();
    return std::isfinite(number) ? Json(number) : Json(nullptr);
}

std::vector<Json> fractions(const Tag &tag, const std::vector<quint32> &elements)
{
    std::vector<Json> values;
    for (const QString &text : valueTexts(tag, Format::Unsigned, elements))
        values.push_back(fractionJson(text));
    return values;
}

std::vector<Json> wholeNumbers(const Tag &tag, const std::vector<quint32> &elements)
{
    const bool isBit = !isNumber(tag.typeIn(Format::Unsigned));
    std::vector<Json> values;
    for (const double number : numbersOf(tag, Format::Unsigned, elements))
        values.push_back(isBit ? Json(number != 0) : Json(static_cast<std::int64_t>(number)));
    return values;
}

std::vector<Json> valuesOf(const Tag &tag, const std::vector<quint32> &elements)
{
    const ValueType &type = tag.typeIn(Format::Unsigned);
    if (type.meaning == ValueType::Text)
        return {valuesText(tag, Format::Unsigned, elements).toStdString()};
    const bool isFraction = isNumber(type) && (type.meaning == ValueType::Float || !tag.scaling.isNone());
    return isFraction ? fractions(tag, elements) : wholeNumbers(tag, elements);
}

/// One value, or an array of those of a tag with several.
Json jsonOf(const Tag &tag, const std::vector<quint32> &elements)
{
    const std::vector<Json> values = valuesOf(tag, elements);
    const bool isSingle = tag.variable.count == tag.elementsPerValue(Format::Unsigned);
    return isSingle && values.size() == 1 ? values.front() : Json(values);
}

bool hasNull(const Json &value)
{
    return value.is_array() ? std::any_of(value.begin(), value.end(), hasNull) : value.is_null();
}

/// Empty if there is none.
std::string errorOf(const Sample &sample, const Json &value)
{
    if (sample.quality == Quality::Good)
        return hasNull(value) ? NotFinite : "";
    const std::string key = keyOf(sample.reason);
    return !key.empty() ? key : sample.quality == Quality::Stale ? "stale" : "notAskedYet";
}

/// "values" and "errors" of a message.
class Telling
{
public:
    void add(const GatewayTag &tag, const Sample &sample)
    {
        const bool isKnown = sample.quality != Quality::Unknown;
        const Json value = isKnown ? jsonOf(tag.tag, sample.values) : Json();
        if (isKnown)
            values.add(tag.name, value);
        const std::string error = errorOf(sample, value);
        if (!error.empty())
            errors.add(tag.name, error);
    }
    void addTo(ObjectText &message) const
    {
        message.addText("values", values.text());
        message.addText("errors", errors.text());
    }

private:
    ObjectText values, errors;
};

bool isLevel(const std::string &topic)
{
    return !topic.empty() && topic.find_first_of("/+#") == std::string::npos;
}

/// Whether it is what records() made, also long ago.
bool isContent(const std::string &text)
{
    const Json json = Json::parse(text, nullptr, false);
    return json.is_object() && json.size() == 2 && json.contains("values") && json["values"].is_object() &&
           json.contains("errors") && json["errors"].is_object();
}

Json tagJson(const TagAnswer &tag)
{
    Json json = {{"result", keyOf(tag.result)}};
    if (tag.failure != CommandFailure::None)
        json["reason"] = keyOf(tag.failure);
    if (!tag.message.empty())
        json["message"] = tag.message;
    return json;
}

/// As the command had it; null if it had none.
Json idJson(const CommandAnswer &answer)
{
    if (answer.id.empty())
        return nullptr;
    return answer.isNumbered ? Json::parse(answer.id) : Json(answer.id);
}

/// One message for each group, with all of it.
class PlainLayout : public Layout
{
public:
    explicit PlainLayout(const GatewaySettings &settings)
        : root(settings.layout.base + "/" + settings.name), groups(settings.groups), tags(settings.tags),
          tagsOf(groups.size())
    {
        for (std::size_t i = 0; i < tags.size(); ++i)
            tagsOf[tags[i].group].push_back(i);
    }

    Message will(Epoch now) override
    {
        birth.reset();
        return offline(now);
    }
    SessionMemory sessions() const override { return {birth, 0}; }
    void resume(const SessionMemory &sessions) override { birth = sessions.onlineSince; }
    std::vector<std::string> subscriptions() const override { return {root + "/cmd"}; }
    bool awaitsHost() const override { return false; }

    std::vector<Message> births(const Picture &picture, Epoch now) override
    {
        std::vector<Message> messages = {online(picture.line, now)};
        for (Message &each : periodic(picture, now))
            messages.push_back(std::move(each));
        return messages;
    }

    std::vector<Message> changes(const Picture &before, const Picture &after, Epoch now) override
    {
        const bool isSame = before.line.isUp == after.line.isUp && before.line.stations == after.line.stations;
        return isSame ? std::vector<Message>() : std::vector<Message>{online(after.line, now)};
    }

    std::vector<Record> records(const std::vector<const Sample *> &samples) const override
    {
        std::map<std::pair<Epoch, std::size_t>, Telling> tellings;
        for (const Sample *sample : samples)
            tellings[{sample->time, tags[sample->tag].group}].add(tags[sample->tag], *sample);
        std::vector<Record> records;
        for (const auto &[place, telling] : tellings) {
            ObjectText content;
            telling.addTo(content);
            records.push_back({groups[place.second], place.first, content.text()});
        }
        return records;
    }

    Message live(const Record &record, Epoch) override { return counted(root + "/" + record.key, record); }

    std::optional<Message> history(const Record &record, Epoch) override
    {
        if (!isLevel(record.key) || !isContent(record.content))
            return std::nullopt;
        return counted(root + "/" + record.key + "/history", record);
    }

    std::vector<Message> periodic(const Picture &picture, Epoch now) override
    {
        std::vector<Message> messages;
        for (std::size_t group = 0; group < groups.size(); ++group)
            messages.push_back(state(group, picture.samples, now));
        return messages;
    }

    std::vector<Message> farewell(const Picture &, Epoch now) override { return {offline(now)}; }

    Incoming incoming(const Received &message) override
    {
        Incoming incoming;
        if (message.topic == root + "/cmd") {
            incoming.kind = Incoming::Command;
            incoming.command = message.payload;
        }
        return incoming;
    }

    std::optional<Message> answer(const CommandAnswer &answer, Epoch) override
    {
        ObjectText values, results, message;
        for (const TagAnswer &tag : answer.tags) {
            results.add(tag.name, tagJson(tag));
            if (tag.held && tag.held->quality != Quality::Unknown)
                values.add(tag.name, jsonOf(tag.held->tag, tag.held->values));
        }
        message.add("id", idJson(answer));
        message.add("result", keyOf(answer.result));
        message.add("timestamp", answer.time);
        message.addText("values", values.text());
        message.addText("tags", results.text());
        if (answer.failure != CommandFailure::None)
            message.add("reason", keyOf(answer.failure));
        if (!answer.message.empty())
            message.add("message", answer.message);
        return Message{root + "/ack", message.text()};
    }

private:
    Message status(const Json &json) const { return {root + "/status", textOf(json), 1, true}; }
    Message offline(Epoch now) const { return status({{"state", "offline"}, {"since", now}}); }

    /// Its time is that of the first one in a session.
    Message online(const LineState &line, Epoch now)
    {
        birth = birth.value_or(now);
        Json stations = Json::object();
        for (const auto &[station, isUp] : line.stations)
            stations[std::to_string(station)] = isUp ? "up" : "down";
        return status({{"state", "online"},
                       {"since", *birth},
                       {"version", FGS_VERSION},
                       {"link", line.isUp ? "up" : "down"},
                       {"stations", stations}});
    }

    Message state(std::size_t group, const std::vector<Sample> &samples, Epoch now) const
    {
        Telling telling;
        ObjectText times, message;
        for (const std::size_t tag : tagsOf[group]) {
            telling.add(tags[tag], samples[tag]);
            if (samples[tag].time != 0)
                times.add(tags[tag].name, samples[tag].time);
        }
        message.add("timestamp", now);
        telling.addTo(message);
        message.addText("times", times.text());
        return {root + "/" + groups[group] + "/state", message.text(), 1, true};
    }

    /// The first message of a topic is 1.
    Message counted(const std::string &topic, const Record &record)
    {
        ObjectText message;
        message.add("timestamp", record.time);
        message.add("seq", ++sent[topic]);
        message.addMembers(record.content);
        return {topic, message.text()};
    }

    const std::string root;
    const std::vector<std::string> groups;
    const std::vector<GatewayTag> tags;
    std::vector<std::vector<std::size_t>> tagsOf; ///< of each group
    std::map<std::string, std::uint64_t> sent;    ///< messages, by topic
    std::optional<Epoch> birth;                   ///< the first one in this session
};

} // namespace

std::unique_ptr<Layout> makePlainLayout(const GatewaySettings &settings)
{
    return std::make_unique<PlainLayout>(settings);
}

} // namespace fgs
