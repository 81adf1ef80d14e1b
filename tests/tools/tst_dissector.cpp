// The dissector for Wireshark: worked frames of the protocol's description, traces of fgs and fgs-sim over one
// line, and every fault of a line.
#include "fgs/own_controller.h"
#include "fgs/programs.h"
#include "formats/pcapng_bytes.h"
#include "formats/pcapng_reader.h"
#include "formats/recorder.h"
#include "sim/line_faults.h"
#include "support/serial_ports.h"
#include "tools/wireshark.h"

#include <fstream>
#include <future>
#include <mutex>
#include <QtCore/QTemporaryDir>
#include <set>

using formats::Direction;

namespace
{

std::string hexOf(const std::string &bytes)
{
    return QByteArray::fromStdString(bytes).toHex(' ').toUpper().toStdString();
}

std::string joined(const std::vector<std::string> &texts)
{
    std::string all;
    for (const std::string &text : texts)
        all += (all.empty() ? "" : " ") + text;
    return all;
}

std::string valueOf(const Fields &packet, const std::string &field)
{
    const auto found = packet.find(field);
    return found == packet.end() ? "" : joined(found->second);
}

class DissectorTest : public ::testing::Test
{
protected:
    void SetUp() override { NEEDS_TSHARK(); }

    std::string path(const char *name = "trace") const
    {
        return folder.filePath(QString::fromLatin1(name)).toStdString();
    }

    /// The frames, one packet each; > is a request that was sent, < what came.
    std::vector<Fields> shown(const std::vector<std::string> &frames, const std::vector<std::string> &fields) const
    {
        formats::Recorder recorder({path()}, "test");
        recorder.addInterface({"line", ""});
        std::int64_t time = 0;
        for (const std::string &frame : frames) {
            const std::string bytes = fromHex(frame.substr(1));
            recorder.record(
                {0, time += 5000000, frame[0] == '>' ? Direction::Outbound : Direction::Inbound, bytes, ""});
        }
        EXPECT_EQ(recorder.end(), "");
        return dissected(path(), fields);
    }

    const QTemporaryDir folder;
};

const std::vector<std::string> Words = {"fgs.value.word"};

} // namespace

TEST_F(DissectorTest, ShowsTheWorkedReads)
{
    const auto packets = shown({"> 01FE01 08026400 AABE", "< 01FE01 0802 12345678 9AD4", // words
                                "> 03FE01 080A0201 E2DC",                                // ten words at 0x0102
                                "> 01FE02 08046400 01101000 3EF5",                       // a group
                                "< 01FE02 0804 0001000200031234 0110 8101 590E", "> 07FE01 05101800 4ED7",
                                "< 07FE01 0510 0580 4627", // bits
                                "> 01FE01 13020000 869A", "< 01FE01 1302 5678123400010000 D9DD"},
                               {"fgs.kind", "fgs.station", "fgs.command", "fgs.count", "fgs.entry.place",
                                "fgs.entry.area", "fgs.value.bit", "fgs.value.word", "fgs.value.dword",
                                "fgs.crc.status", "fgs.request_in", "fgs.response_in", "fgs.time"});
    ASSERT_EQ(packets.size(), 9U);
    const auto row = [&](std::size_t packet, const std::vector<std::string> &fields) {
        std::string text;
        for (const std::string &field : fields)
            text += valueOf(packets[packet], "fgs." + field) + "|";
        return text;
    };
    const std::vector<std::string> head = {"kind", "station", "command", "count", "entry.place", "crc.status"};
    EXPECT_EQ(row(0, head), "request|1|0xfe|1|5:100x2|1|");
    EXPECT_EQ(row(1, head), "reply|1|0xfe|1|5:100x2|1|");
    EXPECT_EQ(row(1, {"value.word", "request_in", "time"}), "4660 22136|1|0.005000000|");
    EXPECT_EQ(row(0, {"response_in"}), "2|");
    EXPECT_EQ(row(2, head), "request|3|0xfe|1|5:258x10|1|");
    EXPECT_EQ(row(3, head), "request|1|0xfe|2|5:100x4 1:20x16|1|") << "octal addresses of area 1";
    EXPECT_EQ(row(4, {"value.word", "value.bit", "request_in"}), "1 2 3 4660|1 0 0 0 0 0 0 1 1 0 0 0 0 0 0 0|4|");
    EXPECT_EQ(row(6, {"station", "entry.area", "value.bit"}), "7|3|1 0 1 0 0 0 0 0 0 0 0 0 0 0 0 1|");
    EXPECT_EQ(row(8, {"entry.place", "value.dword"}), "10:0x2|305419896 1|");
}

