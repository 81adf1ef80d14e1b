// A gateway of two stations with the Sparkplug layout, and what its messages say to a reader of the tests' own.
#ifndef TARN_TESTS_SPARKPLUG_WORLD_H
#define TARN_TESTS_SPARKPLUG_WORLD_H

#include "gateway/layout.h"

#include "protobuf.h"

namespace sparkplug_world
{

using namespace fgs;

const Epoch Start = 1700000000000;

/// Fields by the numbers of the standard.
struct SeenMetric {
    protobuf::Message fields;

    std::string name() const { return fields.text(1); }
    std::uint64_t time() const { return fields.number(3); }
    std::uint64_t type() const { return fields.number(4); }
    bool isNull() const { return fields.has(7) && fields.number(7) == 1; }
    bool hasQuality() const { return fields.has(9); }
    std::uint64_t quality() const
    {
        const protobuf::Message set(fields.text(9));
        EXPECT_EQ(set.text(1), "Quality");
        EXPECT_EQ(protobuf::Message(set.text(2)).number(1), 3U); // Int32
        return protobuf::Message(set.text(2)).number(3);
    }
};

struct SeenPayload {
    protobuf::Message fields;
    std::vector<SeenMetric> metrics;

    explicit SeenPayload(const Message &message) : fields(message.payload)
    {
        for (const protobuf::Field &field : fields.all(2))
            metrics.push_back({protobuf::Message(field.bytes)});
    }
    SeenMetric metric(const std::string &name) const
    {
        for (const SeenMetric &metric : metrics)
            if (metric.name() == name)
                return metric;
        ADD_FAILURE() << "no metric " << name;
        return {};
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const SeenMetric &metric : metrics)
            all.push_back(metric.name());
        return all;
    }
    std::uint64_t seq() const { return fields.number(3); }
    std::uint64_t time() const { return fields.number(1); }
};

enum TagIndex { Temperature, On, Count, Level, Pieces, Position, Speed, Recipe, Trend, Pump, Flow };

inline GatewayTag tagOf(const char *name, const char *variable, double scale = 1)
{
    GatewayTag tag;
    tag.tag = parseTag(QString::fromLatin1(variable));
    tag.tag.name = QString::fromLatin1(name);
    tag.tag.scaling.scale = scale;
    tag.name = name;
    return tag;
}

inline GatewaySettings settingsOf(const std::string &primaryHost = "")
{
    GatewaySettings settings;
    settings.name = "press7";
    settings.groups = {"all"};
    settings.tags = {tagOf("oven_temp", "5:100@1:s16", 0.1),
                     tagOf("oven_on", "2:17@1:bit"),
                     tagOf("count", "5:200@1:u16"),
                     tagOf("level", "5:201@1:s16"),
                     tagOf("pieces", "5:210@1:u32"),
                     tagOf("position", "5:212@1:s32"),
                     tagOf("speed", "5:214@1:f32"),
                     tagOf("recipe", "5:300x3@1:text"),
                     tagOf("trend", "5:400x3@1:u16"),
                     tagOf("pump", "2:5@2:bit"),
                     tagOf("flow", "5:100@2:f32")};
    settings.layout.kind = LayoutKind::Sparkplug;
    settings.layout.group = "plant";
    settings.layout.primaryHost = primaryHost;
    return settings;
}

inline Sample sampleOf(std::size_t tag, const std::vector<quint32> &values, Epoch time = Start)
{
    return {tag, Quality::Good, Reason(), time, values};
}

inline Sample unknownOf(std::size_t tag)
{
    Sample sample;
    sample.tag = tag;
    return sample;
}

inline Sample staleOf(std::size_t tag, const std::vector<quint32> &values, Epoch time = Start)
{
    Sample sample = sampleOf(tag, values, time);
    sample.quality = Quality::Stale;
    return sample;
}

/// Station 1 answers with these values, station 2 has not answered.
inline Picture pictureOf()
{
    Picture picture;
    picture.line.isUp = true;
    picture.line.since = Start - 5000;
    picture.line.stations = {{1, true}, {2, false}};
    picture.samples = {sampleOf(Temperature, {1805}),
                       sampleOf(On, {1}),
                       sampleOf(Count, {65535}),
                       sampleOf(Level, {0xFFFB}),
                       sampleOf(Pieces, {0xFFFF, 0xFFFF}),
                       sampleOf(Position, {0xFFFE, 0xFFFF}),
                       sampleOf(Speed, {0, 0x4148}),
                       sampleOf(Recipe, {0x4241, 0x0043, 0}),
                       sampleOf(Trend, {1, 2, 3}),
                       unknownOf(Pump),
                       unknownOf(Flow)};
    return picture;
}

/// A payload as a host sends it.
inline std::string written(const std::string &metrics, Epoch time = Start)
{
    return protobuf::number(1, static_cast<std::uint64_t>(time)) + metrics;
}

inline std::string metric(const std::string &name, const std::string &fields)
{
    return protobuf::text(2, protobuf::text(1, name) + fields);
}

} // namespace sparkplug_world

#endif
