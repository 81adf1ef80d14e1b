#include "settings_reader.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdlib>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace fgs
{

using formats::TomlPlace;

namespace
{

const int LongestLevel = 64, LongestBase = 256, LongestClientId = 128; ///< characters
const int Day = 24 * 3600;                                             ///< seconds
const int PlainPort = 1883, TlsPort = 8883;
const int LongestTimeout = 600000; ///< milliseconds
const int MostRetries = 1000;
const int ShortestKeepAlive = 5, LongestKeepAlive = 65535; ///< seconds; MQTT has two bytes for them
const int MostInFlight = 10000;
const int MostSpoolMegabytes = 1 << 20, MostSpoolDays = 3650, MostHistory = 10000;
const int MostCommands = 60000, ShortestCommand = 64;

bool matches(const char *form, const std::string &text)
{
    return QRegularExpression(QLatin1String(form)).match(QString::fromStdString(text)).hasMatch();
}

bool isLevel(const std::string &text)
{
    return text.size() <= std::size_t(LongestLevel) && matches("\\A[A-Za-z0-9_-]+\\z", text);
}

bool isBase(const std::string &text)
{
    return text.size() <= std::size_t(LongestBase) && matches("\\A[A-Za-z0-9_-]+(/[A-Za-z0-9_-]+)*\\z", text);
}

bool isPrintable(const std::string &utf8)
{
    const QString text = QString::fromStdString(utf8);
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar each) { return each.isPrint(); });
}

/// Of an integer within its bounds; otherwise what stands there already.
template <typename Value>
void take(formats::TomlTable &table, const char *key, int lowest, int highest, Value &value)
{
    if (const auto found = table.integer(key, lowest, highest))
        value = Value(found->value);
}

/// The first folder in a variable of the environment, which has them between colons; empty if there is none.
std::string folderIn(const char *variable)
{
    const char *const folders = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nobody sets any
    const std::string text = folders ? folders : "";
    return text.substr(0, text.find(':'));
}

struct HostAndPort {
    std::string host;
    std::optional<int> port;
};

/// "a", "a:1884", "[::1]" or "[::1]:1884"; none if it is none of them.
std::optional<HostAndPort> hostAndPort(const std::string &text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:\\[([0-9A-Fa-f:.]+)\\]|([A-Za-z0-9_.-]+))(?::([0-9]{1,5}))?\\z"));
    const QRegularExpressionMatch match = form.match(QString::fromStdString(text));
    if (!match.hasMatch())
        return {};
    const std::string host = (match.captured(1) + match.captured(2)).toStdString();
    if (match.captured(3).isEmpty())
        return HostAndPort{host, {}};
    return HostAndPort{host, match.captured(3).toInt()};
}

bool isAddress(const std::string &text)
{
    in6_addr address;
    return inet_pton(AF_INET, text.c_str(), &address) == 1 || inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

} // namespace

SettingsReader::SettingsReader(const QString &theFile, const QByteArray &text)
    : TagFileReader(theFile, text, 1), file(theFile)
{
}

GatewaySettings SettingsReader::readSettings()
{
    const TagFile read = TagFileReader::read();
    settings.link = read.link;
    for (const TagGroup &group : read.groups) {
        for (const Tag &tag : group.tags) {
            const std::size_t at = settings.tags.size();
            settings.tags.push_back({tag, tag.name.toStdString(), settings.groups.size(), reports[at], writes[at]});
        }
        settings.groups.push_back(group.name.toStdString());
    }
    return settings;
}

void SettingsReader::takeRoot(Table &root)
{
    root.require("link", "link = \"/dev/ttyUSB0:19200,8E1\"");
    settings.name = name(root);
    takeLine(root);
    takeBroker(root);
    takeLayout(root);
    takeSpool(root);
    takeCommands(root);
    takeHttp(root);
}

