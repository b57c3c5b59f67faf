// Folders for temporary files that only the user can change, so that files with fixed names in them are the user's own.
// One thread.
#pragma once

#include <filesystem>

namespace tsly {

// $TMPDIR if that folder protects its users from each other, otherwise /tmp.
std::filesystem::path SystemTempFolder();

// Whether this user owns the folder and is the only one who can write to it. Follows links.
bool IsWrittenByUserAlone(const std::filesystem::path& folder);

// The user's folder below `shared`, the same for all the user's processes; creates it. Empty if it can't be created, or
// if the name is taken by anything but a folder private to the user.
std::filesystem::path KeptFolderBelow(const std::filesystem::path& shared);

// The same; if another user has taken the name, a new folder of this object. The destructor removes that folder if it
// is empty. A killed process leaves an empty folder, which the system cleans up.
class PrivateFolder {
 public:
  PrivateFolder() = default;
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  // Empty if none can be created.
  std::filesystem::path Below(const std::filesystem::path& shared);

 private:
  std::filesystem::path made_;
};

}  // namespace tsly
