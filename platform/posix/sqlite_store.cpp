#include "posix/sqlite_store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>
#include <variant>

#include "base/key_path.h"
#include "base/text.h"
#include "ports/system_codes.h"
#include "posix/durable_file.h"
#include "posix/posix_codes.h"
#include "posix/sqlite_codes.h"

namespace tsly {
namespace {

constexpr auto kLongestWait = std::chrono::seconds(5);
constexpr auto kPause = std::chrono::milliseconds(1);
constexpr std::int64_t kTablesVersion = 1;

constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kSharedMode = 0644;
constexpr mode_t kPrivateFolderMode = 0700;
constexpr mode_t kSharedFolderMode = 0755;

// Names and paths have a folded column of their own, since SQLite folds ASCII letters only.
constexpr char kMakeTables[] =
    "CREATE TABLE keys(parent TEXT, folded TEXT, name TEXT NOT NULL, deleted INTEGER NOT NULL,"
    " PRIMARY KEY(parent, folded)) WITHOUT ROWID;"
    "CREATE TABLE vals(key TEXT, folded TEXT, name TEXT NOT NULL, type INTEGER, data BLOB, base_type INTEGER,"
    " base_data BLOB, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
    "PRAGMA user_version = 1";

// EXTRA also makes the deletion of the journal last, without which a power failure could undo a finished write.
constexpr char kPrivateSettings[] = "PRAGMA synchronous = EXTRA; PRAGMA journal_mode = DELETE";
// The changes of a shared file stay in memory, and only the lock on the old file is used.
constexpr char kSharedSettings[] = "PRAGMA cache_spill = OFF; PRAGMA journal_mode = MEMORY";

constexpr char kTablesQuery[] = "PRAGMA user_version";
constexpr char kForeignTables[] = "SELECT count(*) FROM sqlite_master";
constexpr char kFindKey[] = "SELECT deleted FROM keys WHERE parent = ?1 AND folded = ?2";
constexpr char kFindValue[] = "SELECT name, type, data, base_type, base_data FROM vals WHERE key = ?1 AND folded = ?2";
constexpr char kKeyNames[] = "SELECT name FROM keys WHERE parent = ?1 ORDER BY folded";
constexpr char kValueNames[] = "SELECT name FROM vals WHERE key = ?1 ORDER BY folded";
constexpr char kPutKey[] =
    "INSERT INTO keys VALUES(?1, ?2, ?3, ?4)"
    " ON CONFLICT DO UPDATE SET deleted = excluded.deleted WHERE deleted <> excluded.deleted";
constexpr char kPutValue[] =
    "INSERT INTO vals VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7) ON CONFLICT DO UPDATE SET"
    " type = excluded.type, data = excluded.data, base_type = excluded.base_type, base_data = excluded.base_data";
constexpr char kEraseValue[] = "DELETE FROM vals WHERE key = ?1 AND folded = ?2";
// Everything below a key lies between its path with "\" behind it and with "]", the next character.
constexpr char kEraseKey[] = "DELETE FROM keys WHERE parent = ?1 AND folded = ?2";
constexpr char kEraseKeysBelow[] = "DELETE FROM keys WHERE parent = ?1 OR (parent > ?1 || '\\' AND parent < ?1 || ']')";
constexpr char kEraseValuesBelow[] = "DELETE FROM vals WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']')";
constexpr char kHasTree[] =
    "SELECT EXISTS(SELECT 1 FROM vals WHERE key = ?1 OR (key > ?1 || '\\' AND key < ?1 || ']'))"
    " OR EXISTS(SELECT 1 FROM keys WHERE parent = ?1 OR (parent > ?1 || '\\' AND parent < ?1 || ']'))"
    " OR EXISTS(SELECT 1 FROM keys WHERE parent = ?2 AND folded = ?3)";

// SQLite's own time-out pauses longer and longer, up to 100 ms, and a process that writes without a break then keeps
// others out for seconds: the lock is free for less than a millisecond between two of its writes.
int WaitForLock(void*, int times) {
  if (times >= kLongestWait / kPause) return 0;
  std::this_thread::sleep_for(kPause);
  return 1;
}

struct KeyPlace {
  std::string parent, folded;
};

KeyPlace PlaceOf(const std::string& key) {
  const auto cut = key.rfind('\\');
  return cut == std::string::npos ? KeyPlace{"", key} : KeyPlace{key.substr(0, cut), key.substr(cut + 1)};
}

FileStamp StampOf(const struct stat& status) {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  return {status.st_size, status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

// "%", "?" and "#" have a meaning in an address.
std::string ImmutableUri(const std::filesystem::path& file) {
  std::string uri = "file:";
  for (const char c : file.string()) {
    uri += c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
  }
  return uri + "?immutable=1";
}

std::string Column(sqlite3_stmt* row, int column) {
  const void* bytes = sqlite3_column_blob(row, column);
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, column));
  return bytes != nullptr ? std::string(static_cast<const char*>(bytes), size) : std::string();
}

std::optional<RegistryData> DataColumns(sqlite3_stmt* row, int column) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
  return RegistryData{static_cast<std::uint32_t>(sqlite3_column_int64(row, column)), Column(row, column + 1)};
}

}  // namespace

