// Links as people write them.
#include "host/devices.h"
#include "host/text_error.h"

#include <gtest/gtest.h>
#include <ostream>

using namespace fgs;

namespace
{

QString textOf(const SerialAddress &address)
{
    return QStringLiteral("%1 at %2 %3%4%5")
        .arg(address.device)
        .arg(address.baud)
        .arg(address.dataBits)
        .arg(QLatin1Char(address.parity))
        .arg(address.stopBits);
}

QString textOf(const TcpAddress &address)
{
    return QStringLiteral("%1 port %2").arg(address.host).arg(address.port);
}

struct Row {
    const char *text;
    const char *meaning;
};
void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.text;
}

class GoodLink : public ::testing::TestWithParam<Row>
{
};

TEST_P(GoodLink, Means)
{
    const auto address = parseLink(QString::fromLatin1(GetParam().text));
    const QString meaning = std::visit([](const auto &kind) { return textOf(kind); }, address);
    EXPECT_EQ(meaning.toStdString(), GetParam().meaning);
}

INSTANTIATE_TEST_SUITE_P(
    Serial, GoodLink,
    ::testing::Values(Row{"/dev/ttyUSB0", "/dev/ttyUSB0 at 19200 8E1"},
                      Row{"/dev/ttyUSB0:9600", "/dev/ttyUSB0 at 9600 8E1"},
                      Row{"/dev/ttyUSB0:19200,8E1", "/dev/ttyUSB0 at 19200 8E1"},
                      Row{"/dev/ttyS1:115200,7O2", "/dev/ttyS1 at 115200 7O2"},
                      Row{"/dev/pts/3", "/dev/pts/3 at 19200 8E1"}, Row{"./plc:9600", "./plc at 9600 8E1"},
                      Row{"../plc", "../plc at 19200 8E1"}, Row{"/tmp/my plc:9600", "/tmp/my plc at 9600 8E1"},
                      Row{"/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0:4800,8N1",
                          "/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0 at 4800 8N1"},
                      Row{"/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0",
                          "/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0 at 19200 8E1"}));
INSTANTIATE_TEST_SUITE_P(Tcp, GoodLink,
                         ::testing::Values(Row{"tcp:127.0.0.1:5020", "127.0.0.1 port 5020"},
                                           Row{"tcp:plc.factory:1", "plc.factory port 1"},
                                           Row{"tcp:[fe80::1%eth0]:5020", "fe80::1%eth0 port 5020"},
                                           Row{"tcp:[::1]:65535", "::1 port 65535"}));

/// The faults.
#define TCP_FORM "not of the form tcp:HOST:PORT"
#define PORT_RANGE "the port must be 1..65535"
#define BAUD_RANGE "the baud rate must be 50..4000000"
#define NEITHER "neither the path of a device nor tcp:HOST:PORT"
#define SETTINGS "settings are BAUD or BAUD,8E1, with data bits 5..8, parity N, E or O, and stop bits 1 or 2"
#define WINDOWS "a name of Windows; here serial ports are called /dev/ttyUSB0 or /dev/ttyS0, say"

std::string refusalOf(const char *text)
{
    try {
        parseLink(QString::fromLatin1(text));
        return "accepted";
    } catch (const TextError &error) {
        return error.what();
    }
}

class BadLink : public ::testing::TestWithParam<Row>
{
};

TEST_P(BadLink, IsRefusedWithTheForm)
{
    const std::string form = "; write DEVICE[:BAUD[,8E1]] or tcp:HOST:PORT, for example /dev/ttyUSB0:19200,8E1 or "
                             "tcp:127.0.0.1:5020";
    EXPECT_EQ(refusalOf(GetParam().text),
              "link '" + std::string(GetParam().text) + "': " + GetParam().meaning + form);
}

INSTANTIATE_TEST_SUITE_P(
    Links, BadLink,
    ::testing::Values(Row{"", "empty"}, Row{" ", NEITHER}, Row{"plc", NEITHER}, Row{"192.168.0.5", NEITHER},
                      Row{"~/plc", NEITHER}, Row{"udp:plc:80", NEITHER}, Row{":19200,8E1", NEITHER},
                      Row{"COM3", WINDOWS}, Row{"com12:9600,8E1", WINDOWS}, Row{"tcp:", TCP_FORM},
                      Row{"tcp:host", TCP_FORM}, Row{"tcp::5020", TCP_FORM}, Row{"tcp:host:1:2", TCP_FORM},
                      Row{"tcp:host:0", PORT_RANGE}, Row{"tcp:host:65536", PORT_RANGE},
                      Row{"tcp:host:99999999999", PORT_RANGE}, Row{"host:0", NEITHER},
                      Row{"/dev/ttyUSB0:fast", SETTINGS}, Row{"/dev/ttyUSB0:9600bps", SETTINGS},
                      Row{"/dev/ttyUSB0:-9600", SETTINGS}, Row{"/dev/ttyUSB0:19200,8X1", SETTINGS},
                      Row{"/dev/ttyUSB0:19200,9E1", SETTINGS}, Row{"/dev/ttyUSB0:19200,8E3", SETTINGS},
                      Row{"/dev/ttyUSB0:19200,8E", SETTINGS}, Row{"/dev/ttyUSB0:0", BAUD_RANGE},
                      Row{"/dev/ttyUSB0:4000001", BAUD_RANGE}));

