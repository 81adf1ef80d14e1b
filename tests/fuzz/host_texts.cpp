// The texts of the reference host and of fgs: variables, links, values. What a text means can be written again, and
// then means the same; a text that means nothing is refused with a reason.
#include "host/devices.h"
#include "host/text_error.h"
#include "target.h"
#include "watch/assignment.h"

#include <cstring>
#include <optional>
#include <QtCore/QStringList>

using namespace fgs;
using fuzz::Input;
using fuzz::require;

namespace
{

/// The result; none if the text is refused.
template <typename Parse, typename Look>
auto accepted(Parse parse, Look lookAtFault) -> std::optional<decltype(parse())>
{
    try {
        return parse();
    } catch (const TextError &error) {
        require(error.what()[0] != '\0', "refused without a reason");
        lookAtFault(QString::fromUtf8(error.what()));
        return std::nullopt;
    }
}

template <typename Parse>
auto accepted(Parse parse)
{
    return accepted(parse, [](const QString &) {});
}

[[noreturn]] void otherMeaning(const QString &text, const QString &again)
{
    fuzz::finding("'" + text.toStdString() + "' written as '" + again.toStdString() + "' means something else");
}

bool isSame(const Variable &a, const Variable &b)
{
    return a.area == b.area && a.address == b.address && a.count == b.count && a.station == b.station;
}

bool isSane(const Variable &variable)
{
    return areaOf(variable.area) && variable.address >= 0 && variable.count >= 1 &&
           variable.address + variable.count <= AddressCount && variable.station >= 0 &&
           variable.station <= MaxStation;
}

void checkVariable(const QString &text)
{
    const auto variable = accepted([&] { return parseVariable(text, 7); });
    if (!variable)
        return;
    require(isSane(*variable), "a variable outside every area: " + text.toStdString());
    const QString again = textOf(*variable);
    const auto same = accepted([&] { return parseVariable(again); });
    if (!same || !isSame(*same, *variable))
        otherMeaning(text, again);
}

/// A float that is no number comes back as one, with other bits perhaps, and a negative zero as zero.
bool isSameValue(bool isFloat, quint32 a, quint32 b)
{
    const auto isNan = [](quint32 value) { return (value & 0x7FFFFFFF) > 0x7F800000; };
    const auto isZero = [](quint32 value) { return (value & 0x7FFFFFFF) == 0; };
    return a == b || (isFloat && ((isNan(a) && isNan(b)) || (isZero(a) && isZero(b))));
}

/// The fault names the value as it was written.
void checkFault(const QString &text, const QString &fault)
{
    const QString start = QStringLiteral("value '");
    if (!fault.startsWith(start))
        return;
    bool named = false;
    for (const QString &value : text.mid(text.indexOf(QLatin1Char('=')) + 1).split(QLatin1Char(',')))
        named = named || fault.startsWith(start + value + QStringLiteral("' is no "));
    require(named, "'" + text.toStdString() + "' is refused for another value: " + fault.toStdString());
}

void checkAssignment(const QString &text, Format format)
{
    const auto given = accepted([&] { return parseAssignment(text, 7, format); },
                                [&](const QString &fault) { checkFault(text, fault); });
    if (!given)
        return;
    const Tag &tag = given->tag;
    require(isSane(tag.variable) && tag.variable.count == int(given->values.size()), "values outside the area");
    const QStringList values = valueTexts(tag.typeIn(format), tag.kind(), given->values);
    const QString again = textOf(tag) + QLatin1Char('=') + values.join(QLatin1Char(','));
    const auto same = accepted([&] { return parseAssignment(again, 1, format); });
    const bool isFloat = tag.typeIn(format).meaning == ValueType::Float && tag.kind() == AreaKind::DoubleWord;
    if (!same || !isSame(same->tag.variable, tag.variable) ||
        !std::equal(same->values.begin(), same->values.end(), given->values.begin(), given->values.end(),
                    [&](quint32 a, quint32 b) { return isSameValue(isFloat, a, b); }))
        otherMeaning(text, again);
}

QString written(const SerialAddress &address)
{
    return address.device + QStringLiteral(":%1,%2").arg(address.baud).arg(address.dataBits) +
           QLatin1Char(address.parity) + QString::number(address.stopBits);
}

QString written(const TcpAddress &address)
{
    const bool bracketed = address.host.contains(QLatin1Char(':'));
    const QString host = bracketed ? QLatin1Char('[') + address.host + QLatin1Char(']') : address.host;
    return QStringLiteral("tcp:") + host + QLatin1Char(':') + QString::number(address.port);
}

bool isSame(const SerialAddress &a, const SerialAddress &b)
{
    return a.device == b.device && a.baud == b.baud && a.dataBits == b.dataBits && a.parity == b.parity &&
           a.stopBits == b.stopBits;
}

bool isSame(const TcpAddress &a, const TcpAddress &b)
{
    return a.host == b.host && a.port == b.port;
}

/// A device of the name "tcp" cannot have settings.
bool canBeWritten(const SerialAddress &address)
{
    return address.device != QLatin1String("tcp");
}

bool canBeWritten(const TcpAddress &)
{
    return true;
}

template <typename Address>
void checkAgain(const QString &text, const Address &address)
{
    if (!canBeWritten(address))
        return;
    const QString again = written(address);
    const auto same = accepted([&] { return parseLink(again); });
    if (!same || !std::holds_alternative<Address>(*same) || !isSame(std::get<Address>(*same), address))
        otherMeaning(text, again);
}

void checkLink(const QString &text)
{
    if (const auto link = accepted([&] { return parseLink(text); }))
        std::visit([&](const auto &address) { checkAgain(text, address); }, *link);
}

} // namespace

// The first byte says what the text is to be. No text of a command line holds a null character.
int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    const int kind = input.between(0, 5);
    const std::string rest = input.rest();
    const QString text = QString::fromStdString(rest.substr(0, rest.find('\0')));
    static const Format formats[] = {Format::Unsigned, Format::Signed, Format::Hex, Format::Float};
    if (kind == 0)
        checkVariable(text);
    else if (kind == 1)
        checkLink(text);
    else
        checkAssignment(text, formats[kind - 2]);
    return 0;
}