TEST_F(DissectorTest, ShowsTheWorkedWrites)
{
    const auto packets = shown({"> 01FF01 08026400 12345678 6B0D", "< 01FF20", "> 01FF01 13010500 56781234 F711",
                                "< 01FF21", "> 01FF01 02010500 01 26E4"},
                               {"fgs.kind", "fgs.command", "fgs.entry.place", "fgs.value.word", "fgs.value.dword",
                                "fgs.value.bit", "fgs.acknowledge", "fgs.refused", "fgs.request_in"});
    ASSERT_EQ(packets.size(), 5U);
    EXPECT_EQ(valueOf(packets[0], "fgs.entry.place"), "5:100x2");
    EXPECT_EQ(valueOf(packets[0], "fgs.value.word"), "4660 22136");
    EXPECT_EQ(valueOf(packets[1], "fgs.kind"), "reply");
    EXPECT_NE(valueOf(packets[1], "fgs.acknowledge"), "");
    EXPECT_EQ(valueOf(packets[1], "fgs.request_in"), "1");
    EXPECT_EQ(valueOf(packets[2], "fgs.value.dword"), "305419896");
    EXPECT_NE(valueOf(packets[3], "fgs.refused"), "");
    EXPECT_EQ(valueOf(packets[3], "fgs.acknowledge"), "");
    EXPECT_EQ(valueOf(packets[4], "fgs.entry.place"), "2:5x1");
    EXPECT_EQ(valueOf(packets[4], "fgs.value.bit"), "1");
}

TEST_F(DissectorTest, ShowsTheWorkedRemoteFrames)
{
    const auto packets =
        shown({"> 16020003010005000012 34000A000000000000000071", "> 1602000301000500000064 0002FFFFFFFF0000000083",
               "< 010000 12345678 70F4", "> 1A02010301000500000064000200000000000000 00 34127856 A0"},
              {"fgs.kind", "fgs.station", "fgs.remote.link", "fgs.remote.host_type", "fgs.remote.area",
               "fgs.remote.address", "fgs.remote.count", "fgs.remote.store_mark", "fgs.remote.data",
               "fgs.remote.sum.status", "fgs.value.word", "fgs.crc.status", "fgs.request_in"});
    ASSERT_EQ(packets.size(), 4U);
    EXPECT_EQ(valueOf(packets[0], "fgs.remote.address"), "4660");
    EXPECT_EQ(valueOf(packets[0], "fgs.remote.count"), "10");
    EXPECT_EQ(valueOf(packets[0], "fgs.remote.link"), "3");
    EXPECT_EQ(valueOf(packets[0], "fgs.remote.host_type"), "2");
    EXPECT_EQ(valueOf(packets[1], "fgs.remote.store_mark"), "-1");
    EXPECT_EQ(valueOf(packets[1], "fgs.remote.sum.status"), "1");
    EXPECT_EQ(valueOf(packets[2], "fgs.kind"), "reply");
    EXPECT_EQ(valueOf(packets[2], "fgs.value.word"), "4660 22136");
    EXPECT_EQ(valueOf(packets[2], "fgs.request_in"), "2");
    EXPECT_EQ(valueOf(packets[3], "fgs.remote.data"), "34127856");
}

