#include "posix/paths.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "base/text.h"

namespace tsly {
namespace {

// Below a device no name exists and none can be made, whatever rights the process has.
constexpr char kNowhere[] = "/dev/null/nowhere";

constexpr std::string_view kTempDrivePath = "C:\\TEMP";

bool IsFolder(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::string SystemTempFolder() {
  const char* folder = std::getenv("TMPDIR");
  return folder != nullptr && folder[0] == '/' && IsFolder(folder) ? folder : "/tmp";
}

bool HasDriveLetter(std::string_view path) {
  return path.size() >= 2 && path[1] == ':' && ((path[0] | 0x20) >= 'a' && (path[0] | 0x20) <= 'z');
}

bool IsBelowTempDrivePath(std::string_view path) {
  return EqualIgnoringCase(path.substr(0, kTempDrivePath.size()), kTempDrivePath) &&
         (path.size() == kTempDrivePath.size() || path[kTempDrivePath.size()] == '\\');
}

// Of several names that differ in their capitals only the first one in byte order is taken, so that the answer doesn't
// depend on the order of the folder. Empty if there is none.
std::string NameInOtherCapitals(const std::string& folder, const std::string& name) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.empty() ? "." : folder.c_str()), closedir);
  if (!entries) return {};
  const std::string lower = LowerCase(name);
  std::string found;
  while (const dirent* entry = readdir(entries.get())) {
    const std::string_view other = entry->d_name;
    if (other.size() == name.size() && (found.empty() || other < found) && LowerCase(other) == lower) found = other;
  }
  return found;
}

// True also when the system gives no answer: another name would be a guess then.
bool MayExist(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

std::string InExistingCapitals(const std::string& path) {
  if (MayExist(path)) return path;
  std::string found;
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    std::string part = path.substr(start, end - start);
    if (!part.empty() && !MayExist(found + part)) {
      part = NameInOtherCapitals(found, part);
      if (part.empty()) return found + path.substr(start);
    }
    found += part;
    if (end < path.size()) found += '/';
    start = end + 1;
  }
  return found;
}

}  // namespace

std::string NativePath(const std::string& core_path) {
  if (core_path.find('\0') != std::string::npos) return kNowhere;
  std::string path = core_path;
  if (IsBelowTempDrivePath(path)) {
    path.replace(0, kTempDrivePath.size(), SystemTempFolder());
  } else if (HasDriveLetter(path)) {
    return kNowhere;
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  return InExistingCapitals(path);
}

std::string CorePath(const std::string& native_path) {
  std::string path = native_path;
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

}  // namespace tsly
