// How dead stations slow the healthy ones, and how soon a revived one is back; in virtual time. Prints the figures
// of docs/reliability.md.
#include "host/host.h"
#include "support/fake_link.h"

#include <cstdio>

using namespace fgs;

namespace
{

const int Stations = 8;
const Time Answer = 20ms; ///< from a request to its reply
const Time Window = 120s;
const int Cycles = 3;

class DeadStations : public DriverTest
{
protected:
    DeadStations()
    {
        link.onSend = [this](const QByteArray &request) {
            const int station = request.at(0);
            ++asked[station];
            if (!dead.count(station))
                link.answer(request, Answer);
        };
    }

    /// A panel that reads four words of each of the stations.
    void start(int first = 1)
    {
        host.reset();
        reset();
        variables.clear();
        for (int station = first; station <= Stations; ++station)
            variables.push_back(parseVariable(QStringLiteral("5:100x4@%1").arg(station)));
        variables.push_back(parseVariable(QStringLiteral("5:20000@%1").arg(Stations))); // stored per station
        host = std::make_unique<Host>(linkedDriver(), link, variables, options);
        variables.pop_back();
        host->poll(variables);
    }

    void runUntil(Time end)
    {
        while (link.now() < end)
            host->step();
    }

    /// Until every station has been asked so often.
    void runCycles(int cycles)
    {
        asked.clear();
        const auto isBehind = [&](const Variable &variable) { return asked[variable.station] < cycles; };
        while (std::any_of(variables.begin(), variables.end(), isBehind))
            host->step();
    }

    /// Requests a second of the healthy station that gets the fewest.
    double slowest()
    {
        asked.clear();
        const Time begin = link.now();
        runUntil(begin + Window);
        int least = 1 << 30;
        for (const Variable &variable : variables)
            if (!dead.count(variable.station))
                least = std::min(least, asked[variable.station]);
        return least / std::chrono::duration<double>(link.now() - begin).count();
    }

    double rateOfHealthy(int first)
    {
        dead.clear();
        start(first);
        runCycles(Cycles);
        return slowest();
    }

    /// Jobs, not requests: a dead station costs each of its first jobs all attempts.
    void letThemDie(int count)
    {
        dead.clear();
        start();
        runCycles(Cycles);
        for (int station = 1; station <= count; ++station)
            dead.insert(station);
        runCycles(Cycles * (1 + options.retries));
    }

    struct Revival {
        Time back;  ///< until the first good answer
        int probes; ///< requests that it took
    };

    Revival revive(int station)
    {
        const Variable &variable = variables[std::size_t(station - 1)];
        dead.erase(station);
        asked.clear();
        const Time revived = link.now();
        while (host->rests(station))
            host->step();
        const int probes = asked[station];
        while (host->ageOf(variable).stored < revived)
            host->step();
        EXPECT_FALSE(host->rests(station)) << "one good answer is enough";
        return {link.now() - revived, probes};
    }

    /// The worst of some revivals, each at another point of the rests.
    Revival worstRevival(int count)
    {
        Revival worst = {0s, 0};
        for (int i = 0; i < 5; ++i) {
            letThemDie(count);
            runUntil(link.now() + 60s + i * 2700ms);
            const Revival revival = revive(1 + i % count);
            worst.back = std::max(worst.back, revival.back);
            worst.probes = std::max(worst.probes, revival.probes);
        }
        return worst;
    }

    FakeLink link;
    HostOptions options;
    std::set<int> dead;
    std::map<int, int> asked;
    std::vector<Variable> variables;
    std::unique_ptr<Host> host;
};

TEST_F(DeadStations, LeaveTheHealthyOnesNineTenthsOfTheirRate)
{
    const double allAlive = rateOfHealthy(1);
    std::printf(
        "| dead of %d | requests/s of each healthy station | of the rate without the dead ones in the list | "
        "of the rate with all alive | revived: back after, at most | with a limit of 0.1 s | probes for it |\n"
        "|---:|---:|---:|---:|---:|---:|---:|\n",
        Stations);
    std::printf("| 0 | %.2f | 100 %% | 100 %% | | | |\n", allAlive);
    for (int count = 1; count <= 6; ++count) {
        SCOPED_TRACE(count);
        const double alone = rateOfHealthy(1 + count);
        letThemDie(count);
        const double rate = slowest();
        const Revival revival = worstRevival(count);
        options.timing.timeout = 100ms;
        const Revival quick = worstRevival(count);
        options.timing.timeout = 1s;
        std::printf("| %d | %.2f | %.1f %% | %.0f %% | %.1f s | %.1f s | %d |\n", count, rate, 100 * rate / alone,
                    100 * rate / allAlive, std::chrono::duration<double>(revival.back).count(),
                    std::chrono::duration<double>(quick.back).count(), revival.probes);
        EXPECT_GE(rate, 0.9 * allAlive) << count;
        EXPECT_GE(rate, 0.9 * alone) << count;
        EXPECT_EQ(revival.probes, 1) << count;
        EXPECT_EQ(quick.probes, 1) << count;
        EXPECT_LE(revival.back, (ProbeBudget::Share * count + 2) * 1s + options.longestRest);
        host.reset();
    }
}

TEST_F(DeadStations, AreProbedWithOneRequestOnly)
{
    letThemDie(3);
    runUntil(link.now() + 60s);
    Time last{0};
    std::size_t probes = 0;
    const std::size_t before = link.sent.size();
    runUntil(link.now() + 300s);
    for (std::size_t i = before; i < link.sent.size(); ++i)
        if (dead.count(link.sent[i].at(0))) {
            EXPECT_GE(link.sentAt[i] - last, (ProbeBudget::Share - 1) * 1s) << i;
            last = link.sentAt[i];
            ++probes;
        }
    EXPECT_GE(probes, 20u);
}

} // namespace