// What a flipped bit makes of a reply may have the shape of a request: the command, or the area of an entry.
TEST_F(DissectorTest, TakesNoDamagedReplyForARequest)
{
    const auto packets = shown({"> 01FE01 08026400 AABE", "< 01FE01 0802 12345678 9AD4", "> 01FE01 08026400 AABE",
                                "< 01FF01 0802 12345678 9AD4", "< 01FE01 0803 12345678 9AD4",
                                "< 01FE01 0902 12345678 9AD4", "< 01FE02 0802 12345678 9AD4"},
                               {"fgs.kind", "fgs.bad_crc", "fgs.short", "fgs.is_noise"});
    ASSERT_EQ(packets.size(), 7U);
    for (std::size_t i = 3; i < packets.size(); ++i) {
        EXPECT_EQ(valueOf(packets[i], "fgs.kind").find("request"), std::string::npos) << i;
        EXPECT_GT(
            packets[i].count("fgs.bad_crc") + packets[i].count("fgs.short") + packets[i].count("fgs.is_noise"), 0U)
            << i;
    }
}

TEST_F(DissectorTest, MarksWhatIsWrong)
{
    const auto packets = shown({"> 01FE01 08026400 AABE", "< 01FE01 0802 12345679 9AD4", // a wrong bit
                                "< 01FE01 0802 1234",                                    // cut off
                                "< 01FE",                                                // likewise, at once
                                "< AABBCC",                                              // noise
                                "<",                                                     // nothing
                                "< AABB 01FE01 0802 12345678 9AD4 CC",                   // noise around a reply
                                "> 01FE01 08026400 AABE", "< 02FE01 0802 12345678 A990", // another station's
                                "< 01FE01 0802 12345678 9AD4"},
                               {"fgs.kind", "fgs.crc.status", "fgs.bad_crc", "fgs.short", "fgs.is_noise",
                                "fgs.noise", "fgs.silence", "fgs.other_reply", "fgs.request_in", "fgs.value.word"});
    ASSERT_EQ(packets.size(), 10U);
    EXPECT_EQ(valueOf(packets[1], "fgs.crc.status"), "0");
    EXPECT_EQ(packets[1].count("fgs.bad_crc"), 1U);
    EXPECT_EQ(valueOf(packets[1], "fgs.request_in"), "1");
    EXPECT_EQ(packets[2].count("fgs.short"), 1U);
    EXPECT_EQ(valueOf(packets[2], "fgs.value.word"), "4660");
    EXPECT_EQ(packets[3].count("fgs.short"), 1U);
    EXPECT_EQ(valueOf(packets[3], "fgs.kind"), "reply");
    EXPECT_EQ(valueOf(packets[4], "fgs.noise"), "aabbcc");
    EXPECT_EQ(packets[5].count("fgs.silence"), 1U);
    EXPECT_EQ(valueOf(packets[6], "fgs.noise"), "aabb cc");
    EXPECT_EQ(valueOf(packets[6], "fgs.crc.status"), "1");
    EXPECT_EQ(valueOf(packets[6], "fgs.request_in"), "1");
    EXPECT_EQ(packets[0].count("fgs.bad_crc"), 0U);
    EXPECT_EQ(valueOf(packets[9], "fgs.request_in"), "8");
}

namespace
{

const std::vector<std::string> LogFields = {
    "fgs.kind",      "fgs.station",    "fgs.command",     "fgs.entry.area",  "fgs.entry.address", "fgs.entry.count",
    "fgs.value.bit", "fgs.value.word", "fgs.value.dword", "fgs.acknowledge", "fgs.noise",         "fgs.crc.status",
    "frame.comment", "fgs.short",      "fgs.bad_crc",     "fgs.request_in",  "fgs.response_in"};

/// Takes the values of a packet one after the other.
class Values
{
public:
    explicit Values(const Fields &thePacket) : packet(thePacket) {}

