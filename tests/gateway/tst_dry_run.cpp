// What a gateway would do: the plan of its line, messages and spool, and what one reading publishes.
#include "gateway/dry_run.h"
#include "gateway/line.h"
#include "support/fake_link.h"
#include "support/paced_line.h"

#include <cmath>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

using namespace fgs;

namespace
{

/// With two groups that one request reads, a bit, and a second station.
const char *const Tags = R"([[group]]
name = "oven"
tag = [ { name = "temp", variable = "5:100:s16", scale = 0.1 }, { name = "on", variable = "2:17" } ]
[[group]]
name = "more"
tag = [ { name = "near", variable = "5:101" } ]
[[group]]
name = "far"
station = 2
tag = [ { name = "pieces", variable = "5:200:u32" } ]
)";

GatewaySettings settingsWith(const std::string &root, const char *link = "/dev/ttyS0:9600,8N1",
                             const char *tags = Tags)
{
    const std::string text =
        "link = \"" + std::string(link) + "\"\nbroker = { host = \"a\" }\n" + root + "\n" + tags;
    return parseGatewaySettings(QStringLiteral("press7.toml"), QByteArray::fromStdString(text));
}

/// Of each record the topic is the key, and the payload names the tags with their first values.
class NamingLayout : public Layout
{
public:
    explicit NamingLayout(const GatewaySettings &theSettings) : settings(theSettings) {}

    Message will(Epoch) override { return {}; }
    std::vector<std::string> subscriptions() const override { return {}; }
    bool awaitsHost() const override { return false; }
    std::vector<Message> births(const Picture &, Epoch) override { return {}; }
    std::vector<Message> changes(const Picture &, const Picture &, Epoch) override { return {}; }
    std::vector<Record> records(const std::vector<const Sample *> &samples) const override
    {
        std::vector<Record> records;
        for (const Sample *sample : samples)
            records.push_back(
                {settings.groups[settings.tags[sample->tag].group], sample->time, contentOf(*sample)});
        return records;
    }
    Message live(const Record &record, Epoch now) override
    {
        return {record.key, record.content + " " + std::to_string(now - record.time), 1, false};
    }
    std::optional<Message> history(const Record &, Epoch) override { return {}; }
    std::vector<Message> periodic(const Picture &, Epoch) override { return {}; }
    std::vector<Message> farewell(const Picture &, Epoch) override { return {}; }
    Incoming incoming(const Received &) override { return {}; }
    std::optional<Message> answer(const CommandAnswer &, Epoch) override { return {}; }

private:
    std::string contentOf(const Sample &sample) const
    {
        const std::string value =
            sample.values.empty() ? keyOf(sample.reason) : std::to_string(sample.values.front());
        return settings.tags[sample.tag].name + "=" + value;
    }

    const GatewaySettings &settings;
};

class DryRun : public DriverTest
{
protected:
    static GatewayPlan planWith(const std::string &root, const char *address = "/dev/ttyS0:9600,8N1",
                                const char *tags = Tags)
    {
        return planOf(linkedDriver(), settingsWith(root, address, tags));
    }

    static std::string textWith(const std::string &root, const char *address = "/dev/ttyS0:9600,8N1")
    {
        return linesOf(planWith(root, address)).join(QLatin1Char('\n')).toStdString();
    }

    std::vector<std::string> publishedBy(const GatewaySettings &own)
    {
        Host host(linkedDriver(), link, own.variables(), own.host);
        NamingLayout layout(own);
        const WallClock clock(link, [] { return std::chrono::system_clock::time_point(std::chrono::hours(1)); });
        std::vector<std::string> lines;
        for (const Message &message : readOnce(host, link, clock, own, layout))
            lines.push_back(lineOf(message).toStdString());
        return lines;
    }

    FakeLink link;
};

TEST_F(DryRun, PlansAMessageForEachRequestAndGroup)
{
    const GatewayPlan plan = planWith("line = { interval_ms = 1000 }\n");
    EXPECT_EQ(plan.line.requests.size(), 2u) << "one for each station";
    EXPECT_EQ(plan.cycle, Time(1s)) << "the interval, which is longer than the reading";
    EXPECT_DOUBLE_EQ(plan.messagesPerSecond, 3) << "oven and more of one request, far of the other";
    EXPECT_FALSE(plan.spoolLasts);
}

TEST_F(DryRun, PlansByTheSpeedOfTheLine)
{
    const GatewayPlan plan = planWith("");
    ASSERT_TRUE(plan.serial);
    EXPECT_EQ(plan.cycle, cycleTime(plan.line, {9600, 10}, plan.pauses));
    EXPECT_DOUBLE_EQ(plan.messagesPerSecond, 3 / std::chrono::duration<double>(plan.cycle).count());
    const GatewayPlan tcp = planWith("", "tcp:127.0.0.1:5020");
    EXPECT_FALSE(tcp.serial);
    EXPECT_EQ(tcp.cycle, cycleTime(tcp.line, {115200, 10}, tcp.pauses));
}