/// Without .toml; also what the instance of the service is called.
QString SettingsReader::fileName() const
{
    QString stem = QFileInfo(file).fileName();
    if (stem.endsWith(QLatin1String(".toml")))
        stem.chop(5);
    return stem;
}

std::string SettingsReader::name(Table &root)
{
    const std::optional<Text> given = root.text("name");
    std::string name = given ? given->value : fileName().toStdString();
    if (!isLevel(name))
        fault(given ? given->place : TomlPlace(), "'" + name + "' is no name of a gateway, which stands in topics",
              "write at most 64 letters of ASCII, digits, _ and -: name = \"press7\"");
    return name;
}

std::optional<formats::TomlTable> SettingsReader::section(Table &root, const std::string &key)
{
    return root.table(key, "[" + key + "]");
}

void SettingsReader::takeLine(Table &root)
{
    std::optional<Table> line = section(root, "line");
    if (!line)
        return;
    take(*line, "interval_ms", 0, Day * 1000, settings.interval);
    if (const auto timeout = line->integer("timeout_ms", 1, LongestTimeout))
        settings.host.timing.timeout = milliseconds(timeout->value);
    take(*line, "retries", 0, MostRetries, settings.host.retries);
    take(*line, "block_words", MinBlockWords, MaxBlockWords, settings.host.blockWords);
    take(*line, "remote_link", 0, 255, settings.host.remoteLink);
    line->refuseOthers();
}

// ---- broker

void SettingsReader::takeBroker(Table &root)
{
    std::optional<Table> broker = section(root, "broker");
    if (!broker) {
        if (!root.holds("broker"))
            fault({}, "there is no broker", "add a section [broker] with a line like host = \"127.0.0.1\"");
        return;
    }
    BrokerSettings &own = settings.broker;
    own.tls = tls(*broker);
    const auto port = broker->integer("port", 1, 65535);
    own.addresses = brokerAddresses(*broker, port ? port->value : own.tls ? TlsPort : PlainPort);
    own.clientId = clientId(*broker);
    takePassword(*broker);
    take(*broker, "keep_alive_s", ShortestKeepAlive, LongestKeepAlive, own.keepAlive);
    take(*broker, "in_flight", 1, MostInFlight, own.mostInFlight);
    broker->refuseOthers();
}

std::vector<BrokerAddress> SettingsReader::brokerAddresses(Table &table, int port)
{
    std::vector<BrokerAddress> addresses;
    table.require("host", "host = \"127.0.0.1\"");
    for (const Text &text : table.texts("host")) {
        const std::optional<HostAndPort> read = hostAndPort(text.value);
        const int itsPort = read && read->port ? *read->port : port;
        if (!read || itsPort < 1 || itsPort > 65535)
            fault(text.place, "'" + text.value + "' is no host, or host and port",
                  "write one like \"broker.plant\", \"10.0.0.1:1884\" or \"[::1]:1884\"");
        else
            addresses.push_back({read->host, itsPort});
    }
    return addresses;
}

std::string SettingsReader::clientId(Table &table)
{
    const std::optional<Text> id = table.text("client_id");
    if (!id)
        return "fgs-gateway-" + settings.name;
    if (!isPrintable(id->value) || id->value.size() > std::size_t(LongestClientId))
        fault(id->place, "the client id is no printable text of at most 128 bytes",
              "leave it out for fgs-gateway-" + settings.name);
    return id->value;
}

void SettingsReader::takePassword(Table &table)
{
    const std::optional<Text> user = table.text("user"), path = table.text("password_file"),
                              credential = table.text("password_credential");
    if (table.holds("password")) {
        table.leaveAlone({"password"});
        fault(table.placeOf("password"), "a password does not stand in this file",
              "write it into a file that only the gateway can read, and name that: password_file = \"...\"");
    }
    if (user)
        settings.broker.user = user->value;
    if (path && credential)
        fault(credential->place, "the password stands in password_file already", "leave one of the two out");
    if ((path || credential) && !table.holds("user"))
        fault((path ? path : credential)->place, "there is a password and no user",
              "add a line like user = \"" + settings.name + "\"");
    if (path && path->value.empty())
        fault(path->place, "the path is empty", "name a file, or leave password_file out");
    if (path)
        settings.broker.passwordFile = path->value;
    else if (credential) {
        settings.broker.passwordFile = credentialFile(*credential);
        settings.broker.credential = credential->value;
    }
}

