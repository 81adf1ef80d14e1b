// What `fgs decode` makes of frames, of every kind of input and of everything that is wrong with them.
#include "formats/pcapng_writer.h"
#include "programs.h"
#include "support/frames_golden.h"
#include "support/texts.h"
#include "support/wire.h"

#include <gtest/gtest.h>

#include <fstream>
#include <QtCore/QJsonArray>
#include <QtCore/QTemporaryDir>

using formats::Direction;
using frames::Golden;
using frames::Store;

namespace
{

const QString ReadText = QStringLiteral("01 FE 01  08 02 64 00  AA BE");
const QString AnswerText = QStringLiteral("01 FE 01  08 02 12 34 56 78  9A D4");

Result decode(const QStringList &inputs)
{
    return runFgs(QStringList{QStringLiteral("decode")} + inputs);
}

std::vector<QJsonObject> decoded(const QStringList &inputs)
{
    const Result result = decode(QStringList{QStringLiteral("--json")} + inputs);
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    return result.objects();
}

QJsonObject answerOf(const QJsonObject &transaction, int i = 0)
{
    return transaction.value(QStringLiteral("answers")).toArray().at(i).toObject();
}

std::string textOf(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString().toStdString();
}

std::string outcomeOf(const QStringList &inputs)
{
    const std::vector<QJsonObject> all = decoded(inputs);
    EXPECT_EQ(all.size(), 1u);
    return all.empty() ? "" : textOf(all.front(), "outcome");
}

std::string bytesOf(const char *hex)
{
    return QByteArray::fromHex(hex).toStdString();
}

class DecodeFile : public ::testing::Test
{
protected:
    QString write(const std::string &content) const
    {
        const QString path = folder.filePath(QStringLiteral("line.txt"));
        std::ofstream(path.toStdString(), std::ios::binary) << content;
        return path;
    }

    /// A trace of one line: frames a millisecond apart.
    struct Frame {
        Direction direction;
        std::string bytes;
        std::string comment;
    };
    static std::string trace(const std::vector<Frame> &frames)
    {
        std::string blocks = formats::sectionBlock("test") + formats::interfaceBlock({"/dev/ttyUSB0", "19200,8E1"});
        std::int64_t time = 1700000000000000000;
        for (const Frame &frame : frames)
            formats::appendFrameBlock(blocks, {0, time += 1000000, frame.direction, frame.bytes, frame.comment});
        return blocks;
    }

    const QTemporaryDir folder;
};

} // namespace

// ---- frames

TEST(Decode, ExplainsEveryByteOfTheWorkedFrames)
{
    const Result result = decode({ReadText, AnswerText});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out.toStdString(), "argument 1\n"
                                        "  > 9 bytes: station 1, read 5:100x2\n"
                                        "    01                      station 1\n"
                                        "    FE                      read\n"
                                        "    01                      1 entry\n"
                                        "    08                      area 5, words (wire code 0x08)\n"
                                        "    02                      2 words\n"
                                        "    64 00                   from 5:100 to 5:101 (on the wire 100 to 101)\n"
                                        "    AA BE                   check code, right\n"
                                        "  < 11 bytes: station 1, answer 5:100x2\n"
                                        "    01                      station 1\n"
                                        "    FE                      read\n"
                                        "    01                      1 entry\n"
                                        "    08                      area 5, words (wire code 0x08)\n"
                                        "    02                      2 words\n"
                                        "    12 34                   5:100 = 4660 (0x1234)   wire 0x08:100\n"
                                        "    56 78                   5:101 = 22136 (0x5678)   wire 0x08:101\n"
                                        "    9A D4                   check code, right\n\n");
}

TEST(Decode, NamesBitsByTheirOctalAddresses)
{
    const QString out = decode({QStringLiteral("01 FE 02  08 04 64 00  01 10 10 00  3E F5"),
                                QStringLiteral("01 FE 02  08 04 00 01 00 02 00 03 12 34  01 10 81 01  59 0E")})
                            .out;
    EXPECT_TRUE(contains(out, QStringLiteral("from 1:20 to 1:37 (on the wire 16 to 31)")));
    EXPECT_TRUE(contains(
        out,
        QStringLiteral("81                      1:20 to 1:27 = 1 0 0 0 0 0 0 1   on: 1:20, 1:27   wire 0x01:16")));
}

