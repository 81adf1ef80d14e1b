#include "spool.h"

#include "set_aside.h"
#include "spool_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace fgs
{

namespace
{

const std::int64_t MostWaitingBytes = 1 << 20;
const std::size_t MostAcknowledged = 16384; // beyond it they are sent again
const milliseconds NextTry = std::chrono::minutes(1);

/// Above those of an earlier run as far as the clock is, even if its file cannot be read yet.
Spool::Number firstNumber()
{
    using namespace std::chrono;
    const Spool::Number now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    return std::max<Spool::Number>(now, 1);
}

std::string folderOf(const std::string &path)
{
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

bool isForbidden(const std::string &path)
{
    const bool isFile = ::access(path.c_str(), F_OK) == 0;
    return ::access(folderOf(path).c_str(), W_OK) != 0 || (isFile && ::access(path.c_str(), W_OK) != 0);
}

bool isMissing(const std::string &folder)
{
    std::error_code none;
    return !std::filesystem::is_directory(folder, none);
}

/// What is wrong and what to do.
std::string explained(const DatabaseError &error, const std::string &path)
{
    if (isMissing(folderOf(path)))
        return "the folder '" + folderOf(path) + "' does not exist; make it, or name another file";
    if (isForbidden(path))
        return "it may not be written; let the gateway's user write the file and its folder";
    switch (error.kind) {
    case DatabaseError::InUse:
        return "another program has it open; give each gateway a file of its own";
    case DatabaseError::Full:
        return "no space is left on the disk; make room, or name a file on another disk";
    default:
        return std::string(error.what()) + "; look after the disk, or name another file";
    }
}

} // namespace

struct Spool::Parts {
    Parts(const SpoolSettings &theSettings, std::string theLayout, std::function<void(const std::string &)> theTell)
        : settings(theSettings), layout(std::move(theLayout)), tell(std::move(theTell))
    {
    }

    // Work with the file: errors end here.
    bool access(const std::function<void()> &work);
    enum class End { Done, Failed, Again };
    End tryTo(const std::function<void()> &work);
    void open();
    End handle(const DatabaseError &error);
    End replaceFile(const std::string &why);
    bool relieve();
    bool isAllAcknowledged();
    void beginAnew();
    void removeInPortions();
    void removeFirst(std::ptrdiff_t portion);
    void stop(const std::string &why);
    void works();

    // Within access().
    void write(std::optional<Epoch> now);
    void removeAcknowledged(Tally &left);
    bool isToDo(std::optional<Epoch> now);
    bool isTooOld(Epoch time, std::optional<Epoch> now) const;
    std::int64_t dropFromDisk(std::optional<Epoch> now, Tally &left);
    std::int64_t dropFromMemory(std::optional<Epoch> now, std::int64_t onDisk);

    bool isTryDue(Epoch now) const;
    void boundMemory();
    void takeFirst();
    void dropFirst();
    void forgetAcknowledged();
    void append(std::vector<Kept> &found, Number after, std::size_t most) const;

    const SpoolSettings settings;
    const std::string layout;
    const std::function<void(const std::string &)> tell;

    std::optional<SpoolFile> file;               ///< none: it could not be opened
    Tally kept;                                  ///< on the disk, as far as it was seen
    Number highest = 0;                          ///< on the disk
    std::map<Number, Record> waiting;            ///< not on the disk
    std::int64_t waitingBytes = 0;               ///< their weight
    std::map<Number, std::int64_t> acknowledged; ///< still on the disk, with their weights
    std::int64_t acknowledgedBytes = 0;
    const Number first = firstNumber();
    Number next = first;
    quint64 dropped = 0;
    quint64 droppedBeforeStop = 0;
    std::string problem; ///< empty: it works
    std::optional<Epoch> tried;
};

/// False: it failed, and somebody was told.
bool Spool::Parts::access(const std::function<void()> &work)
{
    const End end = tryTo(work);
    return (end == End::Again ? tryTo(work) : end) == End::Done;
}

Spool::Parts::End Spool::Parts::tryTo(const std::function<void()> &work)
{
    try {
        if (!file)
            open();
        work();
        return End::Done;
    } catch (const DatabaseError &error) {
        return handle(error);
    } catch (const std::exception &error) { // no memory
        file.reset();
        stop(error.what());
        return End::Failed;
    }
}

void Spool::Parts::open()
{
    struct stat found = {};
    if (::stat(settings.file.c_str(), &found) == 0 && !S_ISREG(found.st_mode))
        throw DatabaseError(DatabaseError::Other, "it is no file");
    file.emplace(settings.file, layout, settings.mostBytes);
    highest = file->highest();
    if (highest >= next && next > first)
        throw DatabaseError(DatabaseError::Damaged, "its numbers are ahead of those of this run");
    while (!waiting.empty() && waiting.begin()->first <= highest) // committed, although an error came
        takeFirst();
    next = std::max(next, highest + 1);
    kept = file->all();
}

Spool::Parts::End Spool::Parts::handle(const DatabaseError &error)
{
    const bool isDamaged = error.kind == DatabaseError::Damaged ||
                           (error.kind == DatabaseError::ReadOnly && !isForbidden(settings.file)); // by its header
    if (isDamaged)
        return replaceFile(error.what());
    if (error.kind == DatabaseError::Full && relieve())
        return End::Again;
    if (error.kind != DatabaseError::Full)
        file.reset();
    stop(explained(error, settings.file));
    return End::Failed;
}

/// What is sent from a full disk makes room on it. False: it does not yet.
bool Spool::Parts::relieve()
{
    if (!file || acknowledged.empty())
        return false;
    try {
        isAllAcknowledged() ? beginAnew() : removeInPortions();
        return true;
    } catch (const std::exception &) { // then the next minute
        return false;
    }
}

bool Spool::Parts::isAllAcknowledged()
{
    const auto isKept = [this](const auto &each) { return file->weightOfRecord(each.first) > 0; };
    return std::count_if(acknowledged.begin(), acknowledged.end(), isKept) == kept.records;
}

/// Needs no room at all.
void Spool::Parts::beginAnew()
{
    file.reset();
    removeDatabase(settings.file);
    kept = {};
    highest = 0;
    forgetAcknowledged();
}

/// Of a size for which the journal has room.
void Spool::Parts::removeInPortions()
{
    std::ptrdiff_t portion = 64;
    while (!acknowledged.empty()) {
        try {
            removeFirst(std::min(portion, std::ptrdiff_t(acknowledged.size())));
        } catch (const DatabaseError &error) {
            portion /= 2;
            if (error.kind != DatabaseError::Full || portion == 0)
                throw;
        }
    }
}

void Spool::Parts::removeFirst(std::ptrdiff_t portion)
{
    const auto end = std::next(acknowledged.begin(), portion);
    Transaction transaction(file.value().database());
    Tally left = kept;
    std::int64_t bytes = 0;
    for (auto each = acknowledged.begin(); each != end; ++each) {
        left -= file->erase(each->first);
        bytes += each->second;
    }
    transaction.commit();
    kept = left;
    acknowledgedBytes -= bytes;
    acknowledged.erase(acknowledged.begin(), end);
}

Spool::Parts::End Spool::Parts::replaceFile(const std::string &why)
{
    file.reset();
    dropped += static_cast<quint64>(kept.records);
    kept = {};
    highest = 0;
    forgetAcknowledged();
    try {
        const std::string name = setAside(settings.file);
        tell("the spool '" + settings.file + "' cannot be used: " + why + "; it was set aside as '" + name +
             "', and a new one is begun. What it held is not sent; remove it if nobody wants it");
        return End::Again;
    } catch (const std::exception &error) {
        stop(why + ", and it cannot be set aside: " + error.what() + "; remove it");
        return End::Failed;
    }
}

void Spool::Parts::stop(const std::string &why)
{
    if (problem.empty())
        droppedBeforeStop = dropped;
    if (problem != why)
        tell("the spool '" + settings.file + "' keeps nothing: " + why +
             ". It is tried again every minute; meanwhile the newest messages wait in memory, up to 1 MiB");
    problem = why;
}

void Spool::Parts::works()
{
    if (problem.empty())
        return;
    problem.clear();
    tell("the spool '" + settings.file +
         "' works again; messages lost meanwhile: " + std::to_string(dropped - droppedBeforeStop));
}

bool Spool::Parts::isTooOld(Epoch time, std::optional<Epoch> now) const
{
    return now && time < *now - milliseconds(settings.longestAge).count();
}

bool Spool::Parts::isToDo(std::optional<Epoch> now)
{
    const std::int64_t bytes = kept.bytes - acknowledgedBytes;
    return !waiting.empty() || !acknowledged.empty() || bytes > settings.mostBytes ||
           (kept.records > 0 && isTooOld(file->oldestTime(), now));
}

void Spool::Parts::removeAcknowledged(Tally &left)
{
    for (const auto &[number, weight] : acknowledged)
        left -= file->erase(number);
}

/// How many. Drops more than is beyond the bounds if their pages are so empty that the file has no room.
std::int64_t Spool::Parts::dropFromDisk(std::optional<Epoch> now, Tally &left)
{
    const std::int64_t before = left.records;
    left -= file->dropOldest([&](Epoch time, const Tally &sum) {
        return isTooOld(time, now) || left.bytes - sum.bytes + waitingBytes > settings.mostBytes;
    });
    const Tally wanted = {std::int64_t(waiting.size()), std::min(waitingBytes, settings.mostBytes)};
    while (left.records > 0 && !file->hasRoomFor(wanted)) {
        const std::int64_t share = std::max<std::int64_t>(left.records / 16, 1);
        left -= file->dropOldest([&](Epoch, const Tally &sum) { return sum.records < share; });
    }
    return before - left.records;
}

/// How many. They are the oldest only if none is on the disk.
std::int64_t Spool::Parts::dropFromMemory(std::optional<Epoch> now, std::int64_t onDisk)
{
    std::int64_t count = 0;
    for (; onDisk == 0 && !waiting.empty(); ++count) {
        if (!isTooOld(waiting.begin()->second.time, now) && waitingBytes <= settings.mostBytes)
            break;
        dropFirst();
    }
    return count;
}

void Spool::Parts::takeFirst()
{
    waitingBytes -= weightOf(waiting.begin()->second);
    waiting.erase(waiting.begin());
}

void Spool::Parts::dropFirst()
{
    takeFirst();
    ++dropped;
}

void Spool::Parts::forgetAcknowledged()
{
    acknowledged.clear();
    acknowledgedBytes = 0;
}

void Spool::Parts::write(std::optional<Epoch> now)
{
    if (!isToDo(now))
        return;
    Transaction transaction(file->database());
    Tally left = kept;
    removeAcknowledged(left);
    const std::int64_t fromDisk = dropFromDisk(now, left);
    dropFromMemory(now, left.records);
    file->shrink();
    file->insert(waiting);
    transaction.commit();
    kept = left;
    kept += {std::int64_t(waiting.size()), waitingBytes};
    highest = waiting.empty() ? highest : waiting.rbegin()->first;
    dropped += static_cast<quint64>(fromDisk);
    waiting.clear();
    waitingBytes = 0;
    forgetAcknowledged();
}

bool Spool::Parts::isTryDue(Epoch now) const
{
    return problem.empty() || !tried || now < *tried || now - *tried >= NextTry.count();
}

void Spool::Parts::boundMemory()
{
    if (waitingBytes > MostWaitingBytes && problem.empty())
        access([this] { write({}); });
    while (waitingBytes > MostWaitingBytes)
        dropFirst();
}

/// Of those in memory.
void Spool::Parts::append(std::vector<Kept> &found, Number after, std::size_t most) const
{
    for (auto each = waiting.upper_bound(after); each != waiting.end() && found.size() < most; ++each)
        found.push_back({each->first, each->second});
}

Spool::Spool(const SpoolSettings &theSettings, const std::string &layout,
             std::function<void(const std::string &)> theTell)
    : parts(std::make_unique<Parts>(theSettings, layout, std::move(theTell)))
{
    parts->access([] {});
}

Spool::~Spool()
{
    if (parts->file || !parts->waiting.empty())
        parts->access([this] { parts->write({}); });
}

Spool::Number Spool::add(const Record &record)
{
    const Number number = parts->next++;
    parts->waiting.emplace(number, record);
    parts->waitingBytes += weightOf(record);
    parts->boundMemory();
    return number;
}

void Spool::acknowledged(Number number)
{
    const auto found = parts->waiting.find(number);
    if (found != parts->waiting.end()) {
        parts->waitingBytes -= weightOf(found->second);
        parts->waiting.erase(found);
        return;
    }
    if (number > parts->highest || parts->acknowledged.size() >= MostAcknowledged)
        return;
    std::int64_t weight = 0;
    const bool isKnown = parts->file && parts->access([&] { weight = parts->file->weightOfRecord(number); });
    if ((!isKnown || weight > 0) && parts->acknowledged.emplace(number, weight).second)
        parts->acknowledgedBytes += weight;
}

void Spool::commit(Epoch now)
{
    if (!parts->isTryDue(now))
        return;
    parts->tried = now;
    if (parts->access([&] { parts->write(now); }))
        parts->works();
}

std::vector<Spool::Kept> Spool::oldest(Number after, int most)
{
    const std::size_t wanted = static_cast<std::size_t>(std::max(most, 0));
    std::vector<Kept> found;
    if (parts->file)
        parts->access([&] { found = parts->file->read(after, std::int64_t(wanted + parts->acknowledged.size())); });
    const auto isGone = [this](const Kept &each) { return parts->acknowledged.count(each.number) > 0; };
    found.erase(std::remove_if(found.begin(), found.end(), isGone), found.end());
    found.resize(std::min(found.size(), wanted));
    parts->append(found, after, wanted);
    return found;
}

const std::string &Spool::problem() const
{
    return parts->problem;
}

std::int64_t Spool::bytes() const
{
    return parts->kept.bytes - parts->acknowledgedBytes + parts->waitingBytes;
}

std::int64_t Spool::records() const
{
    return parts->kept.records - std::int64_t(parts->acknowledged.size()) + std::int64_t(parts->waiting.size());
}

Epoch Spool::oldestTime() const
{
    const std::vector<Kept> found = const_cast<Spool *>(this)->oldest(0, 1);
    return found.empty() ? 0 : found.front().record.time;
}

quint64 Spool::dropped() const
{
    return parts->dropped;
}

} // namespace fgs
