// One polling thread and four host threads, on a line with faults. Nobody may see a group half stored, every result
// must be the one that its fault demands, and the thread sanitizer must find nothing to report.
#include "threads.h"

#include <cinttypes>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>
#include <memory>
#include <thread>

// Qt's strings count their owners atomically, but inside Qt's own library, where the sanitizer sees nothing of it
// but the release of the memory by the last owner.
extern "C" const char *__tsan_default_suppressions()
{
    return "race:^QString::operator=(QString const&)$\n";
}

namespace
{

using namespace stress;

struct Round {
    const char *name;
    int writeMode;
    int remoteMode;
};

const Round rounds[] = {{"writes to the controller", 2, 0}, {"writes to the image", 0, 0}, {"remote", 2, 1}};

COMINFO settings;
std::atomic<std::uint64_t> callbacks{0};

/// Reads the image, as a host's callback may.
void onceReadEnded(int, int, int, int)
{
    ++callbacks;
    imageOf(controllerGroups().front(), settings.stationMode);
}

void reset(bool perStation, const Round &round)
{
    settings = COMINFO();
    settings.blockWords = BlockWords;
    settings.defaultStation = 1;
    settings.retryLimit = 2;
    settings.stationMode = perStation;
    settings.writeMode = round.writeMode;
    settings.remoteMode = round.remoteMode;
    SetComInfo(&settings);
    RegistCallBackFuncIntf(onceReadEnded, 0);
    ReCreatReadVarList(nullptr);
    PLC_driver.WriteVarList.clear();
    PLC_driver.OnceReadVarList.clear();
    PLC_driver.ProtocolList.clear();
    PLC_driver.ExtendVarList.clear();
    CurrentRWVar.clear();
}

struct Result {
    Calls calls;
    std::uint64_t polled = 0, replies = 0, failures = 0, seen = 0, torn = 0;
    std::string error;
};

void run(PollingThread &polling, std::vector<std::unique_ptr<HostThread>> &hosts, std::uint64_t calls)
{
    std::thread poller([&] { polling.run(); });
    std::vector<std::thread> threads;
    for (const auto &host : hosts)
        threads.emplace_back([&host, calls] { host->run(calls / HostThreads); });
    for (std::thread &thread : threads)
        thread.join();
    polling.stop = true;
    poller.join();
}

Result play(bool perStation, const Round &round, std::uint64_t calls, std::uint64_t seed)
{
    reset(perStation, round);
    PollingThread polling(settings, seed);
    std::vector<std::unique_ptr<HostThread>> hosts;
    for (int i = 0; i < HostThreads; ++i)
        hosts.push_back(std::make_unique<HostThread>(settings, i, seed));
    run(polling, hosts, calls);
    Result result = {{}, polling.calls, polling.replies, polling.failures, 0, 0, polling.error};
    for (const auto &host : hosts) {
        for (const auto &entry : host->calls)
            result.calls[entry.first] += entry.second;
        result.seen += host->seen;
        result.torn += host->torn;
        result.error += host->error;
    }
    return result;
}

void print(const char *scheme, const Round &round, const Result &result)
{
    std::printf("%s, %s: %" PRIu64 " polling calls, %" PRIu64 " replies, %" PRIu64 " of them with faults; %" PRIu64
                " new values seen, %" PRIu64 " half stored\n",
                scheme, round.name, result.polled, result.replies, result.failures, result.seen, result.torn);
    for (const auto &entry : result.calls)
        std::printf("  %-22s %10" PRIu64 "\n", entry.first.c_str(), entry.second);
    std::fflush(stdout);
}

bool isGood(const Result &result)
{
    if (!result.error.empty())
        std::fprintf(stderr, "error: %s\n", result.error.c_str());
    return result.error.empty() && result.torn == 0 && result.seen > 0 && result.failures > 0;
}

bool playAll(const char *scheme, std::uint64_t calls, std::uint64_t seed)
{
    bool good = true;
    for (const Round &round : rounds) {
        const Result result = play(scheme == std::string("stations"), round, calls / std::size(rounds), seed);
        print(scheme, round, result);
        good = isGood(result) && good;
    }
    return good;
}

} // namespace

int main(int argc, char **argv)
{
    std::uint64_t calls = 100000, seed = 1;
    std::string scheme = "both";
    CLI::App app("Host threads beside the polling thread");
    app.add_option("--calls", calls, "of the host threads, all together")->capture_default_str();
    app.add_option("--seed", seed, "of the faults and of the host threads")->capture_default_str();
    app.add_option("--scheme", scheme, "of the storage; both: half of the calls each")
        ->check(CLI::IsMember({"fixed", "stations", "both"}))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    const std::uint64_t share = scheme == "both" ? calls / 2 : calls;
    const std::clock_t start = std::clock();
    bool good = true;
    for (const char *name : {"fixed", "stations"})
        if (scheme == name || scheme == "both")
            good = playAll(name, share, seed) && good;
    std::printf("%" PRIu64 " callbacks, %.1f s of CPU time\n", callbacks.load(),
                double(std::clock() - start) / CLOCKS_PER_SEC);
    return good && callbacks > 0 ? 0 : 1;
}
