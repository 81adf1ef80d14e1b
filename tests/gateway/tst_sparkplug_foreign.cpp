// What programs of others make of the messages of the Sparkplug layout.
#include "mqtt_trace.h"
#include "sparkplug_world.h"
#include "support/shell.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

using namespace sparkplug_world;

namespace
{

/// A birth of the node, one of a device, data, a death of the device and one of the node.
std::vector<Message> lifeOf(Layout &layout)
{
    layout.will(Start);
    Picture picture = pictureOf();
    std::vector<Message> life = layout.births(picture, Start + 10);
    const Sample count = sampleOf(Count, {7}, Start + 15);
    life.push_back(layout.live(layout.records({&count}).at(0), Start + 20));
    Picture lost = picture;
    lost.line.stations[1] = false;
    for (const Message &message : layout.changes(picture, lost, Start + 30))
        life.push_back(message);
    life.push_back(layout.farewell(lost, Start + 40).at(0));
    return life;
}

using Packet = std::map<std::string, std::vector<std::string>>;

/// The fields that tshark shows of each packet.
std::vector<Packet> dissected(const std::string &file)
{
    std::string command = "tshark -r '" + file + "' -T json";
    for (const char *field : {"namespace", "groupid", "messagetype", "edgenodeid", "deviceid"})
        command += std::string(" -e sparkplugb.") + field;
    command += " -e protobuf.field.number -e mqtt.qos -e mqtt.retain -e _ws.malformed 2>/dev/null";
    std::vector<Packet> packets;
    for (const auto &packet : nlohmann::json::parse(outputOf(command)))
        packets.push_back(packet.at("_source").at("layers").get<Packet>());
    return packets;
}

std::string one(const Packet &packet, const std::string &field)
{
    const auto found = packet.find(field);
    return found == packet.end() || found->second.size() != 1 ? "" : found->second[0];
}

/// Metrics of a payload, as tshark shows them without a schema: by their number.
std::vector<std::string> payloadNumbers(std::size_t metrics, bool hasSeq)
{
    std::vector<std::string> numbers = {"1"};
    numbers.insert(numbers.end(), metrics, "2");
    if (hasSeq)
        numbers.push_back("3");
    return numbers;
}

class SparkplugForeignTest : public ::testing::Test
{
protected:
    std::string fileOf(const std::string &bytes) const
    {
        const std::string file = folder.path / "bytes";
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }
    /// As the decoder of npm reads it: name, type, value and quality of each metric, and the number.
    std::string decodedByNpm(const Message &message) const
    {
        const std::string script = folder.path / "decode.js";
        std::ofstream(script) << R"(
const decoder = require('sparkplug-payload').get('spBv1.0');
const payload = decoder.decodePayload(require('fs').readFileSync(process.argv[2]));
for (const metric of payload.metrics)
    console.log(metric.name, metric.type, String(metric.value), metric.properties?.Quality.value);
console.log('seq', String(payload.seq));
)";
        return outputOf("node '" + script + "' '" + fileOf(message.payload) + "'");
    }
    std::string rawText(const Message &message) const
    {
        return outputOf("protoc --decode_raw <'" + fileOf(message.payload) + "'");
    }

    const TemporaryFolder folder;
    const std::unique_ptr<Layout> layout = makeSparkplugLayout(settingsOf());
    const std::vector<Message> life = lifeOf(*layout);
};

} // namespace

TEST_F(SparkplugForeignTest, TsharkReadsBirthsDataAndDeaths)
{
    if (!isInstalled("tshark"))
        GTEST_SKIP() << "tshark is missing: apt-get install tshark";
    struct Expected {
        const char *type, *device, *qos;
        std::vector<std::string> numbers;
    };
    const std::vector<Expected> expected = {{"NBIRTH", "", "0", payloadNumbers(4, true)},
                                            {"DBIRTH", "station-1", "0", payloadNumbers(11, true)},
                                            {"DDATA", "station-1", "0", payloadNumbers(1, true)},
                                            {"DDEATH", "station-1", "0", payloadNumbers(0, true)},
                                            {"NDEATH", "", "1", payloadNumbers(1, false)}};
    const std::vector<Packet> packets = dissected(fileOf(mqtt_trace::capture(life)));
    ASSERT_EQ(packets.size(), expected.size());
    for (std::size_t i = 0; i < packets.size(); ++i) {
        EXPECT_EQ(one(packets[i], "sparkplugb.namespace"), "spBv1.0");
        EXPECT_EQ(one(packets[i], "sparkplugb.groupid"), "plant");
        EXPECT_EQ(one(packets[i], "sparkplugb.messagetype"), expected[i].type);
        EXPECT_EQ(one(packets[i], "sparkplugb.edgenodeid"), "press7");
        EXPECT_EQ(one(packets[i], "sparkplugb.deviceid"), expected[i].device);
        EXPECT_EQ(one(packets[i], "mqtt.qos"), expected[i].qos);
        EXPECT_EQ(one(packets[i], "mqtt.retain"), "0");
        EXPECT_EQ(packets[i].at("protobuf.field.number"), expected[i].numbers) << expected[i].type;
        EXPECT_EQ(packets[i].count("_ws.malformed"), 0U);
    }
}

