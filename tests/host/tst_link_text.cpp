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
                      Row{"/dev/pts/3", "/dev/pts/3 at 19200 8E1"},
                      Row{"/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0:4800,8N1",
                          "/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0 at 4800 8N1"},
                      Row{"/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0",
                          "/dev/serial/by-path/pci-0000:00:14.0-usb-0:1:1.0-port0 at 19200 8E1"}));
INSTANTIATE_TEST_SUITE_P(Tcp, GoodLink,
                         ::testing::Values(Row{"tcp:127.0.0.1:5020", "127.0.0.1 port 5020"},
                                           Row{"tcp:plc.factory:1", "plc.factory port 1"},
                                           Row{"tcp:[::1]:65535", "::1 port 65535"}));

class BadLink : public ::testing::TestWithParam<Row>
{
};

TEST_P(BadLink, IsRefusedWithTheRemedy)
{
    const std::string remedy =
        "; write DEVICE[:BAUD[,8E1]] or tcp:HOST:PORT, for example /dev/ttyUSB0:19200,8E1 or "
        "tcp:127.0.0.1:5020";
    try {
        parseLink(QString::fromLatin1(GetParam().text));
        FAIL() << "accepted";
    } catch (const TextError &error) {
        EXPECT_EQ(error.what(), "link '" + std::string(GetParam().text) + "': " + GetParam().meaning + remedy);
    }
}

#define SETTINGS "after the baud rate come data bits 5..8, parity N, E or O, and stop bits 1 or 2, like 8E1"
INSTANTIATE_TEST_SUITE_P(Links, BadLink,
                         ::testing::Values(Row{"", "empty"}, Row{"tcp:", "not of the form tcp:HOST:PORT"},
                                           Row{"tcp:host", "not of the form tcp:HOST:PORT"},
                                           Row{"tcp:::1:5020", "not of the form tcp:HOST:PORT"},
                                           Row{"tcp:host:0", "the port must be 1..65535"},
                                           Row{"tcp:host:65536", "the port must be 1..65535"},
                                           Row{"tcp:host:99999999999", "the port must be 1..65535"},
                                           Row{"/dev/ttyUSB0:19200,8X1", SETTINGS},
                                           Row{"/dev/ttyUSB0:19200,", SETTINGS},
                                           Row{"/dev/ttyUSB0:19200,9E1", SETTINGS},
                                           Row{"/dev/ttyUSB0:19200,8E3", SETTINGS}, Row{":19200,8E1", SETTINGS},
                                           Row{"/dev/ttyUSB0:0", "the baud rate must be 50..4000000"},
                                           Row{"/dev/ttyUSB0:4000001", "the baud rate must be 50..4000000"}));

} // namespace
