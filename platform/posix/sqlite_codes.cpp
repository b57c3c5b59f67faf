#include "posix/sqlite_codes.h"

#include <sqlite3.h>

#include <cerrno>

#include "ports/system_codes.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

// SQLite may fail without a system error number. A file that disappears during its use doesn't count as missing.
int CodeOfSystemError(int error, int unnumbered, int unknown) {
  if (error == ENOENT || error == ENOTDIR) return kSharingViolation;
  return error != 0 ? CodeOf(error, unknown) : unnumbered;
}

}  // namespace

int CodeOfSqlite(int code, sqlite3* connection) {
  if (code == SQLITE_IOERR_NOMEM) return kNotEnoughMemory;
  const bool reading = code == SQLITE_IOERR_READ || code == SQLITE_IOERR_SHORT_READ;
  const int fault = reading ? kReadFault : kWriteFault;
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
      return CodeOfSystemError(sqlite3_system_errno(connection), kAccessDenied, kReadFault);
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
      return CodeOfSystemError(sqlite3_system_errno(connection), fault, fault);
    default:  // SQLITE_CORRUPT, SQLITE_NOTADB, and tables with other columns
      return kRegistryCorrupt;
  }
}

}  // namespace tsly
