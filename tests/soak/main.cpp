// A year of polling in one run: 3.2 * 10^8 transactions, ten a second. Prints what happened; fails at the first
// thing that must not happen, growth of the heap by one byte among them.
#include "host_year.h"
#include "support/heap.h"
#include "year.h"

#include <cinttypes>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>

namespace
{

double cpuSeconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

void print(const char *name, std::uint64_t number)
{
    std::printf("  %-28s %12" PRIu64 "\n", name, number);
}

void printJobs(const soak::Totals &totals)
{
    const char *const names[] = {"cyclic reads", "writes", "one-shot reads"};
    for (int i = 0; i < 3; ++i)
        std::printf("  %-28s %12" PRIu64 " done, %" PRIu64 " given up\n", names[i], totals.good[i], totals.lost[i]);
}

void printFaults(const std::array<std::uint64_t, fgssim::FaultKinds> &faults)
{
    for (std::size_t i = 0; i < fgssim::FaultKinds; ++i)
        print((std::string("fault: ") + fgssim::FaultNames[i]).c_str(), faults[i]);
}

void printEnd(long long heapWarm, long long heapEnd, double seconds, std::uint64_t transactions)
{
    std::printf("  %-28s %12lld\n", "heap after warm-up, bytes", heapWarm);
    std::printf("  %-28s %12lld\n", "heap at the end, bytes", heapEnd);
    std::printf("  %-28s %12.1f s, %.2f us a transaction\n", "CPU time", seconds,
                1e6 * seconds / double(transactions));
}

void print(const soak::Report &report, double seconds)
{
    print("transactions", report.transactions);
    print("hours of the panel", report.hours);
    printJobs(report.totals);
    printFaults(report.faults);
    print("silences of a dead line", report.silences);
    print("results: bad check", report.totals.failures[0]);
    print("results: no reply", report.totals.failures[1]);
    print("results: wrong length", report.totals.failures[2]);
    print("requests repeated", report.totals.repeated);
    print("queued jobs dropped", report.totals.purged);
    print("callbacks", report.totals.callbacks);
    print("lists built", report.rebuilds);
    print("host writes", report.writes);
    print("host one-shot reads", report.onceReads);
    print("host reads", report.reads);
    print("most writes queued", std::uint64_t(report.mostWrites));
    print("most one-shot reads queued", std::uint64_t(report.mostOnces));
    print("entries per station", std::uint64_t(report.stored));
    printEnd(report.heapWarm, report.heapEnd, seconds, report.transactions);
}

void print(const soak::HostReport &report, double seconds)
{
    const fgs::Statistics &statistics = report.statistics;
    print("transactions", statistics.requests);
    print("hours on the clock", std::uint64_t(report.clockHours));
    printFaults(report.faults);
    for (int i = 0; i < fgs::OutcomeCount; ++i)
        print((std::string("outcome: ") + fgs::nameOf(fgs::Outcome(i))).c_str(),
              statistics.outcomes[std::size_t(i)]);
    print("requests repeated", statistics.retries);
    print("jobs given up", statistics.abandoned);
    print("stray bytes", statistics.strayBytes);
    print("screens shown", report.screens);
    print("screens read soon", report.onceReads);
    print("writes", report.writes);
    print("records of writes lost", std::uint64_t(report.lostWrites));
    printEnd(report.heapWarm, report.heapEnd, seconds, statistics.requests);
}

template <typename Course>
void run(const std::string &scheme, std::uint64_t transactions, std::uint64_t seed)
{
    const double start = cpuSeconds();
    Course course(scheme == "stations", seed);
    const auto report = course.run(transactions);
    std::printf("%s\n", scheme.c_str());
    print(report, cpuSeconds() - start);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    std::uint64_t transactions = 1000000, seed = 1;
    std::string scheme = "both";
    bool withHost = false;
    CLI::App app("A year of polling in virtual time");
    app.add_option("--transactions", transactions, "how many; a year has 320000000")->capture_default_str();
    app.add_option("--seed", seed, "of the faults and of the host")->capture_default_str();
    app.add_flag("--host", withHost, "with the reference host on top");
    app.add_option("--scheme", scheme, "of the storage; both: half of the transactions each")
        ->check(CLI::IsMember({"fixed", "stations", "both"}))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    heap::startPeak(); // from here on a sanitizer's heap is counted too
    try {
        const std::uint64_t share = scheme == "both" ? (transactions + 1) / 2 : transactions;
        for (const char *name : {"fixed", "stations"})
            if (scheme == name || scheme == "both")
                withHost ? run<soak::HostYear>(name, share, seed) : run<soak::Year>(name, share, seed);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
    return 0;
}