    std::string next(const std::string &field, int count, const std::string &separator)
    {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += (i ? separator : "") + packet.at(field).at(taken[field]++);
        return text;
    }

private:
    const Fields &packet;
    std::map<std::string, std::size_t> taken;
};

std::string octal(const std::string &number)
{
    return QString::number(std::stoi(number), 8).toStdString();
}

/// What the simulator's log would say of the packet, made of the dissector's fields.
std::string asLogged(const Fields &packet)
{
    const bool isReply = valueOf(packet, "fgs.kind") == "reply", isWrite = valueOf(packet, "fgs.command") == "0xff";
    const std::string station = "station " + valueOf(packet, "fgs.station");
    if (packet.count("fgs.acknowledge"))
        return station + " acknowledges";
    std::string text = station + (isReply ? " answers" : isWrite ? " writes" : " reads");
    Values values(packet);
    const std::vector<std::string> &areas = packet.at("fgs.entry.area");
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const int area = std::stoi(areas[i]), count = std::stoi(packet.at("fgs.entry.count").at(i));
        const std::string address = packet.at("fgs.entry.address").at(i);
        const bool isBit = area <= 4 || area == 11;
        const std::string kind = isBit        ? "bit"
                                 : area == 10 ? "dword"
                                              : "word",
                          unit = area == 10 ? "double word" : kind;
        text += std::string(i ? "; " : " ") + "area " + areas[i] + " from " + (area < 2 ? octal(address) : address);
        if (isReply || isWrite)
            text += ": " + values.next("fgs.value." + kind, count, isReply && isBit ? "" : " ");
        else
            text += ", " + std::to_string(count) + " " + unit + (count == 1 ? "" : "s");
    }
    return text;
}

/// A line of the simulator's log with its time taken off.
struct Logged {
    std::string mark;    ///< "<-", "->" or "fault crc"
    std::string bytes;   ///< in hexadecimal
    std::string meaning; ///< of what is no fault
};

std::vector<Logged> loggedFrames(const QString &log)
{
    std::vector<Logged> frames;
    for (const QString &line : log.split(QLatin1Char('\n'))) {
        const std::string text = line.section(QLatin1Char(' '), 1).toStdString();
        const std::string mark = text.substr(0, 2);
        if (mark == "<-" || mark == "->") {
            const std::size_t gap = text.find("  ");
            frames.push_back({mark, text.substr(3, gap - 3), text.substr(gap + 2)});
        } else if (mark == "fa") {
            const std::size_t arrow = text.find(" -> ");
            const std::string bytes = text.substr(arrow + 4);
            frames.push_back({text.substr(0, text.find(':')), bytes == "nothing" ? "" : bytes, ""});
        }
    }
    return frames;
}

std::vector<formats::TracedFrame> framesOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    formats::PcapngReader reader(file);
    std::vector<formats::TracedFrame> frames;
    while (auto frame = reader.next())
        frames.push_back(std::move(*frame));
    EXPECT_EQ(reader.foreignPackets(), 0U);
    return frames;
}

/// All bytes that passed in a direction.
std::string stream(const std::vector<formats::TracedFrame> &frames, Direction direction)
{
    std::string bytes;
    for (const formats::TracedFrame &frame : frames)
        if (frame.direction == direction)
            bytes += frame.bytes;
    return bytes;
}

} // namespace

namespace
{

/// To the end of the program, while it runs: they may be more than a pipe holds.
QString messagesOf(Program &program)
{
    QString all;
    for (QString line = program.message(); !line.isEmpty(); line = program.message())
        all += line + QLatin1Char('\n');
    return all;
}

} // namespace

