#include "sparkplug_metrics.h"

#include <charconv>
#include <cmath>

namespace fgs::sparkplug
{

namespace
{

const Format AnyFormat = Format::Unsigned; ///< tags have a type

std::size_t valueCount(const Tag &tag)
{
    return static_cast<std::size_t>(tag.variable.count / tag.elementsPerValue(AnyFormat));
}

/// With the digits that people read; 12.3, not 12.300000000000001.
std::vector<double> scaledNumbers(const Tag &tag, const std::vector<quint32> &elements)
{
    std::vector<double> numbers;
    for (const QString &text : valueTexts(tag, AnyFormat, elements))
        numbers.push_back(text.toDouble());
    const std::vector<double> raw = valueNumbers(tag.typeIn(AnyFormat), tag.kind(), elements);
    for (std::size_t i = 0; i < raw.size(); ++i)
        if (!std::isfinite(raw[i]))
            numbers[i] = raw[i];
    return numbers;
}

std::vector<double> numbersIn(const Tag &tag, const std::vector<quint32> &elements)
{
    return tag.scaling.isNone() ? numbersOf(tag, AnyFormat, elements) : scaledNumbers(tag, elements);
}

Value valueOf(double number, DataType type)
{
    switch (type) {
    case DataType::Boolean:
        return number != 0;
    case DataType::Int32:
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(number));
    case DataType::Int64:
        return static_cast<std::uint64_t>(number);
    case DataType::Float:
        return std::isfinite(number) ? Value(static_cast<float>(number)) : Value();
    case DataType::Double:
        return std::isfinite(number) ? Value(number) : Value();
    default:
        return static_cast<std::uint32_t>(number);
    }
}

std::vector<Value> valuesOf(const Tag &tag, const std::vector<quint32> &elements)
{
    if (typeOf(tag) == DataType::String)
        return {valueTexts(tag, AnyFormat, elements).join(QString()).toStdString()};
    std::vector<Value> values;
    for (double number : numbersIn(tag, elements))
        values.push_back(valueOf(number, typeOf(tag)));
    return values;
}

std::int32_t qualityOf(const Sample &sample, const Value &value)
{
    if (value.index() == 0)
        return BadQuality;
    return sample.quality == Quality::Good ? GoodQuality : StaleQuality;
}

// ---- what is written

template <typename Narrow>
Json narrowed(std::uint64_t value)
{
    return std::int64_t(static_cast<Narrow>(value));
}

/// Some senders give a negative number in its own width, others in that of the field.
Json integerJson(std::uint64_t value, DataType type)
{
    switch (type) {
    case DataType::Int8:
        return narrowed<std::int8_t>(value);
    case DataType::Int16:
        return narrowed<std::int16_t>(value);
    case DataType::Int32:
        return narrowed<std::int32_t>(value);
    case DataType::Int64:
        return narrowed<std::int64_t>(value);
    case DataType::Boolean:
        return value <= 1 ? Json(value == 1) : Json(value);
    default:
        return value;
    }
}

/// 12.3, which is no float, as a person has written it.
double asWritten(float value)
{
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
    return QString::fromLatin1(text, static_cast<int>(end.ptr - text)).toDouble();
}

struct JsonMaker {
    DataType type;

    Json operator()(std::monostate) const { return nullptr; }
    Json operator()(std::uint32_t value) const { return integerJson(value, type); }
    Json operator()(std::uint64_t value) const { return integerJson(value, type); }
    Json operator()(float value) const { return std::isfinite(value) ? Json(asWritten(value)) : Json(); }
    Json operator()(double value) const { return std::isfinite(value) ? Json(value) : Json(); }
    Json operator()(bool value) const { return value; }
    Json operator()(const std::string &value) const { return value; }
};

} // namespace

DataType typeOf(const Tag &tag)
{
    const ValueType &type = tag.typeIn(AnyFormat);
    if (type.meaning == ValueType::Text)
        return DataType::String;
    if (type.size == AreaKind::Bit)
        return DataType::Boolean;
    if (!tag.scaling.isNone())
        return DataType::Double;
    if (type.meaning == ValueType::Float)
        return DataType::Float;
    if (type.meaning == ValueType::Signed)
        return DataType::Int32;
    return type.size == AreaKind::Word ? DataType::UInt16 : DataType::Int64;
}

std::vector<std::string> metricNames(const GatewayTag &tag)
{
    const std::size_t count = valueCount(tag.tag);
    if (count == 1)
        return {tag.name};
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(tag.name + "/" + std::to_string(i));
    return names;
}

std::vector<Metric> metricsOf(const GatewayTag &tag, const Sample &sample)
{
    std::vector<Value> values;
    if (sample.quality != Quality::Unknown)
        values = valuesOf(tag.tag, sample.values);
    std::vector<Metric> metrics;
    for (const std::string &name : metricNames(tag)) {
        const std::size_t i = metrics.size();
        const Value value = i < values.size() ? values[i] : Value();
        metrics.push_back({name, sample.time, typeOf(tag.tag), false, qualityOf(sample, value), value});
    }
    return metrics;
}

Json writtenJson(const Metric &metric, DataType tagType)
{
    return std::visit(JsonMaker{metric.type.value_or(tagType)}, metric.value);
}

} // namespace fgs::sparkplug
