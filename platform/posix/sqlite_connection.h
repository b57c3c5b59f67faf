// The connection of a SqliteStore to its file: opened at the first use, kept, and reopened when another file replaces
// it. A file of the former version, without stamps, is readable; the first write upgrades it.
//
// One thread. Results are codes of ports/system_codes.h.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <initializer_list>

#include "posix/sqlite_statements.h"

namespace tsly {

class SqliteConnection {
 public:
  // kPrivate: only for its owner, written in place with a rollback journal. kShared: readable by everyone, writable
  // with the right to. The journal of a killed writer would lock out readers without that right, so each change writes
  // a new file that replaces the old one.
  enum class Kind { kPrivate, kShared };
  using Parameters = std::initializer_list<SqliteParameter>;

  SqliteConnection(std::filesystem::path file, Kind kind);
  ~SqliteConnection();
  SqliteConnection(const SqliteConnection&) = delete;
  SqliteConnection& operator=(const SqliteConnection&) = delete;

  bool IsShared() const { return kind_ == Kind::kShared; }
  // 5: the file exists and isn't writable.
  int CheckWritable();

  // A statement that reads; no file, no rows. Inside a change it sees what was changed so far.
  int Read(const char* sql, Parameters parameters, const SqliteStatements::TakeRow& take);

  // Makes what is missing and takes the lock for writing. From a success to End the connection is changing.
  int Begin();
  bool IsChanging() const { return changing_; }
  int Run(const char* sql, Parameters parameters = {}, const SqliteStatements::TakeRow& take = {});
  // Ends the open change and commits it if `code` is 0. The result is `code`, or why the commit failed.
  int End(int code);
  // Drops the open change.
  void Disconnect();

 private:
  enum class Use { kReading, kWriting };
  struct FileStamp {
    std::int64_t size = 0, modified = 0;  // bytes, nanoseconds
    bool operator==(const FileStamp&) const = default;
  };

  static FileStamp StampOf(const struct stat& status);
  bool Moved() const;
  int Connect(Use use);
  int ConnectForWriting();
  int ReadTables();
  int PrepareToWrite();
  bool IsLockLeft() const;
  int MakeTables();
  int Publish();
  int Count(const char* sql, std::int64_t& number);
  int Execute(const char* sql);

  std::filesystem::path file_;
  Kind kind_;
  sqlite3* connection_ = nullptr;
  bool for_reading_ = false;  // the connection is for reading only
  FileStamp opened_;          // of the file when it was opened
  std::int64_t tables_ = 0;   // the version of the file's tables, 0 for a new file
  bool write_ready_ = false;  // the connection is set up for writing
  bool changing_ = false;     // has the write lock
  SqliteStatements statements_;
};

}  // namespace tsly
