#include "database.h"

#include <cerrno>
#include <cstring>
#include <sqlite3.h>

namespace fgs
{

namespace
{

DatabaseError::TroubleKind kindOf(int code)
{
    if (code == SQLITE_IOERR_SHORT_READ || code == SQLITE_IOERR_CORRUPTFS)
        return DatabaseError::Damaged;
    switch (code & 0xFF) {
    case SQLITE_ERROR: // the statements are sound, so the tables are not
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
    case SQLITE_SCHEMA:
    case SQLITE_AUTH:
        return DatabaseError::Damaged;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return DatabaseError::InUse;
    case SQLITE_FULL:
        return DatabaseError::Full;
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return DatabaseError::ReadOnly;
    default:
        return DatabaseError::Other;
    }
}

/// What the system said decides where SQLite says only that it cannot.
DatabaseError::TroubleKind kindOf(int code, int systemError)
{
    const bool isForbidden = systemError == EACCES || systemError == EROFS || systemError == EPERM;
    const bool isFull = systemError == ENOSPC || systemError == EDQUOT;
    const DatabaseError::TroubleKind kind = kindOf(code);
    if (kind != DatabaseError::Other)
        return kind;
    return isForbidden ? DatabaseError::ReadOnly : isFull ? DatabaseError::Full : kind;
}

/// "./spool", so that no name means anything else than a file.
std::string plainPath(const std::string &path)
{
    return path.empty() || path[0] != '/' ? "./" + path : path;
}

} // namespace

Database::Database(const std::string &path)
{
    const int code = sqlite3_open_v2(plainPath(path).c_str(), &handle,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code == SQLITE_OK)
        return;
    const int errorNumber = handle ? sqlite3_system_errno(handle) : 0;
    const std::string why = errorNumber ? std::strerror(errorNumber) : sqlite3_errstr(code);
    sqlite3_close(handle);
    throw DatabaseError(kindOf(code, errorNumber), why);
}

Database::~Database()
{
    sqlite3_close(handle);
}

void Database::fail(int code) const
{
    const int errorNumber = sqlite3_system_errno(handle);
    const DatabaseError::TroubleKind kind = kindOf(code, errorNumber);
    const bool isOfSystem = kind == DatabaseError::Other && errorNumber != 0;
    throw DatabaseError(kind, isOfSystem ? std::strerror(errorNumber) : sqlite3_errmsg(handle));
}

void Database::run(const std::string &statements)
{
    if (sqlite3_exec(handle, statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(sqlite3_extended_errcode(handle));
}

std::int64_t Database::number(const std::string &statement)
{
    Statement query(*this, statement);
    return query.step() ? query.number(0) : 0;
}

std::string Database::text(const std::string &statement)
{
    Statement query(*this, statement);
    return query.step() ? query.bytes(0) : std::string();
}

Statement::Statement(Database &theDatabase, const std::string &text) : database(theDatabase)
{
    check(sqlite3_prepare_v2(database.handle, text.c_str(), -1, &handle, nullptr));
}

Statement::~Statement()
{
    sqlite3_finalize(handle);
}

void Statement::check(int code) const
{
    if (code != SQLITE_OK)
        database.fail(sqlite3_extended_errcode(database.handle));
}

Statement &Statement::fill(int place, std::int64_t number)
{
    check(sqlite3_bind_int64(handle, place, number));
    return *this;
}

Statement &Statement::fill(int place, const std::string &bytes)
{
    check(sqlite3_bind_blob64(handle, place, bytes.data(), bytes.size(), SQLITE_STATIC));
    return *this;
}

bool Statement::step()
{
    const int code = sqlite3_step(handle);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        database.fail(sqlite3_extended_errcode(database.handle));
    return code == SQLITE_ROW;
}

void Statement::run()
{
    while (step())
        ;
    check(sqlite3_reset(handle));
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(handle, column);
}

std::string Statement::bytes(int column) const
{
    const void *first = sqlite3_column_blob(handle, column); // before the size, which is that of the blob then
    const int size = sqlite3_column_bytes(handle, column);
    return first ? std::string(static_cast<const char *>(first), static_cast<std::size_t>(size)) : std::string();
}

Transaction::~Transaction()
{
    if (!isOpen)
        return;
    try {
        database.run("ROLLBACK");
    } catch (const DatabaseError &) { // some errors have ended it already
    }
}

void Transaction::commit()
{
    database.run("COMMIT");
    isOpen = false;
}

} // namespace fgs