struct SqliteStore::Parameter {
  struct Blob {
    std::string_view bytes;
  };
  using Value = std::variant<std::monostate, std::int64_t, std::string_view, Blob>;

  Parameter(const std::string& text) : value(std::string_view(text)) {}  // NOLINT: a list of these reads as arguments
  Parameter(std::int64_t number) : value(number) {}                      // NOLINT
  explicit Parameter(Value any) : value(any) {}

  static Parameter Type(const std::optional<RegistryData>& data) {
    return Parameter(data ? Value(std::int64_t{data->type}) : Value());
  }
  static Parameter Bytes(const std::optional<RegistryData>& data) {
    return Parameter(data ? Value(Blob{data->bytes}) : Value());
  }

  Value value;
};

SqliteStore::SqliteStore(std::filesystem::path file, Kind kind) : file_(std::move(file)), kind_(kind) {}

SqliteStore::~SqliteStore() { Disconnect(); }

// --- Reading

int SqliteStore::FindKey(const std::string& key, KeyState& state) {
  const KeyPlace place = PlaceOf(key);
  state = KeyState::kMissing;
  return Read(kFindKey, {place.parent, place.folded}, [&](sqlite3_stmt* row) {
    state = sqlite3_column_int(row, 0) != 0 ? KeyState::kDeleted : KeyState::kThere;
  });
}

int SqliteStore::FindValue(const std::string& key, const std::string& name, std::optional<StoredValue>& value) {
  value.reset();
  return Read(kFindValue, {key, LowerCase(name)}, [&](sqlite3_stmt* row) {
    value = StoredValue{Column(row, 0), DataColumns(row, 1), DataColumns(row, 3)};
  });
}

int SqliteStore::KeyNames(const std::string& key, std::vector<std::string>& names) {
  return Names(kKeyNames, key, names);
}

int SqliteStore::ValueNames(const std::string& key, std::vector<std::string>& names) {
  return Names(kValueNames, key, names);
}

int SqliteStore::Names(const char* sql, const std::string& key, std::vector<std::string>& names) {
  names.clear();
  return Read(sql, {key}, [&](sqlite3_stmt* row) { names.push_back(Column(row, 0)); });
}

int SqliteStore::HasTree(const std::string& key, bool& any) {
  const KeyPlace place = PlaceOf(key);
  any = false;
  return Read(kHasTree, {key, place.parent, place.folded},
              [&](sqlite3_stmt* row) { any = sqlite3_column_int(row, 0) != 0; });
}

// --- Changing

int SqliteStore::Write(const std::function<int()>& changes) {
  int code = Begin();
  if (code == kSuccess) code = changes();
  if (code == kSuccess) code = kind_ == Kind::kPrivate ? Run("COMMIT") : Publish();
  // Closing rolls back. A shared file that was replaced is to be opened anew in any case.
  if (code != kSuccess || kind_ == Kind::kShared) Disconnect();
  return code;
}

int SqliteStore::PutKey(const std::string& root, const std::string& path, KeyState state) {
  const std::string folded = LowerCase(path);
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('\\', start), path.size());
    const std::string parent = JoinKeyPath(root, folded.substr(0, start == 0 ? 0 : start - 1));
    const bool deleted = end == path.size() && state == KeyState::kDeleted;
    const int code =
        Run(kPutKey, {parent, folded.substr(start, end - start), path.substr(start, end - start), deleted ? 1 : 0});
    if (code != kSuccess) return code;
    start = end + 1;
  }
  return kSuccess;
}

int SqliteStore::PutValue(const std::string& key, const StoredValue& value) {
  return Run(kPutValue, {key, LowerCase(value.name), value.name, Parameter::Type(value.data),
                         Parameter::Bytes(value.data), Parameter::Type(value.base), Parameter::Bytes(value.base)});
}

