#include "posix/sqlite_connection.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "ports/system_codes.h"
#include "posix/durable_file.h"
#include "posix/posix_codes.h"
#include "posix/sqlite_codes.h"
#include "posix/sqlite_schema.h"

namespace tsly {
namespace {

constexpr auto kLongestWait = std::chrono::seconds(5);
constexpr auto kPause = std::chrono::milliseconds(1);

constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kSharedMode = 0644;
constexpr mode_t kPrivateFolderMode = 0700;
constexpr mode_t kSharedFolderMode = 0755;

// SQLite's own time-out uses increasing pauses of up to 100 ms. A process that writes continuously would then lock out
// others for seconds, because it frees the lock for less than a millisecond between two writes.
int WaitForLock(void*, int times) {
  if (times >= kLongestWait / kPause) return 0;
  std::this_thread::sleep_for(kPause);
  return 1;
}

// "%", "?" and "#" have a meaning in a URI.
std::string ImmutableUri(const std::filesystem::path& file) {
  std::string uri = "file:";
  for (const char c : file.string()) {
    uri += c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
  }
  return uri + "?immutable=1";
}

}  // namespace

SqliteConnection::SqliteConnection(std::filesystem::path file, Kind kind) : file_(std::move(file)), kind_(kind) {}

SqliteConnection::~SqliteConnection() { Disconnect(); }

SqliteConnection::FileStamp SqliteConnection::StampOf(const struct stat& status) {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  return {status.st_size, status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

// Whether the path no longer refers to the open file. Its inode number can't be reused while it is open.
bool SqliteConnection::Moved() const {
  int moved = 0;
  if (sqlite3_file_control(connection_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK || moved != 0) return true;
  // A shared file is written in place only by a user who restores a copy, which SQLite's change counter doesn't show.
  struct stat now {};
  return kind_ == Kind::kShared && (stat(file_.c_str(), &now) != 0 || StampOf(now) != opened_);
}

// Connects to the file at the path, or keeps a connection to it. No file: no connection.
int SqliteConnection::Connect(Use use) {
  if (connection_ != nullptr && (Moved() || (use == Use::kWriting && for_reading_))) Disconnect();
  if (connection_ != nullptr) return kSuccess;
  struct stat status {};
  if (stat(file_.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? kSuccess : CodeOf(errno, kReadFault);
  }
  if (!S_ISREG(status.st_mode)) return kAccessDenied;  // opening a pipe would block
  opened_ = StampOf(status);
  // A shared file is never changed in place, so reading needs neither locks nor a check for journals.
  for_reading_ = kind_ == Kind::kShared && use == Use::kReading;
  const std::string name = for_reading_ ? ImmutableUri(file_) : file_.string();
  const int flags = for_reading_ ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE;
  const int opened = sqlite3_open_v2(name.c_str(), &connection_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (opened != SQLITE_OK) {
    const int failure = CodeOfSqlite(opened, connection_);
    Disconnect();
    return failure;
  }
  sqlite3_extended_result_codes(connection_, 1);
  return CodeOfSqlite(sqlite3_busy_handler(connection_, WaitForLock, nullptr), connection_);
}

void SqliteConnection::Disconnect() {
  statements_.Clear();
  sqlite3_close(connection_);
  connection_ = nullptr;
  tables_ = 0;
  write_ready_ = changing_ = false;
}

// Another process may upgrade tables of the former version at any time.
int SqliteConnection::ReadTables() {
  if (tables_ == kTablesVersion) return kSuccess;
  std::int64_t version = 0, all = 0, ours = 0;
  int code = Count(kTablesQuery, version);
  if (code == kSuccess) code = Count(kAllTables, all);
  if (code == kSuccess) code = Count(kOurTables, ours);
  if (code != kSuccess) return code;
  tables_ = version;
  const bool is_new = version == 0 && all == 0;
  const bool is_ours = (version == kTablesVersion && ours == 3) || (version == kFormerTablesVersion && ours == 2);
  return is_new || is_ours ? kSuccess : kRegistryCorrupt;
}

// Connects for writing; reopens a connection from before the right to write was granted.
int SqliteConnection::ConnectForWriting() {
  const int code = Connect(Use::kWriting);
  if (code != kSuccess || connection_ == nullptr || sqlite3_db_readonly(connection_, "main") == 0) return code;
  Disconnect();
  return Connect(Use::kWriting);
}

int SqliteConnection::PrepareToWrite() {
  int code = ConnectForWriting();
  if (code == kSuccess && connection_ == nullptr) {
    code = MakeFolders(file_.parent_path(), kind_ == Kind::kPrivate ? kPrivateFolderMode : kSharedFolderMode);
    if (code == kSuccess) code = EnsureFile(file_, kind_ == Kind::kPrivate ? kPrivateMode : kSharedMode);
    if (code == kSuccess) code = Connect(Use::kWriting);
  }
  if (code != kSuccess) return code;
  if (connection_ == nullptr) return kSharingViolation;  // removed by another process
  if (sqlite3_db_readonly(connection_, "main") != 0) return kAccessDenied;
  if (write_ready_) return kSuccess;
  code = ReadTables();  // the settings would change a foreign file with another journal mode
  if (code == kSuccess) code = Execute(kind_ == Kind::kPrivate ? kPrivateSettings : kSharedSettings);
  write_ready_ = code == kSuccess;
  return code;
}

// Takes the write lock of the file at the path: another writer may have replaced the file while this one waited for the
// lock.
int SqliteConnection::Begin() {
  const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
  for (;;) {
    int code = PrepareToWrite();
    if (code == kSuccess) code = Run("BEGIN IMMEDIATE");
    if (code != kSuccess) return code;
    if (!Moved()) break;
    if (std::chrono::steady_clock::now() > deadline) return kSharingViolation;
    Disconnect();
  }
  tables_ = 0;
  int code = ReadTables();
  if (code == kSuccess && tables_ != kTablesVersion) code = MakeTables();
  changing_ = code == kSuccess;
  return code;
}

int SqliteConnection::MakeTables() {
  int code = tables_ == 0 ? Execute(kMakeFormerTables) : kSuccess;
  if (code == kSuccess) code = Execute(kAddStamps);
  if (code == kSuccess) tables_ = kTablesVersion;
  return code;
}

// Writes the database, as seen by the open transaction, to a new file, under the lock of the old one.
int SqliteConnection::Publish() {
  const int whole = Run(kReadEveryPage, {}, [](sqlite3_stmt* row) {
    std::string finding;
    return ReadText(row, 0, finding) && finding == "ok";
  });
  if (whole != kSuccess) return whole;
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> image(sqlite3_serialize(connection_, "main", &size, 0),
                                                              sqlite3_free);
  if (!image) return kNotEnoughMemory;
  if (Moved()) return kSharingViolation;  // by someone who ignores locks
  return ReplaceFile(file_, {reinterpret_cast<const char*>(image.get()), static_cast<std::size_t>(size)}, kSharedMode);
}

int SqliteConnection::CheckWritable() {
  if (changing_) return kSuccess;
  const int code = ConnectForWriting();
  if (code != kSuccess || connection_ == nullptr) return code;
  if (sqlite3_db_readonly(connection_, "main") != 0) return kAccessDenied;
  return faccessat(AT_FDCWD, file_.parent_path().c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? kSuccess
                                                                                        : CodeOf(errno, kAccessDenied);
}

int SqliteConnection::End(int code) {
  const bool ends_well = code == kSuccess;
  if (ends_well) code = kind_ == Kind::kPrivate ? Run("COMMIT") : Publish();
  changing_ = false;
  const bool is_kept = ends_well && code != kSuccess && IsLockLeft();
  // Closing rolls back. A replaced shared file has to be opened again in any case.
  if (code != kSuccess || kind_ == Kind::kShared) Disconnect();
  return is_kept ? kSuccess : code;
}

// Whether a COMMIT only failed to release its lock: the change is on the disk, and closing releases the lock.
bool SqliteConnection::IsLockLeft() const {
  const int reason = connection_ != nullptr ? sqlite3_extended_errcode(connection_) : SQLITE_OK;
  return kind_ == Kind::kPrivate && (reason == SQLITE_IOERR_RDLOCK || reason == SQLITE_IOERR_UNLOCK);
}

int SqliteConnection::Run(const char* sql, Parameters parameters, const SqliteStatements::TakeRow& take) {
  return statements_.Run(
      connection_, sql, parameters, take ? take : [](sqlite3_stmt*) { return true; });
}

int SqliteConnection::Count(const char* sql, std::int64_t& number) {
  return Run(sql, {}, [&](sqlite3_stmt* row) {
    number = sqlite3_column_int64(row, 0);
    return true;
  });
}

int SqliteConnection::Execute(const char* sql) {
  return CodeOfSqlite(sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr), connection_);
}

int SqliteConnection::Read(const char* sql, Parameters parameters, const SqliteStatements::TakeRow& take) {
  // Inside a change, reads its own changes and keeps its lock.
  const bool writing = connection_ != nullptr && !for_reading_;
  int code = changing_ ? kSuccess : Connect(writing ? Use::kWriting : Use::kReading);
  if (code != kSuccess || connection_ == nullptr) return code;
  // The first read of a connection needs several statements; one transaction locks the file only once.
  const bool first = tables_ != kTablesVersion;
  if (first) code = Run("BEGIN");
  if (code == kSuccess) code = ReadTables();
  if (code == kSuccess && tables_ == kFormerTablesVersion && sql == kFindValue) sql = kFindFormerValue;
  if (code == kSuccess && tables_ != 0) code = Run(sql, parameters, take);
  if (code == kSuccess && first) code = Run("COMMIT");
  if (code != kSuccess && !changing_) Disconnect();
  return code;
}

}  // namespace tsly