/// By hand the environment has no folder; then it is the one that systemd makes for the service, which holds it
/// while that runs.
std::string SettingsReader::credentialFile(const Text &credential)
{
    if (!matches("\\A[A-Za-z0-9_.-]+\\z", credential.value))
        fault(credential.place, "'" + credential.value + "' is no name of a credential",
              "write the name before the colon of LoadCredential=");
    const std::string folder = folderIn("CREDENTIALS_DIRECTORY");
    const std::string ofService = "/run/credentials/fgs-gateway@" + fileName().toStdString() + ".service";
    return (folder.empty() ? ofService : folder) + "/" + credential.value;
}

std::optional<TlsSettings> SettingsReader::tls(Table &broker)
{
    std::optional<Table> table = broker.table("tls", "[broker.tls]");
    if (!table)
        return {};
    TlsSettings tls;
    const auto path = [&](const char *key) {
        const std::optional<Text> text = table->text(key);
        if (text && text->value.empty())
            fault(text->place, "the path is empty", "name a file");
        return text ? text->value : std::string();
    };
    table->require("ca", "ca = \"/etc/ssl/certs/ca-certificates.crt\"");
    tls.authorities = path("ca");
    tls.certificate = path("certificate");
    tls.key = path("key");
    if (table->holds("certificate") && !table->holds("key"))
        fault(table->placeOf("certificate"), "the certificate has no key", "add a line like key = \"client.key\"");
    if (table->holds("key") && !table->holds("certificate"))
        fault(table->placeOf("key"), "the key has no certificate", "add a line like certificate = \"client.crt\"");
    table->refuseOthers();
    return tls;
}

// ---- layout

void SettingsReader::takeLayout(Table &root)
{
    settings.layout.base = "fgs";
    std::optional<Table> layout = section(root, "layout");
    if (!layout)
        return;
    const std::optional<Text> kind = layout->text("kind");
    if (kind && kind->value == "sparkplug")
        takeSparkplugLayout(*layout);
    else if (!kind || kind->value == "plain")
        takePlainLayout(*layout);
    else {
        fault(kind->place, "'" + kind->value + "' is no layout", "write plain or sparkplug");
        layout->leaveAlone({"base", "group", "primary_host"});
    }
    layout->refuseOthers();
}

void SettingsReader::takePlainLayout(Table &table)
{
    refuseKey(table, "group", "sparkplug");
    refuseKey(table, "primary_host", "sparkplug");
    const std::optional<Text> base = table.text("base");
    if (base && !isBase(base->value))
        fault(base->place, "'" + base->value + "' is no beginning of topics",
              "write levels of letters of ASCII, digits, _ and - with / between them, like base = \"plant/hall1\"");
    if (base)
        settings.layout.base = base->value;
    table.leaveAlone({"group", "primary_host"});
}

void SettingsReader::takeSparkplugLayout(Table &table)
{
    settings.layout.kind = LayoutKind::Sparkplug;
    settings.layout.base.clear();
    refuseKey(table, "base", "plain");
    settings.layout.group = topicLevel(table.requiredText("group", "group = \"plant\""));
    settings.layout.primaryHost = topicLevel(table.text("primary_host"));
    table.leaveAlone({"base"});
}

std::string SettingsReader::topicLevel(const std::optional<Text> &text)
{
    if (!text)
        return {};
    if (!isPrintable(text->value) || text->value.find_first_of("+#/") != std::string::npos ||
        text->value.size() > std::size_t(LongestBase))
        fault(text->place, "'" + text->value + "' is no level of a topic",
              "write a text without +, # and /, of at most 256 bytes");
    return text->value;
}

