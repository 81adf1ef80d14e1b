// Sparkplug payloads as bytes: the field numbers of the standard, and bytes of strangers.
#include "gateway/sparkplug_payload.h"

#include "protobuf.h"
#include "support/shell.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <QtCore/QByteArray>

using namespace fgs::sparkplug;

namespace
{

std::string fromHex(const char *hex)
{
    return QByteArray::fromHex(hex).toStdString();
}

/// As a host encodes it: each kind of value, and what has no place here.
std::string foreignMetrics()
{
    using protobuf::fixed, protobuf::number, protobuf::text;
    return text(2, text(1, "i") + number(2, 77) + number(3, 5) + number(4, 3) + number(10, 0xFFFFFFFBU)) +
           text(2, text(1, "l") + number(11, 1ULL << 40)) + text(2, text(1, "f") + fixed(12, 1.5F)) +
           text(2, text(1, "d") + fixed(13, -2.25)) + text(2, text(1, "b") + number(14, 1)) +
           text(2, text(1, "s") + text(15, "A\xC3\xA4")) + text(2, text(1, "bytes") + text(16, "xyz"));
}

Value valueNamed(const Payload &payload, const std::string &name)
{
    for (const Metric &metric : payload.metrics)
        if (metric.name == name)
            return metric.value;
    ADD_FAILURE() << "no metric " << name;
    return {};
}

/// Of one metric with this in it.
Payload decodedMetric(const std::string &fields)
{
    return decode(protobuf::text(2, fields));
}

} // namespace

TEST(SparkplugPayloadTest, ADeathIsTheseBytes)
{
    const Payload death = {{}, {{"bdSeq", {}, DataType::Int64, false, {}, std::uint64_t(0)}}, {}};
    EXPECT_EQ(encode(death), fromHex("12 0B 0A 05 62 64 53 65 71 20 04 58 00"));
}

TEST(SparkplugPayloadTest, NumberTimeAndNullStandInTheirFields)
{
    const Payload payload = {1000, {{"n", 999, DataType::UInt16, true, {}, {}}}, 255};
    EXPECT_EQ(encode(payload), fromHex("08 E8 07 12 0C 0A 01 6E 18 E7 07 20 06 28 01 38 01 18 FF 01"));
}

TEST(SparkplugPayloadTest, EachKindOfValueHasItsField)
{
    const auto encoded = [](const Value &value) {
        const protobuf::Message payload(encode({{}, {{"v", {}, {}, false, {}, value}}, {}}));
        return protobuf::Message(payload.text(2));
    };
    EXPECT_EQ(encoded(std::uint32_t(4294967295U)).number(10), 4294967295U);
    EXPECT_EQ(encoded(std::uint64_t(1) << 63).number(11), std::uint64_t(1) << 63);
    EXPECT_EQ(encoded(12.5F).asFloat(12), 12.5F);
    EXPECT_EQ(encoded(-0.1).asDouble(13), -0.1);
    EXPECT_EQ(encoded(false).number(14), 0U);
    EXPECT_EQ(encoded(std::string("text")).text(15), "text");
    EXPECT_EQ(encoded({}).number(7), 1U);
    EXPECT_EQ(encoded({}).size(), 2U); // no value beside it
}

TEST(SparkplugPayloadTest, AQualityIsASetOfOneInteger)
{
    const protobuf::Message payload(encode({{}, {{"v", {}, {}, false, StaleQuality, true}}, {}}));
    const protobuf::Message properties(protobuf::Message(payload.text(2)).text(9));
    EXPECT_EQ(properties.text(1), "Quality");
    const protobuf::Message value(properties.text(2));
    EXPECT_EQ(value.number(1), 3U);
    EXPECT_EQ(value.number(3), 500U);
    EXPECT_EQ(value.size(), 2U);
}

TEST(SparkplugPayloadTest, ReadsWhatAForeignEncoderWrites)
{
    const Payload payload = decode(protobuf::number(1, 1700000000000) + foreignMetrics() + protobuf::number(3, 7) +
                                   protobuf::text(4, "uuid") + protobuf::text(5, "body"));
    EXPECT_EQ(payload.time, 1700000000000);
    EXPECT_EQ(payload.seq, 7U);
    ASSERT_EQ(payload.metrics.size(), 7U);
    EXPECT_EQ(payload.metrics[0].time, 5);
    EXPECT_EQ(payload.metrics[0].type, DataType::Int32);
    EXPECT_EQ(valueNamed(payload, "i"), Value(std::uint32_t(0xFFFFFFFBU)));
    EXPECT_EQ(valueNamed(payload, "l"), Value(std::uint64_t(1) << 40));
    EXPECT_EQ(valueNamed(payload, "f"), Value(1.5F));
    EXPECT_EQ(valueNamed(payload, "d"), Value(-2.25));
    EXPECT_EQ(valueNamed(payload, "b"), Value(true));
    EXPECT_EQ(valueNamed(payload, "s"), Value(std::string("A\xC3\xA4")));
    EXPECT_EQ(valueNamed(payload, "bytes"), Value());
}

