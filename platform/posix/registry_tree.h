// One root of the settings registry for this user: the root's own file and, for the machine's roots, an overlay in the
// user's file for writes that the user has no right to.
//
// A row of the overlay, a value or a deletion, is valid only while the machine's value is unchanged (same data and same
// stamp), so that a later change by an administrator wins permanently. A deletion of a key is valid while nothing
// visible is left below it. A permanently unreadable overlay (broken, no right) hides nothing; a temporary failure
// returns a code. Reading changes nothing.
//
// Owned by SqliteRegistry, one thread. Paths are in the caller's letter case, "" for the root; results are codes of
// ports/system_codes.h.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "posix/sqlite_store.h"

namespace tsly {

class RegistryTree {
 public:
  // `root` is the root's name inside the files. Without an overlay, a missing right to write is returned to the caller.
  RegistryTree(std::string root, SqliteStore& store, SqliteStore* overlay);

  int HasKey(const std::string& path, bool& there);
  int KeyNames(const std::string& path, std::vector<std::string>& names);
  int ValueNames(const std::string& path, std::vector<std::string>& names);
  // Nothing: no such value.
  int FindValue(const std::string& path, const std::string& name, std::optional<RegistryData>& data);

  int MakeKey(const std::string& path, bool& created);
  int SetValue(const std::string& path, const std::string& name, RegistryData data);  // 1018: no such key
  int DeleteValue(const std::string& path, const std::string& name);                  // 2: no such value
  int DeleteTree(const std::string& path);                                            // 2: no such key

 private:
  std::string Stored(const std::string& path) const;
  std::string Overlaid(const std::string& path) const;
  int Below(const std::string& path, const std::string& name, StoredValue& value);
  template <typename Reading>
  int ReadOverlay(Reading&& reading);
  int PutOverlaid(const std::string& path, StoredValue value);
  int NothingLeft(const std::string& path, bool& nothing);
  int PutDeletions(const std::string& path);
  int ForgetOverlaidValue(const std::string& path, const std::string& name);
  int ForgetOverlaidTree(const std::string& path);
  bool GoesToOverlay(int code) const;

  std::string root_;
  std::string overlay_root_;
  SqliteStore& store_;
  SqliteStore* overlay_;
};

}  // namespace tsly
