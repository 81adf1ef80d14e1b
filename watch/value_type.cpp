#include "value_type.h"

#include "host/text_error.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <QtCore/QRegularExpression>

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

constexpr AreaKind Bit = AreaKind::Bit, Word = AreaKind::Word, DoubleWord = AreaKind::DoubleWord;

const ValueType namedTypes[] = {
    {"bit", Bit, ValueType::Unsigned, false},        {"u16", Word, ValueType::Unsigned, false},
    {"s16", Word, ValueType::Signed, false},         {"x16", Word, ValueType::Hex, false},
    {"u32", DoubleWord, ValueType::Unsigned, false}, {"s32", DoubleWord, ValueType::Signed, false},
    {"x32", DoubleWord, ValueType::Hex, false},      {"f32", DoubleWord, ValueType::Float, false},
    {"u32h", DoubleWord, ValueType::Unsigned, true}, {"s32h", DoubleWord, ValueType::Signed, true},
    {"x32h", DoubleWord, ValueType::Hex, true},      {"f32h", DoubleWord, ValueType::Float, true},
    {"text", Word, ValueType::Text, false},
};

/// By kind and format; they take numbers with and without a sign.
const ValueType unnamedTypes[][4] = {
    {{"", Bit, ValueType::Unsigned, false},
     {"", Bit, ValueType::Unsigned, false},
     {"", Bit, ValueType::Unsigned, false},
     {"", Bit, ValueType::Unsigned, false}},
    {{"", Word, ValueType::Unsigned, false},
     {"", Word, ValueType::Signed, false},
     {"", Word, ValueType::Hex, false},
     {"", Word, ValueType::Unsigned, false}},
    {{"", DoubleWord, ValueType::Unsigned, false},
     {"", DoubleWord, ValueType::Signed, false},
     {"", DoubleWord, ValueType::Hex, false},
     {"", DoubleWord, ValueType::Float, false}},
};

bool hasName(const ValueType &type)
{
    return *type.name != '\0';
}

// ---- integers

qint64 asSigned(AreaKind size, quint32 value)
{
    return size == Word ? qint64(static_cast<qint16>(value)) : qint64(static_cast<qint32>(value));
}

QString integerText(const ValueType &type, quint32 value)
{
    switch (type.meaning) {
    case ValueType::Hex:
        return QStringLiteral("0x%1").arg(value, bitsOf(type.size) / 4, 16, QLatin1Char('0'));
    case ValueType::Signed:
        return QString::number(asSigned(type.size, value));
    default:
        return QString::number(value);
    }
}

/// Negative ones in two's complement.
quint32 parseInteger(const QString &text, const ValueType &type)
{
    static const QRegularExpression form(QStringLiteral("^(-?[0-9]+|0[xX][0-9a-fA-F]+)$"));
    bool fits = form.match(text).hasMatch();
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const qint64 number = !fits ? 0 : isHex ? text.mid(2).toLongLong(&fits, 16) : text.toLongLong(&fits, 10);
    if (!fits || number < lowestOf(type) || number > highestOf(type))
        throw TextError(QStringLiteral("'%1' is no number from %2 to %3, as a %4 takes it")
                            .arg(text, QString::number(lowestOf(type)), QString::number(highestOf(type)),
                                 hasName(type) ? QLatin1String(type.name) : nameOf(type.size)));
    return static_cast<quint32>(number & ((qint64(1) << bitsOf(type.size)) - 1));
}

// ---- floats

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

// ---- texts: two characters a word, the first in the low byte

bool isPrintable(char letter)
{
    return letter >= ' ' && letter <= '~' && letter != '\\';
}

QString characterText(char letter)
{
    return isPrintable(letter) ? QString(QLatin1Char(letter))
                               : QStringLiteral("\\x%1").arg(quint8(letter), 2, 16, QLatin1Char('0'));
}

QString wordsText(const std::vector<quint32> &words)
{
    std::string letters;
    for (quint32 word : words)
        letters += {char(word & 0xFF), char(word >> 8 & 0xFF)};
    letters.erase(letters.find_last_not_of('\0') + 1);
    QString text;
    for (char letter : letters)
        text += characterText(letter);
    return text;
}

/// Characters as they are and as \xNN, to bytes.
QByteArray lettersOf(const QString &text)
{
    static const QRegularExpression escape(QStringLiteral("^\\\\x([0-9a-fA-F]{2})$"));
    QByteArray letters;
    for (int at = 0; at < text.size();) {
        const QRegularExpressionMatch match = escape.match(text.mid(at, 4));
        const ushort letter = text.at(at).unicode();
        if (match.hasMatch()) {
            letters += static_cast<char>(match.captured(1).toInt(nullptr, 16));
            at += 4;
        } else if (letter < 0x80 && isPrintable(static_cast<char>(letter))) {
            letters += static_cast<char>(letter);
            ++at;
        } else {
            throw TextError(QStringLiteral("'%1': '%2' is no printable ASCII character; write its bytes as \\xNN")
                                .arg(text, text.at(at)));
        }
    }
    return letters;
}