// The two traces are of one line: they agree in what was asked and answered, and with the simulator's log.
TEST_F(DissectorTest, ShowsWhatTheSimulatorLogged)
{
    NEEDS_SERIAL_PORTS();
    const QString simTrace = QString::fromStdString(path("sim")), fgsTrace = QString::fromStdString(path("fgs"));
    Program simulator(
        QStringLiteral("fgs-sim"),
        wordsOf(QStringLiteral("--frames --seed 5 --stations 1,2 --faults 12 --late-by 300 --trace L"), simTrace));
    const QString link = simulator.line();
    std::future<QString> messages = std::async(std::launch::async, [&simulator] { return messagesOf(simulator); });
    const QStringList arguments = wordsOf(
        QStringLiteral("poll L 5:100x4 10:5 0:17x3@2 --timeout 150 --late 500 --count 30 --quiet --trace"), link);
    const Result result = runFgs(arguments + QStringList{fgsTrace});
    EXPECT_TRUE(result.code == 0 || result.code == 8) << result.messages.toStdString();
    EXPECT_EQ(
        runFgs(wordsOf(QStringLiteral(
                           "write L 5:200=1,2 2:7=1 10:9=70000 --timeout 150 --late 500 --retries 50 --quiet"),
                       link))
            .code,
        0);
    simulator.interrupt();
    const std::vector<Logged> log = loggedFrames(messages.get());
    simulator.wait();
    const std::vector<formats::TracedFrame> ofSim = framesOf(path("sim")), ofFgs = framesOf(path("fgs"));
    const std::vector<Fields> packets = dissected(path("sim"), LogFields);
    ASSERT_EQ(packets.size(), ofSim.size());
    std::vector<bool> taken(ofSim.size());
    std::set<std::string> faults;
    bool isCutOff = false; // the simulator has ended before a late reply was due, and what waits behind it
    for (const Logged &line : log) {
        const bool isRequest = line.mark == "<-", isFault = line.mark.size() > 2;
        std::size_t at = 0; // a late reply is logged before it is sent
        while (at < ofSim.size() &&
               !(hexOf(ofSim[at].bytes) == line.bytes && !ofSim[at].comment.empty() == !isRequest &&
                 (!isFault || ofSim[at].comment == line.mark) && !taken[at]))
            ++at;
        isCutOff = isCutOff || (at == ofSim.size() && line.mark == "fault late");
        if (isCutOff && !isRequest && !line.bytes.empty()) {
            EXPECT_EQ(at, ofSim.size()) << "before the late reply ahead of it";
            continue;
        }
        ASSERT_LT(at, ofSim.size()) << line.mark << " " << line.bytes << " is not in the trace";
        const formats::TracedFrame &frame = ofSim[at];
        taken[at] = true;
        EXPECT_EQ(frame.direction, isRequest ? Direction::Inbound : Direction::Outbound);
        if (!isFault) {
            EXPECT_EQ(asLogged(packets[at]), line.meaning);
            EXPECT_EQ(valueOf(packets[at], "fgs.kind"), isRequest ? "request" : "reply");
        }
        if (isFault)
            faults.insert(line.mark);
        if (line.mark == "fault crc" && line.bytes.size() > 10) {
            // Which bit of which reply is wrong depends on how many there were before.
            EXPECT_GT(packets[at].count("fgs.bad_crc") + packets[at].count("fgs.short") +
                          packets[at].count("fgs.noise"),
                      0U)
                << line.bytes;
        }
        if (line.mark == "fault long" || line.mark == "fault noise") {
            EXPECT_EQ(packets[at].count("fgs.noise"), 1U) << line.bytes;
        }
    }
    EXPECT_EQ(std::count(taken.begin(), taken.end(), false), 0) << "the trace has more than the log";
    EXPECT_EQ(faults.size(), 6U) << "not every fault has happened";

    const std::string asked = stream(ofFgs, Direction::Outbound), answered = stream(ofFgs, Direction::Inbound);
    EXPECT_EQ(stream(ofSim, Direction::Inbound).substr(0, asked.size()), asked);
    EXPECT_EQ(stream(ofSim, Direction::Outbound).substr(0, answered.size()), answered);
    const std::vector<Fields> seenByFgs = dissected(path("fgs"), {"fgs.kind", "frame.comment"});
    ASSERT_EQ(seenByFgs.size(), ofFgs.size());
    for (std::size_t i = 0; i < ofFgs.size(); ++i) {
        const bool isRequest = ofFgs[i].direction == Direction::Outbound;
        const std::string kind = valueOf(seenByFgs[i], "fgs.kind");
        EXPECT_EQ(kind.find(isRequest ? "reply" : "request"), std::string::npos) << hexOf(ofFgs[i].bytes);
        if (isRequest || ofFgs[i].comment == "good") {
            EXPECT_NE(kind, "") << hexOf(ofFgs[i].bytes);
        }
    }
}

