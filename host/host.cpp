#include "host.h"

#include "text_error.h"

#include <algorithm>
#include <utility>

namespace fgs
{

namespace
{

const int WriteQueueLimit = 1024;  ///< what comes on top the driver drops
const int ControllerWriteMode = 2; ///< host writes go to the controller
const int Patience = 3;            ///< jobs given up before a station rests

Host *theHost; ///< the driver's callback has no context of its own

int bytesPerItem(Kind kind)
{
    return kind == Kind::Bit ? 1 : kind == Kind::Word ? 2 : 4;
}

QByteArray toBytes(const std::vector<quint32> &values, std::size_t first, std::size_t count, int width)
{
    QByteArray bytes;
    for (std::size_t i = first; i < first + count; ++i)
        for (int b = 0; b < width; ++b)
            bytes.append(static_cast<char>(values[i] >> (8 * b)));
    return bytes;
}

std::vector<quint32> fromBytes(const QByteArray &bytes, int width)
{
    std::vector<quint32> values(static_cast<std::size_t>(bytes.size() / width));
    for (std::size_t i = 0; i < values.size(); ++i)
        for (int b = 0; b < width; ++b)
            values[i] |= quint32(static_cast<unsigned char>(bytes[static_cast<int>(i) * width + b])) << (8 * b);
    return values;
}

std::set<int> stationsOf(const std::vector<Variable> &variables)
{
    std::set<int> stations;
    for (const Variable &variable : variables)
        stations.insert(variable.station);
    return stations;
}

} // namespace

Host::Host(const DriverApi &theDriver, Link &theLink, const std::vector<Variable> &variables,
           const HostOptions &options)
    : driver(theDriver), link(theLink), storage(storageFor(variables, options.blockWords)),
      poller(theDriver, theLink, info, options.timing), health(Patience, options.firstRest, options.longestRest)
{
    info.blockWords = storage.blockWords;
    info.defaultStation = storage.station;
    info.stationMode = storage.perStation;
    info.retryLimit = options.retries;
    info.writeMode = ControllerWriteMode;
    theHost = this;
    driver.SetComInfo(&info);
    driver.RegistCallBackFuncIntf(&Host::onceReadEnded, 0);
}

Host::~Host()
{
    QList<HOST_VAR> nothing;
    driver.ReCreatReadVarList(&nothing);
    driver.RegistCallBackFuncIntf(nullptr, 0);
    driver.SetComInfo(nullptr);
    theHost = nullptr;
}

// ---- reading

void Host::poll(const std::vector<Variable> &variables)
{
    polled = variables;
    pollStart = link.now();
    health.watch(stationsOf(variables));
    list(health.active(link.now()));
}

/// Hands the variables of these stations to the driver, the station after the last served first: so each gets its
/// turn however often the list changes.
void Host::list(const std::set<int> &stations)
{
    std::vector<Variable> asked;
    std::copy_if(polled.begin(), polled.end(), std::back_inserter(asked),
                 [&stations](const Variable &variable) { return stations.count(variable.station) != 0; });
    QList<HOST_VAR> wishes = cyclicWishes(asked, storage, lastStation + 1);
    driver.ReCreatReadVarList(&wishes);
    listed = stations;
}

void Host::readSoon(const std::vector<Variable> &bits)
{
    for (const Variable &variable : bits)
        if (areaOf(variable.area)->kind != Kind::Bit)
            throw TextError(
                QStringLiteral("variable '%1': only bits can be read once; poll the others").arg(textOf(variable)));
    for (const RW_VAR &wish : onceWishes(bits, storage))
        waiting.push_back(wish);
    readNextOnce();
}

/// The driver has one at a time: its queue is bounded, and a job that is given up empties it.
void Host::readNextOnce()
{
    if (onceUnderWay || waiting.empty())
        return;
    onceUnderWay = true;
    driver.AddListOnceReadVar(&waiting.front(), 0);
}

/// The driver's callback, out of DataCom().
void Host::onceReadEnded(int, int, int, int)
{
    theHost->waiting.pop_front();
    theHost->onceUnderWay = false;
}

/// Of a station that does not answer none is read.
void Host::dropOnceReads(int station)
{
    waiting.erase(std::remove_if(waiting.begin(), waiting.end(),
                                 [station](const RW_VAR &wish) { return wish.station == station; }),
                  waiting.end());
}

std::vector<quint32> Host::values(const Variable &variable) const
{
    const Area &area = *areaOf(variable.area);
    // Double words are counted in words in the fixed image, and in double words per station.
    const bool inWords = area.kind == Kind::DoubleWord && !storage.perStation;
    QByteArray bytes;
    driver.GetRegisterData(0, variable.area, addressText(variable.area, variable.address), variable.station, &bytes,
                           inWords ? 2 * variable.count : variable.count);
    return fromBytes(bytes, bytesPerItem(area.kind));
}

// ---- writing

/// Values that one SetRegisterData() takes. It splits words into blocks itself; double words it would split in
/// their middle.
int Host::itemsPerWrite(const Variable &variable) const
{
    return areaOf(variable.area)->kind == Kind::DoubleWord ? storage.blockWords / 2 : variable.count;
}

/// Records that a write takes in the driver's queue.
int Host::recordsOf(const Variable &variable) const
{
    const Kind kind = areaOf(variable.area)->kind;
    const int items = kind == Kind::Bit ? 1 : kind == Kind::Word ? storage.blockWords : itemsPerWrite(variable);
    return (variable.count + items - 1) / items;
}

bool Host::write(const Variable &variable, const std::vector<quint32> &values)
{
    const Area &area = *areaOf(variable.area);
    if (!area.writable)
        throw TextError(
            QStringLiteral("variable '%1': area %2 is read-only").arg(textOf(variable)).arg(area.number));
    if (writesQueued() + recordsOf(variable) > WriteQueueLimit)
        return false;
    const int before = writesQueued();
    int queued = before;
    const int most = itemsPerWrite(variable);
    for (int done = 0; done < variable.count; done += most) {
        const int count = std::min(most, variable.count - done);
        QByteArray bytes = toBytes(values, static_cast<std::size_t>(done), static_cast<std::size_t>(count),
                                   bytesPerItem(area.kind));
        queued = driver.SetRegisterData(QString(), area.number, addressText(area.number, variable.address + done),
                                        variable.station, &bytes, area.kind == Kind::DoubleWord ? 2 * count : count,
                                        0, 0);
    }
    queuedWrites[variable.station] += queued - before; // a write of a place that already waits takes its place
    return true;
}

int Host::writesQueued() const
{
    int total = 0;
    for (const auto &[station, count] : queuedWrites)
        total += count;
    return total;
}

// ---- the loop

Step Host::step()
{
    watchLink();
    if (!std::exchange(jobUnderWay, true))
        jobStart = link.now();
    readNextOnce();
    if (health.isTroubled() && !link.isEnded())
        probeOnce();
    const Step step = poller.step();
    jobUnderWay = step.kind != Step::Idle && !step.ended;
    if (step.kind == Step::Exchanged && step.ended)
        endJob(step);
    if (health.isTroubled()) {
        const std::set<int> active = health.active(link.now());
        if (active != listed)
            list(active);
    }
    watchLink();
    return step;
}

/// A probe has one attempt: the others count as used up.
void Host::probeOnce()
{
    const Protocol *const next = driver.ComCommunication();
    if (next && next->frame.at(CommandAt) == char(ReadCommand) && health.isProbed(next->var.station))
        info.retryCount = info.retryLimit;
}

void Host::endJob(const Step &step)
{
    lastStation = step.station;
    if (step.isWrite)
        --queuedWrites[step.station];
    if (step.outcome == Outcome::Good)
        info.retryCount = 0; // a success does not, so that the failures of many requests would add up
    if (step.outcome == Outcome::Good || step.outcome == Outcome::Refused)
        health.answered(step.station);
    else
        health.gaveUp(step.station, link.now(), link.now() - jobStart);
    if (step.outcome != Outcome::Good) {
        lostWrites += step.isWrite;
        dropQueued(step.station);
    }
    tellOfStation(step.station);
}

void Host::tellOfStation(int station)
{
    if (health.isSilent(station) && down.insert(station).second)
        tell({LineEvent::StationDown, link.now(), station, {}, {}});
    else if (health.isSound(station) && down.erase(station))
        tell({LineEvent::StationUp, link.now(), station, {}, {}});
}

/// A job that was given up empties the driver's queues, per station those of its station. No callback tells.
void Host::dropQueued(int failedStation)
{
    for (auto &[station, count] : queuedWrites)
        if (!storage.perStation || station == failedStation) {
            lostWrites += count;
            count = 0;
        }
    onceUnderWay = false; // if it is still queued, the driver does not take it twice
    if (health.isSilent(failedStation))
        dropOnceReads(failedStation);
}

void Host::dropWrites()
{
    while (writesQueued() > 0)
        if (const Protocol *const request = poller.takeRequest()) {
            const int station = request->var.station;
            poller.giveUp();
            dropQueued(station);
        }
    jobUnderWay = false;
}

// ---- what can be told

void Host::watchLink()
{
    if (link.isOpen() == linkUp)
        return;
    linkUp = !linkUp;
    if (!linkUp)
        poller.lostLink();
    tell(
        {linkUp ? LineEvent::LinkOpen : LineEvent::LinkLost, link.now(), 0, {}, linkUp ? QString() : link.error()});
}

void Host::tell(const LineEvent &event) const
{
    if (events)
        events(event);
}

bool Host::isSettled(const Variable &variable) const
{
    const Age age = ageOf(variable);
    return age.tried > pollStart || health.isSilent(variable.station);
}

bool Host::isUnderWay(const Variable &variable) const
{
    if (!poller.isUnderWay() || poller.inFlight()->frame.at(CommandAt) != char(ReadCommand))
        return false;
    const QList<RW_VAR> &blocks = *driver.CurrentRWVar;
    return std::any_of(blocks.begin(), blocks.end(),
                       [wanted = spanOf(variable)](const RW_VAR &block) { return spanOf(block).overlaps(wanted); });
}

std::vector<Variable> Host::silentPlaces(const Variable &) const
{
    return {};
}

} // namespace fgs
