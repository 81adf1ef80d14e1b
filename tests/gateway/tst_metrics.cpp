// The page of metrics: every name, the figures that were filled in, and the format.
#include "gateway/metrics.h"
#include "support/process.h"
#include "support/temporary_folder.h"

#include <nlohmann/json.hpp>

#include <ctime>
#include <fstream>
#include <set>
#include <sstream>

using namespace fgs;

namespace
{

/// A figure of its own for each metric.
GatewayFigures figuresByHand()
{
    GatewayFigures figures;
    LineState &line = figures.line;
    line.isUp = true;
    line.since = 1700000000000;
    line.stations = {{1, true}, {7, false}};
    line.busy = milliseconds(12500);
    Statistics &statistics = line.statistics;
    statistics.requests = 1001;
    statistics.retries = 12;
    statistics.abandoned = 3;
    statistics.strayBytes = 45;
    statistics.reconnects = 6;
    for (std::size_t i = 0; i < statistics.outcomes.size(); ++i)
        statistics.outcomes[i] = 100 + i;
    for (Time time :
         {Time(50us), Time(1ms), Time(1ms + 1ns), Time(3ms), Time(90ms), Time(2500ms), Time(4s), Time(20s)})
        statistics.roundTrips.add(time);
    figures.isBrokerUp = true;
    figures.awaitsHost = true;
    figures.sent = 5020;
    figures.acknowledged = 5000;
    figures.dropped = 17;
    figures.hasSpool = true;
    figures.spoolBytes = 123456;
    figures.spoolOldestAge = 61.5;
    figures.tags = 200;
    figures.staleTags = 4;
    figures.oldestValueAge = 2.25;
    figures.commands = 31;
    for (std::size_t i = 0; i < figures.commandFailures.size(); ++i)
        figures.commandFailures[i] = 1000 + i;
    return figures;
}

/// Values by name and labels, as they stand in the page.
std::map<std::string, double> valuesOf(const std::string &page)
{
    std::map<std::string, double> values;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.rfind(' ');
        if (line[0] == '#')
            continue;
        EXPECT_TRUE(values.emplace(line.substr(0, end), std::stod(line.substr(end + 1))).second) << line;
    }
    return values;
}

std::map<std::string, double> pageByHand()
{
    return valuesOf(metricsText(figuresByHand()));
}

TEST(Metrics, EachFigureStandsUnderItsName)
{
    const std::map<std::string, double> page = pageByHand();
    const std::map<std::string, double> expected = {
        {"fgs_up", 1},
        {"fgs_station_up{station=\"1\"}", 1},
        {"fgs_station_up{station=\"7\"}", 0},
        {"fgs_requests_total", 1001},
        {"fgs_request_retries_total", 12},
        {"fgs_jobs_abandoned_total", 3},
        {"fgs_stray_bytes_total", 45},
        {"fgs_link_reconnects_total", 6},
        {"fgs_line_busy_seconds_total", 12.5},
        {"fgs_tags", 200},
        {"fgs_tags_stale", 4},
        {"fgs_oldest_value_age_seconds", 2.25},
        {"fgs_broker_up", 1},
        {"fgs_awaits_host", 1},
        {"fgs_publish_sent_total", 5020},
        {"fgs_publish_acknowledged_total", 5000},
        {"fgs_publish_dropped_total", 17},
        {"fgs_spool_up", 1},
        {"fgs_spool_bytes", 123456},
        {"fgs_spool_oldest_age_seconds", 61.5},
        {"fgs_commands_total", 31},
        {std::string("fgs_build_info{version=\"1.0.0\",qt=\"") + qVersion() + "\"}", 1},
    };
    for (const auto &[name, value] : expected) {
        ASSERT_EQ(page.count(name), 1u) << name;
        EXPECT_EQ(page.at(name), value) << name;
    }
}

TEST(Metrics, EveryOutcomeAndReasonIsThereAndNoSuccess)
{
    const char *const outcomes[] = {"noReply",    "incomplete",   "garbled", "badCheck",
                                    "otherReply", "otherStation", "refused", "linkLost"};
    std::map<std::string, double> expected;
    for (int i = 0; i < 8; ++i)
        expected[std::string("fgs_request_failures_total{outcome=\"") + outcomes[i] + "\"}"] = 101 + i;
    const char *const reasons[] = {"retained",        "tooLarge",   "notJson",    "noId",        "tooOld",
                                   "readOnly",        "unknownTag", "notAllowed", "wrongType",   "outOfRange",
                                   "offStep",         "tooMany",    "linkDown",   "stationDown", "deviceRefused",
                                   "notAcknowledged", "notRead",    "different",  "notSent"};
    for (int i = 0; i < 19; ++i)
        expected[std::string("fgs_command_failures_total{reason=\"") + reasons[i] + "\"}"] = 1001 + i;
    std::map<std::string, double> found;
    for (const auto &[name, value] : pageByHand())
        if (name.find("failures_total{") != std::string::npos)
            found[name] = value;
    EXPECT_EQ(found, expected);
    std::size_t zeros = 0;
    for (const auto &[name, value] : valuesOf(metricsText(GatewayFigures())))
        zeros += name.find("failures_total{") != std::string::npos && value == 0;
    EXPECT_EQ(zeros, expected.size()) << "a label comes only with its first failure";
}

