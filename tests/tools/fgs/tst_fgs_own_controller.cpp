// The tests' own controller and screen are what they claim: worked frames, and what a terminal does.
#include "own_controller.h"
#include "screen.h"
#include "support/loopback.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

/// A host that only passes bytes.
class RawHost
{
public:
    explicit RawHost(const OwnController &controller)
        : descriptor(callLoopback(controller.link().section(QLatin1Char(':'), -1).toInt()))
    {
    }
    ~RawHost() { ::close(descriptor); }

    /// Sends hexadecimal bytes. Returns as many as are expected, or what came before the end.
    std::string ask(const char *request, const char *expected) const
    {
        const QByteArray bytes = QByteArray::fromHex(request);
        EXPECT_EQ(::write(descriptor, bytes.constData(), size_t(bytes.size())), bytes.size());
        QByteArray reply(QByteArray::fromHex(expected).size(), 0);
        const ssize_t count = ::recv(descriptor, reply.data(), size_t(reply.size()), MSG_WAITALL);
        return reply.left(int(count)).toHex(' ').toUpper().toStdString();
    }

private:
    int descriptor;
};

std::string plain(const char *hex)
{
    return QByteArray::fromHex(hex).toHex(' ').toUpper().toStdString();
}

#define EXPECT_ANSWER(host, request, reply) EXPECT_EQ((host).ask(request, reply), plain(reply))

TEST(OwnController, SpeaksTheWorkedFrames)
{
    OwnController controller;
    const RawHost host(controller);
    for (const auto &[address, value] : {std::pair{100, 0x1234}, {101, 0x5678}})
        controller.hold(1, 5, address, quint32(value));
    EXPECT_ANSWER(host, "01 FE 01  08 02 64 00  AA BE", "01 FE 01  08 02 12 34 56 78  9A D4");
    for (int bit = 24; bit < 40; ++bit)
        controller.hold(7, 3, bit, bit == 24 || bit == 26 || bit == 39);
    EXPECT_ANSWER(host, "07 FE 01  05 10 18 00  4E D7", "07 FE 01  05 10 05 80  46 27");
    controller.hold(1, 10, 0, 0x12345678);
    controller.hold(1, 10, 1, 1);
    EXPECT_ANSWER(host, "01 FE 01  13 02 00 00  86 9A", "01 FE 01  13 02 56 78 12 34 00 01 00 00  D9 DD");
}

TEST(OwnController, AnswersGroups)
{
    OwnController controller;
    const RawHost host(controller);
    for (const auto &[address, value] : {std::pair{100, 1}, {101, 2}, {102, 3}, {103, 0x1234}})
        controller.hold(1, 5, address, quint32(value));
    for (int bit = 16; bit < 32; ++bit)
        controller.hold(1, 1, bit, bit == 16 || bit == 23 || bit == 24);
    EXPECT_ANSWER(host, "01 FE 02  08 04 64 00  01 10 10 00  3E F5",
                  "01 FE 02  08 04 00 01 00 02 00 03 12 34  01 10 81 01  59 0E");
    const Request request = controller.log().at(0);
    EXPECT_TRUE(request.touches(5, 103));
    EXPECT_TRUE(request.touches(1, 31));
    EXPECT_FALSE(request.touches(5, 104));
    EXPECT_FALSE(request.touches(1, 32));
    EXPECT_FALSE(request.touches(5, 16));
}

TEST(OwnController, CarriesOutWrites)
{
    OwnController controller;
    const RawHost host(controller);
    EXPECT_ANSWER(host, "01 FF 01  08 02 64 00  12 34 56 78  6B 0D", "01 FF 20");
    EXPECT_ANSWER(host, "01 FF 01  13 01 05 00  56 78 12 34  F7 11", "01 FF 20");
    EXPECT_ANSWER(host, "01 FF 01  02 01 05 00  01  26 E4", "01 FF 20");
    EXPECT_EQ(controller.writes().size(), 3u);
    EXPECT_EQ(controller.held(1, 5, 100), 0x1234u);
    EXPECT_EQ(controller.held(1, 5, 101), 0x5678u);
    EXPECT_EQ(controller.held(1, 10, 5), 0x12345678u);
    EXPECT_EQ(controller.held(1, 2, 5), 1u);
}

TEST(OwnController, FollowsItsScript)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.write ? refuse(request) : answerOf(2, good);
    });
    controller.hold(1, 5, 100, 7);
    controller.hold(1, 5, 101, 7);
    const RawHost host(controller);
    EXPECT_ANSWER(host, "01 FF 01  08 02 64 00  12 34 56 78  6B 0D", "01 FF 21");
    EXPECT_EQ(controller.held(1, 5, 100), 7u) << "refused, so not carried out";
    EXPECT_EQ(host.ask("01 FE 01  08 02 64 00  AA BE", "02 FE 01 08 02 00 07 00 07").substr(0, 26),
              "02 FE 01 08 02 00 07 00 07");
}

TEST(OwnController, TakesAnotherConnectionAfterItsDoorWasShut)
{
    OwnController controller;
    {
        const RawHost host(controller);
        controller.waitForConnections(1);
    }
    const QString link = controller.link();
    controller.shutDoor();
    controller.openDoor();
    EXPECT_EQ(controller.link(), link);
    const RawHost again(controller);
    controller.waitForConnections(2);
    EXPECT_EQ(again.ask("01 FF 01  02 01 05 00  01  26 E4", "01 FF 20"), "01 FF 20");
    EXPECT_EQ(controller.log().at(0).connection, 2);
}

std::vector<std::string> shown(const char *written)
{
    Screen screen(3, 8);
    screen.take(written);
    return screen.rows();
}
using Rows = std::vector<std::string>;

TEST(Screen, WrapsAndScrolls)
{
    EXPECT_EQ(shown("12345678"), (Rows{"12345678", "", ""}));
    EXPECT_EQ(shown("123456789"), (Rows{"12345678", "9", ""}));
    EXPECT_EQ(shown("\x1b[?7l123456789"), (Rows{"12345679", "", ""}));
    EXPECT_EQ(shown("a\r\nb\r\nc\r\nd"), (Rows{"b", "c", "d"}));
}

TEST(Screen, MovesAndErases)
{
    EXPECT_EQ(shown("abc\x1b[2D-\x1b[3;4HZ\x1b[AY"), (Rows{"a-c", "    Y", "   Z"}));
    EXPECT_EQ(shown("abc\r\x1b[K"), (Rows{"", "", ""}));
    EXPECT_EQ(shown("a\r\nb\r\nc\x1b[2;1H\x1b[J"), (Rows{"a", "", ""}));
    EXPECT_EQ(shown("\x1b[31mred\x1b[0m"), (Rows{"red", "", ""}));
}

TEST(Screen, KeepsTheMainScreenWhileTheOtherIsShown)
{
    EXPECT_EQ(shown("main\x1b[?1049h\x1b[Hother"), (Rows{"other", "", ""}));
    EXPECT_EQ(shown("main\x1b[?1049h\x1b[Hother\x1b[?1049l"), (Rows{"main", "", ""}));
}

} // namespace
