#include "host_year.h"

#include "shadow.h"
#include "support/heap.h"
#include "year.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace soak
{

namespace
{

using namespace std::chrono_literals;

const fgssim::FaultRates Percent = {0.4, 0.2, 0.3, 0.2, 0.2, 0.2};
const fgs::Time Answer = 5ms, LateAnswer = 1500ms;
const std::uint64_t WriteEvery = 24, ScreenEvery = 600, OnceEvery = 600; ///< transactions, on average

std::vector<std::vector<fgs::Variable>> variablesOf(const std::vector<Screen> &screens)
{
    std::vector<std::vector<fgs::Variable>> all;
    for (const Screen &screen : screens) {
        all.emplace_back();
        for (const Place &place : screen)
            all.back().push_back({place.areaType, place.address, place.length, place.station});
    }
    return all;
}

std::vector<fgs::Variable> joined(const std::vector<std::vector<fgs::Variable>> &screens)
{
    std::vector<fgs::Variable> all;
    for (const std::vector<fgs::Variable> &screen : screens)
        all.insert(all.end(), screen.begin(), screen.end());
    return all;
}

std::vector<fgs::Variable> bitsOf(std::vector<fgs::Variable> variables)
{
    const auto isOther = [](const fgs::Variable &variable) {
        return fgs::areaOf(variable.area)->kind != fgs::AreaKind::Bit;
    };
    variables.erase(std::remove_if(variables.begin(), variables.end(), isOther), variables.end());
    return variables;
}

std::vector<int> stations(bool perStation)
{
    return perStation ? std::vector<int>{1, 2, 3} : std::vector<int>{1};
}

fgs::HostOptions options()
{
    fgs::HostOptions chosen;
    chosen.blockWords = 30;
    chosen.timing.timeout = 200ms;
    return chosen;
}

} // namespace

HostYear::HostYear(bool perStation, std::uint64_t seed)
    : screens(variablesOf(soak::screens(stations(perStation)))), all(joined(screens)),
      line(perStation ? std::vector<unsigned>{1, 2, 3} : std::vector<unsigned>{1}, {}, fgssim::Values::Pattern,
           Percent, seed),
      host(fgs::linkedDriver(), link, all, options()), random(seed, 8)
{
    link.onSend = [this](const QByteArray &request) { answer(request); };
}

void HostYear::answer(const QByteArray &request)
{
    ++sent;
    const Reply reply = line.exchange(request);
    link.arrive(Answer, reply.bytes);
    link.arrive(LateAnswer, reply.late);
}

HostReport HostYear::run(std::uint64_t transactions)
{
    hour();
    report.heapWarm = heap::inUse();
    do {
        hour();
        report.heapEnd = heap::inUse();
        mustBe("heap", report.heapEnd, report.heapWarm);
    } while (sent < transactions || report.hours < 3);
    report.statistics = host.statistics();
    report.faults = line.faults;
    report.lostWrites = host.writesLost();
    report.clockHours = double(link.now() / 1s) / 3600;
    return report;
}

void HostYear::hour()
{
    const std::uint64_t end = ++report.hours * TransactionsPerHour;
    while (sent < end) {
        act();
        step();
    }
    tidy();
}

/// At the pace of ten transactions a second.
void HostYear::step()
{
    const fgs::Time next = link.now() + 1000ms / int(TransactionsPerSecond);
    host.step();
    link.pauseUntil(next);
    const fgs::Statistics &now = host.statistics();
    mustBe("requests counted", (long long)(now.requests), (long long)(sent));
    mustBe("sum of the outcomes", std::accumulate(now.outcomes.begin(), now.outcomes.end(), 0LL),
           (long long)(now.requests));
    mustBe("failures", (long long)(now.failures()),
           (long long)(now.retries + now.abandoned + now.of(fgs::Outcome::LinkLost)));
    mustNotExceed("writes queued", host.writesQueued(), 1024);
}

void HostYear::act()
{
    if (random.below(ScreenEvery) == 0) {
        host.poll(screens[random.below(screens.size())]);
        ++report.screens;
    }
    if (random.below(OnceEvery) == 0) {
        host.readSoon(bitsOf(screens[random.below(screens.size())]));
        ++report.onceReads;
    }
    if (random.below(WriteEvery) == 0)
        write(all[random.below(all.size())]);
}

void HostYear::write(const fgs::Variable &variable)
{
    const fgs::Area &area = *fgs::areaOf(variable.area);
    if (!area.writable)
        return;
    std::vector<quint32> values(std::size_t(variable.count));
    for (quint32 &value : values)
        value = quint32(random.below(area.kind == fgs::AreaKind::Bit ? 2u : 0x10000u));
    report.writes += host.write(variable, values);
}

/// Nothing queued and every variable read once more, in the same order: the same state every time.
void HostYear::tidy()
{
    line.faulty = false;
    emptyQueues();
    for (const Variables &screen : screens)
        readScreen(screen);
    line.faulty = true;
    mustBe("requests that the controller refused", (long long)(line.rejected), 0);
}

/// A job that is given up while nothing waits leaves queues that hold no memory. Then no late reply is waited for.
void HostYear::emptyQueues()
{
    host.poll(screens.back());
    while (host.writesQueued() > 0 || !PLC_driver.OnceReadVarList.isEmpty())
        step();
    const quint64 before = host.statistics().abandoned;
    line.dead = true;
    while (host.statistics().abandoned == before)
        step();
    line.dead = false;
    link.pauseUntil(link.now() + options().timing.late);
}

void HostYear::readScreen(const Variables &screen)
{
    const fgs::Time start = link.now();
    host.poll(screen);
    for (const fgs::Variable &variable : screen) {
        while (host.ageOf(variable).stored < start)
            step();
        compare(variable);
    }
}

void HostYear::compare(const fgs::Variable &variable)
{
    const Place place = {variable.area, variable.address, variable.count, variable.station};
    const QByteArray truth = valuesIn(line.ask(requestFor(place)), place);
    const int width = place.bytes() / place.length;
    const std::vector<quint32> values = host.values(variable);
    bool same = values.size() == std::size_t(place.length);
    for (int i = 0; same && i < place.bytes(); ++i)
        same =
            static_cast<unsigned char>(truth.at(i)) == (values[std::size_t(i / width)] >> (8 * (i % width)) & 0xFF);
    if (!same)
        throw std::runtime_error("the image is not what the controller holds: " +
                                 fgs::textOf(variable).toStdString());
}

} // namespace soak
