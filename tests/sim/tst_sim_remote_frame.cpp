// The frames of remote access at the simulated far end.
#include "sim/conversation.h"
#include "sim/crc.h"
#include "sim/remote_frame.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace fgssim;

namespace
{

/// A request without its sum, which is added; the length byte is the text's own.
Bytes summed(const std::string &text)
{
    Bytes frame = bytes(text);
    frame.push_back(sumOf(frame));
    return frame;
}

// Length, host type, host field, link, station; area, address, length; store mark, host field.
const Bytes ReadTwoWords = bytes("16 02 00 03 01 00 05 00 00 00 64 00 02 FF FF FF FF 00 00 00 00 83");
const Bytes WriteTwoWords = bytes("1A 02 01 03 01 00 05 00 00 00 64 00 02 00 00 00 00 00 00 00 00 34 12 78 56 A0");

Bytes readOf(const std::string &areaAndAddress, const std::string &length)
{
    return summed("16 00 00 01 01 " + areaAndAddress + " " + length + " FF FF FF FF 00 00 00 00");
}

Bytes writeOf(const std::string &size, const std::string &areaAndAddress, const std::string &length,
              const std::string &data)
{
    return summed(size + " 00 01 01 01 " + areaAndAddress + " " + length + " 00 00 00 00 00 00 00 00 " + data);
}

std::string causeOf(const Bytes &frame)
{
    EXPECT_EQ(RemoteFraming.checkFault(frame), "");
    try {
        parseRemoteRequest(frame);
    } catch (const Refusal &refusal) {
        return refusal.what();
    }
    return {};
}

const Entry &entryOf(const Request &request)
{
    EXPECT_EQ(request.entries.size(), 1u);
    return request.entries.front();
}

/// The frame in a row of the golden file, which an encoder of its own has written.
Bytes golden(const std::string &name)
{
    std::ifstream file(TARN_SOURCE_DIR "/tests/golden/frames.txt");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(name + " ", 0) != 0)
            continue;
        std::istringstream cells(line);
        std::string cell;
        for (int i = 0; i < 4; ++i)
            std::getline(cells, cell, '|');
        return bytes(cell);
    }
    ADD_FAILURE() << "no golden frame is named " << name;
    return {};
}

class RemoteFarEnd : public ::testing::Test
{
protected:
    Bytes ask(const Bytes &request)
    {
        Conversation conversation(simulation, LineTimes());
        conversation.receive(request, Time(0));
        return conversation.takeDue(Time(std::chrono::hours(1)));
    }

    std::vector<std::string> lines;
    Simulation simulation = {Controller({1, 4}, Memory(Motion({1, 4}, {}, Values::Still, 1)), RemoteFraming),
                             FaultChooser({}, 1),
                             Log(Log::Level::All, [this](const std::string &line) { lines.push_back(line); }),
                             {}};
};

} // namespace

TEST(RemoteFrame, TheFirstByteIsTheLength)
{
    EXPECT_EQ(remoteExtent(Slice()).state, Extent::State::Open);
    EXPECT_EQ(remoteExtent(bytes("15")).state, Extent::State::Impossible);
    EXPECT_EQ(remoteExtent(bytes("16")).length, 22u);
    EXPECT_EQ(remoteExtent(bytes("FF")).length, 255u);
}

TEST(RemoteFrame, ReadsAndWritesAreToldByTheirLength)
{
    EXPECT_FALSE(parseRemoteRequest(ReadTwoWords).write);
    const Request write = parseRemoteRequest(WriteTwoWords);
    EXPECT_TRUE(write.write);
    EXPECT_EQ(write.station, 1u);
    EXPECT_EQ(write.values, (std::vector<std::uint32_t>{0x1234, 0x5678}));
    EXPECT_EQ(entryOf(write).area->number, 5);
    EXPECT_EQ(entryOf(write).address, 100u);
}

