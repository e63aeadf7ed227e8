#include "database/DatabaseFault.hpp"

#include <sqlite3.h>

namespace orv {

DatabaseFault database_fault(const Error& error)
{
    if (error.kind() != Error::Kind::database)
        return DatabaseFault::other;
    const int code = error.code().value_or(SQLITE_ERROR);
    if (code == SQLITE_IOERR_SHMSIZE) // the file shared with other processes could not grow
        return DatabaseFault::full;
    const int primary_code = code & 0xFF;
    switch (primary_code) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return DatabaseFault::damaged;
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return DatabaseFault::inaccessible;
    case SQLITE_FULL:
        return DatabaseFault::full;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return DatabaseFault::busy;
    default:
        return DatabaseFault::other;
    }
}

Cause cause_of(DatabaseFault fault)
{
    switch (fault) {
    case DatabaseFault::damaged:
        return Cause::damaged;
    case DatabaseFault::inaccessible:
        return Cause::denied;
    case DatabaseFault::full:
        return Cause::no_space;
    case DatabaseFault::busy:
        return Cause::busy;
    case DatabaseFault::other:
        break;
    }
    return Cause::failed;
}

} // namespace orv
