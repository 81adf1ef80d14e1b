// What a changed file means for a gateway that runs, change by change.
#include "gateway/settings_difference.h"
#include "gateway_settings.h"

#include <gtest/gtest.h>

namespace
{

using namespace fgs;

struct Change {
    const char *what;
    void (*make)(GatewaySettings &settings);
    std::string parts; ///< all that differ
};

std::string partsOf(const SettingsDifference &difference)
{
    const std::pair<bool, const char *> parts[] = {
        {difference.line, " line"},       {difference.tags, " tags"},
        {difference.content, " content"}, {difference.connection, " connection"},
        {difference.spool, " spool"},     {difference.http, " http"}};
    std::string names;
    for (const auto &[isOther, name] : parts)
        names += isOther ? name : "";
    return names;
}

GatewaySettings settingsBefore()
{
    GatewaySettings settings =
        gatewaySettings({"oven"}, {gatewayTag("temp", "5:100:s16", {0.1}),
                                   writableTag(gatewayTag("sp", "5:101:s16"), {0, 250, 0.5})});
    settings.link = QStringLiteral("tcp:127.0.0.1:502");
    settings.broker.addresses = {{"127.0.0.1", 1883}};
    settings.spool.emplace().file = "press7.spool";
    return settings;
}

const Change Changes[] = {
    {"nothing", [](GatewaySettings &) {}, ""},
    {"link", [](GatewaySettings &it) { it.link += QLatin1Char('0'); }, " line"},
    {"interval", [](GatewaySettings &it) { it.interval = milliseconds(5); }, " line"},
    {"time limit", [](GatewaySettings &it) { it.host.timing.timeout = 3s; }, " line"},
    {"late answers", [](GatewaySettings &it) { it.host.timing.late = 3s; }, " line"},
    {"retries", [](GatewaySettings &it) { it.host.retries = 7; }, " line"},
    {"block", [](GatewaySettings &it) { it.host.blockWords = 7; }, " line"},
    {"remote link", [](GatewaySettings &it) { it.host.remoteLink = 0; }, " line"},
    {"longest rest", [](GatewaySettings &it) { it.host.longestRest = 3s; }, " line"},
    {"address", [](GatewaySettings &it) { it.tags[0].tag.variable.address += 1; }, " line tags content"},
    {"station", [](GatewaySettings &it) { it.tags[0].tag.variable.station = 9; }, " line tags content"},
    {"type", [](GatewaySettings &it) { it.tags[0].tag.type = parseTag(QStringLiteral("5:1:u16")).type; },
     " line tags content"},
    {"one tag less", [](GatewaySettings &it) { it.tags.pop_back(); }, " line tags content"},
    {"order of tags", [](GatewaySettings &it) { std::swap(it.tags[0], it.tags[1]); }, " line tags content"},
    {"name of a tag", [](GatewaySettings &it) { it.tags[0].name = "heat"; }, " tags content"},
    {"unit", [](GatewaySettings &it) { it.tags[0].tag.unit = QStringLiteral("K"); }, " tags content"},
    {"scale", [](GatewaySettings &it) { it.tags[0].tag.scaling.scale = 1; }, " tags content"},
    {"one group more", [](GatewaySettings &it) { it.groups.emplace_back("belt"); }, " tags content"},
    {"dead band", [](GatewaySettings &it) { it.tags[0].report.deadBand = 2; }, " content"},
    {"who may write", [](GatewaySettings &it) { it.tags[1].write.reset(); }, " content"},
    {"step", [](GatewaySettings &it) { it.tags[1].write->step = 1; }, " content"},
    {"rate of commands", [](GatewaySettings &it) { it.commands.mostPerMinute = 1; }, " content"},
    {"name of the gateway", [](GatewaySettings &it) { it.name = "press8"; }, " content connection"},
    {"base", [](GatewaySettings &it) { it.layout.base = "hall"; }, " content connection"},
    {"layout", [](GatewaySettings &it) { it.layout.kind = LayoutKind::Sparkplug; }, " content connection spool"},
    {"port of the broker", [](GatewaySettings &it) { it.broker.addresses[0].port = 1884; }, " connection"},
    {"second address",
     [](GatewaySettings &it) {
         it.broker.addresses.push_back({"b", 1883});
     },
     " connection"},
    {"password", [](GatewaySettings &it) { it.broker.passwordFile = "other"; }, " connection"},
    {"TLS", [](GatewaySettings &it) { it.broker.tls.emplace(); }, " connection"},
    {"size of the spool", [](GatewaySettings &it) { it.spool->mostBytes = 1; }, " spool"},
    {"no spool", [](GatewaySettings &it) { it.spool.reset(); }, " spool"},
    {"HTTP", [](GatewaySettings &it) { it.http.emplace(); }, " http"}};

TEST(SettingsDifference, NamesThePartsThatAChangeConcerns)
{
    for (const Change &change : Changes) {
        GatewaySettings after = settingsBefore();
        change.make(after);
        EXPECT_EQ(partsOf(differenceOf(settingsBefore(), after)), change.parts) << change.what;
        EXPECT_EQ(partsOf(differenceOf(after, settingsBefore())), change.parts) << change.what << ", back";
    }
}

/// Its sessions have the metrics of their births.
TEST(SettingsDifference, ConnectsAnewForOtherContentOfSparkplug)
{
    GatewaySettings before = settingsBefore();
    before.layout.kind = LayoutKind::Sparkplug;
    GatewaySettings after = before;
    after.tags[0].report.deadBand = 2;
    EXPECT_EQ(partsOf(differenceOf(before, after)), " content connection");
}

} // namespace
