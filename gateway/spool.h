// Records that the broker has not acknowledged, on the disk: bounded in bytes and age.
#ifndef FGS_GATEWAY_SPOOL_H
#define FGS_GATEWAY_SPOOL_H

#include "layout.h"

#include <functional>

namespace fgs
{

/// What is added is on the disk after the next commit(), once a second: a kill loses no more. What goes wrong with
/// the disk ends the spooling with a message, and is tried again every minute; nothing is thrown. Meanwhile the
/// newest records wait in memory, up to 1 MiB. One thread.
class Spool
{
public:
    using Number = std::int64_t; ///< ascending, above 0 and above those of all records before, also of other runs

    /// A damaged file, or one of another layout, is set aside (renamed, with a message) and a new one begun.
    /// `layout` is a name for what the contents are. Messages for people go to `tell`.
    Spool(const SpoolSettings &theSettings, const std::string &layout,
          std::function<void(const std::string &)> theTell);
    ~Spool(); ///< commits
    Spool(const Spool &) = delete;
    Spool &operator=(const Spool &) = delete;

    /// In memory until the next commit(). One that is acknowledged before never goes to the disk.
    Number add(const Record &record);
    void acknowledged(Number number);
    /// Writes what was added and removes what was acknowledged, in one transaction; drops the oldest, by number,
    /// beyond the bounds. Without a change nothing is written.
    void commit(Epoch now);

    struct Kept {
        Number number;
        Record record;
    };
    /// The oldest behind `after`, at most so many.
    std::vector<Kept> oldest(Number after, int most);

    /// Why nothing is kept on the disk, and what to do; empty: it is.
    const std::string &problem() const;
    std::int64_t bytes() const; ///< of the records, with 32 for each, not of the file; the bound is of these
    std::int64_t records() const;
    Epoch oldestTime() const; ///< 0: there is none
    quint64 dropped() const;  ///< records, beyond the bounds or while the disk did not take them

private:
    struct Parts;
    const std::unique_ptr<Parts> parts;
};

} // namespace fgs

#endif