void SettingsReader::refuseKey(const Table &table, const char *key, const char *kind)
{
    if (table.holds(key))
        fault(table.placeOf(key), std::string("'") + key + "' belongs to the layout " + kind,
              std::string("leave it out, or write kind = \"") + kind + "\"");
}

// ---- the rest

void SettingsReader::takeSpool(Table &root)
{
    std::optional<Table> table = section(root, "spool");
    if (!table)
        return;
    SpoolSettings spool;
    spool.file = spoolFile(*table);
    if (const auto megabytes = table->integer("megabytes", 1, MostSpoolMegabytes))
        spool.mostBytes = std::int64_t(megabytes->value) << 20;
    if (const auto days = table->integer("days", 1, MostSpoolDays))
        spool.longestAge = std::chrono::seconds(std::int64_t(days->value) * Day);
    take(*table, "history_per_s", 1, MostHistory, spool.historyPerSecond);
    table->refuseOthers();
    if (settings.layout.kind == LayoutKind::Sparkplug && settings.layout.primaryHost.empty())
        fault(table->place(), "without a primary host nobody tells what of the spool has arrived",
              "add a line like primary_host = \"scada\" to [layout], or leave [spool] out");
    settings.spool = spool;
}

/// Without a name it stands where the service keeps what it has, and by hand in the folder where it is started.
std::string SettingsReader::spoolFile(Table &table)
{
    const std::optional<Text> path = table.text("file");
    if (path && path->value.empty())
        fault(path->place, "the path is empty", "name a file, or leave it out");
    if (path)
        return path->value;
    const std::string folder = folderIn("STATE_DIRECTORY");
    return (folder.empty() ? "" : folder + "/") + settings.name + ".spool";
}

void SettingsReader::takeCommands(Table &root)
{
    std::optional<Table> table = section(root, "commands");
    if (!table)
        return;
    take(*table, "max_age_s", 0, Day, settings.commands.longestAge);
    take(*table, "per_minute", 1, MostCommands, settings.commands.mostPerMinute);
    take(*table, "max_bytes", ShortestCommand, CommandSettings::LongestAllowed, settings.commands.longestMessage);
    table->refuseOthers();
}

void SettingsReader::takeHttp(Table &root)
{
    std::optional<Table> table = section(root, "http");
    if (!table)
        return;
    settings.http = HttpSettings();
    if (const std::optional<Text> listen = table->text("listen")) {
        const std::optional<HostAndPort> read = hostAndPort(listen->value);
        if (!read || !read->port || *read->port > 65535 || !isAddress(read->host))
            fault(listen->place, "'" + listen->value + "' is no address with a port",
                  "write one like \"127.0.0.1:9464\" or \"[::1]:9464\"; \"0.0.0.0:9464\" is every network");
        else
            settings.http = HttpSettings{read->host, *read->port};
    }
    table->refuseOthers();
}

// ---- groups and tags

void SettingsReader::takeGroup(Table &group)
{
    std::vector<formats::TomlFault> faults;
    groupRule = readReportRule(group, ReportRule(), nullptr, faults);
    tellFaults(faults);
}

void SettingsReader::takeTag(Table &table, Tag *tag)
{
    std::vector<formats::TomlFault> faults;
    if (tag && !tag->type)
        tag->type = plainTypeOf(tag->kind());
    reports.push_back(readReportRule(table, groupRule, tag, faults));
    writes.push_back(readWriteRule(table, tag, faults));
    tellFaults(faults);
}

void SettingsReader::tellFaults(const std::vector<formats::TomlFault> &faults)
{
    for (const formats::TomlFault &each : faults)
        fault(each.place, each.what, each.remedy);
}

} // namespace fgs
