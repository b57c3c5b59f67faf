// One settings file: a SQLite database that holds the keys and values of one root or several.
//
// Owned by SqliteRegistry, one thread. A file that is missing or empty reads as empty and is made, with its folders, at
// the first write; one that is no database of ours gives 1009 and is never written. The connection is made at the first
// use, kept, and made anew when another file has taken the path. A file of the former version, which has no stamps, is
// read as it is and brought up at the first write. Results are codes of ports/system_codes.h: a read that gives 0 found
// what is there, or made sure that nothing is; it never gives 2.
//
// Keys are named by their folded path with the root in front ("hkcu\software\acme").
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "posix/sqlite_statements.h"

namespace tsly {

struct RegistryData {
  std::uint32_t type = 0;
  std::string bytes;
  bool operator==(const RegistryData&) const = default;
};

struct StoredValue {
  std::string name;
  std::optional<RegistryData> data;  // nothing: the row stands for a deletion
  std::optional<RegistryData> base;  // of an overlay's row: what was there when it was written
  // A random number that the shared kind gives a value with each change, its deletion included; the private kind keeps
  // the one of `base`. 0: unchanged since there are stamps.
  std::int64_t stamp = 0;
};

enum class KeyState { kMissing, kThere, kDeleted };  // kDeleted: an overlay's row that stands for a deletion

struct FileStamp {
  std::int64_t size = 0, modified = 0;  // bytes, nanoseconds
  bool operator==(const FileStamp&) const = default;
};

class SqliteStore {
 public:
  // kPrivate: for its owner alone, written in place under a rollback journal.
  // kShared: written by those with the right to and read by everybody. A journal that a killed writer leaves would lock
  // out every reader who may not write, so each change is written as a whole new file that takes the old one's place.
  enum class Kind { kPrivate, kShared };

  SqliteStore(std::filesystem::path file, Kind kind);
  ~SqliteStore();
  SqliteStore(const SqliteStore&) = delete;
  SqliteStore& operator=(const SqliteStore&) = delete;

  int FindKey(const std::string& key, KeyState& state);
  // A value that is gone comes without data, for its stamp.
  int FindValue(const std::string& key, const std::string& name, std::optional<StoredValue>& value);
  // Names in the order of their folded form, rows of deletions included.
  int KeyNames(const std::string& key, std::vector<std::string>& names);
  int ValueNames(const std::string& key, std::vector<std::string>& names);
  // Whether anything is kept for a key or below it.
  int HasTree(const std::string& key, bool& any);

  // 5: the file is there and can't be written.
  int CheckWritable();

  // Runs `changes`, which uses the routines below, and makes all of it last, or nothing if it gives a code. 5: no right
  // to write here. 32: another writer has held the file for more than five seconds. Only where the very last step fails
  // (the deletion of the journal, the folder's way to the disk) may what gave a code be there after all.
  int Write(const std::function<int()>& changes);

  // From Gather to Finish all writes are one, which lasts with Finish(true) or not at all: a write that fails after it
  // has got the file undoes those before it, and Finish gives its code.
  void Gather();
  int Finish(bool keep);

  // A key with all its parents; the last part as `state` says.
  int PutKey(const std::string& root, const std::string& path, KeyState state = KeyState::kThere);
  // A name that is there already keeps its form.
  int PutValue(const std::string& key, const StoredValue& value);
  int EraseValue(const std::string& key, const std::string& name);
  int EraseTree(const std::string& key);

 private:
  enum class Use { kReading, kWriting };

  bool Moved() const;
  int Connect(Use use);
  int ConnectForWriting();
  void Disconnect();
  int ReadTables();
  int PrepareToWrite();
  int Begin();
  int End(int code);
  bool IsLockLeft() const;
  int MakeTables();
  int Publish();
  using Parameters = std::initializer_list<SqliteParameter>;
  int Run(const char* sql, Parameters parameters = {}, const SqliteStatements::TakeRow& take = {});
  int Count(const char* sql, std::int64_t& number);
  int Execute(const char* sql);
  int Read(const char* sql, Parameters parameters, const SqliteStatements::TakeRow& take);
  int Names(const char* sql, const std::string& key, std::vector<std::string>& names);

  std::filesystem::path file_;
  Kind kind_;
  sqlite3* connection_ = nullptr;
  bool for_reading_ = false;  // the connection is for reading only
  FileStamp opened_;          // of the file when it was opened
  std::int64_t tables_ = 0;   // the version of the file's tables, 0 for a new file
  bool write_ready_ = false;  // the connection's settings for writing are made
  bool changing_ = false;     // the write lock is held
  bool gathering_ = false;
  int gathered_ = 0;  // the first failure since Gather
  SqliteStatements statements_;
};

}  // namespace tsly
