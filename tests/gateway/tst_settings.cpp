// The file of a gateway: what every key means, and what is wrong with a file, with its place.
#include "gateway/settings.h"
#include "host/text_error.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <QtCore/QFile>

using namespace fgs;

namespace
{

using std::chrono::seconds;

GatewaySettings parsed(const std::string &text, const char *file = "dir/press7.toml")
{
    return parseGatewaySettings(QString::fromUtf8(file), QByteArray::fromStdString(text));
}

/// The lines that a whole file cannot do without.
const char *const Head = "link = \"/dev/ttyUSB0\"\n";             // 1
const char *const Broker = "broker = { host = \"127.0.0.1\" }\n"; // 2
const char *const Group = "[[group]]\nname = \"g\"\ntag = [ { name = \"t\", variable = \"5:1\" } ]\n";

/// `root` begins in line 3.
GatewaySettings whole(const std::string &root)
{
    return parsed(std::string(Head) + Broker + root + Group);
}

/// Of a tag with these keys behind "tag = [ { name = \"t\", ".
GatewaySettings withTag(const std::string &keys, const std::string &groupKeys = "")
{
    return parsed(std::string(Head) + Broker + "[[group]]\nname = \"g\"\n" + groupKeys +
                  "tag = [ { name = \"t\", " + keys + " } ]\n");
}

template <typename Parse>
std::string faultOf(const Parse &parse)
{
    try {
        parse();
        return "";
    } catch (const TextError &error) {
        return error.what();
    }
}

std::string faultsOf(const std::string &text)
{
    return faultOf([&] { parseGatewaySettings(QStringLiteral("f"), QByteArray::fromStdString(text)); });
}

/// Of a whole file with this from line 3 on.
std::string faultsWith(const std::string &root)
{
    return faultsOf(std::string(Head) + Broker + root + Group);
}

/// Of a whole file with this in place of the broker of line 2.
std::string brokerFaults(const std::string &broker)
{
    return faultsOf(std::string(Head) + broker + Group);
}

/// The tag's keys stand in line 5 from column 23 on.
std::string tagFaults(const std::string &keys)
{
    return faultsOf(std::string(Head) + Broker + "[[group]]\nname = \"g\"\ntag = [ { name = \"t\", " + keys +
                    " } ]\n");
}

/// Sets a variable of the environment, or removes it, until its end.
class Environment
{
public:
    Environment(const char *theName, const char *value) : name(theName)
    {
        if (value)
            setenv(name, value, 1); // NOLINT(concurrency-mt-unsafe): no other thread
        else
            unsetenv(name); // NOLINT(concurrency-mt-unsafe): no other thread
    }
    ~Environment() { unsetenv(name); } // NOLINT(concurrency-mt-unsafe): no other thread
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    const char *const name;
};

const char *const EveryKey = R"(name = "Hall_1-7"
link = "tcp:10.0.0.9:5020"
station = 3
[line]
interval_ms = 250
timeout_ms = 500
retries = 4
block_words = 32
remote_link = 0
[broker]
host = ["a.plant", "b:1884", "[::1]"]
port = 1885
client_id = "press"
user = "u"
password_file = "/p"
keep_alive_s = 30
in_flight = 5
[broker.tls]
ca = "/ca"
certificate = "/crt"
key = "/key"
[layout]
kind = "plain"
base = "plant/hall_1/a-b"
[spool]
file = "/s"
megabytes = 5000
days = 8
history_per_s = 7
[commands]
max_age_s = 0
per_minute = 9
max_bytes = 100
[http]
listen = "[::1]:0"
[[group]]
name = "oven"
station = 4
least_ms = 100
longest_ms = 60000
deadband = 0.5
[[group.tag]]
name = "temp"
variable = "5:100x2:s16"
scale = 0.1
offset = 5
unit = "K"
deadband = 1
least_ms = 0
longest_ms = 0
write = { min = 5, max = 250, step = 0.5 }
[[group.tag]]
name = "inherits"
variable = "5:1"
[[group.tag]]
name = "on"
variable = "2:17@9"
write = true
[[group]]
name = "second"
[[group.tag]]
name = "recipe"
variable = "5:300x8:text"
write = true
[[group.tag]]
name = "long"
variable = "10:4"
write = false
[[group.tag]]
name = "real"
variable = "5:8:f32"
write = { min = -0.25, max = 1e3 }
)";

