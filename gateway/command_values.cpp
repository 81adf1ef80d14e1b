#include "command_values.h"

#include "host/text_error.h"

#include <cmath>
#include <limits>
#include <QtCore/QLocale>

namespace fgs
{

namespace
{

const double SameStep = 1e-5;   ///< what the arithmetic may be off a step
const double MostDigits = 1e15; ///< a whole number below it is written in digits alone
const int ShownDigits = 10;     ///< of a number in a message

/// The shortest text that means the number.
QString exactText(double number)
{
    const bool isWhole = std::abs(number) < MostDigits && number == std::floor(number);
    return isWhole ? QString::number(static_cast<qint64>(number))
                   : QString::number(number, 'g', QLocale::FloatingPointShortest);
}

std::string shown(double number)
{
    return QString::number(number, 'g', ShownDigits).toStdString();
}

const ValueType &typeOf(const GatewayTag &tag)
{
    return tag.tag.typeIn(Format::Unsigned);
}

// ---- types

double numberOf(const GatewayTag &tag, const Json &value)
{
    if (typeOf(tag).size != AreaKind::Bit) {
        if (!value.is_number())
            throw Refusal(CommandFailure::WrongType, "takes a number");
        return value.get<double>();
    }
    if (value.is_boolean())
        return value.get<bool>() ? 1 : 0;
    if (value != Json(0) && value != Json(1))
        throw Refusal(CommandFailure::WrongType, "takes true or false");
    return value.get<double>();
}

std::vector<double> numbersOf(const GatewayTag &tag, const Json &value)
{
    const int count = valuesIn(tag);
    if (count == 1)
        return {numberOf(tag, value)};
    if (!value.is_array() || value.size() != static_cast<std::size_t>(count))
        throw Refusal(CommandFailure::WrongType, "takes an array of " + std::to_string(count) + " values");
    std::vector<double> numbers;
    for (const Json &each : value)
        numbers.push_back(numberOf(tag, each));
    return numbers;
}

// ---- range and step

void refuseBeyond(const WriteRule &rule, double number)
{
    if (number < rule.lowest || number > rule.highest)
        throw Refusal(CommandFailure::OutOfRange,
                      shown(number) + " is not within " + shown(rule.lowest) + " to " + shown(rule.highest));
}

void refuseBetween(const WriteRule &rule, double number)
{
    if (rule.step <= 0)
        return;
    const double steps = (number - rule.lowest) / rule.step;
    if (std::abs(steps - std::round(steps)) > SameStep)
        throw Refusal(CommandFailure::OffStep, shown(number) + " lies between two steps of " + shown(rule.step) +
                                                   "; the nearest are " +
                                                   shown(rule.lowest + std::floor(steps) * rule.step) + " and " +
                                                   shown(rule.lowest + std::ceil(steps) * rule.step));
}

bool holds(const ValueType &type, double raw)
{
    if (type.meaning == ValueType::Float)
        return std::abs(raw) <= double(std::numeric_limits<float>::max());
    return raw >= double(lowestOf(type)) - SameStep && raw <= double(highestOf(type)) + SameStep;
}

/// Whatever the rule allows, the registers hold only so much.
std::vector<quint32> registersOf(const Tag &tag, double number)
{
    const ValueType &type = tag.typeIn(Format::Unsigned);
    if (!holds(type, (number - tag.scaling.offset) / tag.scaling.scale))
        throw Refusal(CommandFailure::OutOfRange,
                      shown(number) + " is beyond what the variable's type, " + type.name + ", holds");
    try {
        return parseValue(exactText(number), tag, Format::Unsigned);
    } catch (const TextError &error) {
        throw Refusal(CommandFailure::OffStep, error.what());
    }
}

std::vector<quint32> numberElements(const GatewayTag &tag, const Json &value)
{
    const std::vector<double> numbers = numbersOf(tag, value);
    for (const double number : numbers)
        refuseBeyond(*tag.write, number);
    std::vector<quint32> elements;
    for (const double number : numbers) {
        refuseBetween(*tag.write, number);
        const std::vector<quint32> more = registersOf(tag.tag, number);
        elements.insert(elements.end(), more.begin(), more.end());
    }
    return elements;
}

// ---- texts

std::vector<quint32> wordsOf(const Tag &tag, const std::string &text)
{
    try {
        return parseValue(QString::fromStdString(text), tag, Format::Unsigned);
    } catch (const TextError &) {
        throw Refusal(CommandFailure::WrongType,
                      R"(takes printable ASCII characters; write others as their bytes, \xNN)");
    }
}

std::vector<quint32> textElements(const GatewayTag &tag, const Json &value)
{
    if (!value.is_string())
        throw Refusal(CommandFailure::WrongType, "takes a text");
    std::vector<quint32> words = wordsOf(tag.tag, value.get<std::string>());
    const std::size_t most = static_cast<std::size_t>(tag.tag.variable.count);
    if (words.size() > most)
        throw Refusal(CommandFailure::OutOfRange,
                      "the text is longer than the " + std::to_string(2 * most) + " characters that there are");
    words.resize(most, 0);
    return words;
}

} // namespace

int valuesIn(const GatewayTag &tag)
{
    return tag.tag.variable.count / tag.tag.elementsPerValue(Format::Unsigned);
}

std::vector<quint32> elementsOf(const GatewayTag &tag, const Json &value)
{
    if (!tag.write)
        throw Refusal(CommandFailure::NotAllowed, "nobody may write it; the gateway's file allows it with 'write'");
    return typeOf(tag).meaning == ValueType::Text ? textElements(tag, value) : numberElements(tag, value);
}

} // namespace fgs
