#include "sparkplug_payload.h"

#include <protozero/pbf_builder.hpp>
#include <protozero/pbf_message.hpp>

namespace fgs::sparkplug
{

namespace
{

using protozero::pbf_tag_type;
using protozero::pbf_wire_type;

enum class PayloadField : pbf_tag_type { Time = 1, Metrics = 2, Seq = 3 };

enum class MetricField : pbf_tag_type {
    Name = 1,
    Time = 3,
    Type = 4,
    IsHistorical = 5,
    IsNull = 7,
    Properties = 9,
    Int = 10,
    Long = 11,
    Float = 12,
    Double = 13,
    Boolean = 14,
    String = 15
};

enum class PropertiesField : pbf_tag_type { Keys = 1, Values = 2 };
enum class PropertyField : pbf_tag_type { Type = 1, Int = 3 };

const char QualityKey[] = "Quality";

// ---- to bytes

using MetricBuilder = protozero::pbf_builder<MetricField>;

struct ValueWriter {
    MetricBuilder &metric;

    void operator()(std::monostate) const { metric.add_bool(MetricField::IsNull, true); }
    void operator()(std::uint32_t value) const { metric.add_uint32(MetricField::Int, value); }
    void operator()(std::uint64_t value) const { metric.add_uint64(MetricField::Long, value); }
    void operator()(float value) const { metric.add_float(MetricField::Float, value); }
    void operator()(double value) const { metric.add_double(MetricField::Double, value); }
    void operator()(bool value) const { metric.add_bool(MetricField::Boolean, value); }
    void operator()(const std::string &value) const { metric.add_string(MetricField::String, value); }
};

void addQuality(MetricBuilder &metric, std::int32_t quality)
{
    protozero::pbf_builder<PropertiesField> properties(metric, MetricField::Properties);
    properties.add_string(PropertiesField::Keys, QualityKey);
    protozero::pbf_builder<PropertyField> property(properties, PropertiesField::Values);
    property.add_uint32(PropertyField::Type, static_cast<std::uint32_t>(DataType::Int32));
    property.add_uint32(PropertyField::Int, static_cast<std::uint32_t>(quality));
}

void addMetric(protozero::pbf_builder<PayloadField> &payload, const Metric &metric)
{
    MetricBuilder builder(payload, PayloadField::Metrics);
    builder.add_string(MetricField::Name, metric.name);
    if (metric.time)
        builder.add_uint64(MetricField::Time, static_cast<std::uint64_t>(*metric.time));
    if (metric.type)
        builder.add_uint32(MetricField::Type, static_cast<std::uint32_t>(*metric.type));
    if (metric.isHistorical)
        builder.add_bool(MetricField::IsHistorical, true);
    if (metric.quality)
        addQuality(builder, *metric.quality);
    std::visit(ValueWriter{builder}, metric.value);
}

// ---- from bytes: a field of another wire type than its own is another field

template <typename Field>
using Message = protozero::pbf_message<Field>;

template <typename Field>
constexpr std::uint32_t varint(Field field)
{
    return protozero::tag_and_type(field, pbf_wire_type::varint);
}

template <typename Field>
constexpr std::uint32_t lengthDelimited(Field field)
{
    return protozero::tag_and_type(field, pbf_wire_type::length_delimited);
}

std::optional<std::int32_t> propertyOf(Message<PropertyField> property)
{
    std::optional<std::int32_t> value;
    while (property.next())
        if (property.tag_and_type() == varint(PropertyField::Int))
            value = static_cast<std::int32_t>(property.get_uint32());
        else
            property.skip();
    return value;
}

std::optional<std::int32_t> qualityOf(Message<PropertiesField> properties)
{
    std::vector<std::string> keys;
    std::vector<std::optional<std::int32_t>> values;
    while (properties.next())
        if (properties.tag_and_type() == lengthDelimited(PropertiesField::Keys))
            keys.push_back(properties.get_string());
        else if (properties.tag_and_type() == lengthDelimited(PropertiesField::Values))
            values.push_back(propertyOf(properties.get_message()));
        else
            properties.skip();
    if (keys.size() != values.size())
        throw PayloadError("a property set with " + std::to_string(keys.size()) + " keys and " +
                           std::to_string(values.size()) + " values");
    for (std::size_t i = 0; i < keys.size(); ++i)
        if (keys[i] == QualityKey)
            return values[i];
    return std::nullopt;
}

/// Whether the field is one of a value.
bool takeValue(Message<MetricField> &field, Value &value)
{
    switch (field.tag_and_type()) {
    case varint(MetricField::Int):
        value = field.get_uint32();
        return true;
    case varint(MetricField::Long):
        value = field.get_uint64();
        return true;
    case protozero::tag_and_type(MetricField::Float, pbf_wire_type::fixed32):
        value = field.get_float();
        return true;
    case protozero::tag_and_type(MetricField::Double, pbf_wire_type::fixed64):
        value = field.get_double();
        return true;
    case varint(MetricField::Boolean):
        value = field.get_uint64() != 0; // get_bool() wants a single byte
        return true;
    case lengthDelimited(MetricField::String):
        value = field.get_string();
        return true;
    default:
        return false;
    }
}

void takeField(Message<MetricField> &field, Metric &metric, bool &isNull)
{
    switch (field.tag_and_type()) {
    case lengthDelimited(MetricField::Name):
        metric.name = field.get_string();
        break;
    case varint(MetricField::Time):
        metric.time = static_cast<Epoch>(field.get_uint64());
        break;
    case varint(MetricField::Type):
        metric.type = static_cast<DataType>(field.get_uint32());
        break;
    case varint(MetricField::IsHistorical):
        metric.isHistorical = field.get_uint64() != 0;
        break;
    case varint(MetricField::IsNull):
        isNull = field.get_uint64() != 0;
        break;
    case lengthDelimited(MetricField::Properties):
        metric.quality = qualityOf(field.get_message());
        break;
    default:
        field.skip();
    }
}

Metric metricOf(Message<MetricField> field)
{
    Metric metric;
    bool isNull = false;
    while (field.next())
        if (!takeValue(field, metric.value))
            takeField(field, metric, isNull);
    if (isNull)
        metric.value = std::monostate();
    return metric;
}

Payload payloadOf(Message<PayloadField> field)
{
    Payload payload;
    while (field.next())
        if (field.tag_and_type() == varint(PayloadField::Time))
            payload.time = static_cast<Epoch>(field.get_uint64());
        else if (field.tag_and_type() == lengthDelimited(PayloadField::Metrics))
            payload.metrics.push_back(metricOf(field.get_message()));
        else if (field.tag_and_type() == varint(PayloadField::Seq))
            payload.seq = field.get_uint64();
        else
            field.skip();
    return payload;
}

} // namespace

std::string encode(const Payload &payload)
{
    std::string bytes;
    protozero::pbf_builder<PayloadField> builder(bytes);
    if (payload.time)
        builder.add_uint64(PayloadField::Time, static_cast<std::uint64_t>(*payload.time));
    for (const Metric &metric : payload.metrics)
        addMetric(builder, metric);
    if (payload.seq)
        builder.add_uint64(PayloadField::Seq, *payload.seq);
    return bytes;
}

Payload decode(const std::string &bytes)
{
    try {
        return payloadOf(protozero::data_view(bytes));
    } catch (const protozero::exception &error) {
        throw PayloadError(error.what());
    }
}

} // namespace fgs::sparkplug