int SqliteStore::EraseValue(const std::string& key, const std::string& name) {
  return Run(kEraseValue, {key, LowerCase(name)});
}

int SqliteStore::EraseTree(const std::string& key) {
  const KeyPlace place = PlaceOf(key);
  int code = Run(kEraseKey, {place.parent, place.folded});
  if (code == kSuccess) code = Run(kEraseKeysBelow, {key});
  if (code == kSuccess) code = Run(kEraseValuesBelow, {key});
  return code;
}

int SqliteStore::CheckWritable() {
  const int code = ConnectForWriting();
  if (code != kSuccess || connection_ == nullptr) return code;
  if (sqlite3_db_readonly(connection_, "main") != 0) return kAccessDenied;
  return faccessat(AT_FDCWD, file_.parent_path().c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? kSuccess
                                                                                        : CodeOf(errno, kAccessDenied);
}

// --- The connection

// Whether the path no longer names the file that the connection has open. The number of that file can't come again as
// long as it is open.
bool SqliteStore::Moved() const {
  int moved = 0;
  if (sqlite3_file_control(connection_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK || moved != 0) return true;
  // Nobody but a person who restores a copy writes into a shared file, and SQLite's own count doesn't tell of that.
  struct stat now {};
  return kind_ == Kind::kShared && (stat(file_.c_str(), &now) != 0 || StampOf(now) != opened_);
}

// Connects to the file that the path names now, or keeps the connection that does already. No file: no connection.
int SqliteStore::Connect(Use use) {
  if (connection_ != nullptr && (Moved() || (use == Use::kWriting && for_reading_))) Disconnect();
  if (connection_ != nullptr) return kSuccess;
  struct stat status {};
  if (stat(file_.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? kSuccess : CodeOf(errno, kReadFault);
  }
  if (!S_ISREG(status.st_mode)) return kAccessDenied;  // opening a pipe would wait for its other end
  opened_ = StampOf(status);
  // A shared file never changes where it is, so that reading it needs neither locks nor a look for journals.
  for_reading_ = kind_ == Kind::kShared && use == Use::kReading;
  const std::string name = for_reading_ ? ImmutableUri(file_) : file_.string();
  const int flags = for_reading_ ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE;
  const int opened = sqlite3_open_v2(name.c_str(), &connection_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (opened != SQLITE_OK) {
    const int failure = Result(opened);
    Disconnect();
    return failure;
  }
  sqlite3_extended_result_codes(connection_, 1);
  return Result(sqlite3_busy_handler(connection_, WaitForLock, nullptr));
}

void SqliteStore::Disconnect() {
  for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
  statements_.clear();
  sqlite3_close(connection_);
  connection_ = nullptr;
  has_tables_ = write_ready_ = false;
}

int SqliteStore::ReadTables() {
  if (has_tables_) return kSuccess;
  std::int64_t version = 0;
  const int code = Run(kTablesQuery, {}, [&](sqlite3_stmt* row) { version = sqlite3_column_int64(row, 0); });
  if (code != kSuccess) return code;
  has_tables_ = version == kTablesVersion;
  if (has_tables_) return kSuccess;
  // Without a version the file is new; one that holds something is a database of somebody else.
  std::int64_t tables = 0;
  const int counted = Run(kForeignTables, {}, [&](sqlite3_stmt* row) { tables = sqlite3_column_int64(row, 0); });
  if (counted != kSuccess) return counted;
  return version == 0 && tables == 0 ? kSuccess : kRegistryCorrupt;
}

// As Connect; a connection from before the right to write came is made anew.
int SqliteStore::ConnectForWriting() {
  const int code = Connect(Use::kWriting);
  if (code != kSuccess || connection_ == nullptr || sqlite3_db_readonly(connection_, "main") == 0) return code;
  Disconnect();
  return Connect(Use::kWriting);
}

int SqliteStore::PrepareToWrite() {
  int code = ConnectForWriting();
  if (code == kSuccess && connection_ == nullptr) {
    code = MakeFolders(file_.parent_path(), kind_ == Kind::kPrivate ? kPrivateFolderMode : kSharedFolderMode);
    if (code == kSuccess) code = MakeEmptyFile(file_, kind_ == Kind::kPrivate ? kPrivateMode : kSharedMode);
    if (code == kSuccess) code = Connect(Use::kWriting);
  }
  if (code != kSuccess) return code;
  if (connection_ == nullptr) return kSharingViolation;  // removed again by somebody
  if (sqlite3_db_readonly(connection_, "main") != 0) return kAccessDenied;
  if (write_ready_) return kSuccess;
  code = Result(sqlite3_exec(connection_, kind_ == Kind::kPrivate ? kPrivateSettings : kSharedSettings, nullptr,
                             nullptr, nullptr));
  write_ready_ = code == kSuccess;
  return code;
}

// Takes the write lock of the file that the path names: another writer may have put a new file there while this one
// waited for the lock of the old one.
int SqliteStore::Begin() {
  const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
  for (;;) {
    int code = PrepareToWrite();
    if (code == kSuccess) code = Run("BEGIN IMMEDIATE");
    if (code != kSuccess) return code;
    if (!Moved()) break;
    if (std::chrono::steady_clock::now() > deadline) return kSharingViolation;
    Disconnect();
  }
  has_tables_ = false;
  const int code = ReadTables();
  if (code != kSuccess || has_tables_) return code;
  const int made = Result(sqlite3_exec(connection_, kMakeTables, nullptr, nullptr, nullptr));
  has_tables_ = made == kSuccess;
  return made;
}

// Writes the database as the open transaction sees it into a new file, under the lock of the old one.
int SqliteStore::Publish() {
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> image(sqlite3_serialize(connection_, "main", &size, 0),
                                                              sqlite3_free);
  if (!image) return kWriteFault;
  return ReplaceFile(file_, {reinterpret_cast<const char*>(image.get()), static_cast<std::size_t>(size)}, kSharedMode);
}

// --- Statements

int SqliteStore::Prepare(const char* sql, sqlite3_stmt*& statement) {
  sqlite3_stmt*& kept = statements_[sql];
  if (kept == nullptr) {
    const int code = sqlite3_prepare_v3(connection_, sql, -1, SQLITE_PREPARE_PERSISTENT, &kept, nullptr);
    if (code != SQLITE_OK) return code;
  }
  statement = kept;
  return SQLITE_OK;
}

int SqliteStore::Bind(sqlite3_stmt* statement, std::initializer_list<Parameter> parameters) {
  int index = 0;
  for (const Parameter& parameter : parameters) {
    ++index;
    int code = SQLITE_OK;
    if (const auto* number = std::get_if<std::int64_t>(&parameter.value)) {
      code = sqlite3_bind_int64(statement, index, *number);
    } else if (const auto* text = std::get_if<std::string_view>(&parameter.value)) {
      code = sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_STATIC, SQLITE_UTF8);
    } else if (const auto* blob = std::get_if<Parameter::Blob>(&parameter.value)) {
      code = sqlite3_bind_blob64(statement, index, blob->bytes.data(), blob->bytes.size(), SQLITE_STATIC);
    }
    if (code != SQLITE_OK) return code;
  }
  return SQLITE_OK;
}

template <typename Row>
int SqliteStore::Run(const char* sql, std::initializer_list<Parameter> parameters, Row&& row) {
  sqlite3_stmt* statement = nullptr;
  int code = Prepare(sql, statement);
  if (code == SQLITE_OK) code = Bind(statement, parameters);
  if (code == SQLITE_OK) {
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) row(statement);
  }
  const int result = Result(code);
  sqlite3_reset(statement);  // tells the step's failure once more
  sqlite3_clear_bindings(statement);
  return result;
}

int SqliteStore::Run(const char* sql, std::initializer_list<Parameter> parameters) {
  return Run(sql, parameters, [](sqlite3_stmt*) {});
}

template <typename Row>
int SqliteStore::Read(const char* sql, std::initializer_list<Parameter> parameters, Row&& row) {
  // Inside a change, what it has changed so far is to be seen.
  int code = Connect(connection_ != nullptr && !for_reading_ ? Use::kWriting : Use::kReading);
  if (code != kSuccess || connection_ == nullptr) return code;
  // The first reading of a connection asks for three things; in one transaction they need the file's lock once.
  const bool first = !has_tables_;
  if (first) code = Run("BEGIN");
  if (code == kSuccess) code = ReadTables();
  if (code == kSuccess && has_tables_) code = Run(sql, parameters, row);
  if (code == kSuccess && first) code = Run("COMMIT");
  if (code != kSuccess) Disconnect();
  return code;
}

int SqliteStore::Result(int code) const { return CodeOfSqlite(code, connection_); }

}  // namespace tsly