namespace
{

fgssim::Bytes bytesOf(const QByteArray &bytes)
{
    return fgssim::Bytes(bytes.begin(), bytes.end());
}

std::string textOf(const fgssim::Bytes &bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

/// What is on the line when a reply to a read comes as it should.
fgssim::Exchange exchangeOf(const std::string &request, const std::string &reply)
{
    using fgssim::Bytes;
    fgssim::Exchange x;
    x.request = Bytes(request.begin(), request.end());
    x.reply = Bytes(reply.begin(), reply.end());
    x.station = {0};
    x.command = {1};
    x.number = {2};
    x.hasCheck = reply.size() > 3;
    x.limit = std::chrono::milliseconds(100);
    if (x.hasCheck)
        fgssim::markEntries(x, fgssim::parseRequest(x.request));
    x.stranger = bytesOf(QByteArray::fromHex("02FE010802000100022511"));
    x.otherShape = bytesOf(QByteArray::fromHex("01FF20"));
    x.sameShape = bytesOf(QByteArray::fromHex("01FE0108020001000231E1"));
    return x;
}

/// All bytes of a fault, whenever they come.
std::string delivered(const fgssim::LineFault &fault, const fgssim::Exchange &x, int place)
{
    std::string bytes;
    for (const fgssim::Arrival &arrival : fault.deliver(x, place))
        bytes += textOf(arrival.bytes);
    return bytes;
}

} // namespace

// Whatever is around the reply, it is found; without it, what came is marked.
TEST_F(DissectorTest, ShowsEveryFaultOfTheTableAtEveryPlace)
{
    const fgssim::Exchange exchanges[] = {
        exchangeOf(fromHex("01FE0108026400AABE"), fromHex("01FE010802123456789AD4")),
        exchangeOf(fromHex("01FF010802640012345678 6B0D"), fromHex("01FF20"))};
    formats::Recorder recorder({path()}, "test");
    recorder.addInterface({"line", ""});
    std::vector<std::pair<std::string, bool>>
        rows; // what a packet of a reply holds, and whether the reply is in it
    std::int64_t time = 0;
    for (const fgssim::Exchange &x : exchanges)
        for (const fgssim::LineFault &fault : fgssim::lineFaults())
            for (int place = 0; place < fault.places(x); ++place) {
                const std::string bytes = delivered(fault, x, place), request = textOf(x.request);
                recorder.record({0, time += 1000000, Direction::Outbound, request, ""});
                recorder.record({0, time += 1000000, Direction::Inbound, bytes, fault.name});
                rows.emplace_back(fault.name + ": " + hexOf(bytes),
                                  bytes.find(textOf(x.reply)) != std::string::npos);
            }
    ASSERT_EQ(recorder.end(), "");
    ASSERT_GT(rows.size(), 250u);
    const std::vector<Fields> packets =
        dissected(path(), {"fgs.kind", "fgs.request_in", "fgs.crc.status", "fgs.acknowledge", "fgs.is_noise",
                           "fgs.short", "fgs.bad_crc", "fgs.silence", "fgs.other_reply", "fgs.echo"});
    ASSERT_EQ(packets.size(), 2 * rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Fields &request = packets[2 * i], &reply = packets[2 * i + 1];
        EXPECT_EQ(valueOf(request, "fgs.kind"), "request") << rows[i].first;
        if (rows[i].second) {
            EXPECT_NE(valueOf(reply, "fgs.request_in").find(std::to_string(2 * i + 1)), std::string::npos)
                << rows[i].first;
        }
        std::size_t marks = 0;
        for (const char *mark : {"is_noise", "short", "bad_crc", "silence", "other_reply", "echo", "request_in"})
            marks += reply.count(std::string("fgs.") + mark);
        EXPECT_GT(marks, 0u) << rows[i].first;
    }
}

// fgs and the dissector agree in what came.
TEST_F(DissectorTest, ShowsEveryFaultOnAPseudoTerminalAsFgsTookIt)
{
    NEEDS_SERIAL_PORTS();
    const std::vector<fgssim::LineFault> &faults = fgssim::lineFaults();
    std::mutex mutex;
    std::size_t asked = 0;
    std::string sent;
    const Script script = [&](const Request &, const QByteArray &good) {
        const std::lock_guard<std::mutex> lock(mutex);
        const std::size_t number = asked++;
        const fgssim::Exchange x = exchangeOf(fromHex("01FE0108026400AABE"), good.toStdString());
        const fgssim::LineFault &fault = faults[number / 2 % faults.size()];
        const bool isGood = number % 2 == 1 || number / 2 >= faults.size() || fault.places(x) == 0;
        const std::string bytes = isGood ? good.toStdString() : delivered(fault, x, 0);
        sent += bytes;
        return Reply{QByteArray::fromStdString(bytes)};
    };
    OwnController controller(script, OwnController::On::Pty);
    controller.hold(1, 5, 100, 0x1234);
    controller.hold(1, 5, 101, 0x5678);
    const QString count = QString::number(2 * faults.size() + 2);
    const Result result =
        runFgs(wordsOf(QStringLiteral("poll L 5:100x2 --timeout 100 --late 0 --retries 0 --quiet --count ") +
                           count + QStringLiteral(" --trace"),
                       controller.link()) +
               QStringList{QString::fromStdString(path())});
    EXPECT_TRUE(result.code == 0 || result.code == 8) << result.messages.toStdString();
    const std::vector<formats::TracedFrame> frames = framesOf(path());
    const std::vector<Fields> packets =
        dissected(path(), {"fgs.kind", "fgs.request_in", "fgs.crc.status", "fgs.bad_crc", "fgs.short",
                           "fgs.is_noise", "fgs.silence", "fgs.value.word", "frame.comment"});
    ASSERT_EQ(packets.size(), frames.size());
    EXPECT_EQ(sent.substr(0, stream(frames, Direction::Inbound).size()), stream(frames, Direction::Inbound));
    std::set<std::string> outcomes;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const std::string comment = frames[i].comment, came = hexOf(frames[i].bytes);
        EXPECT_EQ(valueOf(packets[i], "frame.comment"), comment);
        outcomes.insert(comment);
        if (comment == "good") {
            EXPECT_EQ(packets[i].count("fgs.request_in"), 1u) << came;
        }
        if (comment == "no reply" && came.empty()) {
            EXPECT_EQ(packets[i].count("fgs.silence"), 1u);
        }
        if (comment == "incomplete" || comment == "wrong check code" || comment == "bytes that are no reply") {
            EXPECT_GT(packets[i].count("fgs.short") + packets[i].count("fgs.bad_crc") +
                          packets[i].count("fgs.is_noise"),
                      0u)
                << came;
        }
    }
    for (const char *outcome : {"good", "no reply", "incomplete", "wrong check code", "bytes that are no reply"})
        EXPECT_EQ(outcomes.count(outcome), 1u) << outcome;
}
