// One settings file: a SQLite database that holds the keys and values of one root or several.
//
// Owned by SqliteRegistry, one thread. A file that is missing or empty reads as empty and is made, with its folders, at
// the first write; one that is no database of ours gives 1009 and is never written. The connection is made at the first
// use, kept, and made anew when another file has taken the path. Results are codes of ports/system_codes.h.
//
// Keys are named by their folded path with the root in front ("hkcu\software\acme").
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

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
  int FindValue(const std::string& key, const std::string& name, std::optional<StoredValue>& value);
  // Names in the order of their folded form, rows of deletions included.
  int KeyNames(const std::string& key, std::vector<std::string>& names);
  int ValueNames(const std::string& key, std::vector<std::string>& names);
  // Whether anything is kept for a key or below it.
  int HasTree(const std::string& key, bool& any);

  // 5: the file is there and can't be written.
  int CheckWritable();

  // Runs `changes`, which uses the routines below, and makes all of it last, or nothing if it gives a code. 5: no right
  // to write here. 32: another writer has held the file for more than five seconds.
  int Write(const std::function<int()>& changes);

  // A key with all its parents; the last part as `state` says.
  int PutKey(const std::string& root, const std::string& path, KeyState state = KeyState::kThere);
  // A name that is there already keeps its form.
  int PutValue(const std::string& key, const StoredValue& value);
  int EraseValue(const std::string& key, const std::string& name);
  int EraseTree(const std::string& key);

 private:
  struct Parameter;
  enum class Use { kReading, kWriting };

  bool Moved() const;
  int Connect(Use use);
  int ConnectForWriting();
  void Disconnect();
  int ReadTables();
  int PrepareToWrite();
  int Begin();
  int Publish();
  int Prepare(const char* sql, sqlite3_stmt*& statement);
  int Bind(sqlite3_stmt* statement, std::initializer_list<Parameter> parameters);
  template <typename Row>
  int Run(const char* sql, std::initializer_list<Parameter> parameters, Row&& row);
  int Run(const char* sql, std::initializer_list<Parameter> parameters = {});
  template <typename Row>
  int Read(const char* sql, std::initializer_list<Parameter> parameters, Row&& row);
  int Names(const char* sql, const std::string& key, std::vector<std::string>& names);
  int Result(int code) const;

  std::filesystem::path file_;
  Kind kind_;
  sqlite3* connection_ = nullptr;
  bool for_reading_ = false;  // the connection is for reading only
  FileStamp opened_;          // of the file when it was opened
  bool has_tables_ = false;   // seen once, they stay
  bool write_ready_ = false;  // the connection's settings for writing are made
  std::unordered_map<const char*, sqlite3_stmt*> statements_;
};

}  // namespace tsly