TEST(RemoteFrame, TheLengthOfAReadCountsByItsArea)
{
    const auto count = [](const std::string &area) {
        return entryOf(parseRemoteRequest(readOf(area + " 00 00 00 00", "00 03"))).count;
    };
    EXPECT_EQ(count("00 00"), 24u) << "bytes of bits";
    EXPECT_EQ(count("00 04"), 24u);
    EXPECT_EQ(count("00 0B"), 48u) << "pairs of bytes";
    EXPECT_EQ(count("00 05"), 3u) << "words";
    EXPECT_EQ(count("00 0D"), 3u);
    EXPECT_EQ(count("00 0A"), 2u) << "words too, so two double words";
}

TEST(RemoteFrame, TheLengthOfAWriteCountsBitsOrWords)
{
    const Request bits = parseRemoteRequest(writeOf("19", "00 0B 00 00 00 05", "00 03", "01 00 01"));
    EXPECT_EQ(bits.values, (std::vector<std::uint32_t>{1, 0, 1}));
    EXPECT_EQ(entryOf(bits).count, 3u);
    const Request doubleWord = parseRemoteRequest(writeOf("1A", "00 0A 00 00 00 05", "00 02", "78 56 34 12"));
    EXPECT_EQ(doubleWord.values, (std::vector<std::uint32_t>{0x12345678}));
    EXPECT_EQ(entryOf(doubleWord).count, 1u);
}

TEST(RemoteFrame, WhatNobodyAcceptsIsNamed)
{
    EXPECT_EQ(causeOf(readOf("00 0E 00 00 00 00", "00 01")), "unknown area 14");
    EXPECT_EQ(causeOf(readOf("01 05 00 00 00 00", "00 01")), "unknown area 261");
    EXPECT_EQ(causeOf(readOf("00 05 00 00 FF FF", "00 02")),
              "area 5: 2 words from address 65535 pass the end of the area");
    EXPECT_EQ(causeOf(readOf("00 05 00 01 00 00", "00 01")),
              "area 5: 1 word from address 65536 pass the end of the area");
    EXPECT_EQ(causeOf(readOf("00 05 FF FF FF FF", "00 02")),
              "area 5: 2 words from address 4294967295 pass the end of the area");
    EXPECT_EQ(causeOf(writeOf("18", "00 08 00 00 00 00", "00 01", "01 02")), "write to area 8, which is read-only");
    EXPECT_EQ(causeOf(writeOf("17", "00 00 00 00 00 00", "00 01", "01")), "write to area 0, which is read-only");
    EXPECT_EQ(causeOf(writeOf("17", "00 01 00 00 00 00", "00 01", "02")), "bit value 0x02; 0 and 1 are allowed");
    EXPECT_EQ(causeOf(writeOf("18", "00 05 00 00 00 00", "00 02", "01 02")),
              "write of length 2 to area 5 with 2 bytes of data");
    EXPECT_EQ(causeOf(writeOf("18", "00 0A 00 00 00 00", "00 01", "01 02")),
              "write of 1 word to area 10, which has double words");
}

TEST_F(RemoteFarEnd, AnswersAsTheIndependentEncoderDoes)
{
    const Area &words = areas()[5], &bits = areas()[3], &pairedBits = areas()[11], &doubles = areas()[10];
    const auto answer = [](const std::string &request, auto value) {
        return remoteReadReply(parseRemoteRequest(golden(request)), value);
    };
    EXPECT_EQ(answer("remote-words-stored",
                     [&](const Area &area, unsigned address) {
                         EXPECT_EQ(&area, &words);
                         return 0x1100u + address - 4660;
                     }),
              golden("remote-words-stored-reply"));
    const auto packed = [](const Bytes &all, unsigned first) {
        return [all, first](const Area &, unsigned address) {
            return std::uint32_t(all.at((address - first) / 8) >> (address - first) % 8 & 1);
        };
    };
    EXPECT_EQ(bits.kind, AreaKind::Bit);
    EXPECT_EQ(answer("remote-bits", packed(bytes("81 42 24"), 16)), golden("remote-bits-reply"));
    EXPECT_EQ(pairedBits.kind, AreaKind::Bit);
    EXPECT_EQ(answer("remote-bits-of-area-11", packed(bytes("01 02 03 04"), 16)),
              golden("remote-bits-of-area-11-reply"));
    EXPECT_EQ(doubles.kind, AreaKind::DoubleWord);
    EXPECT_EQ(answer("remote-double-words-of-length-3",
                     [](const Area &, unsigned address) { return address == 30 ? 0x12345678u : 0xFEDCBA98u; }),
              golden("remote-double-words-of-length-3-reply"));
    EXPECT_EQ(remoteWriteReply(parseRemoteRequest(golden("remote-four-bytes"))), golden("remote-four-bytes-reply"));
}

