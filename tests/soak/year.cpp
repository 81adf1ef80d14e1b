#include "year.h"

#include "support/heap.h"

#include <stdexcept>

namespace soak
{

namespace
{

const std::vector<int> Stations = {1, 2, 3};
const fgssim::FaultRates Percent = {0.4, 0.2, 0.3, 0.2, 0.2, 0.2};
const std::uint64_t WriteEvery = 24, OnceEvery = 24, LookEvery = 4, ScreenEvery = 600, BroadcastEvery = 5000,
                    LongWriteEvery = 20000; ///< transactions, on average
const Place LongWrite = {2, 1024, 1100, 1}; ///< more bits than the queue takes
const int HostTypes = 14;

Shadow *current;

template <typename Number>
std::vector<Number> stationsOf(bool perStation)
{
    return perStation ? std::vector<Number>(Stations.begin(), Stations.end()) : std::vector<Number>{1};
}

} // namespace

Year::Year(bool perStation, std::uint64_t seed)
    : allScreens(screens(stationsOf<int>(perStation))), places(placesOf(allScreens)),
      line(stationsOf<unsigned>(perStation), {}, fgssim::Values::Pattern, Percent, seed), random(seed, 7),
      shadow(settings)
{
    settings.blockWords = 30;
    settings.defaultStation = 1;
    settings.retryLimit = 2;
    settings.stationMode = perStation;
    settings.writeMode = 2;
    settings.hostHandle = 77;
    SetComInfo(&settings);
    RegistCallBackFuncIntf(onceReadEnded, 0);
    current = &shadow;
}

Year::~Year()
{
    PLC_driver.ExtendVarList.clear();
    ReCreatReadVarList(nullptr);
    RegistCallBackFuncIntf(nullptr, 0);
    SetComInfo(nullptr);
}

void Year::onceReadEnded(int handle, int hostType, int hostAddr, int status)
{
    current->called(handle, hostType, hostAddr, status);
}

Report Year::run(std::uint64_t transactions)
{
    writeEverywhere();
    hour();
    report.heapWarm = heap::inUse();
    report.stored = int(PLC_driver.ExtendVarList.size());
    do {
        hour();
        checkHeap();
    } while (report.transactions < transactions || report.hours < 3);
    report.totals = shadow.totals();
    report.faults = line.faults;
    report.silences = line.silences;
    return report;
}

void Year::hour()
{
    const std::uint64_t end = ++report.hours * TransactionsPerHour;
    while (report.transactions < end)
        transact();
    tidy();
}

void Year::transact()
{
    act();
    poll();
}

void Year::poll()
{
    shadow.beforeRequest();
    const Protocol *request = ComCommunication();
    shadow.afterRequest(request);
    if (!request)
        return;
    bool again = true;
    while (again) {
        ++report.transactions;
        Reply reply = line.exchange(request->frame);
        shadow.beforeReply(reply);
        const RW_VAR *result = DataCom(&reply.bytes, int(reply.bytes.size()));
        shadow.afterReply(reply, *result);
        again = result->result == 0;
        if (again)
            mustBe("the same request again", request == ComCommunication(), true);
    }
}

// ---- the host

void Year::act()
{
    const auto once = [this](std::uint64_t every) { return random.below(every) == 0; };
    if (once(ScreenEvery))
        showScreen(allScreens[random.below(allScreens.size())]);
    if (once(WriteEvery))
        write(anyPlace());
    if (once(OnceEvery))
        readOnce(anyPlace());
    if (once(LookEvery))
        look(anyPlace());
    if (once(BroadcastEvery))
        broadcast();
    if (once(LongWriteEvery))
        write(LongWrite);
    report.mostWrites = std::max(report.mostWrites, int(PLC_driver.WriteVarList.size()));
    report.mostOnces = std::max(report.mostOnces, int(PLC_driver.OnceReadVarList.size()));
}

void Year::showScreen(const Screen &screen)
{
    QList<HOST_VAR> vars = hostVars(screen);
    ReCreatReadVarList(&vars);
    shadow.rebuilt(int(screen.size()));
    ++report.rebuilds;
}

void Year::write(const Place &place)
{
    if (!place.isWritable())
        return;
    QByteArray values(place.bytes(), 0);
    for (char &value : values)
        value = char(random.below(place.isBits() ? 2 : 256));
    const int hostType = int(random.below(HostTypes));
    const int queued = SetRegisterData(QString::fromLatin1("write"), place.areaType, place.text(), place.station,
                                       &values, place.isBits() ? place.length : place.words(), hostType, 1);
    mustBe("SetRegisterData", queued, PLC_driver.WriteVarList.size());
    ++report.writes;
}

void Year::broadcast()
{
    if (!settings.stationMode)
        return;
    Place place = anyPlace();
    place.station = 0;
    write(place);
}

/// Bits: the driver does not store others that are read once.
void Year::readOnce(const Place &place)
{
    if (!place.isBits())
        return;
    RW_VAR wish;
    wish.hostType = int(random.below(HostTypes));
    wish.hostAddr = int(&place - places.data());
    wish.areaType = place.areaType;
    wish.addressText = place.text();
    wish.station = place.station;
    wish.length = place.length;
    const int queued = AddListOnceReadVar(&wish, 0);
    mustBe("AddListOnceReadVar", queued, PLC_driver.OnceReadVarList.size());
    ++report.onceReads;
}

void Year::look(const Place &place)
{
    mustBe("bytes read", imageOf(place, settings.stationMode).size(), place.bytes());
    ++report.reads;
}

// ---- between the hours

/// Brings the driver into the same state every time: nothing queued, every place read once more, in the same order.
void Year::tidy()
{
    line.faulty = false;
    emptyQueues();
    readScreens();
    line.faulty = true;
    mustBe("requests that the controller refused", (long long)(line.rejected), 0);
}

/// A job that is given up while nothing waits leaves queues that hold no memory.
void Year::emptyQueues()
{
    showScreen(allScreens.back());
    drain();
    line.dead = true;
    const std::uint64_t before = shadow.totals().lost[Cyclic];
    while (shadow.totals().lost[Cyclic] == before)
        poll();
    line.dead = false;
}

void Year::drain()
{
    while (!PLC_driver.WriteVarList.isEmpty() || !PLC_driver.OnceReadVarList.isEmpty())
        poll();
}

void Year::readScreens()
{
    for (const Screen &screen : allScreens) {
        showScreen(screen);
        while (!settings.cycleDone)
            poll();
        for (const Place &place : screen)
            compare(place);
    }
}

void Year::compare(const Place &place)
{
    const QByteArray truth = valuesIn(line.ask(requestFor(place)), place);
    if (imageOf(place, settings.stationMode) != truth)
        throw std::runtime_error("station " + std::to_string(place.station) + " area " +
                                 std::to_string(place.areaType) + " address " + std::to_string(place.address) +
                                 ": the image is not what the controller holds");
}

/// So that per-station storage has all its entries, and that the queues have been as long as they will be.
void Year::writeEverywhere()
{
    line.faulty = false;
    for (Place place : places) {
        write(place);
        place.station = 0;
        if (settings.stationMode)
            write(place);
        drain();
    }
    for (int half : {0, 1}) {
        write({LongWrite.areaType, LongWrite.address + half * LongWrite.length / 2, LongWrite.length / 2, 1});
        drain();
    }
    write(LongWrite);
    for (const Place &place : places)
        readOnce(place);
    drain();
    line.faulty = true;
}

void Year::checkHeap()
{
    report.heapEnd = heap::inUse();
    mustBe("heap", report.heapEnd, report.heapWarm);
    mustBe("ExtendVarList", PLC_driver.ExtendVarList.size(), report.stored);
}

} // namespace soak
