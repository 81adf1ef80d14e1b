// The file of a spool: records by ascending numbers in one table.
#ifndef FGS_GATEWAY_SPOOL_FILE_H
#define FGS_GATEWAY_SPOOL_FILE_H

#include "database.h"
#include "spool.h"

#include <functional>

namespace fgs
{

/// Records and their weight.
struct Tally {
    std::int64_t records = 0;
    std::int64_t bytes = 0;

    Tally &operator+=(const Tally &other)
    {
        records += other.records;
        bytes += other.bytes;
        return *this;
    }
    Tally &operator-=(const Tally &other)
    {
        records -= other.records;
        bytes -= other.bytes;
        return *this;
    }
};

/// What a record counts for, in memory and on the disk.
std::int64_t weightOf(const Record &record);

/// Open and locked as long as it lives. Everything here throws DatabaseError: Damaged if the file is no spool of
/// this layout. What is changed is changed within a Transaction.
class SpoolFile
{
public:
    /// Begins it if there is none. It grows to twice `mostBytes` and 1 MiB at most; the journal beside it to 1 MiB,
    /// or to what one transaction takes.
    SpoolFile(const std::string &path, const std::string &layout, std::int64_t mostBytes);

    Database &database() { return file; }

    Tally all();
    Spool::Number highest(); ///< 0: there is none
    Epoch oldestTime();      ///< 0: there is none
    /// 0: it is not there.
    std::int64_t weightOfRecord(Spool::Number number);
    /// The oldest behind `after`, at most so many.
    std::vector<Spool::Kept> read(Spool::Number after, std::int64_t most);

    void insert(const std::map<Spool::Number, Record> &records);
    Tally erase(Spool::Number number);
    /// From the oldest on as long as `isWanted` says so of the time and of what has been dropped before.
    Tally dropOldest(const std::function<bool(Epoch time, const Tally &dropped)> &isWanted);

    /// Whether records of this weight surely find room.
    bool hasRoomFor(const Tally &records);
    /// Gives back to the disk what is beyond the bound, of a file that was allowed more.
    void shrink();

private:
    void begin(const std::string &layout);
    void judge(const std::string &layout);

    Database file;
    const std::int64_t mostPages;
};

} // namespace fgs

#endif
