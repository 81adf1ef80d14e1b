#include "values.h"

#include "host/text_error.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

namespace fgs
{

namespace
{

float asFloat(quint32 value)
{
    float number;
    static_assert(sizeof number == sizeof value, "IEEE 754 single precision");
    std::memcpy(&number, &value, sizeof number);
    return number;
}

quint32 asBits(float number)
{
    quint32 value;
    std::memcpy(&value, &number, sizeof value);
    return value;
}

/// The shortest text that is read as the same number again.
QString floatText(float number)
{
    char text[32];
    if (std::isnan(number))
        return QStringLiteral("nan"); // without a sign, which parseFloat() does not take
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, number);
    return QString::fromLatin1(text, static_cast<int>(end.ptr - text));
}

qint64 asSigned(AreaKind kind, quint32 value)
{
    return kind == AreaKind::Word ? qint64(static_cast<qint16>(value)) : qint64(static_cast<qint32>(value));
}

/// A number that fits into the kind; negative ones in two's complement, but not for bits.
quint32 parseNumber(const QString &text, AreaKind kind)
{
    static const QRegularExpression form(QStringLiteral("^(-?[0-9]+|0[xX][0-9a-fA-F]+)$"));
    bool fits = form.match(text).hasMatch();
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const qint64 number = !fits ? 0 : isHex ? text.mid(2).toLongLong(&fits, 16) : text.toLongLong(&fits, 10);
    const qint64 end = qint64(1) << bitsOf(kind), lowest = kind == AreaKind::Bit ? 0 : -end / 2;
    if (!fits || number < lowest || number >= end)
        throw TextError(QStringLiteral("'%1' is no number from %2 to %3, as a %4 takes it")
                            .arg(text, QString::number(lowest), QString::number(end - 1), nameOf(kind)));
    return static_cast<quint32>(number & (end - 1));
}

/// A number written in digits alone is meant to the last of them; fractions are rounded as everywhere.
void refuseLostDigits(const QString &text, double written, float number)
{
    static const QRegularExpression digits(QStringLiteral("^-?[0-9]+$"));
    if (double(number) != written && digits.match(text).hasMatch())
        throw TextError(QStringLiteral("'%1' has too many digits for single precision; the nearest number is %2")
                            .arg(text, QString::number(double(number), 'f', 0)));
}

quint32 parseFloat(const QString &text)
{
    bool isNumber = false;
    // By way of a double: toFloat() refuses the text of the highest float, which is a little above it.
    const double written = text.toDouble(&isNumber);
    const float number = static_cast<float>(written);
    if (!isNumber)
        throw TextError(QStringLiteral("'%1' is no decimal fraction like 12.5").arg(text));
    if (std::isinf(number) && !std::isinf(written))
        throw TextError(QStringLiteral("'%1' is beyond the greatest number of single precision, %2")
                            .arg(text, floatText(std::numeric_limits<float>::max())));
    if (number == 0 && written != 0)
        throw TextError(QStringLiteral("'%1' is nearer to zero than single precision goes, %2")
                            .arg(text, floatText(std::numeric_limits<float>::denorm_min())));
    refuseLostDigits(text, written, number);
    return asBits(number);
}

} // namespace

QString valueText(AreaKind kind, Format format, quint32 value)
{
    if (kind == AreaKind::Bit)
        return QString::number(value);
    if (format == Format::Hex)
        return QStringLiteral("0x%1").arg(value, bitsOf(kind) / 4, 16, QLatin1Char('0'));
    if (format == Format::Float && kind == AreaKind::DoubleWord)
        return floatText(asFloat(value));
    return format == Format::Signed ? QString::number(asSigned(kind, value)) : QString::number(value);
}

QString valuesText(AreaKind kind, Format format, const std::vector<quint32> &values)
{
    QStringList texts;
    for (quint32 value : values)
        texts << valueText(kind, format, value);
    return texts.join(QLatin1Char(' '));
}

quint32 parseValue(const QString &text, AreaKind kind, Format format)
{
    return format == Format::Float && kind == AreaKind::DoubleWord ? parseFloat(text) : parseNumber(text, kind);
}

} // namespace fgs
