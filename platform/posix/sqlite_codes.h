// Translates SQLite's results to codes of ports/system_codes.h.
#pragma once

struct sqlite3;

namespace tsly {

// `code` may be an extended one. `connection` provides the system's error number; null if there is none.
int CodeOfSqlite(int code, sqlite3* connection);

}  // namespace tsly
