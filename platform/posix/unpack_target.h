// The target folder of an archive, changed completely or not at all: files are written to a private staging folder
// inside the target and renamed when all are complete. Renames can't reach folders on another file system: an archive
// with a file for such a folder is refused.
//
// The staging folder is locked while in use, so an unlocked one was left by a killed process. The next MakeStaging in
// the same target removes it, unless it has a user file that may be the only copy.
//
// Several processes may unpack into one target: each places its files under a lock on the target, which it keeps until
// it has undone an incomplete change. The lock doesn't cover targets above or below this one; there, a file that
// another process has replaced meanwhile is not undone.
//
// Serves one archive, on one thread. Errors are errno values, 0 for none.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "posix/descriptor.h"

namespace tsly {

// Moves between folders below a root, one level at a time and never through a symbolic link.
class FolderChain {
 public:
  explicit FolderChain(Descriptor root) { levels_.push_back({"", std::move(root), false, {}, false}); }

  // Makes "a/b/" the current folder; creates and records missing ones. "" is the root.
  int Enter(std::string_view folder);

  int Present() const { return levels_.back().folder.Get(); }
  // The name's spelling in the current folder: exact, otherwise in another letter case; "" if not found.
  int Find(const std::string& name, std::string& spelled);

  // Removes the created folders that are empty, in reverse order, even if another process has entered one; within one
  // UnpackTarget its lock prevents that.
  void RemoveMade();

 private:
  struct Level {
    std::string name;
    Descriptor folder;
    bool is_new;
    std::unordered_map<std::string, std::string> spelled;  // by lower-case name; filled on first use
    bool is_listed;
  };

  int EnterChild(const std::string& name);
  void NoteMade(const std::string& name);
  int InOtherCapitals(const std::string& name, std::string& spelled);

  std::vector<Level> levels_;
  std::vector<std::string> made_;
};

class UnpackTarget {
 public:
  // The error of Place and its path; `index` is past the end if the error isn't about a path.
  struct Outcome {
    int error = 0;
    std::size_t index = 0;
  };

  UnpackTarget() = default;
  UnpackTarget(const UnpackTarget&) = delete;
  UnpackTarget& operator=(const UnpackTarget&) = delete;
  ~UnpackTarget();  // removes the staging folder and, without a successful Place, the created folders

  // The folder needn't exist yet: MakeStaging creates it. Refuses the root folder, which is the result of a missing
  // folder name.
  int Open(std::string folder);
  std::int64_t FreeBytes() const;
  int MakeStaging();

  // A new file in staging, for paths[index]; none after a failure, with the reason in errno.
  Descriptor Create(std::size_t index, bool is_executable);

  // Places the staged files, by index, at `paths` (parts joined by "/", a folder's path ends in one, "" is skipped).
  // After success everything is on the disk if the file system supports syncfs (some FUSE and network file systems
  // don't); after an error everything is as before. EWOULDBLOCK: another process has locked the target for half a
  // minute.
  Outcome Place(std::span<const std::string> paths, bool replace);

  // Not empty if an error couldn't be undone: the folder with the user's former files.
  const std::string& LeftBehind() const { return left_behind_; }

 private:
  struct Placed {
    std::size_t index;
    ino_t file;
    std::string name;
    std::string former;  // the former file's name in staging; "" if none
  };

  int LockStaging();
  int LockTarget();
  int Target() const { return target_.Get(); }
  int PlaceAll(std::span<const std::string> paths, bool replace, std::size_t& index);
  int PlaceOne(const std::string& path, std::size_t index, bool replace);
  int KeepRights(const std::string& staged, const struct stat& former);
  int Swap(const std::string& staged, int folder, const std::string& name, std::string& former);
  void Undo(std::span<const std::string> paths);
  void LeaveBehind();

  std::optional<FolderChain> chain_;  // from the nearest existing folder
  Descriptor target_;                 // that folder; after MakeStaging the target itself
  Descriptor staging_;
  Descriptor lock_;        // on the target, with its own descriptor
  std::string root_path_;  // of the nearest existing folder
  std::string missing_;    // the missing part of the target: "" or "a/b/"
  std::string staging_name_;
  std::vector<Placed> placed_;
  std::string left_behind_;
  bool is_done_ = false;
};

}  // namespace tsly
