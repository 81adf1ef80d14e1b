#include "values.h"

#include "host/text_error.h"

#include <cmath>
#include <cstring>
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

qint64 asSigned(Kind kind, quint32 value)
{
    return kind == Kind::Word ? qint64(static_cast<qint16>(value)) : qint64(static_cast<qint32>(value));
}

int bitsOf(Kind kind)
{
    return kind == Kind::Bit ? 1 : kind == Kind::Word ? 16 : 32;
}

/// A number that fits into the kind; negative ones in two's complement, but not for bits.
quint32 parseNumber(const QString &part, Kind kind)
{
    static const QRegularExpression form(QStringLiteral("^(-?[0-9]+|0[xX][0-9a-fA-F]+)$"));
    bool fits = form.match(part).hasMatch();
    const bool isHex = part.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const qint64 number = !fits ? 0 : isHex ? part.mid(2).toLongLong(&fits, 16) : part.toLongLong(&fits, 10);
    const qint64 end = qint64(1) << bitsOf(kind), lowest = kind == Kind::Bit ? 0 : -end / 2;
    if (!fits || number < lowest || number >= end)
        throw TextError(QStringLiteral("value '%1' is no number from %2 to %3, as a %4 takes it")
                            .arg(part, QString::number(lowest), QString::number(end - 1), nameOf(kind)));
    return static_cast<quint32>(number & (end - 1));
}

quint32 parseFloat(const QString &part)
{
    bool isNumber = false;
    // By way of a double: toFloat() refuses the text of the highest float, which is a little above it.
    const double written = part.toDouble(&isNumber);
    const float number = static_cast<float>(written);
    if (!isNumber || (std::isinf(number) && !std::isinf(written)))
        throw TextError(QStringLiteral("value '%1' is no decimal fraction like 12.5").arg(part));
    return asBits(number);
}

std::vector<quint32> parseValues(const QString &text, Kind kind, Format format)
{
    std::vector<quint32> values;
    for (const QString &part : text.split(QLatin1Char(',')))
        values.push_back(format == Format::Float && kind == Kind::DoubleWord ? parseFloat(part)
                                                                             : parseNumber(part, kind));
    return values;
}

} // namespace

QString valueText(Kind kind, Format format, quint32 value)
{
    if (kind == Kind::Bit)
        return QString::number(value);
    if (format == Format::Hex)
        return QStringLiteral("0x%1").arg(value, bitsOf(kind) / 4, 16, QLatin1Char('0'));
    if (format == Format::Float && kind == Kind::DoubleWord)
        return QString::number(double(asFloat(value)), 'g', 9);
    return format == Format::Signed ? QString::number(asSigned(kind, value)) : QString::number(value);
}

QString valuesText(Kind kind, Format format, const std::vector<quint32> &values)
{
    QStringList texts;
    for (quint32 value : values)
        texts << valueText(kind, format, value);
    return texts.join(QLatin1Char(' '));
}

Assignment parseAssignment(const QString &text, int defaultStation, Format format)
{
    const int equals = int(text.indexOf(QLatin1Char('=')));
    if (equals < 0)
        throw TextError(
            QStringLiteral("'%1' assigns nothing; write VAR=VALUE[,VALUE...], for example 5:100=1,2").arg(text));
    Assignment assignment;
    assignment.variable = parseVariable(text.left(equals), defaultStation);
    Variable &variable = assignment.variable;
    const Area &area = *areaOf(variable.area);
    if (!area.writable)
        throw TextError(
            QStringLiteral("variable '%1': area %2 is read-only").arg(text.left(equals)).arg(area.number));
    assignment.values = parseValues(text.mid(equals + 1), area.kind, format);
    const int count = static_cast<int>(assignment.values.size());
    if (text.left(equals).contains(QLatin1Char('x')) && count != variable.count)
        throw TextError(QStringLiteral("'%1' gives %2 values for %3; give as many, or leave the count out")
                            .arg(text)
                            .arg(count)
                            .arg(variable.count));
    if (count > AddressCount - variable.address)
        throw TextError(QStringLiteral("'%1' gives values beyond the end of area %2").arg(text).arg(area.number));
    variable.count = count;
    return assignment;
}

} // namespace fgs
