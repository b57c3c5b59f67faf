#include "posix/sqlite_codes.h"

#include <sqlite3.h>

#include "ports/system_codes.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

// SQLite may fail for a reason of its own, with no error number of the system.
int CodeOfSystemError(int error, int otherwise) { return error != 0 ? CodeOf(error, otherwise) : otherwise; }

}  // namespace

int CodeOfSqlite(int code, sqlite3* connection) {
  switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW:
      return kSuccess;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kAccessDenied;
    case SQLITE_CANTOPEN:
      return CodeOfSystemError(sqlite3_system_errno(connection), kAccessDenied);
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return kSharingViolation;
    case SQLITE_FULL:
      return kDiskFull;
    case SQLITE_NOMEM:
      return kNotEnoughMemory;
    case SQLITE_TOOBIG:
      return kInvalidParameter;
    case SQLITE_IOERR:
      return CodeOfSystemError(sqlite3_system_errno(connection),
                               code == SQLITE_IOERR_READ || code == SQLITE_IOERR_SHORT_READ ? kReadFault : kWriteFault);
    default:  // SQLITE_CORRUPT, SQLITE_NOTADB, and tables of another shape
      return kRegistryCorrupt;
  }
}

}  // namespace tsly
