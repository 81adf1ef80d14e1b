#include "explain.h"

#include <algorithm>

namespace fgs
{

namespace
{

const char *keyOf(Shape shape)
{
    switch (shape) {
    case Shape::ReadRequest:
        return "readRequest";
    case Shape::WriteRequest:
        return "writeRequest";
    case Shape::ReadReply:
        return "readReply";
    case Shape::WriteReply:
        return "writeReply";
    case Shape::RemoteRequest:
        return "remoteRequest";
    case Shape::RemoteReply:
        return "remoteReply";
    case Shape::Noise:
        break;
    }
    return "noise";
}

const char *keyOf(formats::Direction direction)
{
    return direction == formats::Direction::Inbound    ? "inbound"
           : direction == formats::Direction::Outbound ? "outbound"
                                                       : "unknown";
}

std::string hexOf(FrameView bytes)
{
    return QByteArray(bytes.bytes, bytes.size).toHex().toUpper().toStdString();
}

Json bitsIn(FrameView data, int count)
{
    Json values = Json::array();
    for (int i = 0; i < std::min(count, 8 * data.size); ++i)
        values.push_back(data.at(i / 8) >> i % 8 & 1);
    return values;
}

Json wordsIn(FrameView data)
{
    Json values = Json::array();
    for (int i = 0; i + 2 <= data.size; i += 2)
        values.push_back(data.be16(i));
    return values;
}

Json doubleWordsIn(FrameView data)
{
    Json values = Json::array();
    for (int i = 0; i + 4 <= data.size; i += 4)
        values.push_back(static_cast<quint32>(data.be16(i + 2)) << 16 | static_cast<quint32>(data.be16(i)));
    return values;
}

Json valuesIn(AreaKind kind, FrameView data, int count)
{
    return kind == AreaKind::Bit    ? bitsIn(data, count)
           : kind == AreaKind::Word ? wordsIn(data)
                                    : doubleWordsIn(data);
}

/// A write of a bit has one byte with the value.
Json valuesOf(const FrameEntry &entry, const Heard &heard)
{
    const FrameView data = {heard.view().bytes + entry.dataAt, entry.present};
    if (heard.part.shape != Shape::WriteRequest || entry.area->kind != AreaKind::Bit)
        return valuesIn(entry.area->kind, data, entry.count);
    return data.size ? Json::array({data.at(0)}) : Json::array();
}

Json jsonOf(const FrameEntry &entry, int address, const Heard &heard)
{
    Json json;
    if (entry.area)
        json = {{"area", entry.area->number}, {"kind", nameOf(entry.area->kind).toStdString()}};
    json["wireCode"] = entry.code;
    if (address >= 0)
        json["wireAddress"] = address;
    if (address >= 0 && entry.area)
        json["address"] = addressText(entry.area->number, address).toStdString();
    json["count"] = entry.count;
    if (entry.area && heard.part.shape != Shape::ReadRequest)
        json["values"] = valuesOf(entry, heard);
    return json;
}

Json entriesJson(const Heard &heard)
{
    Json json = Json::array();
    const std::vector<FrameEntry> asked =
        heard.asked ? entriesOf(heard.asked->view(), heard.asked->part.shape) : std::vector<FrameEntry>();
    std::size_t i = 0;
    for (const FrameEntry &entry : entriesOf(heard.view(), heard.part.shape)) {
        const bool isAsked = i < asked.size() && asked[i].code == entry.code && asked[i].count == entry.count;
        json.push_back(jsonOf(entry, entry.address >= 0 ? entry.address : isAsked ? asked[i].address : -1, heard));
        ++i;
    }
    return json;
}

void addRemoteRequest(Json &json, FrameView frame)
{
    const RemoteRequest request = remoteRequestOf(frame);
    json["length"] = request.length;
    json["hostType"] = request.hostType;
    json["hostField"] = request.hostField;
    json["link"] = request.linkNo;
    json["area"] = request.area;
    json["wireAddress"] = request.address;
    json["count"] = request.count;
    json["storeMark"] = request.storeMark;
    json["hostField14"] = request.hostField14;
    if (request.isWrite())
        json["data"] = hexOf(request.data);
}

void addRemoteReply(Json &json, const Heard &heard)
{
    const FrameView frame = heard.view();
    const RemoteRequest asked = remoteRequestOf(heard.asked->view());
    const int size = std::min(heard.part.size - CrcSize, frame.size) - RemoteReplyDataAt;
    const FrameView data = {frame.bytes + RemoteReplyDataAt, std::max(0, size)};
    json["data"] = hexOf(data);
    if (!asked.isWrite())
        json["values"] = valuesIn(asked.kind(), data, 8 * data.size);
}

void addContent(Json &json, const Heard &heard)
{
    const FrameView frame = heard.view();
    if (heard.part.shape == Shape::RemoteReply) {
        if (heard.asked)
            addRemoteReply(json, heard);
        return;
    }
    json["station"] = heard.station();
    if (heard.part.shape == Shape::RemoteRequest)
        addRemoteRequest(json, frame);
    else if (heard.part.shape == Shape::WriteReply && frame.size > CountAt)
        json["refused"] = frame.at(CountAt) == Rejected;
    else
        json["entries"] = entriesJson(heard);
}

/// Of the controller protocol; a sum that is wrong is not recognised.
void addCheck(Json &json, const Heard &heard)
{
    const bool hasCheck = heard.part.shape != Shape::WriteReply && heard.part.shape != Shape::RemoteRequest;
    if (!hasCheck || !heard.part.isWhole())
        return;
    const FrameView frame = heard.view();
    const int right = checkFor(frame);
    const char bytes[] = {static_cast<char>(right & 0xFF), static_cast<char>(right >> 8)};
    json["check"] = hexOf(frame.from(frame.size - CrcSize));
    json["rightCheck"] = hexOf({bytes, CrcSize});
}

Json jsonOf(const Heard &heard)
{
    Json json = {{"kind", heard.isSilence() ? "silence" : keyOf(heard.part.shape)},
                 {"direction", keyOf(heard.record->direction)},
                 {"bytes", hexOf(heard.view())}};
    if (heard.record->time)
        json["time"] = timeText(*heard.record->time);
    if (!heard.record->comment.empty())
        json["comment"] = heard.record->comment;
    if (heard.part.shape == Shape::Noise)
        return json;
    json["good"] = heard.part.isGood;
    if (!heard.part.isWhole())
        json["expectedBytes"] = heard.part.size;
    if (heard.isEcho)
        json["echo"] = true;
    if (heard.isOther)
        json["other"] = true;
    if (heard.isOther && heard.asked)
        json["answers"] = heard.asked->record->place;
    addContent(json, heard);
    addCheck(json, heard);
    return json;
}

bool isRefused(const Transaction &transaction)
{
    return std::any_of(transaction.answers.begin(), transaction.answers.end(), [](const Heard &heard) {
        return heard.part.shape == Shape::WriteReply && heard.part.isGood && heard.view().at(CountAt) == Rejected;
    });
}

/// What became of the request, in the keys that a reading has.
const char *outcomeOf(const Transaction &transaction)
{
    const auto has = [&transaction](auto is) {
        return std::any_of(transaction.answers.begin(), transaction.answers.end(), is);
    };
    const auto isReply = [](const Heard &heard) { return heard.part.shape != Shape::Noise && !heard.isEcho; };
    if (transaction.isComplete)
        return transaction.answers.empty() ? "broadcast" : isRefused(transaction) ? "refused" : "good";
    if (has([&](const Heard &heard) { return isReply(heard) && heard.part.isWhole() && !heard.part.isGood; }))
        return "badCheck";
    if (has([&](const Heard &heard) { return isReply(heard) && !heard.part.isWhole(); }))
        return "incomplete";
    if (has([](const Heard &heard) { return heard.isOther; }))
        return "otherReply";
    return has([](const Heard &heard) { return !heard.isSilence() && !heard.isEcho; }) ? "garbled" : "noReply";
}

} // namespace

Json jsonOf(const Transaction &transaction, const std::string &source)
{
    const Record &record = transaction.first();
    Json json;
    if (!source.empty())
        json["source"] = source;
    json["place"] = record.place;
    if (!record.line.empty())
        json["line"] = record.line;
    json["outcome"] = transaction.request ? outcomeOf(transaction) : "nobodyAsked";
    json["request"] = transaction.request ? jsonOf(*transaction.request) : Json();
    json["answers"] = Json::array();
    for (const Heard &heard : transaction.answers) {
        Json answer = jsonOf(heard);
        const std::optional<double> after =
            transaction.request ? millisecondsBetween(*transaction.request->record, *heard.record) : std::nullopt;
        if (after)
            answer["afterMs"] = *after;
        json["answers"].push_back(std::move(answer));
    }
    return json;
}

} // namespace fgs