TEST_F(RemoteFarEnd, KeepsWhatIsWritten)
{
    EXPECT_EQ(ask(WriteTwoWords), sealed("01 57 01 00 00 00"));
    EXPECT_EQ(ask(ReadTwoWords), sealed("01 52 01 12 34 56 78"));
    ask(golden("remote-one-bit")); // bit 10 of area 1
    EXPECT_EQ(ask(readOf("00 01 00 00 00 00", "00 02")), sealed("01 52 01 00 04"));
}

TEST_F(RemoteFarEnd, CarriesOutABroadcastAndIsSilent)
{
    EXPECT_EQ(ask(summed("18 00 01 01 00 00 05 00 00 00 64 00 01 00 00 00 00 00 00 00 00 07 00")), Bytes());
    EXPECT_EQ(ask(summed("16 00 00 01 04 00 05 00 00 00 64 00 01 00 00 00 00 00 00 00 00")),
              sealed("04 52 01 00 07"));
    EXPECT_EQ(ask(golden("remote-read-broadcast")), Bytes());
    EXPECT_EQ(simulation.counters.broadcasts, 2u);
}

TEST_F(RemoteFarEnd, IsSilentForOtherStationsAndForWhatIsWrong)
{
    EXPECT_EQ(ask(summed("16 00 00 01 02 00 05 00 00 00 64 00 01 00 00 00 00 00 00 00 00")), Bytes());
    EXPECT_EQ(simulation.counters.elsewhere, 1u);
    Bytes damaged = ReadTwoWords;
    damaged.back() = Byte(damaged.back() ^ 1);
    EXPECT_EQ(ask(damaged), Bytes());
    EXPECT_EQ(ask(sealed("01 FE 01 08 02 64 00")), Bytes()) << "the controller protocol";
    EXPECT_EQ(simulation.counters.replies, 0u);
}

TEST_F(RemoteFarEnd, NamesASumThatIsWrong)
{
    EXPECT_EQ(RemoteFraming.checkFault(summed("16 00")), "");
    Bytes damaged = ReadTwoWords;
    damaged.back() = Byte(damaged.back() + 1);
    EXPECT_EQ(RemoteFraming.checkFault(damaged), "bad sum 0x84, computed 0x83");
}

TEST_F(RemoteFarEnd, FindsARequestBehindGarbage)
{
    EXPECT_EQ(ask(bytes("00 01 15") + ReadTwoWords), sealed("01 52 01 00 00 00 00"));
}

TEST_F(RemoteFarEnd, TellsWhatItIsAskedAndAnswers)
{
    ask(WriteTwoWords);
    ask(ReadTwoWords);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].find("station 1 writes area 5 from 100: 4660 22136"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("station 1 acknowledges"), std::string::npos) << lines[1];
    EXPECT_NE(lines[2].find("station 1 reads area 5 from 100, 2 words"), std::string::npos) << lines[2];
    EXPECT_NE(lines[3].find("station 1 answers area 5 from 100: 4660 22136"), std::string::npos) << lines[3];
}

TEST_F(RemoteFarEnd, HasEveryRandomFault)
{
    for (std::size_t kind = 0; kind < FaultKinds; ++kind) {
        FaultRates rates{};
        rates[kind] = 100;
        simulation.faults = FaultChooser(rates, 1);
        const Bytes good = sealed("01 52 01 00 00 00 00");
        const Bytes reply = ask(ReadTwoWords);
        SCOPED_TRACE(FaultNames[kind]);
        if (RandomFault(kind) == RandomFault::Late) {
            EXPECT_EQ(reply, good);
        } else {
            EXPECT_NE(reply, good);
        }
        EXPECT_EQ(simulation.counters.faults[kind], 1u);
    }
}
