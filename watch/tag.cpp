#include "tag.h"

#include "host/remote_frame.h"
#include "host/text_error.h"

#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

[[noreturn]] void refuse(const QString &text, const QString &fault)
{
    throw TextError(QStringLiteral("variable '%1': %2").arg(text, fault));
}

const ValueType *parseType(const QString &text, const QString &name, AreaKind kind)
{
    const ValueType *const type = typeNamed(name);
    if (!type)
        refuse(text, QStringLiteral("'%1' is no type; types are %2").arg(name, typeNames()));
    if (!elementsPerValue(*type, kind))
        refuse(text, QStringLiteral("a %1 cannot hold values of type %2").arg(nameOf(kind), name));
    return type;
}

/// The count is of values in the text, and of elements in the variable.
int elementsOf(const QString &text, const Variable &variable, int perValue)
{
    const int room = (AddressCount - variable.address) / perValue;
    if (variable.count > room)
        refuse(text, QStringLiteral("%1 values of %2 words reach beyond the end of area %3; %4 fit")
                         .arg(variable.count)
                         .arg(perValue)
                         .arg(variable.area)
                         .arg(room));
    return variable.count * perValue;
}

} // namespace

const ValueType &Tag::typeIn(Format format) const
{
    return type ? *type : typeFor(kind(), format);
}

int Tag::elementsPerValue(Format format) const
{
    const ValueType &own = typeIn(format);
    return own.meaning == ValueType::Text ? variable.count : fgs::elementsPerValue(own, kind());
}

Tag parseTag(const QString &text, int defaultStation)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]+:[0-9]+(?:x[0-9]+)?(?:@[0-9]+)?)(?::(.*))?$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        refuse(text,
               QStringLiteral("not of the form AREA:ADDRESS[xCOUNT][@STATION][:TYPE]; for example 5:100x4@1:s16"));
    Tag tag;
    tag.variable = parseVariable(match.captured(1), defaultStation);
    if (match.capturedStart(2) < 0)
        return tag;
    tag.type = parseType(text, match.captured(2), tag.kind());
    tag.variable.count = elementsOf(text, tag.variable, elementsPerValue(*tag.type, tag.kind()));
    return tag;
}

QString textOf(const Tag &tag)
{
    if (!tag.type)
        return textOf(tag.variable);
    Variable counted = tag.variable;
    counted.count /= elementsPerValue(*tag.type, tag.kind());
    return QStringLiteral("%1:%2").arg(textOf(counted), QLatin1String(tag.type->name));
}

std::vector<Variable> variablesOf(const std::vector<Tag> &tags)
{
    std::vector<Variable> variables;
    variables.reserve(tags.size());
    for (const Tag &tag : tags)
        variables.push_back(tag.variable);
    return variables;
}

QString titleOf(const Tag &tag)
{
    return tag.unit.isEmpty() ? tag.name : QStringLiteral("%1 [%2]").arg(tag.name, tag.unit);
}

QString wireText(const Variable &variable, bool isRemote)
{
    const int code = wireCode(*areaOf(variable.area), isRemote);
    return isRemote ? QStringLiteral("%1:%2").arg(code).arg(variable.address)
                    : QStringLiteral("0x%1:%2").arg(code, 2, 16, QLatin1Char('0')).arg(variable.address);
}

QString placeText(const Tag &tag, bool isRemote)
{
    const Variable &variable = tag.variable;
    QString wire = QStringLiteral("wire ") + wireText(variable, isRemote);
    if (variable.count > 1)
        wire += QStringLiteral("..%1").arg(variable.address + variable.count - 1);
    const QString place =
        QStringLiteral("%1  %2  %3").arg(textOf(tag), -14).arg(nameOf(tag.kind()), -11).arg(wire, -19);
    return tag.name.isEmpty() ? place : QStringLiteral("%1  %2").arg(place).arg(titleOf(tag), -16);
}

QStringList valueTexts(const Tag &tag, Format format, const std::vector<quint32> &elements)
{
    const ValueType &type = tag.typeIn(format);
    QStringList texts = valueTexts(type, tag.kind(), elements);
    if (!tag.scaling.isNone())
        for (QString &text : texts)
            text = scaledText(tag.scaling, type, text);
    return texts;
}

Tag valueOf(const Tag &tag, Format format, int index)
{
    Tag value = tag;
    value.variable.count = tag.elementsPerValue(format);
    value.variable.address += index * value.variable.count;
    return value;
}

std::vector<double> numbersOf(const Tag &tag, Format format, const std::vector<quint32> &elements)
{
    std::vector<double> numbers = valueNumbers(tag.typeIn(format), tag.kind(), elements);
    for (double &number : numbers)
        number = tag.scaling.valueOf(number);
    return numbers;
}

QString valuesText(const Tag &tag, Format format, const std::vector<quint32> &elements)
{
    return valueTexts(tag, format, elements).join(QLatin1Char(' '));
}

int widestText(const Tag &tag, Format format)
{
    return widestText(tag.scaling, tag.typeIn(format));
}

std::vector<quint32> parseValue(const QString &text, const Tag &tag, Format format)
{
    const ValueType &type = tag.typeIn(format);
    return parseValue(rawText(tag.scaling, type, text), type, tag.kind());
}

} // namespace fgs
