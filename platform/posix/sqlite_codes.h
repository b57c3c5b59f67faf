// SQLite's results as codes of ports/system_codes.h: the one place where they are translated.
#pragma once

struct sqlite3;

namespace tsly {

// `code` may be an extended one. `connection`: where it arose, for the system's own error number; null if there is
// none.
int CodeOfSqlite(int code, sqlite3* connection);

}  // namespace tsly
