// The folder that an archive is unpacked into, changed as a whole or not at all: files are written into a staging
// folder that nobody else may read, on the same file system, and renamed into place when all of them are complete.
//
// Serves one archive, on one thread. Errors are errno values, 0 for none.
#pragma once

#include <sys/types.h>

#include <cstdint>
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
  std::string Find(const std::string& name);

  // Removes the folders that were made, the last one first; the first error if one can't be.
  int RemoveMade();

 private:
  struct Level {
    std::string name;
    Descriptor folder;
    bool is_new;
    std::unordered_map<std::string, std::string> spelled;  // by lower-case name; filled at the first need
    bool is_listed;
  };

  int EnterChild(const std::string& name);
  std::string InOtherCapitals(const std::string& name);

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
  ~UnpackTarget();  // removes the staging folder

  // The folder itself need not be there yet; then the staging folder is in the nearest one above it that is.
  int Open(std::string folder);
  std::int64_t FreeBytes() const;
  int MakeStaging();

  // A new file in staging, to be placed as paths[index].
  Descriptor Create(std::size_t index, bool is_executable);

  // Puts the staged files, by index, where `paths` say (parts joined by "/", a folder's path ends in one, "" is
  // skipped). After an error everything stands as it did before.
  Outcome Place(std::span<const std::string> paths, bool replace);

  // Not empty when an error could not be undone: the folder that the user's former files were left in.
  const std::string& LeftBehind() const { return left_behind_; }

 private:
  struct Placed {
    std::size_t index;
    std::string name;
    std::string former;  // the name in staging of the file that stood there before; "" if none did
  };

  int PlaceOne(FolderChain& chain, const std::string& path, std::size_t index, bool replace);
  int Swap(const std::string& staged, int folder, const std::string& name, std::string& former);
  int Undo(FolderChain& chain, std::span<const std::string> paths);

  Descriptor root_;
  Descriptor staging_;
  std::string root_path_;
  std::string staging_name_;
  std::string missing_;  // what of the folder isn't there yet: "" or "a/b/"
  std::vector<Placed> placed_;
  std::string left_behind_;
};

}  // namespace tsly