TEST(Decode, ExplainsWritesDoubleWordsAndBroadcasts)
{
    const QString out =
        decode({QStringLiteral("01 FF 01  13 01 05 00  56 78 12 34  F7 11"), QStringLiteral("01FF20"),
                QStringLiteral("01 FF 01  02 01 05 00  01  26 E4"), QStringLiteral("01FF21")})
            .out;
    EXPECT_TRUE(contains(out, QStringLiteral("10:5 = 305419896 (0x12345678)   wire 0x13:5")));
    EXPECT_TRUE(contains(out, QStringLiteral("station 1, write done")));
    EXPECT_TRUE(contains(out, QStringLiteral("2:5 = 1, on   wire 0x02:5")));
    EXPECT_TRUE(contains(out, QStringLiteral("21                      refused: the controller does not do it")));
    const QByteArray broadcast = frames::sealed(QByteArray::fromHex("00FF01080164001234"));
    const QString toAll = decode({QString::fromLatin1(broadcast.toHex())}).out;
    EXPECT_TRUE(contains(toAll, QStringLiteral("all stations, write 5:100x1")));
    EXPECT_TRUE(contains(toAll, QStringLiteral("none answers a request to all stations")));
}

TEST(Decode, ExplainsRemoteFrames)
{
    const QString out =
        decode({QStringLiteral("16 02 00 03 01  00 05  00 00 00 64  00 02  FF FF FF FF  00 00 00 00  83"),
                QStringLiteral("01 00 00  12 34 56 78  70 F4"),
                QStringLiteral(
                    "1A 02 01 03 01  00 05  00 00 00 64  00 02  00 00 00 00  00 00 00 00  34 12 78 56  A0")})
            .out;
    for (const char *row : {"remote station 1, read 5:100x2", "host type 2", "link 3", "store mark -1",
                            "sum, right", "remote reply", "5:101 = 22136 (0x5678)   wire 5:101",
                            "remote station 1, write 5:100x2", "34 12 78 56             data to write"})
        EXPECT_TRUE(contains(out, QLatin1String(row)));
}

namespace
{

std::vector<unsigned> valuesIn(const QJsonObject &holder)
{
    std::vector<unsigned> values;
    for (const QJsonValue &value : holder.value(QStringLiteral("values")).toArray())
        values.push_back(static_cast<unsigned>(value.toDouble()));
    return values;
}

/// All values of an answer, those of bits packed as the golden rows have them.
std::vector<unsigned> valuesOfAnswer(const QJsonObject &answer, const std::vector<Store> &stores)
{
    std::vector<QJsonObject> holders;
    for (const QJsonValue &entry : answer.value(QStringLiteral("entries")).toArray())
        holders.push_back(entry.toObject());
    if (holders.empty())
        holders.push_back(answer);
    std::vector<unsigned> all;
    for (std::size_t i = 0; i < holders.size(); ++i) {
        std::vector<unsigned> values = valuesIn(holders[i]);
        const bool areBits = i < stores.size() && frames::area(stores[i].areaType).kind == frames::Kind::Bits;
        for (std::size_t at = 0; at < values.size(); at += areBits ? 8 : 1) {
            unsigned item = values[at];
            for (std::size_t bit = 1; areBits && bit < 8; ++bit)
                item |= values[at + bit] << bit;
            all.push_back(item);
        }
    }
    return all;
}

} // namespace

/// Frames and values of the independent encoder.
TEST_F(DecodeFile, FindsTheValuesOfAllGoldenReplies)
{
    std::string lines;
    std::vector<Golden> rows;
    for (const Golden &row : frames::goldenRows(true)) {
        if (row.options.count("station") || row.name == "forty-bit-bytes-reply") // its count byte wraps
            continue;
        rows.push_back(row);
        lines += "> " + frames::goldenNamed(row.options.at("to")).frame.toHex().toStdString() + "\n< " +
                 row.frame.toHex().toStdString() + "\n";
    }
    const std::vector<QJsonObject> all = decoded({write(lines)});
    ASSERT_EQ(all.size(), rows.size());
    ASSERT_GT(rows.size(), 35u);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(textOf(all[i], "outcome"), "good") << rows[i].name;
        std::vector<unsigned> stored;
        for (const Store &store : rows[i].stores)
            stored.insert(stored.end(), store.items.begin(), store.items.end());
        if (stored.empty())
            continue;
        EXPECT_EQ(valuesOfAnswer(answerOf(all[i]), rows[i].stores), stored) << rows[i].name;
    }
}