TEST_F(SparkplugForeignTest, ProtocReadsABirthDataAndADeath)
{
    if (!isInstalled("protoc"))
        GTEST_SKIP() << "protoc is missing: apt-get install protobuf-compiler";
    EXPECT_EQ(rawText(life.at(0)), "1: 1700000000010\n"
                                   "2 {\n  1: \"bdSeq\"\n  3: 1700000000010\n  4: 4\n  11: 0\n}\n"
                                   "2 {\n  1: \"Node Control/Rebirth\"\n  3: 1700000000010\n  4: 11\n  14: 0\n}\n"
                                   "2 {\n  1: \"Link/Up\"\n  3: 1699999995000\n  4: 11\n  14: 1\n}\n"
                                   "2 {\n  1: \"Link/Error\"\n  3: 1699999995000\n  4: 12\n  7: 1\n}\n"
                                   "3: 0\n");
    const std::string quality = "  9 {\n    1: \"Quality\"\n    2 {\n      1: 3\n      3: 192\n    }\n  }\n";
    const std::string births = rawText(life.at(1));
    for (const std::string &metric :
         {"2 {\n  1: \"count\"\n  3: 1700000000000\n  4: 6\n" + quality + "  10: 65535\n}\n",
          "2 {\n  1: \"speed\"\n  3: 1700000000000\n  4: 9\n" + quality + "  12: 0x41480000\n}\n",
          "2 {\n  1: \"recipe\"\n  3: 1700000000000\n  4: 12\n" + quality + "  15: \"ABC\"\n}\n"})
        EXPECT_NE(births.find(metric), std::string::npos) << metric << "in\n" << births;
    EXPECT_EQ(rawText(life.at(2)), "1: 1700000000020\n2 {\n  1: \"count\"\n  3: 1700000000015\n  10: 7\n}\n3: 2\n");
    EXPECT_EQ(rawText(life.at(4)),
              "1: 1700000000040\n2 {\n  1: \"bdSeq\"\n  3: 1700000000040\n  4: 4\n  11: 0\n}\n");
}

TEST_F(SparkplugForeignTest, TheDecoderOfNpmReadsBirthsDataAndDeaths)
{
    if (std::system("node -e \"require('sparkplug-payload')\" >/dev/null 2>&1") != 0)
        GTEST_SKIP()
            << "node finds no sparkplug-payload: npm install sparkplug-payload@1.0.3, and its node_modules "
               "into NODE_PATH";
    EXPECT_EQ(decodedByNpm(life.at(0)), "bdSeq Int64 0 undefined\n"
                                        "Node Control/Rebirth Boolean false undefined\n"
                                        "Link/Up Boolean true undefined\n"
                                        "Link/Error String null undefined\n"
                                        "seq 0\n");
    EXPECT_EQ(decodedByNpm(life.at(1)), "oven_temp Double 180.5 192\n"
                                        "oven_on Boolean true 192\n"
                                        "count UInt16 65535 192\n"
                                        "level Int32 -5 192\n"
                                        "pieces Int64 4294967295 192\n"
                                        "position Int32 -2 192\n"
                                        "speed Float 12.5 192\n"
                                        "recipe String ABC 192\n"
                                        "trend/0 UInt16 1 192\n"
                                        "trend/1 UInt16 2 192\n"
                                        "trend/2 UInt16 3 192\n"
                                        "seq 1\n");
    EXPECT_EQ(decodedByNpm(life.at(2)), "count undefined null undefined\nseq 2\n")
        << "it remembers no births, so it cannot know the type";
    EXPECT_EQ(decodedByNpm(life.at(3)), "seq 3\n");
    EXPECT_EQ(decodedByNpm(life.at(4)), "bdSeq Int64 0 undefined\nseq undefined\n");
}
