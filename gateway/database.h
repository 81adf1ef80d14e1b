// The few things of SQLite that a spool needs.
#ifndef FGS_GATEWAY_DATABASE_H
#define FGS_GATEWAY_DATABASE_H

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace fgs
{

/// Why the database did not do it; the message says what, for people.
class DatabaseError : public std::runtime_error
{
public:
    enum TroubleKind {
        Damaged, ///< the file is no sound database
        InUse,   ///< somebody else has it
        Full,    ///< the disk, or the wall
        ReadOnly,
        Other
    };

    DatabaseError(TroubleKind troubleKind, const std::string &message)
        : std::runtime_error(message), kind(troubleKind)
    {
    }

    const TroubleKind kind;
};

/// A file that is open. Everything here throws DatabaseError. One thread.
class Database
{
public:
    /// Makes the file if there is none.
    explicit Database(const std::string &path);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    /// Statements whose rows nobody wants.
    void run(const std::string &statements);
    /// The first column of the first row; 0 and empty if there is none.
    std::int64_t number(const std::string &statement);
    std::string text(const std::string &statement);

private:
    friend class Statement;

    [[noreturn]] void fail(int code) const;

    sqlite3 *handle = nullptr;
};

/// A statement with values to be filled in. Ends before its database.
class Statement
{
public:
    Statement(Database &theDatabase, const std::string &text);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /// Places count from 1. Bytes are not copied: they stay until the last step().
    Statement &fill(int place, std::int64_t number);
    Statement &fill(int place, const std::string &bytes);
    /// Whether there is a row.
    bool step();
    /// Runs it to its end, and is ready for the next values.
    void run();

    /// Columns of the row count from 0.
    std::int64_t number(int column) const;
    std::string bytes(int column) const;

private:
    void check(int code) const;

    Database &database;
    sqlite3_stmt *handle = nullptr;
};

/// Everything up to commit(), or nothing.
class Transaction
{
public:
    explicit Transaction(Database &theDatabase) : database(theDatabase) { database.run("BEGIN IMMEDIATE"); }
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    Database &database;
    bool isOpen = true;
};

} // namespace fgs

#endif