std::vector<quint32> parseText(const QString &text)
{
    const QByteArray letters = lettersOf(text);
    std::vector<quint32> words(std::size_t(letters.size() + 1) / 2);
    for (int i = 0; i < letters.size(); ++i)
        words[std::size_t(i) / 2] |= quint32(static_cast<unsigned char>(letters.at(i))) << 8 * (i % 2);
    return words;
}

// ---- values over one element or two

quint32 joined(const ValueType &type, const quint32 *elements, int count)
{
    if (count == 1)
        return elements[0];
    const int high = type.highWordFirst ? 0 : 1;
    return elements[high] << 16 | elements[1 - high];
}

std::vector<quint32> parted(const ValueType &type, quint32 value, int count)
{
    if (count == 1)
        return {value};
    const quint32 low = value & 0xFFFF, high = value >> 16;
    return type.highWordFirst ? std::vector<quint32>{high, low} : std::vector<quint32>{low, high};
}

const int FloatDigits = 6; ///< of a float among its statistics

double numberOf(const ValueType &type, quint32 value)
{
    return type.meaning == ValueType::Float    ? double(asFloat(value))
           : type.meaning == ValueType::Signed ? double(asSigned(type.size, value))
                                               : double(value);
}

} // namespace

const ValueType *typeNamed(const QString &name)
{
    const ValueType *const found =
        std::find_if(std::begin(namedTypes), std::end(namedTypes),
                     [&name](const ValueType &type) { return name == QLatin1String(type.name); });
    return found == std::end(namedTypes) ? nullptr : found;
}

QString typeNames()
{
    QStringList names;
    for (const ValueType &type : namedTypes)
        names << QLatin1String(type.name);
    return names.join(QStringLiteral(", "));
}

const ValueType &typeFor(AreaKind kind, Format format)
{
    return unnamedTypes[kind == Bit ? 0 : kind == Word ? 1 : 2][static_cast<std::size_t>(format)];
}

qint64 lowestOf(const ValueType &type)
{
    const bool takesSign = type.meaning == ValueType::Signed || !hasName(type);
    return takesSign && type.size != Bit ? -(qint64(1) << (bitsOf(type.size) - 1)) : 0;
}

qint64 highestOf(const ValueType &type)
{
    const bool hasSign = type.meaning == ValueType::Signed && hasName(type);
    return (qint64(1) << (bitsOf(type.size) - (hasSign ? 1 : 0))) - 1;
}

int elementsPerValue(const ValueType &type, AreaKind kind)
{
    if (type.size == kind && !(kind == DoubleWord && type.highWordFirst))
        return 1;
    return type.size == DoubleWord && kind == Word ? 2 : 0;
}

int widestText(const ValueType &type)
{
    switch (type.meaning) {
    case ValueType::Text:
        return 0;
    case ValueType::Float:
        return 14;
    case ValueType::Hex:
        return 2 + bitsOf(type.size) / 4;
    case ValueType::Signed:
        return type.size == Word ? 6 : 11;
    case ValueType::Unsigned:
        break;
    }
    return type.size == Bit ? 1 : type.size == Word ? 5 : 10;
}

QStringList valueTexts(const ValueType &type, AreaKind kind, const std::vector<quint32> &elements)
{
    if (type.meaning == ValueType::Text)
        return {wordsText(elements)};
    const int each = elementsPerValue(type, kind);
    QStringList texts;
    for (std::size_t i = 0; i + std::size_t(each) <= elements.size(); i += std::size_t(each)) {
        const quint32 value = joined(type, elements.data() + i, each);
        texts << (type.meaning == ValueType::Float ? floatText(asFloat(value)) : integerText(type, value));
    }
    return texts;
}

std::vector<double> valueNumbers(const ValueType &type, AreaKind kind, const std::vector<quint32> &elements)
{
    std::vector<double> numbers;
    if (type.meaning == ValueType::Text)
        return numbers;
    const std::size_t each = static_cast<std::size_t>(elementsPerValue(type, kind));
    for (std::size_t i = 0; i + each <= elements.size(); i += each)
        numbers.push_back(numberOf(type, joined(type, elements.data() + i, static_cast<int>(each))));
    return numbers;
}

QString numberText(const ValueType &type, double number)
{
    if (type.meaning == ValueType::Float)
        return QString::number(number, 'g', FloatDigits);
    return type.meaning == ValueType::Signed ? QString::number(static_cast<qint64>(number))
                                             : integerText(type, static_cast<quint32>(number));
}

/// Of bits it is the share of those that are set.
QString meanText(const ValueType &type, double mean)
{
    return type.meaning == ValueType::Float ? numberText(type, mean)
                                            : QString::number(mean, 'f', type.size == Bit ? 3 : 1);
}

int widestMean(const ValueType &type)
{
    if (type.meaning == ValueType::Text)
        return 0;
    if (type.meaning == ValueType::Float)
        return FloatDigits + 6; // a sign, the point, e-38
    return type.size == Bit ? 5 : widestText(type) + 2;
}

std::vector<quint32> parseValue(const QString &text, const ValueType &type, AreaKind kind)
{
    if (type.meaning == ValueType::Text)
        return parseText(text);
    return parted(type, type.meaning == ValueType::Float ? parseFloat(text) : parseInteger(text, type),
                  elementsPerValue(type, kind));
}

} // namespace fgs
