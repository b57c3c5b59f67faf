#include "posix/private_folder.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace tsly {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr char kName[] = "tessaly-studio-";

bool IsFolder(const fs::path& path, struct stat& status) {
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether only root can replace a user's folder here: others may write only if the sticky bit limits them to their own
// files.
bool KeepsUsersApart(const fs::path& folder) {
  struct stat status {};
  if (!IsFolder(folder, status) || (status.st_uid != 0 && status.st_uid != geteuid())) return false;
  return (status.st_mode & kOthersWrite) == 0 || (status.st_mode & S_ISVTX) != 0;
}

bool IsClosedToOthers(const fs::path& folder) {
  struct stat status {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
         (status.st_mode & kOthers) == 0;
}

}  // namespace

fs::path SystemTempFolder() {
  const char* folder = std::getenv("TMPDIR");
  return folder != nullptr && folder[0] == '/' && KeepsUsersApart(folder) ? folder : "/tmp";
}

bool IsWrittenByUserAlone(const fs::path& folder) {
  struct stat status {};
  return IsFolder(folder, status) && status.st_uid == geteuid() && (status.st_mode & kOthersWrite) == 0;
}

fs::path KeptFolderBelow(const fs::path& shared) {
  if (!KeepsUsersApart(shared)) return {};
  const fs::path folder = shared / (kName + std::to_string(geteuid()));
  if (mkdir(folder.c_str(), S_IRWXU) == 0) chmod(folder.c_str(), S_IRWXU);  // regardless of the umask
  return IsClosedToOthers(folder) ? folder : fs::path();
}

PrivateFolder::~PrivateFolder() {
  if (!made_.empty()) rmdir(made_.c_str());
}

fs::path PrivateFolder::Below(const fs::path& shared) {
  const fs::path kept = KeptFolderBelow(shared);
  if (!kept.empty() || !KeepsUsersApart(shared)) return kept;
  if (made_.empty() || !IsClosedToOthers(made_)) {
    std::string name = (shared / kName).string() + "XXXXXX";
    made_ = mkdtemp(name.data()) != nullptr ? name : "";
  }
  return made_;
}

}  // namespace tsly
