#include "spool_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fgs
{

namespace
{

const int PageSize = 4096;
const int ApplicationId = 0x46475353; // "FGSS"
const int SchemaVersion = 1;
const Spool::Number HighestSound = Spool::Number(1) << 62;

/// Bytes that a record takes besides its own.
const std::int64_t RecordOverhead = 32;

const char *const RecordTable = "CREATE TABLE records(number INTEGER PRIMARY KEY, time INTEGER NOT NULL, "
                                "key BLOB NOT NULL, content BLOB NOT NULL)";
const char *const AboutTable = "CREATE TABLE about(layout BLOB NOT NULL)";

const std::string Weight = "(length(key) + length(content) + " + std::to_string(RecordOverhead) + ")";

std::string pragma(const std::string &name, std::int64_t value)
{
    return "PRAGMA " + name + " = " + std::to_string(value) + ";";
}

void require(bool holds, const std::string &otherwise)
{
    if (!holds)
        throw DatabaseError(DatabaseError::Damaged, otherwise);
}

/// So much of the journal is there from the start, if the disk has room: then records can be removed on a full one.
void reserveJournal(const std::string &path)
{
    const off_t reserve = 256 << 10;
    struct stat database = {};
    if (::stat(path.c_str(), &database) != 0)
        return;
    const int journal =
        ::open((path + "-journal").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, database.st_mode & ACCESSPERMS);
    if (journal < 0)
        return;
    ::posix_fallocate(journal, 0, reserve);
    ::close(journal);
}

} // namespace

std::int64_t weightOf(const Record &record)
{
    return std::int64_t(record.key.size() + record.content.size()) + RecordOverhead;
}

// A rollback journal that stays, and not a log (WAL): what is added goes to the end, so both write little more than
// the new pages; a kill leaves whole transactions in both; but a log has to grow for everything, also on a full
// disk.
SpoolFile::SpoolFile(const std::string &path, const std::string &layout, std::int64_t mostBytes)
    : file(path), mostPages((2 * mostBytes + (1 << 20)) / PageSize)
{
    file.run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
             "PRAGMA temp_store = MEMORY; PRAGMA cache_size = -256");
    if (file.number("SELECT count(*) FROM sqlite_master") == 0 && file.number("PRAGMA application_id") == 0)
        begin(layout);
    else
        judge(layout);
    file.text("PRAGMA journal_mode = PERSIST");
    file.run("PRAGMA synchronous = FULL;" + pragma("journal_size_limit", 1 << 20) +
             pragma("max_page_count", mostPages) + "BEGIN EXCLUSIVE; COMMIT"); // the lock stays
    reserveJournal(path);
}

void SpoolFile::begin(const std::string &layout)
{
    file.run("PRAGMA auto_vacuum = INCREMENTAL;" + pragma("page_size", PageSize));
    Transaction transaction(file);
    file.run(std::string(RecordTable) + ";" + AboutTable + ";" + pragma("application_id", ApplicationId) +
             pragma("user_version", SchemaVersion));
    Statement(file, "INSERT INTO about VALUES (?)").fill(1, layout).run();
    transaction.commit();
}

void SpoolFile::judge(const std::string &layout)
{
    require(file.number("PRAGMA application_id") == ApplicationId, "it is a database of something else");
    require(file.number("PRAGMA user_version") == SchemaVersion, "another version of the gateway wrote it");
    require(file.text("SELECT group_concat(sql, ';') FROM (SELECT sql FROM sqlite_master ORDER BY rowid)") ==
                std::string(RecordTable) + ";" + AboutTable,
            "its tables are not those of a spool");
    require(file.number("PRAGMA page_size") == PageSize, "its pages have another size");
    const std::string finding = file.text("PRAGMA quick_check(1)");
    require(finding == "ok", finding);
    const std::string kept = file.text("SELECT layout FROM about");
    require(kept == layout, "it is of the layout '" + kept + "', not '" + layout + "'");
    require(file.number("SELECT min(number) FROM records") >= 0 && highest() <= HighestSound,
            "its numbers are not sound");
}

Tally SpoolFile::all()
{
    Statement query(file, "SELECT count(*), sum(" + Weight + ") FROM records");
    query.step();
    return {query.number(0), query.number(1)};
}

Spool::Number SpoolFile::highest()
{
    return file.number("SELECT max(number) FROM records");
}

Epoch SpoolFile::oldestTime()
{
    return file.number("SELECT time FROM records ORDER BY number LIMIT 1");
}

std::int64_t SpoolFile::weightOfRecord(Spool::Number number)
{
    Statement query(file, "SELECT " + Weight + " FROM records WHERE number = ?");
    return query.fill(1, number).step() ? query.number(0) : 0;
}

std::vector<Spool::Kept> SpoolFile::read(Spool::Number after, std::int64_t most)
{
    Statement query(file,
                    "SELECT number, key, time, content FROM records WHERE number > ? ORDER BY number LIMIT ?");
    query.fill(1, after).fill(2, most);
    std::vector<Spool::Kept> found;
    while (query.step())
        found.push_back({query.number(0), {query.bytes(1), query.number(2), query.bytes(3)}});
    return found;
}

void SpoolFile::insert(const std::map<Spool::Number, Record> &records)
{
    Statement statement(file, "INSERT INTO records(number, key, time, content) VALUES (?, ?, ?, ?)");
    for (const auto &[number, record] : records)
        statement.fill(1, number).fill(2, record.key).fill(3, record.time).fill(4, record.content).run();
}

Tally SpoolFile::erase(Spool::Number number)
{
    const std::int64_t weight = weightOfRecord(number);
    if (weight == 0)
        return {};
    Statement(file, "DELETE FROM records WHERE number = ?").fill(1, number).run();
    return {1, weight};
}

Tally SpoolFile::dropOldest(const std::function<bool(Epoch, const Tally &)> &isWanted)
{
    Tally dropped;
    Spool::Number last = 0;
    {
        Statement query(file, "SELECT number, time, " + Weight + " FROM records ORDER BY number");
        while (query.step() && isWanted(query.number(1), dropped)) {
            last = query.number(0);
            dropped += {1, query.number(2)};
        }
    }
    if (dropped.records > 0)
        Statement(file, "DELETE FROM records WHERE number <= ?").fill(1, last).run();
    return dropped;
}

bool SpoolFile::hasRoomFor(const Tally &records)
{
    const std::int64_t used = file.number("PRAGMA page_count") - file.number("PRAGMA freelist_count");
    const std::int64_t wanted = 16 + 2 * records.bytes / PageSize + std::min(records.records, records.bytes / 1024);
    return used + wanted <= mostPages;
}

void SpoolFile::shrink()
{
    const std::int64_t pages = file.number("PRAGMA page_count");
    if (pages <= mostPages)
        return;
    file.run("PRAGMA incremental_vacuum(" + std::to_string(pages - mostPages) + ");" +
             pragma("max_page_count", mostPages));
}

} // namespace fgs
