#include "suspects.h"

#include "frame.h"
#include "plan.h"

#include <algorithm>
#include <utility>

namespace fgs
{

namespace
{

const int ManyRequests = 3;  ///< left unanswered in a row before anything is found out
const int MostFailures = 50; ///< of probes; then a part of a block that does not answer is not halved further

} // namespace

Suspects::Suspects(int words, Time first, Time longest, int most)
    : blockWords(words), mostBlocks(most), firstRest(first), longestRest(longest)
{
}

void Suspects::watch(const Spans &spans)
{
    wanted = spans;
    doubts.clear();
    searches.clear();
    silentGaps = without(silentGaps, wanted);
    failuresLeft = MostFailures;
}

// ---- what is known

Spans Suspects::underSearch() const
{
    Spans spans;
    for (const Search &each : searches)
        for (const Task &task : each.tasks)
            if (!task.isGap())
                spans.insert(spans.end(), task.spans.begin(), task.spans.end());
    return spans;
}

Spans Suspects::silentPlaces() const
{
    Spans spans;
    for (const Silent &each : silent)
        spans.push_back(each.span);
    return united(spans);
}

Spans Suspects::doubted() const
{
    Spans spans;
    for (const Doubt &each : doubts)
        spans.push_back(each.span);
    return united(spans);
}

Spans Suspects::leftOut() const
{
    Spans spans = underSearch();
    for (const Silent &each : silent)
        spans.push_back(each.span);
    return united(spans);
}

Spans Suspects::barriers() const
{
    Spans spans = leftOut();
    spans.insert(spans.end(), silentGaps.begin(), silentGaps.end());
    for (const Search &each : searches)
        for (const Task &task : each.tasks)
            if (task.isGap())
                spans.push_back(task.gap);
    return united(spans);
}

bool Suspects::isOpen(const Span &span) const
{
    return anyOverlaps(underSearch(), span) ||
           std::any_of(doubts.begin(), doubts.end(),
                       [&span](const Doubt &doubt) { return doubt.span.overlaps(span); });
}

bool Suspects::Doubt::isRipe() const
{
    return answeredSince && requests >= ManyRequests;
}

bool Suspects::Doubt::needsSignOfLife() const
{
    return !answeredSince && requests >= ManyRequests;
}

bool Suspects::isPressing() const
{
    return !searches.empty() || !silent.empty() || !silentGaps.empty() ||
           std::any_of(doubts.begin(), doubts.end(), [](const Doubt &doubt) { return doubt.needsSignOfLife(); });
}

bool Suspects::isDoubted(const Spans &blocks) const
{
    return std::any_of(doubts.begin(), doubts.end(),
                       [&blocks](const Doubt &doubt) { return doubt.isRipe() && anyOverlaps(blocks, doubt.span); });
}

bool Suspects::needsSignOfLife(int station) const
{
    return std::any_of(doubts.begin(), doubts.end(),
                       [station](const Doubt &doubt) {
                           return doubt.span.station == station && doubt.needsSignOfLife();
                       }) ||
           std::any_of(searches.begin(), searches.end(), [station](const Search &search) {
               return search.station == station && search.state != Search::Ready;
           });
}

const Span *Suspects::knownGood(int station) const
{
    const auto found = good.find(station);
    return found == good.end() || anyOverlaps(silentPlaces(), found->second) ? nullptr : &found->second;
}

// ---- what came of the polling

bool Suspects::gaveUp(const Spans &blocks, int requests)
{
    holdSearches(blocks.front().station);
    Spans again;
    std::vector<Doubt> now;
    for (const Span &span : common(blocks, wanted))
        now.push_back({span, requests, false});
    for (Doubt &fresh : now)
        for (const Doubt &old : doubts)
            if (old.span.overlaps(fresh.span)) {
                fresh.requests = std::max(fresh.requests, old.requests + requests);
                fresh.answeredSince = fresh.answeredSince || old.answeredSince;
                if (old.answeredSince && old.requests + requests >= ManyRequests)
                    again.push_back(old.span);
            }
    heard(blocks);
    if (again.empty())
        doubts.insert(doubts.end(), now.begin(), now.end());
    else
        search(blocks, common(common(blocks, wanted), again));
    return !again.empty();
}

void Suspects::stayedSilent(int station)
{
    holdSearches(station);
    good.erase(station);
}

/// Whether the last probe failed because of a place is not known any more.
void Suspects::holdSearches(int station)
{
    for (Search &each : searches)
        if (each.station == station && each.state == Search::Unproven)
            each.state = Search::Waiting;
}

void Suspects::heard(const Spans &blocks)
{
    std::vector<Doubt> rest;
    for (const Doubt &doubt : doubts)
        for (const Span &span : without({doubt.span}, blocks))
            rest.push_back({span, doubt.requests, doubt.answeredSince});
    doubts = rest;
}

void Suspects::answered(int station, const Spans &blocks, Time now)
{
    for (Doubt &doubt : doubts)
        doubt.answeredSince = doubt.answeredSince || doubt.span.station == station;
    for (const Span &block : blocks)
        markGood(block);
    for (Search &each : searches)
        if (each.station == station && std::exchange(each.state, Search::Ready) == Search::Unproven)
            conclude(each, now);
    finishSearches();
}

/// As little of the block as may be asked alone.
void Suspects::markGood(const Span &block)
{
    const int least = fewestElements(*areaOf(block.area));
    if (block.size() >= least)
        good[block.station] = {block.station, block.area, block.first, block.first + least};
}

// ---- the search

/// The request with these blocks has a silent place in these spans, or beside them.
void Suspects::search(const Spans &blocks, const Spans &spans)
{
    Search begun = {blocks.front().station, Search::Ready, {}, 0};
    for (const Span &block : blocks)
        pushEdges(begun, block);
    const Task whole = {spans, {}, 0};
    if (whole.isLast())
        begun.tasks.push_back(whole);
    else
        pushHalves(begun, whole);
    searches.push_back(begun);
}

/// A block may reach further than what is wanted in it, so that its reply has another shape than its request.
void Suspects::pushEdges(Search &search, const Span &block) const
{
    const Spans inside = common({block}, wanted);
    if (inside.empty())
        return;
    const Span &first = inside.front(), &last = inside.back();
    pushGap(search, {block.station, block.area, block.first, first.first},
            {{block.station, block.area, block.first, first.first + 1}});
    pushGap(search, {block.station, block.area, last.end, block.end},
            {{block.station, block.area, last.end - 1, block.end}});
}

void Suspects::pushGap(Search &search, const Span &gap, const Spans &across)
{
    if (gap.size() > 0)
        search.tasks.push_back({across, gap, search.found});
}

/// The halves, and then what lies between them.
void Suspects::pushHalves(Search &search, const Task &task) const
{
    Task lower = {{}, {}, search.found}, upper = lower;
    if (task.spans.size() > 1) {
        const auto middle = task.spans.begin() + static_cast<std::ptrdiff_t>(task.spans.size() / 2);
        lower.spans.assign(task.spans.begin(), middle);
        upper.spans.assign(middle, task.spans.end());
        const Span &below = lower.spans.back(), &above = upper.spans.front();
        const Span across = {below.station, below.area, below.end - 1, above.first + 1};
        if (below.isSamePlace(above) && across.size() <= mostElements(*areaOf(below.area), blockWords))
            pushGap(search, {below.station, below.area, below.end, above.first}, {across});
    } else {
        const Span &span = task.spans.front();
        const int middle = span.first + span.size() / 2;
        lower.spans = {{span.station, span.area, span.first, middle}};
        upper.spans = {{span.station, span.area, middle, span.end}};
    }
    search.tasks.push_back(upper);
    search.tasks.push_back(lower);
}

/// The last probe of the search was left unanswered, and the station is alive.
void Suspects::conclude(Search &search, Time now)
{
    const Task task = search.tasks.back();
    search.tasks.pop_back();
    --failuresLeft;
    const Span &first = task.spans.front();
    const bool inOneBlock = task.spans.size() == 1 && first.size() <= mostElements(*areaOf(first.area), blockWords);
    if (task.isGap()) {
        silentGaps.push_back(task.gap);
        findings.push_back({LineEvent::GapSilent, task.gap});
        ++search.found;
    } else if (task.isLast() || (inOneBlock && failuresLeft <= 0)) {
        nameSilent(first, now);
        ++search.found;
    } else {
        pushHalves(search, task);
    }
}

void Suspects::nameSilent(const Span &span, Time now)
{
    silent.push_back({span, firstRest, now + firstRest});
    findings.push_back({LineEvent::PlaceSilent, span});
}

/// A gap is left alone if a silent place has been found beside it: that was enough.
void Suspects::finishSearches()
{
    for (Search &each : searches)
        while (!each.tasks.empty() && each.tasks.back().isGap() && each.tasks.back().found != each.found)
            each.tasks.pop_back();
    searches.erase(
        std::remove_if(searches.begin(), searches.end(), [](const Search &each) { return each.tasks.empty(); }),
        searches.end());
}

/// The next question of the search, small enough for one request that has room for a companion.
std::optional<Probe> Suspects::probeOf(Search &search)
{
    Spans holes = silentPlaces();
    holes.insert(holes.end(), silentGaps.begin(), silentGaps.end());
    const auto isLarge = [this, &holes](const Task &task) {
        return !task.isLast() &&
               exactBlocks(task.spans, holes, blockWords).size() > static_cast<std::size_t>(mostBlocks);
    };
    while (isLarge(search.tasks.back())) {
        const Task task = search.tasks.back();
        search.tasks.pop_back();
        pushHalves(search, task);
    }
    const Task &task = search.tasks.back();
    return Probe{exactBlocks(task.spans, task.isGap() ? Spans() : holes, blockWords), task.isLast()};
}

Suspects::Search *Suspects::readySearch(const std::set<int> &asleep)
{
    for (Search &each : searches)
        if (each.state == Search::Ready && !asleep.count(each.station))
            return &each;
    return nullptr;
}

Suspects::Silent *Suspects::dueSilent(Time now, const std::set<int> &asleep)
{
    Silent *due = nullptr;
    for (Silent &each : silent)
        if (budget.allows(now) && each.due <= now && anyOverlaps(wanted, each.span) &&
            !asleep.count(each.span.station) && (!due || each.due < due->due))
            due = &each;
    return due;
}

std::optional<Probe> Suspects::nextProbe(Time now, const std::set<int> &asleep)
{
    finishSearches();
    if (Search *const ready = readySearch(asleep)) {
        probedStation = ready->station;
        std::rotate(searches.begin(), searches.begin() + (ready - searches.data()), searches.end());
        return probeOf(searches.front());
    }
    probedStation = 0;
    const Silent *const due = dueSilent(now, asleep);
    if (!due)
        return {};
    probedPlace = due->span;
    return Probe{{due->span}, false};
}

void Suspects::probeAnswered()
{
    if (probedStation != 0) {
        if (!searches.empty())
            searches.front().tasks.pop_back();
        return finishSearches();
    }
    silent.erase(std::remove_if(silent.begin(), silent.end(),
                                [this](const Silent &each) { return each.span == probedPlace; }),
                 silent.end());
    findings.push_back({LineEvent::PlaceBack, probedPlace});
}

void Suspects::probeSilent(Time now, Time took)
{
    if (probedStation != 0) {
        if (!searches.empty())
            searches.front().state = Search::Unproven;
        return;
    }
    budget.spend(now, took);
    const auto place =
        std::find_if(silent.begin(), silent.end(), [this](const Silent &each) { return each.span == probedPlace; });
    if (place == silent.end())
        return;
    place->rest = std::min(2 * place->rest, longestRest);
    place->due = now + place->rest;
    if (place->span.size() > 1) {
        Silent upper = *place;
        upper.span.first = place->span.end = place->span.first + place->span.size() / 2;
        silent.push_back(upper);
    }
}

std::vector<Finding> Suspects::takeFindings()
{
    return std::exchange(findings, {});
}

} // namespace fgs
