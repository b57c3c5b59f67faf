// One settings file: a SQLite database with the keys and values of one or more roots.
//
// Owned by SqliteRegistry, one thread. A missing or empty file reads as empty; the first write creates it with its
// folders. A file that isn't our database returns 1009 and is never written. Results are codes of ports/system_codes.h.
// A read returns 0 whether or not it found something, never 2.
//
// A key is identified by its folded path including the root ("hkcu\software\acme").
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "posix/sqlite_connection.h"

namespace tsly {

struct RegistryData {
  std::uint32_t type = 0;
  std::string bytes;
  bool operator==(const RegistryData&) const = default;
};

struct StoredValue {
  std::string name;
  std::optional<RegistryData> data;  // nothing: a deletion
  std::optional<RegistryData> base;  // for a row of an overlay: the value that it replaced
  // A random number. The shared kind sets it at each change of a value, including its deletion; the private kind stores
  // that of `base`. 0: never changed since stamps exist.
  std::int64_t stamp = 0;
};

enum class KeyState { kMissing, kThere, kDeleted };  // kDeleted: a deletion in an overlay

class SqliteStore {
 public:
  using Kind = SqliteConnection::Kind;

  SqliteStore(std::filesystem::path file, Kind kind) : connection_(std::move(file), kind) {}

  int FindKey(const std::string& key, KeyState& state);
  // A deleted value is returned without data, for its stamp.
  int FindValue(const std::string& key, const std::string& name, std::optional<StoredValue>& value);
  // Names in the order of their folded form, including deletions.
  int KeyNames(const std::string& key, std::vector<std::string>& names);
  int ValueNames(const std::string& key, std::vector<std::string>& names);
  // Whether there are rows for a key or below it.
  int HasTree(const std::string& key, bool& any);

  // 5: the file exists and isn't writable.
  int CheckWritable() { return connection_.CheckWritable(); }

  // Runs `changes`, which uses the routines below, and commits all of it, or nothing if it returns a code. 5: no right
  // to write. 32: another writer has locked the file for more than five seconds. Only if the very last step fails
  // (deleting the journal, flushing the folder) may a change be stored although a code is returned.
  int Write(const std::function<int()>& changes);

  // All writes from Gather to Finish are one transaction, which Finish(true) commits. A write that fails after it has
  // locked the file undoes the earlier ones, and Finish returns its code.
  void Gather();
  int Finish(bool keep);

  // Writes a key with all its parents; `state` is for the last part.
  int PutKey(const std::string& root, const std::string& path, KeyState state = KeyState::kThere);
  // An existing name keeps its letter case.
  int PutValue(const std::string& key, const StoredValue& value);
  int EraseValue(const std::string& key, const std::string& name);
  int EraseTree(const std::string& key);

 private:
  int Names(const char* sql, const std::string& key, std::vector<std::string>& names);

  SqliteConnection connection_;
  bool gathering_ = false;
  int gathered_ = 0;  // the first failure since Gather
};

}  // namespace tsly
