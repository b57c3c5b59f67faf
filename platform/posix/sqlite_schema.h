// The tables of a settings file and the statements on them, for SqliteStore and its connection alone.
#pragma once

#include <cstdint>

namespace tsly {

inline constexpr std::int64_t kTablesVersion = 2;
inline constexpr std::int64_t kFormerTablesVersion = 1;  // without stamps

// Names and paths have a separate folded column, because SQLite folds only ASCII letters.
inline constexpr char kMakeFormerTables[] =
    "CREATE TABLE keys(parent TEXT, folded TEXT, name TEXT NOT NULL, deleted INTEGER NOT NULL,"
    " PRIMARY KEY(parent, folded)) WITHOUT ROWID;"
    "CREATE TABLE vals(key TEXT, folded TEXT, name TEXT NOT NULL, type INTEGER, data BLOB, base_type INTEGER,"
    " base_data BLOB, PRIMARY KEY(key, folded)) WITHOUT ROWID";
inline constexpr char kAddStamps[] =
    "CREATE TABLE stamps(key TEXT, folded TEXT, stamp INTEGER NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
    "PRAGMA user_version = 2";

// EXTRA also flushes the deletion of the journal; otherwise a power failure could undo a finished write.
inline constexpr char kPrivateSettings[] = "PRAGMA synchronous = EXTRA; PRAGMA journal_mode = DELETE";
// Changes of a shared file stay in memory; only the lock on the old file is used. Pages that have been read stay too,
// up to 1 GB.
inline constexpr char kSharedSettings[] =
    "PRAGMA cache_spill = OFF; PRAGMA cache_size = -1000000; PRAGMA journal_mode = MEMORY";
// sqlite3_serialize writes zeros for a page that it can't read. This reads all pages first and reports errors.
inline constexpr char kReadEveryPage[] = "PRAGMA quick_check(1)";

inline constexpr char kTablesQuery[] = "PRAGMA user_version";
inline constexpr char kAllTables[] = "SELECT count(*) FROM sqlite_master";
inline constexpr char kOurTables[] =
    "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN ('keys', 'vals', 'stamps')";
inline constexpr char kFindKey[] = "SELECT deleted FROM keys WHERE parent = ?1 AND folded = ?2";
inline constexpr char kFindValue[] =
    "SELECT name, type, data, base_type, base_data, stamp FROM (SELECT 1)"
    " LEFT JOIN vals ON vals.key = ?1 AND vals.folded = ?2"
    " LEFT JOIN stamps ON stamps.key = ?1 AND stamps.folded = ?2";
inline constexpr char kFindFormerValue[] =
    "SELECT name, type, data, base_type, base_data, NULL FROM vals WHERE key = ?1 AND folded = ?2";
inline constexpr char kKeyNames[] = "SELECT name FROM keys WHERE parent = ?1 ORDER BY folded";
inline constexpr char kValueNames[] = "SELECT name FROM vals WHERE key = ?1 ORDER BY folded";
inline constexpr char kPutKey[] =
    "INSERT INTO keys VALUES(?1, ?2, ?3, ?4)"
    " ON CONFLICT DO UPDATE SET deleted = excluded.deleted WHERE deleted <> excluded.deleted";
inline constexpr char kPutValue[] =
    "INSERT INTO vals VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7) ON CONFLICT DO UPDATE SET"
    " type = excluded.type, data = excluded.data, base_type = excluded.base_type, base_data = excluded.base_data";
inline constexpr char kEraseValue[] = "DELETE FROM vals WHERE key = ?1 AND folded = ?2";
// Everything below a key is between its path plus "\" and its path plus "]", the next character.
inline constexpr char kEraseKey[] = "DELETE FROM keys WHERE parent = ?1 AND folded = ?2";
inline constexpr char kEraseKeysBelow[] =
    "DELETE FROM keys WHERE parent = ?1 OR (parent > ?1 || '\\' AND parent < ?1 || ']')";
inline constexpr char kEraseValuesBelow[] = "DELETE FROM vals WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']')";
// For the shared kind, before the change itself. Writing the same data again is no change.
inline constexpr char kStampNewData[] =
    "INSERT INTO stamps SELECT ?1, ?2, random() WHERE NOT EXISTS"
    "(SELECT 1 FROM vals WHERE key = ?1 AND folded = ?2 AND type = ?3 AND data = ?4)"
    " ON CONFLICT DO UPDATE SET stamp = excluded.stamp";
inline constexpr char kStampErased[] =
    "INSERT INTO stamps SELECT key, folded, random() FROM vals WHERE key = ?1 AND folded = ?2"
    " ON CONFLICT DO UPDATE SET stamp = excluded.stamp";
inline constexpr char kStampErasedBelow[] =
    "INSERT INTO stamps SELECT key, folded, random() FROM vals WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']')"
    " ON CONFLICT DO UPDATE SET stamp = excluded.stamp";
// For the private kind.
inline constexpr char kPutStamp[] =
    "INSERT INTO stamps VALUES(?1, ?2, ?3) ON CONFLICT DO UPDATE SET stamp = excluded.stamp";
inline constexpr char kEraseStamp[] = "DELETE FROM stamps WHERE key = ?1 AND folded = ?2";
inline constexpr char kEraseStampsBelow[] =
    "DELETE FROM stamps WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']')";
inline constexpr char kHasTree[] =
    "SELECT EXISTS(SELECT 1 FROM vals WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']'))"
    " OR EXISTS(SELECT 1 FROM keys WHERE parent = ?1 OR (parent > ?1 || '\\' AND parent < ?1 || ']'))"
    " OR EXISTS(SELECT 1 FROM keys WHERE parent = ?2 AND folded = ?3)";

}  // namespace tsly
