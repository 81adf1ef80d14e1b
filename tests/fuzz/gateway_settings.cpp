// Any bytes as a gateway's file: settings within their bounds, or every error with its place; who reads only the
// variables sees the same ones.
#include "file_errors.h"
#include "gateway/settings.h"
#include "host/devices.h"

#include <QtCore/QRegularExpression>
#include <set>

using namespace fgs;
using fuzz::require;

namespace
{

bool isLevels(const std::string &text, const char *form)
{
    return QRegularExpression(QLatin1String(form)).match(QString::fromStdString(text)).hasMatch();
}

void checkBroker(const BrokerSettings &broker)
{
    require(!broker.addresses.empty(), "no broker");
    for (const BrokerAddress &address : broker.addresses)
        require(!address.host.empty() && address.port >= 1 && address.port <= 65535, "an address that is none");
    require(!broker.clientId.empty(), "no client id");
    require(broker.passwordFile.empty() || !broker.user.empty(), "a password without a user");
    require(!broker.tls || broker.tls->certificate.empty() == broker.tls->key.empty(), "half a certificate");
    require(broker.mostInFlight >= 1, "nothing may be in flight");
}

void checkLayout(const GatewaySettings &settings)
{
    const LayoutSettings &layout = settings.layout;
    require(isLevels(settings.name, "\\A[A-Za-z0-9_-]+\\z"), "a name that is no level");
    if (layout.kind == LayoutKind::Plain)
        require(isLevels(layout.base, "\\A[A-Za-z0-9_-]+(/[A-Za-z0-9_-]+)*\\z"), "a base that is no topic");
    else
        require(isLevels(layout.group, "\\A[^+#/]+\\z"), "a group that is no level");
    require(!settings.spool || layout.kind == LayoutKind::Plain || !layout.primaryHost.empty(),
            "a spool of which nobody tells what has arrived");
}

void checkTag(const GatewaySettings &settings, const GatewayTag &tag)
{
    require(tag.tag.type && tag.group < settings.groups.size(), "a tag without type or group");
    require(tag.tag.variable.station >= 1 && tag.tag.variable.station <= MaxStation,
            "a station that cannot be read");
    require(tag.report.deadBand >= 0 && tag.report.least.count() >= 0 && tag.report.longest.count() >= 0,
            "a report that is never due");
    if (!tag.write)
        return;
    require(areaOf(tag.tag.variable.area)->writable, "a write to a read-only area");
    require(tag.write->lowest <= tag.write->highest && tag.write->step >= 0, "a range that is none");
}

void checkSettings(const GatewaySettings &settings, const QByteArray &text)
{
    parseLink(settings.link);
    checkBroker(settings.broker);
    checkLayout(settings);
    std::set<std::string> names;
    for (const GatewayTag &tag : settings.tags) {
        checkTag(settings, tag);
        require(names.insert(tag.name).second, "a name stands twice");
    }
    require(parseTagFile(QStringLiteral("f"), text).tags().size() == settings.tags.size(), "other variables");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(bytes), static_cast<int>(size));
    GatewaySettings settings;
    try {
        settings = parseGatewaySettings(QStringLiteral("f"), text);
    } catch (const TextError &error) {
        fuzz::checkError(error);
        return 0;
    }
    checkSettings(settings, text);
    return 0;
}
