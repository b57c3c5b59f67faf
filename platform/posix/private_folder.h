// Folders for temporary files that nobody but the user can change: what lies in them under a fixed name is his. One
// thread.
#pragma once

#include <filesystem>

namespace tsly {

// $TMPDIR where that is a folder that keeps its users apart, else /tmp.
std::filesystem::path SystemTempFolder();

// A folder, links followed, that this user owns and that only he can write to.
bool IsWrittenByUserAlone(const std::filesystem::path& folder);

// The user's folder below `shared`, one for all his processes, made when it is missing. Empty when it can't be made, or
// when what has its name is not a folder of his that is closed to everybody else.
std::filesystem::path KeptFolderBelow(const std::filesystem::path& shared);

// The same, and where somebody else has taken that name a folder of this object's. The object takes that away when it
// goes, if it is empty by then; of a process that was killed an empty folder stays, for the system to tidy up.
class PrivateFolder {
 public:
  PrivateFolder() = default;
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  // Empty when none can be made.
  std::filesystem::path Below(const std::filesystem::path& shared);

 private:
  std::filesystem::path made_;
};

}  // namespace tsly
