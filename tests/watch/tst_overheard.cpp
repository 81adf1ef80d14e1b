// Which stations are heard in what others say.
#include "support/wire.h"
#include "watch/overheard.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

using Numbers = std::vector<int>;

QByteArray sealedHex(const char *hex)
{
    return frames::sealed(QByteArray::fromHex(hex));
}

const QByteArray Ask1 = sealedHex("01fe0108026400"), Reply1 = sealedHex("01fe01080212345678");
const QByteArray Ask2 = sealedHex("02fe020801640013010500");
const QByteArray Reply2 = sealedHex("02fe020801123413015678abcd");

class OverheardTest : public ::testing::Test
{
protected:
    void take(const QByteArray &bytes) { heard.take(bytes.constData(), int(bytes.size())); }

    Overheard heard;
};

TEST_F(OverheardTest, TellsStationsThatAnswerFromOthers)
{
    take(Ask1 + Reply1 + Ask2);
    EXPECT_EQ(heard.frames(), 3);
    EXPECT_EQ(heard.answering(), (Numbers{1}));
    EXPECT_EQ(heard.silent(), (Numbers{2}));
    take(Reply2);
    EXPECT_EQ(heard.answering(), (Numbers{1, 2}));
    EXPECT_EQ(heard.silent(), Numbers());
}

TEST_F(OverheardTest, FindsFramesByteByByteAndBehindGarbage)
{
    const QByteArray all = QByteArray::fromHex("01fe01ff00") + Ask1 + QByteArray(3, '\xFE') + Reply1;
    for (const char byte : all)
        take(QByteArray(1, byte));
    EXPECT_EQ(heard.frames(), 2);
    EXPECT_EQ(heard.answering(), (Numbers{1}));
    EXPECT_EQ(heard.bytes(), int(all.size()));
}

TEST_F(OverheardTest, HearsNothingInFramesWithABadCheckCode)
{
    QByteArray bad = Reply1;
    bad[5] = char(bad.at(5) ^ 4);
    take(bad);
    EXPECT_EQ(heard.frames(), 0);
}

TEST_F(OverheardTest, TakesAReplyOfOneWordForOne)
{
    const QByteArray ask = sealedHex("03fe0108010500"), reply = sealedHex("03fe0108010007");
    take(ask + reply);
    EXPECT_EQ(heard.answering(), (Numbers{3}));
}

TEST_F(OverheardTest, TakesARepeatedQuestionForOne)
{
    const QByteArray ask = sealedHex("03fe0108010500");
    take(ask + ask + ask);
    EXPECT_EQ(heard.silent(), (Numbers{3}));
}

TEST_F(OverheardTest, HearsWritesAndTheirAcknowledgements)
{
    const QByteArray words = sealedHex("01ff010802640012345678");
    const QByteArray bitWrite = sealedHex("04ff010201050001");
    take(words + QByteArray::fromHex("01ff20") + bitWrite + QByteArray::fromHex("04ff21"));
    EXPECT_EQ(heard.answering(), (Numbers{1, 4})) << "a refusal is an answer";
    EXPECT_EQ(heard.frames(), 2);
}

TEST_F(OverheardTest, CountsNoStationForAllStations)
{
    take(sealedHex("00ff01080164001234"));
    EXPECT_EQ(heard.frames(), 1);
    EXPECT_EQ(heard.answering().size() + heard.silent().size(), 0u);
}

TEST_F(OverheardTest, KnowsWhenItAllRepeatsItself)
{
    for (int round = 0; round < 20; ++round) {
        EXPECT_FALSE(heard.isRepeated());
        take(Ask1 + Reply1);
    }
    EXPECT_TRUE(heard.isRepeated());
}

TEST_F(OverheardTest, FindsFramesBehindAFloodOfNoise)
{
    for (int i = 0; i < 40; ++i)
        take(QByteArray(1000, '\x55'));
    take(Ask1);
    EXPECT_EQ(heard.frames(), 1);
}

} // namespace