TEST(AFileWithEveryKey, MeansWhatItSays)
{
    const GatewaySettings all = parsed(EveryKey);
    EXPECT_EQ(all.name, "Hall_1-7");
    EXPECT_EQ(all.link, QStringLiteral("tcp:10.0.0.9:5020"));
    EXPECT_EQ(all.interval, milliseconds(250));
    EXPECT_EQ(all.host.timing.timeout, Time(500ms));
    EXPECT_EQ(all.host.retries, 4);
    EXPECT_EQ(all.host.blockWords, 32);
    EXPECT_EQ(all.host.remoteLink, 0);
    ASSERT_TRUE(all.spool);
    EXPECT_EQ(all.spool->file, "/s");
    EXPECT_EQ(all.spool->mostBytes, 5000LL * 1024 * 1024);
    EXPECT_EQ(all.spool->longestAge, seconds(8 * 86400));
    EXPECT_EQ(all.spool->historyPerSecond, 7);
    EXPECT_EQ(all.commands.longestAge, seconds(0));
    EXPECT_EQ(all.commands.mostPerMinute, 9);
    EXPECT_EQ(all.commands.longestMessage, 100);
    ASSERT_TRUE(all.http);
    EXPECT_EQ(all.http->address, "::1");
    EXPECT_EQ(all.http->port, 0);
    EXPECT_EQ(all.layout.kind, LayoutKind::Plain);
    EXPECT_EQ(all.layout.base, "plant/hall_1/a-b");
}

TEST(AFileWithEveryKey, NamesTheBroker)
{
    const BrokerSettings broker = parsed(EveryKey).broker;
    std::vector<std::string> addresses;
    for (const BrokerAddress &each : broker.addresses)
        addresses.push_back(each.host + " " + std::to_string(each.port));
    EXPECT_EQ(addresses, (std::vector<std::string>{"a.plant 1885", "b 1884", "::1 1885"}));
    EXPECT_EQ(broker.clientId, "press");
    EXPECT_EQ(broker.user, "u");
    EXPECT_EQ(broker.passwordFile, "/p");
    EXPECT_EQ(broker.keepAlive, seconds(30));
    EXPECT_EQ(broker.mostInFlight, 5);
    ASSERT_TRUE(broker.tls);
    EXPECT_EQ(broker.tls->authorities, "/ca");
    EXPECT_EQ(broker.tls->certificate, "/crt");
    EXPECT_EQ(broker.tls->key, "/key");
}

TEST(AFileWithEveryKey, NamesTheTags)
{
    const GatewaySettings all = parsed(EveryKey);
    EXPECT_EQ(all.groups, (std::vector<std::string>{"oven", "second"}));
    std::vector<std::string> tags;
    for (const GatewayTag &each : all.tags)
        tags.push_back(each.name + " " + textOf(each.tag).toStdString() + " " + std::to_string(each.group));
    EXPECT_EQ(tags, (std::vector<std::string>{"temp 5:100x2@4:s16 0", "inherits 5:1@4:u16 0", "on 2:17@9:bit 0",
                                              "recipe 5:300x8@3:text 1", "long 10:4@3:u32 1", "real 5:8@3:f32 1"}));
    EXPECT_EQ(all.tags[0].tag.scaling.scale, 0.1);
    EXPECT_EQ(all.tags[0].tag.scaling.offset, 5);
    EXPECT_EQ(all.tags[0].tag.unit, QStringLiteral("K"));
    const std::vector<Variable> variables = all.variables();
    ASSERT_EQ(variables.size(), 6u);
    EXPECT_EQ(textOf(variables[3]), QStringLiteral("5:300x8@3"));
    EXPECT_EQ(textOf(variables[5]), QStringLiteral("5:8x2@3")) << "counted in elements";
}

TEST(AFileWithEveryKey, TellsWhenValuesAreSent)
{
    const GatewaySettings all = parsed(EveryKey);
    const auto report = [&all](std::size_t tag) {
        const ReportRule &rule = all.tags[tag].report;
        return std::make_tuple(rule.deadBand, rule.least.count(), rule.longest.count());
    };
    EXPECT_EQ(report(0), std::make_tuple(1.0, 0, 0)) << "the tag's own win";
    EXPECT_EQ(report(1), std::make_tuple(0.5, 100, 60000)) << "the group's";
    EXPECT_EQ(report(2), std::make_tuple(0.0, 100, 60000)) << "a bit has no dead band";
    EXPECT_EQ(report(3), std::make_tuple(0.0, 0, 0)) << "of another group";
}

