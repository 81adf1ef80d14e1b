#include "devices.h"
#include "text_error.h"

#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

/// What is wrong with a link.
struct Fault {
    const char *text;
};

TcpAddress readTcp(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^tcp:(?:\\[([^\\]/,\\s]+)\\]|([^:/,\\s]+)):([0-9]+)$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        throw Fault{"not of the form tcp:HOST:PORT"};
    const int port = match.captured(3).toInt();
    if (port < 1 || port > 65535)
        throw Fault{"the port must be 1..65535"};
    return {match.captured(1) + match.captured(2), port};
}

/// Names of devices may hold colons of their own, but not what is likely to be meant as settings.
void checkDevice(const QString &device)
{
    static const QRegularExpression path(QStringLiteral("^\\.{0,2}/"));
    static const QRegularExpression settings(
        QStringLiteral("^/dev/tty\\w*[:@\\s]|(,[^/]*|[:\\s]|:[5-8][NEOneo][12])$"));
    static const QRegularExpression windows(QStringLiteral("^com[0-9]"), QRegularExpression::CaseInsensitiveOption);
    if (windows.match(device).hasMatch())
        throw Fault{"a name of Windows; here serial ports are called /dev/ttyUSB0 or /dev/ttyS0, say"};
    if (!path.match(device).hasMatch())
        throw Fault{"neither the path of a device nor tcp:HOST:PORT"};
    if (settings.match(device).hasMatch())
        throw Fault{"settings are BAUD or BAUD,8E1, with data bits 5..8, parity N, E or O, and stop bits 1 or 2"};
}

/// The settings follow the last colon.
SerialAddress readSerial(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^(.+?)(?::([0-9]+)(?:,([5-8])([NEO])([12]))?)?$"));
    const QRegularExpressionMatch match = form.match(text);
    SerialAddress address;
    address.device = match.captured(1);
    checkDevice(address.device);
    if (!match.captured(2).isEmpty())
        address.baud = match.captured(2).toInt();
    if (address.baud < 50 || address.baud > 4000000)
        throw Fault{"the baud rate must be 50..4000000"};
    if (!match.captured(3).isEmpty()) {
        address.dataBits = match.captured(3).toInt();
        address.parity = match.captured(4).at(0).toLatin1();
        address.stopBits = match.captured(5).toInt();
    }
    return address;
}

std::variant<SerialAddress, TcpAddress> read(const QString &text)
{
    if (text.isEmpty())
        throw Fault{"empty"};
    if (text.startsWith(QLatin1String("tcp:")))
        return readTcp(text);
    return readSerial(text);
}

bool isRight(const QString &text)
{
    try {
        read(text);
        return true;
    } catch (const Fault &) {
        return false;
    }
}

/// How links are written elsewhere, and what that is here. Upper and lower case are the same.
struct Slip {
    const char *form;
    const char *meant;
};

#define HOST "(\\[[^\\]]+\\]|[^:/,\\s]+)"
#define PORT "([0-9]+)"
#define DEVICE "(.*/[^/]*?)"
#define BAUD "([0-9]+)"
#define BETWEEN "[-:,/\\s]*"

const Slip Slips[] = {
    {"^\\s*(.*\\S)\\s*$", "\\1"},
    {"^tcp:" PORT "$", "tcp:127.0.0.1:\\1"},
    {"^[a-z]+:/+" HOST ":" PORT "/*$", "tcp:\\1:\\2"},
    {"^tcp:" HOST "[:,/\\s]+" PORT "$", "tcp:\\1:\\2"},
    {"^(?:tcp:)?([0-9a-f]*:[0-9a-f]*:[0-9a-f:.]*(?:%[^:]+)?):" PORT "$", "tcp:[\\1]:\\2"},
    {"^(?!tty|com[0-9])" HOST ":" PORT "$", "tcp:\\1:\\2"},
    {"^(?:serial|rtu|com|tty|file):/*(/.*)$", "\\1"},
    {"^((?:tty|pts/|serial/|rfcomm).*)$", "/dev/\\1"},
    {"^([^~/:,\\s]+/.*)$", "./\\1"},
    {"^" DEVICE "[:,@\\s]+" BAUD "[:,/\\s]+([5-8])" BETWEEN "([neo])" BETWEEN "([12])$", "\\1:\\2,\\3\\4\\5"},
    {"^" DEVICE "[:,@\\s]+" BAUD "[:,/\\s]+([neo])" BETWEEN "([5-8])" BETWEEN "([12])$", "\\1:\\2,\\4\\3\\5"},
    {"^" DEVICE "[,@\\s]+" BAUD "$", "\\1:\\2"},
    {"^" DEVICE "[:,]+([5-8][neo][12])$", "\\1:19200,\\2"},
    {"^" DEVICE "[:,]+$", "\\1"},
};

/// With the letter of the parity as it has to be.
QString withUpperParity(const QString &text)
{
    static const QRegularExpression settings(QStringLiteral(":[0-9]+,[5-8][neo][12]$"));
    const int start = static_cast<int>(settings.match(text).capturedStart());
    return start < 0 ? text : text.left(start) + text.mid(start).toUpper();
}

/// What the writer of a wrong link may have meant; empty if that is not to be seen. Each slip is mended in turn.
QString likelyMeaning(const QString &text)
{
    QString mended = text;
    for (const Slip &slip : Slips) {
        const QRegularExpression form(QLatin1String(slip.form), QRegularExpression::CaseInsensitiveOption);
        mended = withUpperParity(mended.replace(form, QLatin1String(slip.meant)));
        if (isRight(mended))
            return mended;
    }
    return QString();
}

QString remedy(const QString &text)
{
    const QString likely = likelyMeaning(text);
    if (!likely.isEmpty())
        return QStringLiteral("did you mean %1?").arg(likely);
    return QStringLiteral("write DEVICE[:BAUD[,8E1]] or tcp:HOST:PORT, for example /dev/ttyUSB0:19200,8E1 or "
                          "tcp:127.0.0.1:5020");
}

} // namespace

std::variant<SerialAddress, TcpAddress> parseLink(const QString &text)
{
    try {
        return read(text);
    } catch (const Fault &fault) {
        throw TextError(QStringLiteral("link '%1': %2; %3").arg(text, QLatin1String(fault.text), remedy(text)));
    }
}

std::unique_ptr<Link> makeLink(const QString &text)
{
    return std::visit([](const auto &address) { return makeLink(address); }, parseLink(text));
}

} // namespace fgs
