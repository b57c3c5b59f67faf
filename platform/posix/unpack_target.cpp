#include "posix/unpack_target.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <numeric>

#include "base/text.h"

namespace tsly {
namespace {

constexpr int kStep = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct PathSplit {
  std::string_view folder;  // "" or "a/b/"
  std::string name;
};

PathSplit SplitPath(std::string_view path) {
  const std::size_t start = path.rfind('/') + 1;
  return {path.substr(0, start), std::string(path.substr(start))};
}

template <typename Visitor>
void ForEachName(int folder, Visitor visit) {
  const int listed = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(listed < 0 ? nullptr : fdopendir(listed), closedir);
  if (!entries) return;
  while (const dirent* entry = readdir(entries.get())) visit(entry->d_name);
}

int ErrorOf(int returned) { return returned < 0 ? errno : 0; }

}  // namespace

int FolderChain::Enter(std::string_view folder) {
  std::size_t depth = 1;
  while (!folder.empty()) {
    const std::size_t end = std::min(folder.find('/'), folder.size());
    const std::string name(folder.substr(0, end));
    folder.remove_prefix(std::min(end + 1, folder.size()));
    if (name.empty()) continue;
    if (depth >= levels_.size() || levels_[depth].name != name) {
      levels_.erase(levels_.begin() + static_cast<std::ptrdiff_t>(depth), levels_.end());
      if (const int error = EnterChild(name)) return error;
    }
    ++depth;
  }
  levels_.erase(levels_.begin() + static_cast<std::ptrdiff_t>(depth), levels_.end());
  return 0;
}

int FolderChain::EnterChild(const std::string& name) {
  Descriptor child(openat(Present(), name.c_str(), kStep));
  bool is_new = false;
  if (!child && errno == ENOENT) {
    std::string spelled = InOtherCapitals(name);
    if (spelled.empty()) {
      if (mkdirat(Present(), name.c_str(), 0777) < 0) return errno;
      is_new = true;
      spelled = name;
      std::string path;
      for (std::size_t i = 1; i < levels_.size(); ++i) path += levels_[i].name + '/';
      made_.push_back(path + name);
    }
    child = Descriptor(openat(Present(), spelled.c_str(), kStep));
  }
  if (!child) return errno;
  levels_.push_back({name, std::move(child), is_new, {}, false});
  return 0;
}

std::string FolderChain::InOtherCapitals(const std::string& name) {
  Level& level = levels_.back();
  if (level.is_new) return {};
  if (!level.is_listed) {
    level.is_listed = true;
    ForEachName(Present(), [&level](const char* found) {
      // Of several names that differ in their capitals the first in byte order counts, as everywhere.
      std::string& spelled = level.spelled[LowerCase(found)];
      if (spelled.empty() || found < spelled) spelled = found;
    });
  }
  const auto found = level.spelled.find(LowerCase(name));
  return found == level.spelled.end() ? std::string() : found->second;
}

std::string FolderChain::Find(const std::string& name) {
  struct stat status {};
  const bool is_there = fstatat(Present(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  return is_there ? name : InOtherCapitals(name);
}

int FolderChain::RemoveMade() {
  int first_error = 0;
  while (!made_.empty()) {
    const std::string path = std::move(made_.back());
    made_.pop_back();  // before Enter, which adds what it makes anew
    const auto [folder, name] = SplitPath(path);
    int error = Enter(folder);
    if (error == 0) error = ErrorOf(unlinkat(Present(), name.c_str(), AT_REMOVEDIR));
    if (first_error == 0) first_error = error;
  }
  return first_error;
}

UnpackTarget::~UnpackTarget() {
  if (!staging_ || !left_behind_.empty()) return;
  ForEachName(staging_.Get(), [this](const char* name) { unlinkat(staging_.Get(), name, 0); });
  unlinkat(root_.Get(), staging_name_.c_str(), AT_REMOVEDIR);
}

int UnpackTarget::Open(std::string folder) {
  if (folder.empty()) return ENOENT;
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  for (;;) {
    root_ = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (root_) break;
    if (errno != ENOENT || folder == "." || folder == "/") return errno;
    const auto [parent, name] = SplitPath(folder);
    if (!name.empty()) missing_.insert(0, name + '/');
    folder = parent.empty() ? "." : parent == "/" ? "/" : std::string(parent.substr(0, parent.size() - 1));
  }
  root_path_ = folder;
  return 0;
}

int UnpackTarget::MakeStaging() {
  std::string staging = root_path_ + "/.tsly-unpack-XXXXXX";
  if (mkdtemp(staging.data()) == nullptr) return errno;
  staging_name_ = SplitPath(staging).name;
  staging_ = Descriptor(openat(root_.Get(), staging_name_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  return staging_ ? 0 : errno;
}

std::int64_t UnpackTarget::FreeBytes() const {
  struct statvfs space {};
  if (fstatvfs(root_.Get(), &space) < 0) return 0;
  return static_cast<std::int64_t>(space.f_bavail * space.f_frsize);
}

Descriptor UnpackTarget::Create(std::size_t index, bool is_executable) {
  return Descriptor(openat(staging_.Get(), std::to_string(index).c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, is_executable ? 0777 : 0666));
}

UnpackTarget::Outcome UnpackTarget::Place(std::span<const std::string> paths, bool replace) {
  // What is put in place is on the disk by then: the caller records what it installed, and that must not outlive the
  // files when the power fails.
  if (syncfs(staging_.Get()) < 0) return {errno, paths.size()};
  FolderChain chain{Descriptor(fcntl(root_.Get(), F_DUPFD_CLOEXEC, 0))};
  Outcome outcome{chain.Enter(missing_), paths.size()};

  // In the order of the paths each folder is entered once.
  std::vector<std::size_t> order(paths.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, {}, [paths](std::size_t index) { return std::string_view(paths[index]); });
  for (auto index = order.begin(); outcome.error == 0 && index != order.end(); ++index) {
    if (paths[*index].empty()) continue;
    outcome = {PlaceOne(chain, missing_ + paths[*index], *index, replace), *index};
  }
  if (outcome.error != 0 && Undo(chain, paths) != 0) left_behind_ = root_path_ + '/' + staging_name_;
  return outcome;
}

int UnpackTarget::PlaceOne(FolderChain& chain, const std::string& path, std::size_t index, bool replace) {
  const auto [folder, name] = SplitPath(path);
  if (const int error = chain.Enter(folder)) return error;
  if (name.empty()) return 0;

  const std::string staged = std::to_string(index);
  const std::string present = chain.Find(name);
  if (!present.empty() && !replace) return 0;
  Placed placed{index, present.empty() ? name : present, ""};
  const int error = present.empty() ? ErrorOf(renameat(staging_.Get(), staged.c_str(), chain.Present(), name.c_str()))
                                    : Swap(staged, chain.Present(), present, placed.former);
  if (error == 0) placed_.push_back(std::move(placed));
  return error;
}

// The staged file takes the place of the one in the folder, which goes into staging, there called `former`.
int UnpackTarget::Swap(const std::string& staged, int folder, const std::string& name, std::string& former) {
  struct stat status {};
  if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) < 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  // The file's owner and the rights that he gave it stay; a pack made where there are none of these says nothing of
  // them. A file that can't be given to its former owner must not be closed to him either.
  struct stat ours {};
  if (S_ISREG(status.st_mode) && fstatat(staging_.Get(), staged.c_str(), &ours, AT_SYMLINK_NOFOLLOW) == 0) {
    const bool same_owner = status.st_uid == ours.st_uid || fchownat(staging_.Get(), staged.c_str(), status.st_uid,
                                                                     status.st_gid, AT_SYMLINK_NOFOLLOW) == 0;
    mode_t mode = (same_owner ? status.st_mode : ours.st_mode | (status.st_mode & 0111)) & 0777;
    if ((ours.st_mode & 0100) != 0) mode |= (mode & 0444) >> 2;  // who may read it may run it
    fchmodat(staging_.Get(), staged.c_str(), mode, 0);
  }
  former = staged;
  if (renameat2(staging_.Get(), staged.c_str(), folder, name.c_str(), RENAME_EXCHANGE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;

  // A file system that can't exchange two names.
  former = staged + ".former";
  if (renameat(folder, name.c_str(), staging_.Get(), former.c_str()) < 0) return errno;
  if (renameat(staging_.Get(), staged.c_str(), folder, name.c_str()) == 0) return 0;
  const int error = errno;
  if (renameat(staging_.Get(), former.c_str(), folder, name.c_str()) < 0) {
    left_behind_ = root_path_ + '/' + staging_name_;
  }
  return error;
}

int UnpackTarget::Undo(FolderChain& chain, std::span<const std::string> paths) {
  int first_error = 0;
  for (; !placed_.empty(); placed_.pop_back()) {
    const auto& [index, name, former] = placed_.back();
    int error = chain.Enter(missing_ + std::string(SplitPath(paths[index]).folder));
    if (error == 0 && !former.empty()) {
      error = ErrorOf(renameat(staging_.Get(), former.c_str(), chain.Present(), name.c_str()));
    } else if (error == 0) {
      error = ErrorOf(unlinkat(chain.Present(), name.c_str(), 0));
    }
    if (first_error == 0) first_error = error;
  }
  const int error = chain.RemoveMade();
  return first_error != 0 ? first_error : error;
}

}  // namespace tsly
