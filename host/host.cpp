#include "host.h"

#include "remote_frame.h"
#include "text_error.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace fgs
{

namespace
{

const int WriteQueueLimit = 1024;       ///< what comes on top the driver drops
const int ControllerWriteMode = 2;      ///< host writes go to the controller
const int Patience = 3;                 ///< jobs given up before a station rests
const int NotTwice = 0, AsItStands = 1; ///< modes of AddListOnceReadVar() and AddListWriteVar()
const int UnusedLink = -1;              ///< no record has it

Host *theHost; ///< the driver's callback has no context of its own

/// Of one value in the driver's byte strings: a bit takes a whole byte.
int bytesPerValue(const Area &area)
{
    return (bitsOf(area.kind) + 7) / 8;
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

/// One for each variable.
Spans spansOf(const std::vector<Variable> &variables)
{
    Spans spans;
    for (const Variable &variable : variables)
        if (variable.station != 0)
            spans.push_back(spanOf(variable));
    return spans;
}

Spans ofStation(const Spans &spans, int station)
{
    Spans some;
    std::copy_if(spans.begin(), spans.end(), std::back_inserter(some),
                 [station](const Span &span) { return span.station == station; });
    return some;
}

std::set<int> stationsOf(const std::vector<Variable> &variables)
{
    std::set<int> stations;
    for (const Variable &variable : variables)
        stations.insert(variable.station);
    return stations;
}

/// Whether the station did what it should; to refuse is that too.
bool isGood(Outcome outcome)
{
    return outcome == Outcome::Good || outcome == Outcome::Refused;
}

} // namespace

/// The count of a remote frame is wide enough for any block of bits, but its length byte limits writes.
Storage storageFor(const std::vector<Variable> &variables, const HostOptions &options)
{
    Storage storage = storageFor(variables, options.blockWords);
    if (options.remoteLink)
        storage.blockWords = qBound(MinBlockWords, options.blockWords, MaxRemoteBlockWords);
    return storage;
}

Host::Host(const DriverApi &theDriver, Link &theLink, const std::vector<Variable> &variables,
           const HostOptions &options)
    : driver(theDriver), link(theLink), storage(storageFor(variables, options)),
      remoteLink(options.remoteLink.value_or(0)), poller(theDriver, theLink, info, options.timing),
      health(Patience, options.firstRest, options.longestRest),
      suspects(storage.blockWords, options.firstRest, options.longestSilence,
               options.remoteLink ? 1 : MaxEntries - 1)
{
    info.blockWords = storage.blockWords;
    info.defaultStation = storage.station;
    info.stationMode = storage.perStation;
    info.retryLimit = options.retries;
    info.writeMode = ControllerWriteMode;
    info.remoteMode = options.remoteLink.has_value();
    info.localLinkNo = isRemote() ? UnusedLink : 0; // or the driver would not take the replies for remote ones
    if (theHost)
        throw std::logic_error("this process has a host already: the driver is one, and serves one host at a time");
    theHost = this;
    driver.SetComInfo(&info);
    driver.RegistCallBackFuncIntf(&Host::onceReadEnded, 0);
}

Host::~Host()
{
    dropWrites();
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
    const std::set<int> stations = stationsOf(variables);
    health.watch(stations);
    wanted = united(spansOf(variables));
    suspects.watch(wanted);
    isResumed = std::any_of(polled.begin(), polled.end(),
                            [this](const Variable &variable) { return ageOf(variable).tried != Never; });
    beginRound();
    if (const int due = health.dueProbe(pollStart)) // however often the list is given anew
        beginSample(due);
}

void Host::readSoon(const std::vector<Variable> &bits)
{
    for (const Variable &variable : bits)
        if (areaOf(variable.area)->kind != AreaKind::Bit)
            throw TextError(
                QStringLiteral("variable '%1': only bits can be read once; poll the others").arg(textOf(variable)));
    if (isRemote())
        for (const Span &block : exactBlocks(united(spansOf(bits)), {}, storage.blockWords)) {
            waiting.push_back(blockOf(block));
            waiting.back().hostAddr = 0;
        }
    else
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
    driver.AddListOnceReadVar(&waiting.front(), isRemote() ? AsItStands : NotTwice);
}

/// The driver's callback, out of DataCom().
void Host::onceReadEnded(int, int, int, int)
{
    theHost->endOnceRead();
}

void Host::endOnceRead()
{
    if (onceUnderWay) // otherwise it is what a host before has left
        waiting.pop_front();
    onceUnderWay = false;
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
    const bool inWords = area.kind == AreaKind::DoubleWord && !storage.perStation;
    QByteArray bytes;
    driver.GetRegisterData(0, variable.area, addressText(variable.area, variable.address), variable.station, &bytes,
                           inWords ? 2 * variable.count : variable.count);
    return fromBytes(bytes, bytesPerValue(area));
}

// ---- writing

/// Values in one record of the driver's queue, which is one request.
int Host::itemsPerRecord(const Variable &variable) const
{
    const AreaKind kind = areaOf(variable.area)->kind;
    return kind == AreaKind::Bit ? 1 : kind == AreaKind::Word ? storage.blockWords : storage.blockWords / 2;
}

/// Values to queue at once. SetRegisterData() splits bits and words into records itself; double words it would
/// split in their middle.
int Host::itemsPerWrite(const Variable &variable) const
{
    const bool splits = isRemote() || areaOf(variable.area)->kind == AreaKind::DoubleWord;
    return splits ? itemsPerRecord(variable) : variable.count;
}

/// Records that a write takes in the driver's queue.
int Host::recordsOf(const Variable &variable) const
{
    const int items = itemsPerRecord(variable);
    return (variable.count + items - 1) / items;
}

/// Returns how many records the driver's queue holds then.
int Host::queue(const Variable &part, QByteArray values)
{
    if (isRemote()) {
        RW_VAR record = remoteWrite(part, values, remoteLink);
        return driver.AddListWriteVar(&record, NotTwice);
    }
    const bool isInWords = areaOf(part.area)->kind == AreaKind::DoubleWord;
    return driver.SetRegisterData(QString(), part.area, addressText(part.area, part.address), part.station, &values,
                                  isInWords ? 2 * part.count : part.count, 0, 0);
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
        queued = queue(
            {variable.area, variable.address + done, count, variable.station},
            toBytes(values, static_cast<std::size_t>(done), static_cast<std::size_t>(count), bytesPerValue(area)));
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
    if (!std::exchange(jobUnderWay, true)) {
        jobStart = link.now();
        silentRequests = 0;
    }
    readNextOnce();
    if (isTroubled() && !link.isEnded())
        limitAttempts();
    const Step step = poller.step();
    jobUnderWay = step.kind == Step::Stopped || (step.kind == Step::Exchanged && !step.ended);
    silentRequests += step.kind == Step::Exchanged && isSilence(step.outcome);
    if (step.kind == Step::Exchanged && step.ended)
        endJob(step);
    if (isTroubled() && (step.kind == Step::Idle || step.ended))
        planAfter(step);
    watchAnswers();
    watchLink();
    return step;
}

void Host::listen()
{
    poller.listen();
    watchAnswers();
    watchLink();
}

/// What most likely fails has one attempt: the others count as used up.
void Host::limitAttempts()
{
    const Protocol *const next = driver.ComCommunication();
    if (!next || isWrite(*next))
        return;
    const bool isCyclic = next->var.hostAddr < 0;
    const bool isProbe = isCyclic && (pass == Pass::Sample || (pass == Pass::Probe && !isThorough));
    if (isProbe || health.isProbed(next->var.station) ||
        (isCyclic && suspects.isDoubted(isRemote() ? Spans{remoteSpanOf(*next)} : currentBlocks())))
        info.retryCount = info.retryLimit;
}

/// What the last cyclic request reads, without what is read to keep another block company.
Spans Host::currentBlocks() const
{
    if (isRemote())
        return {poller.remotelyRead()};
    Spans blocks;
    for (const RW_VAR &var : *driver.CurrentRWVar)
        if (var.hostAddr != CompanionMark && areaOf(var.areaType))
            blocks.push_back(spanOf(var));
    return blocks;
}

void Host::endJob(const Step &step)
{
    if (step.isWrite)
        --queuedWrites[step.station];
    else if (isRemote() && !step.isCyclic)
        endOnceRead(); // no callback tells of remote reads
    if (!isSilence(step.outcome))
        everAnswered.set(static_cast<std::size_t>(step.station));
    if (step.outcome == Outcome::Good)
        info.retryCount = 0; // a success does not, so that the failures of many requests would add up
    const bool isTrouble = isTroubled();
    if (isTrouble || step.outcome != Outcome::Good || !down.empty())
        noteOutcome(step, isTrouble || isSilence(step.outcome));
    if (step.outcome != Outcome::Good) {
        lostWrites += step.isWrite;
        dropQueued(step.station);
    }
}

/// What a job says of its station, and if it is looked at, of the places.
void Host::noteOutcome(const Step &step, bool isLookedAt)
{
    const bool isPlaces = isLookedAt && noteReading(step, step.isCyclic ? currentBlocks() : Spans());
    if (isGood(step.outcome) || !isPlaces)
        noteHealth(step);
    tellFindings();
}

/// Returns whether a place is to blame if there was no answer.
bool Host::noteReading(const Step &step, const Spans &blocks)
{
    // A request of nothing but company says nothing of places.
    const bool isPolled = step.isCyclic && pass == Pass::Poll && !blocks.empty(),
               isProbe = step.isCyclic && pass == Pass::Probe;
    if (isSilence(step.outcome)) {
        if (isPolled)
            return suspects.gaveUp(blocks, silentRequests);
        if (isProbe)
            suspects.probeSilent(link.now(), link.now() - jobStart);
        else
            suspects.stayedSilent(step.station);
        return isProbe;
    }
    if (isProbe)
        suspects.probeAnswered();
    if (isPolled || isProbe)
        suspects.heard(blocks);
    if (isGood(step.outcome)) {
        suspects.answered(step.station, blocks, link.now());
        samples.erase(step.station);
    }
    return isProbe;
}

void Host::noteHealth(const Step &step)
{
    if (isGood(step.outcome))
        health.answered(step.station);
    else
        health.gaveUp(step.station, link.now(), link.now() - jobStart);
    tellOfStation(step.station);
}

void Host::tellFindings()
{
    for (const Finding &finding : suspects.takeFindings())
        tell({finding.kind, link.now(), finding.span.station, variableOf(finding.span), {}});
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
    onceUnderWay = onceUnderWay && waitsInDriver(failedStation);
    if (health.isSilent(failedStation))
        dropOnceReads(failedStation);
}

/// Whether the one-shot read is certainly still queued. A local one need not be known: the driver does not take it
/// twice.
bool Host::waitsInDriver(int failedStation) const
{
    return isRemote() && storage.perStation && !waiting.empty() && waiting.front().station != failedStation;
}

void Host::dropOne(int station)
{
    --queuedWrites[station];
    ++lostWrites;
}

void Host::dropWrites()
{
    while (writesQueued() > 0)
        if (const Protocol *const request = poller.takeRequest()) {
            const int station = request->var.station;
            const bool isBroadcast = request->replyLen == 0; // which the driver cannot fail, so it empties no queue
            poller.giveUp();
            isBroadcast ? dropOne(station) : dropQueued(station);
        }
    jobUnderWay = false;
}

// ---- rounds
//
// Usually the driver's list is all that is polled, joined by the driver, and goes round by itself. While a station
// rests, or something is to be found out, or is known that must not be read along, the list holds exact blocks
// instead, and between two rounds one request at most is asked that finds something out. So it does in the first
// round of variables that were asked for before: the driver's own list begins with its lowest addresses, and if it
// were given anew again and again, the others would never have their turn.

void Host::planAfter(const Step &step)
{
    const bool wasCyclic = step.kind == Step::Exchanged && step.isCyclic;
    if (wasCyclic && isExact)
        --jobsLeft;
    if (wasCyclic && pass == Pass::Poll && isSilence(step.outcome) && suspects.needsSignOfLife(step.station) &&
        !health.isProbed(step.station))
        return beginSample(step.station);
    if (pass == Pass::Poll ? needsExact() != isExact || health.awake() != listed : wasCyclic)
        beginRound();
    if (isExact && pass == Pass::Poll && jobsLeft <= 0)
        betweenRounds();
}

void Host::betweenRounds()
{
    isResumed = false;
    std::set<int> asleep;
    for (const Span &span : wanted)
        if (health.isProbed(span.station))
            asleep.insert(span.station);
    if (const std::optional<Probe> probe = suspects.nextProbe(link.now(), asleep))
        beginProbe(*probe);
    else if (const int station = stationToSample())
        beginSample(station);
    else
        beginRound();
}

/// The resting station whose turn it is, or one that may be silent as a whole; 0 if there is none.
int Host::stationToSample() const
{
    if (const int due = health.dueProbe(link.now()))
        return due;
    for (int station : listed)
        if (suspects.needsSignOfLife(station))
            return station;
    return 0;
}

bool Host::needsExact() const
{
    return isResumed || suspects.isPressing() || health.hasResting();
}

void Host::beginRound()
{
    pass = Pass::Poll;
    listed = health.awake();
    isExact = needsExact();
    if (isExact || isRemote())
        listExactly();
    else
        listJoined();
}

/// So each block gets its turn however often the list changes.
Time Host::askedAt(const Span &block) const
{
    return ageOf(variableOf(block)).tried;
}

void Host::listJoined()
{
    QList<HOST_VAR> wishes = cyclicWishes(polled, storage, [this](const Span &block) { return askedAt(block); });
    driver.ReCreatReadVarList(&wishes);
}

void Host::listExactly()
{
    Spans asked = inOrder(without(spansOf(polled), suspects.leftOut())); // not united: their seams are where to cut
    asked.erase(std::remove_if(asked.begin(), asked.end(),
                               [this](const Span &span) { return listed.count(span.station) == 0; }),
                asked.end());
    std::vector<RW_VAR> list;
    for (const Span &block : fromLongestAgo(exactBlocks(asked, suspects.barriers(), storage.blockWords),
                                            [this](const Span &each) { return askedAt(each); }))
        appendPolled(list, block);
    hand(list);
}

/// A block that is too short to be asked alone, between two silent places, is not asked alone.
void Host::appendPolled(std::vector<RW_VAR> &list, const Span &block) const
{
    const Span wide = isRemote() ? block : widenedAway(block, suspects.barriers());
    list.push_back(blockOf(wide));
    if (needsCompanion(wide))
        appendCompanion(list, block.station);
}

/// As the driver's cyclic list takes it.
RW_VAR Host::blockOf(const Span &span) const
{
    return isRemote() ? remoteRead(inRemoteUnits(span, suspects.barriers()), remoteLink) : exactBlock(span);
}

void Host::appendCompanion(std::vector<RW_VAR> &list, int station) const
{
    const Span *const good = suspects.knownGood(station);
    if (!good)
        return;
    list.push_back(exactBlock(*good));
    list.back().hostAddr = CompanionMark;
}

void Host::beginProbe(const Probe &probe)
{
    pass = Pass::Probe;
    isExact = true;
    isThorough = probe.thorough;
    std::vector<RW_VAR> list;
    for (const Span &block : probe.blocks)
        list.push_back(blockOf(block));
    if (std::any_of(probe.blocks.begin(), probe.blocks.end(),
                    [this](const Span &block) { return needsCompanion(block); }))
        appendCompanion(list, probe.blocks.front().station);
    hand(list);
}

void Host::beginSample(int station)
{
    pass = Pass::Sample;
    isExact = true;
    hand({blockOf(nextSample(station))});
}

/// What the station has answered of late; as long as it does not answer, another part of what is wanted each time,
/// first of what was not asked in vain, so that one silent place does not hide a living station.
Span Host::nextSample(int station)
{
    const int number = samples[station]++;
    const Span *const good = suspects.knownGood(station);
    if (good && number == 0)
        return *good;
    const Spans all = ofStation(wanted, station), sound = without(all, suspects.leftOut()),
                unasked = without(sound, suspects.doubted());
    return sampleOf(!unasked.empty() ? unasked : !sound.empty() ? sound : all, number);
}

/// Makes these the driver's cyclic list as they stand.
void Host::hand(const std::vector<RW_VAR> &blocks)
{
    QList<HOST_VAR> nothing;
    driver.ReCreatReadVarList(&nothing);
    for (RW_VAR block : blocks)
        driver.AddListReadVar(&block);
    jobsLeft = isRemote() ? static_cast<int>(blocks.size()) : requestsFor(blocks);
}

// ---- what can be told

void Host::watchLink()
{
    const bool wasOpen = std::exchange(wasLinkOpen, wasLinkOpen || link.isOpen());
    if (link.isOpen() == linkUp)
        return;
    linkUp = !linkUp;
    if (!linkUp)
        poller.lostLink();
    const QString why = linkUp ? QString() : link.error();
    tell({linkUp ? LineEvent::LinkOpen : LineEvent::LinkLost, link.now(), 0, {}, why, wasOpen});
}

void Host::watchAnswers()
{
    const bool wasAlert = std::exchange(isAlert, poller.hearsUnaskedAnswers());
    if (isAlert && !wasAlert)
        tell({LineEvent::UnaskedAnswers, link.now(), 0, {}, {}});
}

void Host::tell(const LineEvent &event) const
{
    if (events)
        events(event);
}

bool Host::isSettled(const Variable &variable) const
{
    const Time since = std::max(pollStart, poller.doubtedAt());
    if (ageOf(variable).stored > since || isGivenUp(variable.station))
        return true;
    const Spans asked = without({spanOf(variable)}, suspects.silentPlaces());
    return std::all_of(asked.begin(), asked.end(), [this, since](const Span &span) {
        return ageOf(variableOf(span)).tried > since && !suspects.isOpen(span);
    });
}

/// A station that has never answered, neither what is polled nor a sample of it, has no places to find out.
bool Host::isGivenUp(int station) const
{
    const bool isUnheard = !everAnswered.test(static_cast<std::size_t>(station)) && samples.count(station) != 0 &&
                           health.failures(station) > 1;
    return (isUnheard || health.isSilent(station)) && (rests(station) || health.hasJustFailed(station));
}

bool Host::isUnderWay(const Variable &variable) const
{
    if (!poller.isUnderWay() || isWrite(*poller.inFlight()))
        return false;
    if (isRemote())
        return remoteSpanOf(*poller.inFlight()).overlaps(spanOf(variable));
    const QList<RW_VAR> &blocks = *driver.CurrentRWVar;
    return std::any_of(blocks.begin(), blocks.end(),
                       [wanted = spanOf(variable)](const RW_VAR &block) { return spanOf(block).overlaps(wanted); });
}

std::vector<Variable> Host::silentPlaces(const Variable &variable) const
{
    std::vector<Variable> places;
    if (suspects.isQuiet()) // as nearly always: this is asked for every value
        return places;
    for (const Span &span : common({spanOf(variable)}, suspects.silentPlaces()))
        places.push_back(variableOf(span));
    return places;
}

} // namespace fgs