TEST_F(DecodeFile, TakesEveryGoldenRequestForOne)
{
    std::string lines;
    std::vector<Golden> rows = frames::goldenRows(false);
    for (const Golden &row : rows)
        lines += "> " + row.frame.toHex().toStdString() + "\n";
    const std::vector<QJsonObject> all = decoded({write(lines)});
    ASSERT_EQ(all.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(textOf(all[i].value(QStringLiteral("request")).toObject(), "bytes"),
                  rows[i].frame.toHex().toUpper().toStdString())
            << rows[i].name;
}

// ---- faults

TEST(DecodeFault, SaysWhichCheckCodeWouldBeRight)
{
    const QStringList inputs = {ReadText, QStringLiteral("01 FE 01  08 02 12 34 56 79  9A D4")};
    const QString out = decode(inputs).out;
    EXPECT_TRUE(contains(out, QStringLiteral("station 1, answer 5:100x2; WRONG CHECK CODE")));
    const QByteArray right =
        frames::sealed(QByteArray::fromHex("01FE0108021234567 9")).right(2).toHex(' ').toUpper();
    EXPECT_TRUE(contains(out, QStringLiteral("9A D4                   check code, wrong: %1 would be right")
                                  .arg(QString::fromLatin1(right))));
    EXPECT_EQ(outcomeOf(inputs), "badCheck");
}

TEST(DecodeFault, ShowsWhatIsThereOfACutFrame)
{
    const QStringList inputs = {ReadText, QStringLiteral("01 FE 01  08 02 12 34 56")};
    const QString out = decode(inputs).out;
    EXPECT_TRUE(contains(out, QStringLiteral("5:100 = 4660")));
    EXPECT_TRUE(contains(out, QStringLiteral("cut off: 8 of 11 bytes")));
    EXPECT_EQ(outcomeOf(inputs), "incomplete");
    EXPECT_EQ(outcomeOf({ReadText, QStringLiteral("01")}), "incomplete");
}

TEST(DecodeFault, FindsAnswersBehindNoiseAndEchoes)
{
    const std::vector<QJsonObject> noisy =
        decoded({ReadText, QStringLiteral("55 AA ") + AnswerText + QStringLiteral(" 77")});
    ASSERT_EQ(noisy.size(), 1u);
    EXPECT_EQ(textOf(noisy[0], "outcome"), "good");
    EXPECT_EQ(textOf(answerOf(noisy[0], 0), "bytes"), "55AA");
    EXPECT_EQ(textOf(answerOf(noisy[0], 0), "kind"), "noise");
    EXPECT_EQ(textOf(answerOf(noisy[0], 1), "kind"), "readReply");
    EXPECT_EQ(textOf(answerOf(noisy[0], 2), "bytes"), "77");
    const std::vector<QJsonObject> echoed = decoded({ReadText, ReadText, AnswerText});
    ASSERT_EQ(echoed.size(), 1u);
    EXPECT_TRUE(answerOf(echoed[0], 0).value(QStringLiteral("echo")).toBool());
    EXPECT_EQ(textOf(echoed[0], "outcome"), "good");
    EXPECT_EQ(outcomeOf({ReadText, ReadText}), "noReply");
    EXPECT_EQ(outcomeOf({ReadText, QStringLiteral("55AA55")}), "garbled");
}

TEST(DecodeFault, TellsAnswersToOtherRequests)
{
    const QByteArray other = frames::sealed(QByteArray::fromHex("02FE010802123456 78"));
    const QStringList inputs = {ReadText, QString::fromLatin1(other.toHex())};
    EXPECT_TRUE(contains(decode(inputs).out, QStringLiteral("NOT AN ANSWER to this request")));
    EXPECT_EQ(outcomeOf(inputs), "otherReply");
    const QByteArray next = frames::sealed(QByteArray::fromHex("01FE0108036400"));
    const QString out = decode({ReadText, QString::fromLatin1(next.toHex()), AnswerText}).out;
    EXPECT_TRUE(contains(out, QStringLiteral("a late answer, to the request of argument 1")));
}

TEST(DecodeFault, TellsRefusalsAndMissingAnswers)
{
    EXPECT_EQ(outcomeOf({QStringLiteral("01FF010202050001 26E4"), QStringLiteral("01FF21")}).empty(), false);
    EXPECT_EQ(outcomeOf({QStringLiteral("01 FF 01  02 01 05 00  01  26 E4"), QStringLiteral("01FF21")}), "refused");
    EXPECT_EQ(outcomeOf({ReadText}), "noReply");
    EXPECT_EQ(outcomeOf({AnswerText}), "nobodyAsked");
}

// ---- inputs

TEST(DecodeArguments, OfOneByteEachBelongTogether)
{
    EXPECT_EQ(decode(ReadText.split(QLatin1Char(' '), Qt::SkipEmptyParts)).out.toStdString(),
              decode({ReadText}).out.toStdString());
}

TEST_F(DecodeFile, TakesCandumpLinesAndJoinsWhatWasReadInPieces)
{
    const QString path =
        write("(1700000000.000123) ttyUSB0 O 01FE0108026400AABE\n(1700000000.010000) ttyUSB0 I 01\n"
              "(1700000000.011000) ttyUSB0 I FE0108021234\n(1700000000.012123) ttyUSB0 I 56789AD4\n");
    const std::vector<QJsonObject> all = decoded({path});
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(textOf(all[0], "outcome"), "good");
    EXPECT_EQ(textOf(all[0], "line"), "ttyUSB0");
    EXPECT_EQ(textOf(all[0], "place"), "line 1");
    EXPECT_EQ(textOf(answerOf(all[0]), "bytes"), "01FE010802123456789AD4");
}

TEST_F(DecodeFile, TakesWhatSocatPrints)
{
    const std::vector<QJsonObject> all =
        decoded({write("> 2026/11/22 04:45:43.000579411  length=9 from=0 to=8\n 01 fe 01 08 02 64 00 aa be\n"
                       "< 2026/11/22 04:45:43.000582411  length=4 from=0 to=3\n 01 fe 01 08\n"
                       "< 2026/11/22 04:45:43.000589411  length=7 from=4 to=10\n 02 12 34 56 78 9a d4\n")});
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(textOf(all[0], "outcome"), "good");
    EXPECT_DOUBLE_EQ(answerOf(all[0]).value(QStringLiteral("afterMs")).toDouble(), 3.0);
}

TEST_F(DecodeFile, TakesTracesWithTheirComments)
{
    const QString path = write(trace({{Direction::Outbound, bytesOf("01FE0108026400AABE"), ""},
                                      {Direction::Inbound, bytesOf("01FE010802123456789AD4"), "good"},
                                      {Direction::Outbound, bytesOf("01FE0108026400AABE"), ""},
                                      {Direction::Inbound, "", "no reply"}}));
    const QString out = decode({path}).out;
    EXPECT_TRUE(contains(out, path + QStringLiteral(", offset ")));
    EXPECT_TRUE(contains(out, QStringLiteral("/dev/ttyUSB0")));
    EXPECT_TRUE(contains(out, QStringLiteral("11 bytes, after 1.000 ms: station 1, answer 5:100x2   [good]")));
    EXPECT_TRUE(contains(out, QStringLiteral("nothing was on the line   [no reply]")));
    EXPECT_EQ(textOf(decoded({path})[1], "outcome"), "noReply");
}

// ---- inputs that are none

TEST_F(DecodeFile, IsExplainedAsFarAsItGoes)
{
    const std::string whole = trace({{Direction::Outbound, bytesOf("01FE0108026400AABE"), ""},
                                     {Direction::Inbound, bytesOf("01FE010802123456789AD4"), "good"}});
    const QString path = write(whole.substr(0, whole.size() - 5));
    const Result result = decode({path});
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(contains(result.out, QStringLiteral("station 1, read 5:100x2")));
    EXPECT_TRUE(startsWith(result.messages, QStringLiteral("fgs: %1: offset ").arg(path)));
    const Result text = decode({write(ReadText.toStdString() + "\n01 F\n")});
    EXPECT_EQ(text.code, 1);
    EXPECT_TRUE(contains(text.out, QStringLiteral("station 1, read 5:100x2")));
    EXPECT_TRUE(contains(text.messages, QStringLiteral("line 2: an odd number of hexadecimal digits")));
}

TEST_F(DecodeFile, OfAnotherKindIsToldWhatWouldDo)
{
    for (const std::string &content : {std::string("root:x:0:0\n"), std::string(),
                                       std::string("\x7f"
                                                   "ELF\x02\x01"),
                                       bytesOf("D4C3B2A1020004000000000000000000FFFF000001000000"), trace({})}) {
        const Result result = decode({write(content)});
        EXPECT_EQ(result.code, 1);
        EXPECT_TRUE(contains(result.messages, QStringLiteral("give a pcapng file"))) << content;
    }
}

TEST(DecodeArguments, ThatAreNothingAreNamed)
{
    const Result odd = decode({ReadText, QStringLiteral("01F")});
    EXPECT_EQ(odd.code, 2);
    EXPECT_TRUE(contains(odd.out, QStringLiteral("station 1, read 5:100x2")));
    EXPECT_TRUE(contains(odd.messages, QStringLiteral("argument 2, '01F': an odd number of hexadecimal digits")));
    const Result none = decode({QStringLiteral("/nowhere/x"), ReadText});
    EXPECT_EQ(none.code, 1);
    EXPECT_TRUE(contains(none.messages, QStringLiteral("'/nowhere/x': neither hexadecimal digits nor a file")));
    EXPECT_TRUE(contains(none.out, QStringLiteral("station 1, read 5:100x2"))) << "the others are still explained";
}