TEST(AFileWithEveryKey, TellsWhatMayBeWritten)
{
    const GatewaySettings all = parsed(EveryKey);
    const auto rule = [&all](std::size_t tag) {
        const WriteRule &write = all.tags[tag].write.value();
        return std::make_tuple(write.lowest, write.highest, write.step);
    };
    EXPECT_EQ(rule(0), std::make_tuple(5.0, 250.0, 0.5));
    EXPECT_FALSE(all.tags[1].write) << "nobody may without the key";
    EXPECT_EQ(rule(2), std::make_tuple(0.0, 1.0, 0.0));
    EXPECT_EQ(rule(3), std::make_tuple(0.0, 0.0, 0.0));
    EXPECT_FALSE(all.tags[4].write);
    EXPECT_EQ(rule(5), std::make_tuple(-0.25, 1000.0, 0.0));
}

TEST(AFileWithEveryKey, IsOneOfNamedVariablesToo)
{
    const TagFile file = parseTagFile(QStringLiteral("f"), EveryKey);
    EXPECT_EQ(file.link, QStringLiteral("tcp:10.0.0.9:5020"));
    EXPECT_EQ(file.tags().size(), 6u);
    EXPECT_FALSE(file.tags().at(4).type) << "of the format of the run";
}

TEST(TheExample, IsAGatewaysFileAndShownInTheDocument)
{
    QFile document(QStringLiteral(TARN_SOURCE_DIR "/docs/gateway.md")),
        file(QStringLiteral(TARN_SOURCE_DIR "/docs/gateway.toml"));
    ASSERT_TRUE(document.open(QIODevice::ReadOnly) && file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(document.readAll().contains("```toml\n" + file.readAll() + "```\n"));
    const GatewaySettings settings = readGatewaySettings(file.fileName());
    EXPECT_EQ(settings.name, "press7");
    EXPECT_EQ(settings.tags.size(), 5u);
    EXPECT_EQ(readTagFile(file.fileName()).tags().size(), 5u) << "fgs takes it, too";
}

TEST(AFileWithoutMore, HasTheDefaults)
{
    const Environment none("STATE_DIRECTORY", nullptr);
    const GatewaySettings bare = whole("spool = {}\nhttp = {}\n");
    EXPECT_EQ(bare.name, "press7") << "of the file";
    EXPECT_EQ(bare.interval, milliseconds(0));
    EXPECT_EQ(bare.host.timing.timeout, Time(1s));
    EXPECT_EQ(bare.host.retries, 2);
    EXPECT_EQ(bare.host.blockWords, 64);
    EXPECT_FALSE(bare.host.remoteLink);
    EXPECT_EQ(bare.broker.addresses.at(0).port, 1883);
    EXPECT_EQ(bare.broker.clientId, "fgs-gateway-press7");
    EXPECT_EQ(bare.broker.user + bare.broker.passwordFile, "");
    EXPECT_FALSE(bare.broker.tls);
    EXPECT_EQ(bare.broker.keepAlive, seconds(20));
    EXPECT_EQ(bare.broker.mostInFlight, 20);
    EXPECT_EQ(bare.layout.kind, LayoutKind::Plain);
    EXPECT_EQ(bare.layout.base, "fgs");
    EXPECT_EQ(bare.spool.value().file, "press7.spool");
    EXPECT_EQ(bare.spool->mostBytes, 64 * 1024 * 1024);
    EXPECT_EQ(bare.spool->longestAge, seconds(7 * 86400));
    EXPECT_EQ(bare.spool->historyPerSecond, 20);
    EXPECT_EQ(bare.commands.longestAge, seconds(30));
    EXPECT_EQ(bare.commands.mostPerMinute, 60);
    EXPECT_EQ(bare.commands.longestMessage, 16384);
    EXPECT_EQ(bare.http.value().address, "127.0.0.1");
    EXPECT_EQ(bare.http->port, 9464);
    EXPECT_EQ(bare.tags.at(0).tag.variable.station, 1);
}

TEST(AFileWithoutMore, HasNeitherSpoolNorHttp)
{
    EXPECT_FALSE(whole("").spool);
    EXPECT_FALSE(whole("").http);
}

TEST(Defaults, FollowWhatIsThere)
{
    const Environment state("STATE_DIRECTORY", "/var/lib/gateway:/other");
    EXPECT_EQ(whole("spool = {}\n").spool.value().file, "/var/lib/gateway/press7.spool");
    const std::string tls = "broker = { host = \"a\", tls = { ca = \"c\" } }\n";
    EXPECT_EQ(parsed(Head + tls + Group).broker.addresses.at(0).port, 8883);
    const GatewaySettings edge =
        whole("spool = {}\nlayout = { kind = \"sparkplug\", group = \"plant\", primary_host = \"scada 1\" }\n");
    EXPECT_EQ(edge.layout.kind, LayoutKind::Sparkplug);
    EXPECT_EQ(edge.layout.group, "plant");
    EXPECT_EQ(edge.layout.primaryHost, "scada 1");
}

TEST(Passwords, MayComeAsACredential)
{
    const std::string broker = "broker = { host = \"a\", user = \"u\", password_credential = \"mqtt\" }\n";
    {
        const Environment folder("CREDENTIALS_DIRECTORY", "/run/credentials/x");
        EXPECT_EQ(parsed(Head + broker + Group).broker.passwordFile, "/run/credentials/x/mqtt");
    }
    const Environment none("CREDENTIALS_DIRECTORY", nullptr); // as by hand
    EXPECT_EQ(parsed("name = \"other\"\n" + (Head + broker) + Group).broker.passwordFile,
              "/run/credentials/fgs-gateway@press7.service/mqtt")
        << "of the instance, which is called as the file is";
}

TEST(Faults, AreToldAllAtOnce)
{
    EXPECT_EQ(
        faultsOf("name = \"a/b\"\n"
                 "lime = 1\n"
                 "[line]\ninterval_ms = -1\ntimeout = 5\n"
                 "[broker]\nhost = [\"mqtt://a\", \"b\"]\npassword = \"secret\"\n"
                 "[layout]\nbase = \"plant.1\"\n"
                 "[[group]]\nname = \"ack\"\ndeadband = -1\n"
                 "[[group.tag]]\nname = \"t\"\nvariable = \"5:1@0\"\nwrite = true\n"),
        "f:1:1: 'link' is missing; add a line like link = \"/dev/ttyUSB0:19200,8E1\"\n"
        "f:1:8: 'a/b' is no name of a gateway, which stands in topics; write at most 64 letters of ASCII, "
        "digits, _ and -: name = \"press7\"\n"
        "f:2:1: unknown key 'lime'; did you mean 'line'?\n"
        "f:4:15: 'interval_ms' is no whole number from 0 to 86400000; write interval_ms = 0, say\n"
        "f:5:1: unknown key 'timeout'; did you mean 'timeout_ms'?\n"
        "f:7:9: 'mqtt://a' is no host, or host and port; write one like \"broker.plant\", \"10.0.0.1:1884\" or "
        "\"[::1]:1884\"\n"
        "f:8:12: a password does not stand in this file; write it into a file that only the gateway can read, "
        "and name that: password_file = \"...\"\n"
        "f:10:8: 'plant.1' is no beginning of topics; write levels of letters of ASCII, digits, _ and - with / "
        "between them, like base = \"plant/hall1\"\n"
        "f:12:8: 'ack' is a reserved name of a group; choose another; status, cmd, ack and doctor are reserved\n"
        "f:13:12: the dead band is less than 0; write the smallest change that matters, or 0 for each change\n"
        "f:16:12: station 0 means all stations and cannot be read; name one station from 1 to 255\n"
        "f:17:9: a number may be written in a range only; write = { min = 0, max = 100 }, say");
}

TEST(Faults, OfTheSyntaxAreToldAlone)
{
    const std::string fault = faultsOf("lime = 1\n[broker\n");
    EXPECT_EQ(fault.find("f:2:"), 0u) << fault;
    EXPECT_EQ(fault.find('\n'), std::string::npos) << fault;
}

TEST(Faults, AreToldOfAnEmptyFile)
{
    EXPECT_EQ(faultsOf(""),
              "f:1:1: 'link' is missing; add a line like link = \"/dev/ttyUSB0:19200,8E1\"\n"
              "f:1:1: there is no broker; add a section [broker] with a line like host = \"127.0.0.1\"\n"
              "f:1:1: there is no group of variables; begin one with [[group]] and a name = \"...\"");
    EXPECT_THROW(readGatewaySettings(QStringLiteral("/no/such/file.toml")), TextError);
}

TEST(Faults, AreToldOfNames)
{
    for (const char *name : {"", "a.b", "a b", "a/b", "a+", "#", "ü", "a\\n"})
        EXPECT_EQ(faultsWith("name = \"" + std::string(name) + "\"\n").find("f:3:8: '"), 0u) << name;
    EXPECT_NE(faultsWith("name = \"" + std::string(65, 'a') + "\"\n"), "");
    EXPECT_EQ(whole("name = \"7-_x\"\n").name, "7-_x");
    const std::string text = std::string(Head) + Broker + Group;
    EXPECT_EQ(
        faultOf([&] { parsed(text, "/etc/my press.toml"); }),
        "/etc/my press.toml:1:1: 'my press' is no name of a gateway, which stands in topics; write at most 64 "
        "letters of ASCII, digits, _ and -: name = \"press7\"");
}

/// A section of line 3, and where its fault stands.
struct Faulty {
    const char *section;
    const char *fault; ///< the beginning
};

TEST(Faults, AreToldOfSections)
{
    for (const Faulty &each : {
             Faulty{"line = 5\n", "f:3:8: 'line' is no table; write it like [line]"},
             Faulty{"line = { timeout_ms = 0 }\n", "f:3:23: 'timeout_ms' is no whole number from 1 to 600000"},
             Faulty{"line = { retries = 1001 }\n", "f:3:20: 'retries' is no whole number from 0 to 1000"},
             Faulty{"line = { block_words = 3 }\n", "f:3:24: 'block_words' is no whole number from 4 to 255"},
             Faulty{"line = { remote_link = 256 }\n", "f:3:24: 'remote_link' is no whole number from 0 to 255"},
             Faulty{"line = { retrys = 1 }\n", "f:3:10: unknown key 'retrys'; did you mean 'retries'?"},
             Faulty{"layout = { kind = \"json\" }\n", "f:3:19: 'json' is no layout; write plain or sparkplug"},
             Faulty{"layout = { group = \"a\" }\n",
                    "f:3:20: 'group' belongs to the layout sparkplug; leave it out"},
             Faulty{"layout = { primary_host = \"a\" }\n",
                    "f:3:27: 'primary_host' belongs to the layout sparkplug"},
             Faulty{"layout = { base = \"a//b\" }\n", "f:3:19: 'a//b' is no beginning of topics"},
             Faulty{"layout = { base = \"/a\" }\n", "f:3:19: '/a' is no beginning of topics"},
             Faulty{"layout = { base = \"a/#\" }\n", "f:3:19: 'a/#' is no beginning of topics"},
             Faulty{"layout = { kind = \"sparkplug\" }\n", "f:3:10: 'group' is missing; add a line like group = "},
             Faulty{"layout = { kind = \"sparkplug\", group = \"a/b\" }\n", "f:3:40: 'a/b' is no level of a topic"},
             Faulty{"layout = { kind = \"sparkplug\", group = \"a\", primary_host = \"+\" }\n",
                    "f:3:60: '+' is no level of a topic; write a text without +, # and /"},
             Faulty{"layout = { kind = \"sparkplug\", group = \"a\", base = \"b\" }\n",
                    "f:3:52: 'base' belongs to the layout plain"},
             Faulty{"layout = { kind = \"sparkplug\", group = \"a\" }\nspool = {}\n",
                    "f:4:9: without a primary host nobody tells what of the spool has arrived"},
             Faulty{"spool = { file = \"\" }\n", "f:3:18: the path is empty"},
             Faulty{"spool = { megabytes = 0 }\n", "f:3:23: 'megabytes' is no whole number from 1 to 1048576"},
             Faulty{"spool = { days = 3651 }\n", "f:3:18: 'days' is no whole number from 1 to 3650"},
             Faulty{"spool = { history_per_s = 0 }\n",
                    "f:3:27: 'history_per_s' is no whole number from 1 to 10000"},
             Faulty{"spool = { size = 0 }\n", "f:3:11: unknown key 'size'; did you mean 'file'?"},
             Faulty{"commands = { max_age_s = -1 }\n", "f:3:26: 'max_age_s' is no whole number from 0 to 86400"},
             Faulty{"commands = { per_minute = 0 }\n", "f:3:27: 'per_minute' is no whole number from 1 to 60000"},
             Faulty{"commands = { max_bytes = 63 }\n", "f:3:26: 'max_bytes' is no whole number from 64 to 1048576"},
             Faulty{"commands = { max_age = 1 }\n", "f:3:14: unknown key 'max_age'; did you mean 'max_age_s'?"},
             Faulty{"http = { listen = \"9464\" }\n", "f:3:19: '9464' is no address with a port"},
             Faulty{"http = { listen = \"localhost:1\" }\n", "f:3:19: 'localhost:1' is no address with a port"},
             Faulty{"http = { listen = \"::1:9464\" }\n", "f:3:19: '::1:9464' is no address with a port"},
             Faulty{"http = { listen = \"1.2.3.4:65536\" }\n", "f:3:19: '1.2.3.4:65536' is no address with a port"},
             Faulty{"http = { port = 1 }\n", "f:3:10: unknown key 'port'; known are listen"},
         })
        EXPECT_EQ(faultsWith(each.section).substr(0, std::string(each.fault).size()), each.fault) << each.section;
}

TEST(Faults, AreToldOfBrokers)
{
    for (const Faulty &each : {
             Faulty{"broker = {}\n", "f:2:10: 'host' is missing; add a line like host = \"127.0.0.1\""},
             Faulty{"broker = \"a\"\n", "f:2:10: 'broker' is no table; write it like [broker]"},
             Faulty{"broker = { host = [] }\n", "f:2:19: 'host' is neither a text nor a list of texts"},
             Faulty{"broker = { host = [\"a\", \"a b\"] }\n", "f:2:25: 'a b' is no host, or host and port"},
             Faulty{"broker = { host = \"a:0\" }\n", "f:2:19: 'a:0' is no host, or host and port"},
             Faulty{"broker = { host = \"::1\" }\n", "f:2:19: '::1' is no host, or host and port"},
             Faulty{"broker = { host = \"a\", port = 65536 }\n",
                    "f:2:31: 'port' is no whole number from 1 to 65535"},
             Faulty{"broker = { host = \"a\", client_id = \"\" }\n", "f:2:36: the client id is no printable text"},
             Faulty{"broker = { host = \"a\", keep_alive_s = 4 }\n",
                    "f:2:39: 'keep_alive_s' is no whole number from "
                    "5 to 65535"},
             Faulty{"broker = { host = \"a\", in_flight = 0 }\n", "f:2:36: 'in_flight' is no whole number from 1 "
                                                                  "to 10000"},
             Faulty{"broker = { host = \"a\", password_file = \"p\" }\n",
                    "f:2:40: there is a password and no user"},
             Faulty{"broker = { host = \"a\", user = \"u\", password_file = \"\" }\n", "f:2:52: the path is empty"},
             Faulty{"broker = { host = \"a\", user = \"u\", password_file = \"p\", password_credential = \"c\" }\n",
                    "f:2:79: the password stands in password_file already"},
             Faulty{"broker = { host = \"a\", user = \"u\", password_credential = \"../c\" }\n",
                    "f:2:58: '../c' is no name of a credential"},
             Faulty{"broker = { host = \"a\", tls = true }\n",
                    "f:2:30: 'tls' is no table; write it like [broker.tls]"},
             Faulty{"broker = { host = \"a\", tls = {} }\n", "f:2:30: 'ca' is missing; add a line like ca = "},
             Faulty{"broker = { host = \"a\", tls = { ca = \"\" } }\n", "f:2:37: the path is empty"},
             Faulty{"broker = { host = \"a\", tls = { ca = \"c\", certificate = \"d\" } }\n",
                    "f:2:56: the certificate has no key; add a line like key = \"client.key\""},
             Faulty{"broker = { host = \"a\", tls = { ca = \"c\", key = \"d\" } }\n",
                    "f:2:48: the key has no certificate; add a line like certificate = \"client.crt\""},
             Faulty{"broker = { host = \"a\", tls = { ca = \"c\", cert = \"d\" } }\n",
                    "f:2:42: unknown key 'cert'"},
             Faulty{"broker = { hosts = \"a\", host = \"b\" }\n",
                    "f:2:12: unknown key 'hosts'; did you mean 'host'?"},
         })
        EXPECT_EQ(brokerFaults(each.section).substr(0, std::string(each.fault).size()), each.fault) << each.section;
}

TEST(Faults, AreToldOfTags)
{
    for (const Faulty &each : {
             Faulty{"variable = \"2:1\", deadband = 1", "f:5:52: a dead band is for numbers, and this is none"},
             Faulty{"variable = \"5:1x2:text\", deadband = 0",
                    "f:5:59: a dead band is for numbers, and this is none"},
             Faulty{"variable = \"5:1\", deadband = -0.5", "f:5:52: the dead band is less than 0"},
             Faulty{"variable = \"5:1\", least_ms = -1",
                    "f:5:52: 'least_ms' is no whole number from 0 to 86400000"},
             Faulty{"variable = \"5:1\", longest_ms = 1.5", "f:5:54: 'longest_ms' is no whole number"},
             Faulty{"variable = \"5:1\", least_ms = 9, longest_ms = 8",
                    "f:5:68: the longest time is shorter than the least, 9 ms"},
             Faulty{"variable = \"8:1\", write = { min = 0, max = 1 }", "f:5:49: area 8 is read-only"},
             Faulty{"variable = \"5:1\", write = true", "f:5:49: a number may be written in a range only"},
             Faulty{"variable = \"5:1\", write = 5", "f:5:49: 'write' is no table; write it like write = { min"},
             Faulty{"variable = \"2:1\", write = { min = 0, max = 1 }", "f:5:49: bits and texts have no range"},
             Faulty{"variable = \"5:1x2:text\", write = 1", "f:5:56: bits and texts have no range"},
             Faulty{"variable = \"5:1\", write = { max = 1 }", "f:5:49: 'min' is missing; add a line like min = 0"},
             Faulty{"variable = \"5:1\", write = { min = 1 }", "f:5:49: 'max' is missing"},
             Faulty{"variable = \"5:1\", write = { min = 1, max = 1 }", "f:5:66: 'max' is not above 'min'"},
             Faulty{"variable = \"5:1\", write = { min = -1, max = 1 }", "f:5:57: '-1' "},
             Faulty{"variable = \"5:1\", write = { min = 0, max = 65536 }", "f:5:66: '65536' "},
             Faulty{"variable = \"5:1\", write = { min = 0.5, max = 9 }", "f:5:57: '0.5' "},
             Faulty{"variable = \"5:1:s16\", scale = 0.1, write = { min = 0, max = 3276.8 }",
                    "f:5:83: '3276.8' is beyond -3276.8 to 3276.7"},
             Faulty{"variable = \"5:1:s16\", scale = 0.1, write = { min = 0.05, max = 1 }",
                    "f:5:74: '0.05' lies between two steps of the raw value; the nearest values are 0.0 and 0.1"},
             Faulty{"variable = \"10:1:f32\", write = { min = 0, max = 1e39 }",
                    "f:5:71: '1e+39' is beyond the greatest number of single precision"},
             Faulty{"variable = \"5:1\", write = { min = 0, max = 9, step = 0 }",
                    "f:5:76: the step is not above 0"},
             Faulty{"variable = \"5:1\", write = { min = 0, max = 9, step = 1.5 }",
                    "f:5:76: the step is no multiple of 1, which is one of the raw value; write step = 2, say"},
             Faulty{"variable = \"5:1\", scale = -0.1, write = { min = -9, max = 0, step = 0.25 }",
                    "f:5:91: the step is no multiple of 0.1, which is one of the raw value; write step = 0.3"},
             Faulty{"variable = \"5:1\", write = { min = 0, max = 9, steps = 1 }", "f:5:69: unknown key 'steps'"},
             Faulty{"variable = \"5:1\", writable = true", "f:5:41: unknown key 'writable'"},
             Faulty{"variable = \"5:1@0\"", "f:5:34: station 0 means all stations and cannot be read"},
             Faulty{"variable = \"5:1:s17\", write = 5, deadband = -1",
                    "f:5:34: variable '5:1:s17': 's17' is no type"},
         })
        EXPECT_EQ(tagFaults(each.section).substr(0, std::string(each.fault).size()), each.fault) << each.section;
}

/// What is in its units cannot be judged.
TEST(Faults, OfAScaleHideTheOthersOfItsTag)
{
    for (const char *scale : {"0", "-0.0", "1e10"})
        EXPECT_EQ(tagFaults("variable = \"5:1:s16\", scale = " + std::string(scale) +
                            ", deadband = 1, write = { min = 0.5, max = 250, step = 0.3 }"),
                  "f:5:53: the scale is 0, or not from 1e-9 to 1e9; write what one step of the raw value means")
            << scale;
}

TEST(Faults, ThatAGroupBringsAreToldOnce)
{
    EXPECT_EQ(faultsOf(std::string(Head) + Broker +
                       "[[group]]\nname = \"g\"\nleast_ms = 9\nlongest_ms = 8\n"
                       "tag = [ { name = \"t\", variable = \"5:1\" }, { name = \"u\", variable = \"2:1\" } ]\n"),
              "f:6:14: the longest time is shorter than the least, 9 ms; write longest_ms = 0, or more than that");
}

TEST(Steps, MayBeAnyOfAFloatAndMultiplesOfScales)
{
    for (const char *keys : {"variable = \"10:1:f32\", write = { min = 0, max = 1, step = 0.3 }",
                             "variable = \"5:1\", scale = 0.1, write = { min = 0, max = 100, step = 0.3 }",
                             "variable = \"5:1\", scale = 0.1, write = { min = 0.1, max = 6553.5, step = 0.1 }",
                             "variable = \"5:1\", scale = -0.5, offset = 10, write = { min = -9, max = 10 }",
                             "variable = \"5:1:x16\", write = { min = 0, max = 255, step = 16 }",
                             "variable = \"5:1:u32\", write = { min = 0, max = 4294967295 }"})
        EXPECT_EQ(tagFaults(keys), "") << keys;
    EXPECT_EQ(withTag("variable = \"5:1\", write = { min = 2, max = 8 }").tags.at(0).write->step, 0);
}

TEST(InitialSettings, ReadBack)
{
    for (const char *link : {"/dev/ttyUSB0", "/dev/ttyS1:9600,8N1", "tcp:127.0.0.1:5020", "tcp:[::1]:5020",
                             "./a\tb \"quoted\" \\ path"}) {
        const QString text = initialSettings(QString::fromLatin1(link));
        const GatewaySettings settings = parseGatewaySettings(QStringLiteral("press7.toml"), text.toUtf8());
        EXPECT_EQ(settings.link.toStdString(), link);
        EXPECT_EQ(settings.name, "press7");
        EXPECT_EQ(settings.tags.size(), 1u);
        EXPECT_EQ(settings.broker.addresses.at(0).host, "127.0.0.1");
    }
    EXPECT_THROW(initialSettings(QStringLiteral("COM1")), TextError);
}

/// What is commented out may be taken in, and holds without it already.
TEST(InitialSettings, ShowTheDefaults)
{
    const Environment none("STATE_DIRECTORY", nullptr);
    QString text = initialSettings(QStringLiteral("/dev/ttyS0"));
    text.replace(QStringLiteral("\n# "), QStringLiteral("\n"));
    text.remove(0, text.indexOf(QStringLiteral("name = ")));
    const GatewaySettings all = parseGatewaySettings(QStringLiteral("press7.toml"), text.toUtf8());
    EXPECT_EQ(all.host.timing.timeout, HostOptions().timing.timeout);
    EXPECT_EQ(all.host.retries, HostOptions().retries);
    EXPECT_EQ(all.host.blockWords, HostOptions().blockWords);
    EXPECT_EQ(all.broker.clientId, "fgs-gateway-press7");
    EXPECT_EQ(all.broker.keepAlive, BrokerSettings().keepAlive);
    EXPECT_EQ(all.broker.mostInFlight, BrokerSettings().mostInFlight);
    EXPECT_EQ(all.spool.value().mostBytes, SpoolSettings().mostBytes);
    EXPECT_EQ(all.spool->longestAge, SpoolSettings().longestAge);
    EXPECT_EQ(all.spool->historyPerSecond, SpoolSettings().historyPerSecond);
    EXPECT_EQ(all.commands.longestAge, CommandSettings().longestAge);
    EXPECT_EQ(all.commands.mostPerMinute, CommandSettings().mostPerMinute);
    EXPECT_EQ(all.commands.longestMessage, CommandSettings().longestMessage);
    EXPECT_EQ(all.http.value().port, HttpSettings().port);
}

} // namespace
