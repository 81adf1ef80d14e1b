// What a gateway is told in its file: docs/gateway.md describes it.
#ifndef FGS_GATEWAY_SETTINGS_H
#define FGS_GATEWAY_SETTINGS_H

#include "moment.h"

#include "host/host.h"
#include "watch/tag_file.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace fgs
{

/// What may be written into a tag, in engineering units.
struct WriteRule {
    double lowest = 0, highest = 0; ///< both allowed; a bit has 0 and 1, a text none
    double step = 0;                ///< from the lowest; 0: any that the raw value has
};

/// When a value is sent.
struct ReportRule {
    double deadBand = 0;     ///< engineering units: a change that is not larger is not sent; 0: each change is
    milliseconds least{0};   ///< between two messages with the tag; what changes meanwhile is sent at its end
    milliseconds longest{0}; ///< after so long it is sent without a change; 0: it is not
};

/// A variable with a name; its type is always set.
struct GatewayTag {
    Tag tag;
    std::string name; ///< the tag's, as UTF-8
    std::size_t group = 0;
    ReportRule report;
    std::optional<WriteRule> write; ///< none: nobody may write it
};

struct BrokerAddress {
    std::string host;
    int port = 1883;
};

struct TlsSettings {
    std::string authorities; ///< file of CA certificates
    std::string certificate; ///< file; empty: none is shown
    std::string key;         ///< file
};

struct BrokerSettings {
    std::vector<BrokerAddress> addresses; ///< of one cluster, tried in turn; at least one
    std::string clientId;
    std::string user;         ///< empty: none
    std::string passwordFile; ///< empty: no password; a systemd credential has been turned into its file
    std::string credential;   ///< the name of that; empty: the file is none
    std::optional<TlsSettings> tls;
    std::chrono::seconds keepAlive{20};
    int mostInFlight = 20; ///< messages that are not acknowledged yet
};

enum class LayoutKind { Plain, Sparkplug };

struct LayoutSettings {
    LayoutKind kind = LayoutKind::Plain;
    std::string base;        ///< Plain: "plant/hall1"; topics begin with BASE/GATEWAY
    std::string group;       ///< Sparkplug
    std::string primaryHost; ///< Sparkplug: its id; empty: none is waited for
};

struct SpoolSettings {
    std::string file;
    std::int64_t mostBytes = 64LL << 20;
    std::chrono::seconds longestAge{7 * 24 * 3600};
    int historyPerSecond = 20; ///< messages, once the live values are sent
};

struct CommandSettings {
    static constexpr int LongestAllowed = 1 << 20; ///< bytes: longestMessage is never more

    std::chrono::seconds longestAge{30}; ///< by the sender's clock; 0: not looked at
    int mostPerMinute = 60;
    int longestMessage = 16384; ///< bytes
};

struct HttpSettings {
    std::string address = "127.0.0.1";
    int port = 9464;
};

struct GatewaySettings {
    std::string name; ///< of the gateway; a level of its topics
    QString link;
    milliseconds interval{0}; ///< from the start of one reading of all tags to that of the next
    HostOptions host;
    std::vector<std::string> groups; ///< names; at least one
    std::vector<GatewayTag> tags;    ///< in the order of the file; at least one
    BrokerSettings broker;
    LayoutSettings layout;
    std::optional<SpoolSettings> spool;
    CommandSettings commands;
    std::optional<HttpSettings> http;

    std::vector<Variable> variables() const; ///< of the tags, in their order
};

/// Throws TextError with a line for each fault: file, line, column, what, remedy.
GatewaySettings parseGatewaySettings(const QString &file, const QByteArray &text);
/// The same of a file on the disk. Throws TextError, also if it cannot be read.
GatewaySettings readGatewaySettings(const QString &file);

/// A file with comments for a gateway on this link, which reads back without a fault. Throws TextError if the link
/// is none.
QString initialSettings(const QString &link);

} // namespace fgs

#endif