TEST(Metrics, TheHistogramCountsUpToEachBound)
{
    const std::map<std::string, double> page = pageByHand();
    const std::map<std::string, double> expected = {{"0.001", 2}, {"0.0025", 3}, {"0.005", 4}, {"0.01", 4},
                                                    {"0.025", 4}, {"0.05", 4},   {"0.1", 5},   {"0.25", 5},
                                                    {"0.5", 5},   {"1", 5},      {"2.5", 6},   {"+Inf", 8}};
    std::map<std::string, double> found;
    const std::string prefix = "fgs_transaction_duration_seconds_bucket{le=\"";
    for (const auto &[name, value] : page)
        if (name.compare(0, prefix.size(), prefix) == 0)
            found[name.substr(prefix.size(), name.size() - prefix.size() - 2)] = value;
    EXPECT_EQ(found, expected);
    EXPECT_EQ(page.at("fgs_transaction_duration_seconds_count"), 8);
    EXPECT_NEAR(page.at("fgs_transaction_duration_seconds_sum"), 26.595050001, 1e-6);
}

TEST(Metrics, TellsOfItsProcess)
{
    std::map<std::string, double> page = pageByHand();
    EXPECT_GT(page["process_resident_memory_bytes"], 1000000);
    EXPECT_GE(page["process_virtual_memory_bytes"], page["process_resident_memory_bytes"]);
    EXPECT_GE(page["process_open_fds"], 3);
    EXPECT_GE(page["process_max_fds"], page["process_open_fds"]);
    EXPECT_GE(page["process_threads"], 1);
    EXPECT_GT(page["process_cpu_seconds_total"], 0);
    EXPECT_EQ(page.count("process_start_time_seconds"), 1u);
    if (std::string(TARN_EMULATOR).empty()) {
        EXPECT_GT(page["process_start_time_seconds"], 1500000000);
        EXPECT_LE(page["process_start_time_seconds"], double(std::time(nullptr)) + 1);
    }
    const double threads = page["process_threads"], descriptors = page["process_open_fds"];
    std::ifstream one("/proc/self/stat"), two("/proc/self/stat");
    EXPECT_EQ(pageByHand()["process_open_fds"], descriptors + 2);
    std::mutex mutex;
    mutex.lock();
    std::thread waiting([&] { const std::lock_guard<std::mutex> lock(mutex); });
    EXPECT_EQ(pageByHand()["process_threads"], threads + 1);
    mutex.unlock();
    waiting.join();
}

TEST(Metrics, ThereAreNoneOfASpoolThatThereIsNot)
{
    const std::string page = metricsText(GatewayFigures());
    EXPECT_EQ(page.find("fgs_spool"), std::string::npos);
    EXPECT_NE(page.find("\nfgs_up 0\n"), std::string::npos);
}

TEST(Metrics, AreWhatPromtoolWants)
{
    const std::string promtool = std::string(TARN_SERVERS) + "/usr/bin/promtool";
    if (!std::filesystem::exists(promtool) || !std::string(TARN_EMULATOR).empty())
        GTEST_SKIP() << "there is no " << promtool << " for this machine";
    TemporaryFolder folder;
    const auto lint = [&](const std::string &page) {
        const std::string file = folder.path / "page";
        std::ofstream(file) << page;
        Process check("/bin/sh", {"-c", promtool + " check metrics < " + file + " 2>&1"});
        const std::string told = check.restOfOutput();
        return std::to_string(check.wait()) + told;
    };
    EXPECT_EQ(lint(metricsText(figuresByHand())), "0");
    EXPECT_EQ(lint(metricsText(GatewayFigures())), "0");
    EXPECT_NE(lint("# HELP fgs_x x\n# TYPE fgs_x counter\nfgs_x 1\n"), "0") << "it finds nothing at all";
}

TEST(Metrics, TellOfASpoolThatKeepsNothing)
{
    GatewayFigures figures = figuresByHand();
    figures.spoolProblem = "no space is left";
    EXPECT_EQ(valuesOf(metricsText(figures)).at("fgs_spool_up"), 0);
}

TEST(Health, IsGoodWithLineBrokerAndSpool)
{
    GatewayFigures figures = figuresByHand();
    const Health good = healthOf(figures);
    EXPECT_TRUE(good.isOk);
    EXPECT_EQ(good.text, "{\"ok\":true,\"line\":{\"up\":true,\"since\":1700000000000},"
                         "\"broker\":{\"up\":true,\"awaitsHost\":true},\"spool\":{\"up\":true}}\n");
    figures.awaitsHost = false;
    EXPECT_EQ(healthOf(figures).text, "{\"ok\":true,\"line\":{\"up\":true,\"since\":1700000000000},"
                                      "\"broker\":{\"up\":true},\"spool\":{\"up\":true}}\n");
    figures.isBrokerUp = false;
    EXPECT_FALSE(healthOf(figures).isOk);
    figures.isBrokerUp = true;
    figures.line.isUp = false;
    figures.line.error = "no \"device\" \xFF";
    const Health bad = healthOf(figures);
    EXPECT_FALSE(bad.isOk);
    EXPECT_EQ(nlohmann::json::parse(bad.text)["line"]["error"], "no \"device\" \xEF\xBF\xBD");
    figures = figuresByHand();
    figures.spoolProblem = "no space is left";
    EXPECT_FALSE(healthOf(figures).isOk);
    const nlohmann::json spool = nlohmann::json::parse(healthOf(figures).text)["spool"];
    EXPECT_EQ(spool, nlohmann::json({{"up", false}, {"error", "no space is left"}}));
    figures = {};
    EXPECT_FALSE(nlohmann::json::parse(healthOf(figures).text).contains("spool")) << "there is none";
}

} // namespace