TEST_F(DryRun, PlansNoMoreThanLeastTimesAllow)
{
    const char *const seldom =
        "[[group]]\nname = \"g\"\nleast_ms = 10000\n"
        "tag = [ { name = \"a\", variable = \"5:1\" }, { name = \"b\", variable = \"5:2\" } ]\n"
        "[[group]]\nname = \"h\"\ntag = [ { name = \"c\", variable = \"5:3\" } ]\n";
    const GatewayPlan plan = planWith("line = { interval_ms = 1000 }\n", "/dev/ttyS0", seldom);
    EXPECT_EQ(plan.line.requests.size(), 1u);
    EXPECT_DOUBLE_EQ(plan.messagesPerSecond, 1.2) << "each of the two in g every ten seconds, h in each cycle";
}

TEST_F(DryRun, PlansHowLongTheSpoolLasts)
{
    const GatewayPlan plan = planWith("line = { interval_ms = 1000 }\nspool = { megabytes = 1 }\n");
    ASSERT_TRUE(plan.spoolLasts);
    EXPECT_EQ(plan.spoolBytes, 1024 * 1024);
    EXPECT_EQ(plan.spoolLasts->count(), std::int64_t(1024 * 1024 / (plan.messagesPerSecond * plan.recordBytes)));
    const GatewayPlan old = planWith("line = { interval_ms = 86400000 }\nspool = { days = 2 }\n");
    EXPECT_EQ(old.spoolLasts, std::chrono::seconds(2 * 86400)) << "what is older is dropped";
}

TEST_F(DryRun, PlansOneMessageForEachStationOfSparkplug)
{
    const GatewayPlan plan =
        planWith("line = { interval_ms = 1000 }\nlayout = { kind = \"sparkplug\", group = \"g\" }\n", "/dev/ttyS0");
    EXPECT_DOUBLE_EQ(plan.messagesPerSecond, 2);
}

TEST_F(DryRun, TellsPeopleThePlan)
{
    const std::string text = textWith("line = { interval_ms = 1000 }\nspool = { megabytes = 1 }\n");
    for (const char *part :
         {"4 variables in 3 blocks; a cycle takes 2 requests with ", "\nBlocks\n", "temp, near",
          "\nRequests of a cycle\n", "\nA cycle in ms         8E1         8N1\n", "\n    9600 baud",
          "\n  9600,8N1: ", "\nAt most 3.0 messages a second, with a reading every 1000.0 ms\n",
          "\nThe spool of 1 MB holds them for ", "\nAssumed: every value changes"})
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    const std::string tcp = textWith("", "tcp:127.0.0.1:5020");
    EXPECT_NE(tcp.find("a line of 115200,8N1, for the link is TCP and has no speed of its own"), std::string::npos)
        << tcp;
    EXPECT_NE(tcp.find("\nThere is no spool: "), std::string::npos);
}

TEST_F(DryRun, TellsProgramsThePlan)
{
    const Json json = jsonOf(planWith("line = { interval_ms = 1000 }\nspool = { days = 2 }\n")).at("plan");
    EXPECT_EQ(json.at("requests").size(), 2u);
    EXPECT_EQ(json.at("variables").at(0).at("name"), "temp");
    EXPECT_EQ(json.at("cycles").size(), 16u);
    EXPECT_EQ(json.at("line").at("baud"), 9600);
    EXPECT_EQ(json.at("line").at("isAssumed"), false);
    EXPECT_EQ(json.at("readingEveryMs"), 1000.0);
    EXPECT_EQ(json.at("messagesPerSecond"), 3.0);
    EXPECT_EQ(json.at("spoolBytes"), 64 * 1024 * 1024);
    EXPECT_GT(json.at("spoolSeconds"), 0);
    EXPECT_EQ(jsonOf(planWith("")).at("plan").count("spoolBytes"), 0u);
}

// ---- the plan and what comes of it, in virtual time

const int MeasuredCycles = 100;

/// Far apart: each takes a block of its own.
std::string scatteredTags(int count)
{
    std::string tags = "[[group]]\nname = \"wide\"\ntag = [\n";
    for (int i = 0; i < count; ++i)
        tags += "{ name = \"t" + std::to_string(i) + "\", variable = \"5:" + std::to_string(200 * i) + "x20\" },\n";
    return tags + "]\n";
}

struct Measured {
    double readingEveryMs = 0;    ///< the longest of all tags
    double messagesPerSecond = 0; ///< if each value that is read is told
};

