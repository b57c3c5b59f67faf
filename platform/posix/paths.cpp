#include "posix/paths.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "base/text.h"
#include "posix/private_folder.h"

namespace tsly {
namespace {

// No name exists below a device, and none can be created, whatever rights the process has.
constexpr char kNowhere[] = "/dev/null/nowhere";

// U+F05C, in the private use area, where systems map characters that are invalid in their paths.
constexpr std::string_view kBackslashInName = "\xEF\x81\x9C";

constexpr std::string_view kTempDrivePath = "C:\\TEMP";

// Byte by byte: names aren't necessarily text.
void Exchange(std::string& path, std::string_view from, std::string_view to) {
  for (auto at = path.find(from); at != path.npos; at = path.find(from, at + to.size())) {
    path.replace(at, from.size(), to);
  }
}

bool HasDriveLetter(std::string_view path) {
  return path.size() >= 2 && path[1] == ':' && ((path[0] | 0x20) >= 'a' && (path[0] | 0x20) <= 'z');
}

bool IsBelowTempDrivePath(std::string_view path) {
  return EqualIgnoringCase(path.substr(0, kTempDrivePath.size()), kTempDrivePath) &&
         (path.size() == kTempDrivePath.size() || path[kTempDrivePath.size()] == '\\');
}

// If several names differ only in letter case, the first one in byte order, whatever the order of the folder. Empty if
// there is none.
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

// True also on errors: another name would be a guess.
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
    const std::string folder = KeptFolderBelow(SystemTempFolder()).string();
    if (folder.empty()) return kNowhere;
    path.replace(0, kTempDrivePath.size(), folder);
  } else if (HasDriveLetter(path)) {
    return kNowhere;
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  return InExistingCapitals(NativeName(path));
}

std::string NativeName(const std::string& core_name) {
  std::string name = core_name;
  Exchange(name, kBackslashInName, "\\");
  return name;
}

bool HasCoreForm(std::string_view native_path) { return native_path.find(kBackslashInName) == native_path.npos; }

std::string CorePath(const std::string& native_path) {
  std::string path = native_path;
  Exchange(path, "\\", kBackslashInName);
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

}  // namespace tsly
