#include "host/devices.h"
#include "settings.h"

namespace fgs
{

namespace
{

const char *const Template =
    R"(# A gateway from one line to an MQTT broker; man fgs-gateway.toml tells more. Keys behind a # show
# what holds without them, or are examples.

# name = "press7"               # stands in topics; without it the name of this file
link = "%1"
station = 1                     # of variables without @STATION

[line]
interval_ms = 0                 # from the start of one reading of all variables to that of the next
# timeout_ms = 1000             # for an answer
# retries = 2
# block_words = 64              # most words in one block; fgs plan FILE tells the best
# remote_link = 0               # everything by remote frames with this link number

[broker]
host = "127.0.0.1"              # or a list, ["a", "b:1884"], of one cluster
# port = 1883                   # with [broker.tls] 8883
# client_id = "fgs-gateway-press7"
# user = "press7"
# password_credential = "mqtt"  # of a service: LoadCredential=mqtt:FILE in systemd's file; examples/password.conf
#                               # or password_file = "press7.password" of a gateway that is started by hand
# keep_alive_s = 20
# in_flight = 20                # messages that wait to be acknowledged

# [broker.tls]
# ca = "/etc/ssl/certs/ca-certificates.crt"
# certificate = "/etc/fgs-gateway/press7.crt"
# key = "/etc/fgs-gateway/press7.key"

[layout]
kind = "plain"                  # or "sparkplug" with group = "plant" and primary_host = "scada"
base = "fgs"                    # topics are BASE/NAME/GROUP

# [spool]                       # keeps on the disk what the broker does not acknowledge
# megabytes = 64
# days = 7
# history_per_s = 20

# [commands]
# max_age_s = 30                # by the sender's clock; 0: it is not looked at
# per_minute = 60
# max_bytes = 16384

# [http]                        # /metrics and /healthz
# listen = "127.0.0.1:9464"

[[group]]
name = "example"
# least_ms = 0                  # between two messages with a variable
# longest_ms = 0                # after so long it is sent without a change; 0: it is not
# deadband = 0                  # a change that is not larger is not sent

[[group.tag]]
name = "example_word"
variable = "5:0:s16"            # AREA:ADDRESS[xCOUNT][@STATION][:TYPE], as fgs takes it
# scale = 0.1
# offset = 0
# unit = "°C"
# write = { min = 0, max = 250, step = 0.5 }    # nobody may write without it; bits and texts: write = true
)";

/// As it stands between quotes.
QString quoted(const QString &text)
{
    QString escaped;
    for (const QChar each : text)
        if (each < QLatin1Char(' ') || each == QLatin1Char('"') || each == QLatin1Char('\\') ||
            each.unicode() == 0x7F)
            escaped += QStringLiteral("\\u%1").arg(int(each.unicode()), 4, 16, QLatin1Char('0'));
        else
            escaped += each;
    return escaped;
}

} // namespace

QString initialSettings(const QString &link)
{
    parseLink(link);
    return QString::fromUtf8(Template).replace(QStringLiteral("%1"), quoted(link));
}

} // namespace fgs