TEST(SparkplugPayloadTest, NullWinsOverAValue)
{
    const Payload payload = decodedMetric(protobuf::number(7, 1) + protobuf::number(10, 5));
    EXPECT_EQ(payload.metrics.at(0).value, Value());
}

TEST(SparkplugPayloadTest, ReadsQualitiesAmongOtherProperties)
{
    const std::string unit = protobuf::number(1, 12) + protobuf::text(8, "mm");
    const std::string quality = protobuf::number(1, 3) + protobuf::number(3, 500);
    const std::string set = protobuf::text(1, "unit") + protobuf::text(1, "Quality") + protobuf::text(2, unit) +
                            protobuf::text(2, quality);
    EXPECT_EQ(decodedMetric(protobuf::text(9, set)).metrics.at(0).quality, 500);
}

TEST(SparkplugPayloadTest, KeysWithoutValuesAreAnError)
{
    EXPECT_THROW(decodedMetric(protobuf::text(9, protobuf::text(1, "Quality"))), PayloadError);
}

TEST(SparkplugPayloadTest, AFieldOfAnotherWireTypeIsSkipped)
{
    const Payload payload = decode(protobuf::text(1, "no time") + protobuf::number(2, 1) + protobuf::number(3, 9));
    EXPECT_FALSE(payload.time);
    EXPECT_TRUE(payload.metrics.empty());
    EXPECT_EQ(payload.seq, 9U);
}

TEST(SparkplugPayloadTest, BytesThatBreakOffAreAnError)
{
    for (const char *hex : {"08", "12 05 0A", "12 02 0A 05", "FF FF FF FF FF FF FF FF FF FF FF", "00", "0B", "0F",
                            "12 03 65 00 00", "12 02 69 00", "12 01 70"})
        EXPECT_THROW(decode(fromHex(hex)), PayloadError) << hex;
}

TEST(SparkplugPayloadTest, EveryBeginningOfAPayloadIsReadOrRefused)
{
    const std::string whole = foreignMetrics();
    for (std::size_t size = 0; size < whole.size(); ++size)
        try {
            EXPECT_LE(decode(whole.substr(0, size)).metrics.size(), 7U);
        } catch (const PayloadError &error) {
            EXPECT_STRNE(error.what(), "");
        }
}

TEST(SparkplugPayloadTest, WhatIsEncodedIsReadTheSame)
{
    const Payload payload = {
        5, {{"a", 4, DataType::Float, true, GoodQuality, 0.1F}, {"b", 3, {}, false, BadQuality, {}}}, 12};
    const Payload again = decode(encode(payload));
    EXPECT_EQ(encode(again), encode(payload));
    EXPECT_EQ(again.metrics.at(0).value, payload.metrics[0].value);
    EXPECT_EQ(again.metrics[0].quality, GoodQuality);
    EXPECT_TRUE(again.metrics[0].isHistorical);
    EXPECT_EQ(again.metrics[1].quality, BadQuality);
}

TEST(SparkplugPayloadTest, ProtocReadsTheSame)
{
    if (!isInstalled("protoc"))
        GTEST_SKIP() << "protoc is missing: apt-get install protobuf-compiler";
    const TemporaryFolder folder;
    const std::string file = folder.path / "payload";
    std::ofstream(file, std::ios::binary)
        << encode({1700000000000, {{"speed", 1700000000000, DataType::Float, false, GoodQuality, 12.5F}}, 3});
    EXPECT_EQ(outputOf("protoc --decode_raw <" + file), "1: 1700000000000\n"
                                                        "2 {\n"
                                                        "  1: \"speed\"\n"
                                                        "  3: 1700000000000\n"
                                                        "  4: 9\n"
                                                        "  9 {\n"
                                                        "    1: \"Quality\"\n"
                                                        "    2 {\n"
                                                        "      1: 3\n"
                                                        "      3: 192\n"
                                                        "    }\n"
                                                        "  }\n"
                                                        "  12: 0x41480000\n"
                                                        "}\n"
                                                        "3: 3\n");
}
