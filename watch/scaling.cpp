#include "scaling.h"

#include "host/text_error.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace fgs
{

namespace
{

const int StepDigits = 6;     ///< of a step, behind its first
const double SameStep = 1e-5; ///< what the texts of values and the arithmetic may be off a step
const int ShownDigits = 9;    ///< of a float, which has no more

/// Behind the point, in the shortest text of the number.
int decimalsOf(double number)
{
    char text[400];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed);
    const char *const point = std::find(text, end.ptr, '.');
    return point == end.ptr ? 0 : static_cast<int>(end.ptr - point) - 1;
}

QString fixedText(double number, int decimals)
{
    const QString text = QString::number(number, 'f', decimals);
    const bool isZero = text.toDouble() == 0;
    return isZero ? QString::number(0.0, 'f', decimals) : text;
}

QString stepText(const Scaling &scaling, double step)
{
    return fixedText(scaling.valueOf(step), scaling.decimals());
}

double numberOf(const QString &text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number))
        throw TextError(QStringLiteral("'%1' is no decimal number like 12.5").arg(text));
    return number;
}

/// The low and the high end of what the type holds, the lower value first.
QString rangeText(const Scaling &scaling, const ValueType &type)
{
    QString low = stepText(scaling, double(lowestOf(type))), high = stepText(scaling, double(highestOf(type)));
    if (scaling.scale < 0)
        low.swap(high);
    return QStringLiteral("%1 to %2").arg(low, high);
}

void refuseBeyond(const Scaling &scaling, const ValueType &type, const QString &text, double steps)
{
    const double lowest = double(lowestOf(type)), highest = double(highestOf(type));
    if (steps >= lowest - SameStep && steps <= highest + SameStep)
        return;
    throw TextError(QStringLiteral("'%1' is beyond %2, which is what the raw range of %3, %4 to %5, holds")
                        .arg(text, rangeText(scaling, type), QLatin1String(type.name),
                             QString::number(lowest, 'f', 0), QString::number(highest, 'f', 0)));
}

void refuseBetween(const Scaling &scaling, const QString &text, double steps)
{
    if (std::abs(steps - std::round(steps)) <= SameStep)
        return;
    QString lower = stepText(scaling, std::floor(steps)), upper = stepText(scaling, std::ceil(steps));
    if (scaling.scale < 0)
        lower.swap(upper);
    throw TextError(QStringLiteral("'%1' lies between two steps of the raw value; the nearest values are %2 and %3")
                        .arg(text, lower, upper));
}

} // namespace

int Scaling::decimals() const
{
    const int wanted = std::max(decimalsOf(scale), decimalsOf(offset));
    const int useful = static_cast<int>(std::ceil(-std::log10(std::abs(scale)))) + StepDigits;
    return std::max(0, std::min(wanted, useful));
}

QString scaledText(const Scaling &scaling, const ValueType &type, const QString &rawText)
{
    bool isNumber = false;
    const double raw = rawText.toDouble(&isNumber);
    if (scaling.isNone() || !isNumber || !std::isfinite(raw))
        return rawText;
    return numberText(scaling, type, scaling.valueOf(raw));
}

QString numberText(const Scaling &scaling, const ValueType &type, double value)
{
    if (scaling.isNone())
        return numberText(type, value);
    return type.meaning == ValueType::Float ? QString::number(value, 'g', ShownDigits)
                                            : fixedText(value, scaling.decimals());
}

QString meanText(const Scaling &scaling, const ValueType &type, double mean)
{
    if (scaling.isNone())
        return meanText(type, mean);
    return type.meaning == ValueType::Float ? numberText(scaling, type, mean)
                                            : fixedText(mean, scaling.decimals() + 1);
}

int widestMean(const Scaling &scaling, const ValueType &type)
{
    return scaling.isNone() ? widestMean(type) : widestText(scaling, type) + 2; // a point and a digit
}

int widestText(const Scaling &scaling, const ValueType &type)
{
    if (scaling.isNone() || type.meaning == ValueType::Text)
        return widestText(type);
    if (type.meaning == ValueType::Float)
        return ShownDigits + int(QStringLiteral("-.e+308").size());
    return std::max(int(stepText(scaling, double(lowestOf(type))).size()),
                    int(stepText(scaling, double(highestOf(type))).size()));
}

QString rawText(const Scaling &scaling, const ValueType &type, const QString &text)
{
    if (scaling.isNone())
        return text;
    const double steps = (numberOf(text) - scaling.offset) / scaling.scale;
    if (type.meaning == ValueType::Float)
        return QString::number(steps, 'e', 16); // never digits alone, which would be meant to the last
    refuseBeyond(scaling, type, text, steps);
    refuseBetween(scaling, text, steps);
    return QString::number(static_cast<qint64>(std::llround(steps)));
}

} // namespace fgs