/// What comes of the settings on a line that keeps its pace.
Measured measured(const GatewaySettings &settings, Time duration)
{
    const LineSpeed speed = speedOf(std::get<SerialAddress>(parseLink(settings.link)));
    PacedLine line(speed.byteTime(), 0ms, settings.host.remoteLink.has_value());
    const WallClock clock(line, [&line] {
        const auto since = std::chrono::hours(470000) + line.now();
        return std::chrono::system_clock::time_point(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(since));
    });
    Mailbox mailbox(1000000);
    OrderDesk orders;
    line.endBy(nullptr, line.now() + duration);
    LineLoop(settings, line, clock, {mailbox, orders, [] {}, {}, false}).run();
    const std::unique_ptr<Layout> layout = makeLayout(settings);
    std::map<std::size_t, std::vector<Epoch>> times;
    std::size_t messages = 0;
    for (const Snapshot &snapshot : mailbox.takeSnapshots()) {
        std::vector<const Sample *> good;
        for (const Sample &sample : snapshot)
            if (sample.quality == Quality::Good) {
                times[sample.tag].push_back(sample.time);
                good.push_back(&sample);
            }
        messages += layout->records(good).size();
    }
    Measured made;
    for (const auto &[tag, at] : times)
        made.readingEveryMs = std::max(made.readingEveryMs, double(at.back() - at.front()) / double(at.size() - 1));
    EXPECT_EQ(times.size(), settings.tags.size());
    made.messagesPerSecond = double(messages) / std::chrono::duration<double>(duration).count();
    return made;
}

double readingEveryMsIn(const QStringList &lines)
{
    static const QRegularExpression form(QStringLiteral("with a reading every ([0-9.]+) ms"));
    return form.match(lines.join(QLatin1Char('\n'))).captured(1).toDouble();
}

TEST_F(DryRun, ThePlanIsWhatAPacedLineBrings)
{
    const std::string few = scatteredTags(9), wide = scatteredTags(10), wider = scatteredTags(45);
    const std::pair<const char *, const char *> cases[] = {
        {"", Tags},
        {"", wide.c_str()},
        {"", wider.c_str()},
        {"line = { block_words = 8 }\n", wider.c_str()},
        {"line = { remote_link = 3 }\n", wide.c_str()},
        {"line = { interval_ms = 1000 }\n", Tags},
        {"line = { interval_ms = 250 }\n", wider.c_str()},
        {"line = { interval_ms = 1000 }\n", few.c_str()},
        {"layout = { kind = \"sparkplug\", group = \"g\" }\n", Tags}};
    for (const char *address : {"/dev/ttyS0:1200,8E1", "/dev/ttyS0:19200,8E1", "/dev/ttyS0:115200,8N1"})
        for (const auto &[root, tags] : cases) {
            SCOPED_TRACE(std::string(address) + " " + root + tags);
            const GatewaySettings own = settingsWith(root, address, tags);
            reset(); // the run before was cut off amid a request
            const GatewayPlan plan = planOf(linkedDriver(), own);
            const double every = readingEveryMsIn(linesOf(plan));
            const double messages = jsonOf(plan).at("plan").at("messagesPerSecond").get<double>();
            const Measured real = measured(own, MeasuredCycles * plan.cycle);
            // Between two pauses are whole requests of six blocks, so some are read twice.
            const double requests = plan.line.requestsPerCycle();
            const double twice = plan.cycle == own.interval ? std::ceil(requests) / requests : 1;
            EXPECT_NEAR(real.readingEveryMs * twice, every, 0.05 * every);
            EXPECT_NEAR(real.messagesPerSecond, messages, 0.05 * messages);
        }
}

// ---- one reading

TEST_F(DryRun, PublishesWhatOneReadingBrings)
{
    link.controller.at(1, 0x08, 100) = 235;
    link.controller.at(1, 0x08, 101) = 7;
    link.controller.at(1, 0x02, 17) = 1;
    link.controller.at(2, 0x08, 200) = 9;
    const std::vector<std::string> lines = publishedBy(settingsWith(""));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].substr(0, 14), "oven temp=235 ");
    EXPECT_EQ(lines[1].substr(0, 10), "oven on=1 ");
    EXPECT_EQ(lines[2].substr(0, 12), "more near=7 ");
    EXPECT_EQ(lines[3].substr(0, 13), "far pieces=9 ");
    EXPECT_GT(std::stoi(lines[0].substr(14)), 0) << "the time is that of the reply, which was before the other one";
}

TEST_F(DryRun, PublishesWhatCannotBeRead)
{
    link.onSend = [this](const QByteArray &request) {
        if (request.at(0) == 1)
            link.answer(request);
    };
    const std::vector<std::string> lines = publishedBy(settingsWith(""));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[3].find("far pieces="), 0u);
    EXPECT_NE(lines[3].find("noReply"), std::string::npos) << lines[3];
}

TEST_F(DryRun, ShowsPayloadsThatAreNoTextAsBytes)
{
    EXPECT_EQ(lineOf(Message{"a/b", "{\"x\":\"°\"}", 1, false}).toStdString(), "a/b {\"x\":\"°\"}");
    EXPECT_EQ(lineOf(Message{"a/b", std::string("\x08\x00\xFF", 3), 0, false}).toStdString(), "a/b 08 00 FF");
    EXPECT_EQ(jsonOf(Message{"t", "{}", 1, true}).dump(),
              R"({"topic":"t","qos":1,"retained":true,"payload":"{}"})");
}

} // namespace
