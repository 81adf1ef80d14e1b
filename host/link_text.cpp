#include "devices.h"
#include "text_error.h"

#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

[[noreturn]] void refuse(const QString &text, const char *fault)
{
    throw TextError(QStringLiteral("link '%1': %2; write DEVICE[:BAUD[,8E1]] or tcp:HOST:PORT, for example "
                                   "/dev/ttyUSB0:19200,8E1 or tcp:127.0.0.1:5020")
                        .arg(text, QLatin1String(fault)));
}

TcpAddress parseTcp(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^tcp:(?:\\[([^\\]]+)\\]|([^:]+)):([0-9]+)$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        refuse(text, "not of the form tcp:HOST:PORT");
    const int port = match.captured(3).toInt();
    if (port < 1 || port > 65535)
        refuse(text, "the port must be 1..65535");
    return {match.captured(1) + match.captured(2), port};
}

/// The settings follow the last colon; device names may hold colons of their own.
SerialAddress parseSerial(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^(.+?)(?::([0-9]+)(?:,([5-8])([NEO])([12]))?)?$"));
    static const QRegularExpression malformed(QStringLiteral(":[0-9]+,[^/:]*$"));
    const QRegularExpressionMatch match = form.match(text);
    SerialAddress address;
    address.device = match.captured(1);
    if (address.device.isEmpty() || malformed.match(address.device).hasMatch())
        refuse(text, "after the baud rate come data bits 5..8, parity N, E or O, and stop bits 1 or 2, like 8E1");
    if (!match.captured(2).isEmpty())
        address.baud = match.captured(2).toInt();
    if (address.baud < 50 || address.baud > 4000000)
        refuse(text, "the baud rate must be 50..4000000");
    if (!match.captured(3).isEmpty()) {
        address.dataBits = match.captured(3).toInt();
        address.parity = match.captured(4).at(0).toLatin1();
        address.stopBits = match.captured(5).toInt();
    }
    return address;
}

} // namespace

std::variant<SerialAddress, TcpAddress> parseLink(const QString &text)
{
    if (text.isEmpty())
        refuse(text, "empty");
    if (text.startsWith(QLatin1String("tcp:")))
        return parseTcp(text);
    return parseSerial(text);
}

std::unique_ptr<Link> makeLink(const QString &text)
{
    return std::visit([](const auto &address) { return makeLink(address); }, parseLink(text));
}

} // namespace fgs