struct Meant {
    const char *text;
    const char *fault;
    const char *meaning;
};
void PrintTo(const Meant &row, std::ostream *out)
{
    *out << row.text;
}

class MistakenLink : public ::testing::TestWithParam<Meant>
{
};

TEST_P(MistakenLink, IsRefusedWithWhatWasMeant)
{
    const std::string asked = std::string("; did you mean ") + GetParam().meaning + "?";
    EXPECT_EQ(refusalOf(GetParam().text),
              "link '" + std::string(GetParam().text) + "': " + GetParam().fault + asked);
    EXPECT_EQ(refusalOf(GetParam().meaning), "accepted");
}

INSTANTIATE_TEST_SUITE_P(
    Tcp, MistakenLink,
    ::testing::Values(
        Meant{"localhost:5020", NEITHER, "tcp:localhost:5020"},
        Meant{"127.0.0.1:5020", NEITHER, "tcp:127.0.0.1:5020"},
        Meant{"plc.factory:5020", NEITHER, "tcp:plc.factory:5020"}, Meant{"[::1]:5020", NEITHER, "tcp:[::1]:5020"},
        Meant{"::1:5020", NEITHER, "tcp:[::1]:5020"}, Meant{"tcp:::1:5020", TCP_FORM, "tcp:[::1]:5020"},
        Meant{"tcp:fe80::1%eth0:5020", TCP_FORM, "tcp:[fe80::1%eth0]:5020"},
        Meant{"tcp:5020", TCP_FORM, "tcp:127.0.0.1:5020"}, Meant{"TCP:plc:5020", NEITHER, "tcp:plc:5020"},
        Meant{"tcp://plc:5020", TCP_FORM, "tcp:plc:5020"}, Meant{"http://[::1]:80/", NEITHER, "tcp:[::1]:80"},
        Meant{"tcp:plc,5020", TCP_FORM, "tcp:plc:5020"}, Meant{"tcp:plc 5020", TCP_FORM, "tcp:plc:5020"},
        Meant{"tcp:plc/5020", TCP_FORM, "tcp:plc:5020"}, Meant{" tcp:plc:5020 ", NEITHER, "tcp:plc:5020"}));
INSTANTIATE_TEST_SUITE_P(Serial, MistakenLink,
                         ::testing::Values(Meant{"ttyUSB0", NEITHER, "/dev/ttyUSB0"},
                                           Meant{"ttyUSB0:9600", NEITHER, "/dev/ttyUSB0:9600"},
                                           Meant{"ttyUSB0,9600,8e1", NEITHER, "/dev/ttyUSB0:9600,8E1"},
                                           Meant{"pts/3", NEITHER, "/dev/pts/3"},
                                           Meant{"dir/plc", NEITHER, "./dir/plc"},
                                           Meant{"serial:///dev/ttyUSB0:9600", NEITHER, "/dev/ttyUSB0:9600"},
                                           Meant{"rtu:/dev/ttyUSB0", NEITHER, "/dev/ttyUSB0"},
                                           Meant{"/dev/ttyS0,9600", SETTINGS, "/dev/ttyS0:9600"},
                                           Meant{"/dev/ttyS0,9600,8E1", SETTINGS, "/dev/ttyS0:9600,8E1"},
                                           Meant{"/dev/ttyUSB0:9600:8E1", SETTINGS, "/dev/ttyUSB0:9600,8E1"},
                                           Meant{"/dev/ttyUSB0:9600/8E1", SETTINGS, "/dev/ttyUSB0:9600,8E1"},
                                           Meant{"/dev/ttyUSB0:9600,8n1", SETTINGS, "/dev/ttyUSB0:9600,8N1"},
                                           Meant{"/dev/ttyUSB0:9600,8,N,1", SETTINGS, "/dev/ttyUSB0:9600,8N1"},
                                           Meant{"/dev/ttyUSB0:9600,n,8,2", SETTINGS, "/dev/ttyUSB0:9600,8N2"},
                                           Meant{"/dev/ttyUSB0 9600 8-O-1", SETTINGS, "/dev/ttyUSB0:9600,8O1"},
                                           Meant{"/dev/ttyUSB0 9600", SETTINGS, "/dev/ttyUSB0:9600"},
                                           Meant{"/dev/ttyUSB0@9600", SETTINGS, "/dev/ttyUSB0:9600"},
                                           Meant{"/dev/ttyUSB0:9600 ", SETTINGS, "/dev/ttyUSB0:9600"},
                                           Meant{"/dev/ttyUSB0:", SETTINGS, "/dev/ttyUSB0"},
                                           Meant{"/dev/ttyUSB0:9600,", SETTINGS, "/dev/ttyUSB0:9600"},
                                           Meant{"/dev/ttyUSB0:,8E1", SETTINGS, "/dev/ttyUSB0:19200,8E1"},
                                           Meant{"/dev/ttyUSB0:8E1", SETTINGS, "/dev/ttyUSB0:19200,8E1"},
                                           Meant{"/tmp/plc:7o2", SETTINGS, "/tmp/plc:19200,7O2"},
                                           Meant{"/tmp/my plc,9600", SETTINGS, "/tmp/my plc:9600"}));

} // namespace
