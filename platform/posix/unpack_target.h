// The folder that an archive is unpacked into, changed as a whole or not at all: files are written into a staging
// folder that nobody else may read, in the target itself, and renamed into place when all of them are complete. Folders
// of the target that are on another file system can't be reached that way: an archive with a file for one is refused.
//
// The staging folder is locked while it is in use, so that one that a killed process left is known by its free lock.
// Such a folder is removed by the next MakeStaging in the same target, unless it holds a file of the user that may have
// no other copy.
//
// Several processes may unpack into one target: each places its files under a lock on the target, and holds the lock
// until it has taken back what it couldn't complete. This lock doesn't cover another target above or below this one;
// there, a file that somebody else put in the place of ours since is not taken back.
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

// Goes from folder to folder below a root, one level at a time and never through a symbolic link.
class FolderChain {
 public:
  explicit FolderChain(Descriptor root) { levels_.push_back({"", std::move(root), false, {}, false}); }

  // Makes "a/b/" the present folder; missing ones are made and noted. "" is the root.
  int Enter(std::string_view folder);

  int Present() const { return levels_.back().folder.Get(); }
  // How a name is spelled in the present folder: exactly so, else in other capitals; "" if it isn't there.
  int Find(const std::string& name, std::string& spelled);

  // Removes the folders that were made, the last one first, and that nobody put anything into. One that another process
  // has entered and that is still empty is removed as well; below one UnpackTarget its lock keeps others from that.
  void RemoveMade();

 private:
  struct Level {
    std::string name;
    Descriptor folder;
    bool is_new;
    std::unordered_map<std::string, std::string> spelled;  // by lower-case name; filled at the first need
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
  // Why and at which of the paths a Place ended; `index` is past the last one when it was at none.
  struct Outcome {
    int error = 0;
    std::size_t index = 0;
  };

  UnpackTarget() = default;
  UnpackTarget(const UnpackTarget&) = delete;
  UnpackTarget& operator=(const UnpackTarget&) = delete;
  ~UnpackTarget();  // removes the staging folder, and without a successful Place the folders that were made

  // The folder itself need not be there yet: MakeStaging makes it. The root of all folders is refused: it is what
  // remains of a path whose folder couldn't be named.
  int Open(std::string folder);
  std::int64_t FreeBytes() const;
  int MakeStaging();

  // A new file in staging, to be placed as paths[index]; after a failure none, with the reason in errno.
  Descriptor Create(std::size_t index, bool is_executable);

  // Puts the staged files, by index, where `paths` say (parts joined by "/", a folder's path ends in one, "" is
  // skipped). After success all of it is on the disk, to outlive a loss of power, where the file system passes syncfs
  // on (some in user space and on other machines don't); after an error everything is as it was before. EWOULDBLOCK:
  // another process kept the target locked for half a minute.
  Outcome Place(std::span<const std::string> paths, bool replace);

  // Not empty when an error could not be undone: the folder that the user's former files were left in.
  const std::string& LeftBehind() const { return left_behind_; }

 private:
  struct Placed {
    std::size_t index;
    ino_t file;
    std::string name;
    std::string former;  // the name in staging of the file that was there before; "" if none was
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

  std::optional<FolderChain> chain_;  // from the nearest folder that was there
  Descriptor target_;                 // that folder, after MakeStaging the target itself
  Descriptor staging_;
  Descriptor lock_;        // on the target, by a descriptor of its own
  std::string root_path_;  // of the nearest folder that was there
  std::string missing_;    // what of the target was not: "" or "a/b/"
  std::string staging_name_;
  std::vector<Placed> placed_;
  std::string left_behind_;
  bool is_done_ = false;
};

}  // namespace tsly
