#include "posix/unpack_target.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>
#include <numeric>

#include "base/text.h"
#include "posix/io.h"

namespace tsly {
namespace {

constexpr int kStep = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr char kStaging[] = ".tsly-unpack-";
constexpr char kLeftBehind[] = ".tsly-former-";
// Writable for the user, readable for all, regardless of the umask: one user installs packs for all users.
constexpr mode_t kProgram = 0755, kFile = 0644;

struct PathSplit {
  std::string_view folder;  // "" or "a/b/"
  std::string name;
};

PathSplit SplitPath(std::string_view path) {
  const std::size_t start = path.rfind('/') + 1;
  return {path.substr(0, start), std::string(path.substr(start))};
}

// Skips "." and "..".
template <typename Visitor>
int ForEachName(int folder, Visitor visit) {
  Descriptor listed(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listed) return errno;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(listed.Get()), closedir);
  if (!entries) return errno;
  listed.Release();
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(entries.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") visit(entry->d_name);
  }
}

int ErrorOf(int returned) { return returned < 0 ? errno : 0; }

// Restores what the umask removed. On a file system without rights all files have the same ones.
int GiveRights(int file, mode_t rights) {
  struct stat status {};
  if (fstat(file, &status) < 0) return errno;
  if ((status.st_mode & rights) == rights || fchmod(file, (status.st_mode & 07777) | rights) == 0) return 0;
  return errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
}

// Whether `folder` is still the folder `name` in `parent`.
bool IsNamed(int folder, int parent, const std::string& name) {
  struct stat ours {
  }, there{};
  return fstat(folder, &ours) == 0 && fstatat(parent, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
         IsSameFile(ours, there);
}

// Staged and former files have numbers as names. A file with any other name may be the only copy, so nothing in such a
// folder is removed.
bool MayGo(int staging) {
  bool only_numbers = true;
  const int error = ForEachName(staging, [&only_numbers](std::string_view name) {
    only_numbers = only_numbers && name.find_first_not_of("0123456789") == name.npos;
  });
  return error == 0 && only_numbers;
}

// Retries after a failure: the next unpacking into this folder may be a long time away, and nothing else removes it.
void Remove(int staging, int parent, const std::string& name) {
  for (int tries = 2; tries > 0; --tries) {
    ForEachName(staging, [staging](const char* file) { unlinkat(staging, file, 0); });
    if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) return;
  }
}

// Removes the staging folders of this user's killed processes.
void RemoveAbandoned(int parent) {
  ForEachName(parent, [parent](const char* name) {
    if (!std::string_view(name).starts_with(kStaging)) return;
    const Descriptor staging(openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!staging || fstat(staging.Get(), &status) < 0 || status.st_uid != geteuid() || (status.st_mode & 077) != 0) {
      return;
    }
    if (flock(staging.Get(), LOCK_EX | LOCK_NB) < 0 || !IsNamed(staging.Get(), parent, name)) return;
    if (MayGo(staging.Get())) Remove(staging.Get(), parent, name);
  });
}

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
    std::string spelled;
    if (const int error = InOtherCapitals(name, spelled)) return error;
    if (spelled.empty()) {
      is_new = mkdirat(Present(), name.c_str(), kProgram) == 0;
      if (!is_new && errno != EEXIST) return errno;  // another process may have created it meanwhile
      if (is_new) NoteMade(name);
      spelled = name;
    }
    child = Descriptor(openat(Present(), spelled.c_str(), kStep));
  }
  if (!child) return errno;
  if (is_new) {
    const Descriptor made(openat(child.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!made) return errno;
    if (const int error = GiveRights(made.Get(), kProgram)) return error;
  }
  levels_.push_back({name, std::move(child), is_new, {}, false});
  return 0;
}

void FolderChain::NoteMade(const std::string& name) {
  std::string path;
  for (std::size_t i = 1; i < levels_.size(); ++i) path += levels_[i].name + '/';
  made_.push_back(path + name);
}

int FolderChain::InOtherCapitals(const std::string& name, std::string& spelled) {
  spelled.clear();
  Level& level = levels_.back();
  if (level.is_new) return 0;
  if (!level.is_listed) {
    const int error = ForEachName(Present(), [&level](const char* found) {
      // If names differ only in letter case, the first in byte order counts, as everywhere.
      std::string& first = level.spelled[LowerCase(found)];
      if (first.empty() || found < first) first = found;
    });
    if (error != 0) return error;
    level.is_listed = true;
  }
  const auto found = level.spelled.find(LowerCase(name));
  if (found != level.spelled.end()) spelled = found->second;
  return 0;
}

int FolderChain::Find(const std::string& name, std::string& spelled) {
  struct stat status {};
  if (fstatat(Present(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) < 0) {
    return errno == ENOENT ? InOtherCapitals(name, spelled) : errno;
  }
  spelled = name;
  return 0;
}

void FolderChain::RemoveMade() {
  while (!made_.empty()) {
    const std::string path = std::move(made_.back());
    made_.pop_back();  // before Enter, which adds what it creates
    const auto [folder, name] = SplitPath(path);
    if (Enter(folder) == 0) unlinkat(Present(), name.c_str(), AT_REMOVEDIR);
  }
}

UnpackTarget::~UnpackTarget() {
  if (staging_ && left_behind_.empty()) Remove(staging_.Get(), Target(), staging_name_);
  if (chain_ && !is_done_) chain_->RemoveMade();
}

int UnpackTarget::Open(std::string folder) {
  if (folder.empty()) return ENOENT;
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  if (folder == "/") return EPERM;
  for (;;) {
    target_ = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (target_) break;
    if (errno != ENOENT || folder == "." || folder == "/") return errno;
    const auto [parent, name] = SplitPath(folder);
    if (!name.empty()) missing_.insert(0, name + '/');
    folder = parent.empty() ? "." : parent == "/" ? "/" : std::string(parent.substr(0, parent.size() - 1));
  }
  root_path_ = folder;
  return 0;
}

std::int64_t UnpackTarget::FreeBytes() const {
  struct statvfs space {};
  if (fstatvfs(Target(), &space) < 0) return 0;
  return static_cast<std::int64_t>(space.f_bavail * space.f_frsize);
}

int UnpackTarget::MakeStaging() {
  Descriptor root(fcntl(Target(), F_DUPFD_CLOEXEC, 0));
  if (!root) return errno;
  chain_.emplace(std::move(root));
  if (const int error = chain_->Enter(missing_)) return error;
  target_ = Descriptor(fcntl(chain_->Present(), F_DUPFD_CLOEXEC, 0));
  if (!target_) return errno;
  RemoveAbandoned(Target());

  for (int left = 100; left > 0; --left) {
    std::uint32_t number = 0;
    if (getrandom(&number, sizeof number, 0) < 0) return errno;
    staging_name_ = kStaging + std::to_string(number);
    if (mkdirat(Target(), staging_name_.c_str(), 0700) < 0) {
      if (errno == EEXIST) continue;
      return errno;
    }
    const int error = LockStaging();
    if (error == 0) return 0;
    staging_ = Descriptor();
    unlinkat(Target(), staging_name_.c_str(), AT_REMOVEDIR);
    if (error != EWOULDBLOCK) return error;
  }
  return EEXIST;
}

// EWOULDBLOCK: another process treated the new folder as abandoned before it was locked.
int UnpackTarget::LockStaging() {
  staging_ = Descriptor(openat(Target(), staging_name_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!staging_) return errno == ENOENT ? EWOULDBLOCK : errno;
  // Without lock support no other process gets the lock either.
  if (flock(staging_.Get(), LOCK_EX | LOCK_NB) < 0 && errno != EOPNOTSUPP && errno != ENOSYS) return errno;
  return IsNamed(staging_.Get(), Target(), staging_name_) ? 0 : EWOULDBLOCK;
}

Descriptor UnpackTarget::Create(std::size_t index, bool is_executable) {
  const mode_t rights = is_executable ? kProgram : kFile;
  Descriptor file(openat(staging_.Get(), std::to_string(index).c_str(),
                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, rights));
  if (file) errno = GiveRights(file.Get(), rights);
  return file && errno == 0 ? std::move(file) : Descriptor();
}

// Waits while another process places its files or undoes that, so that versions don't mix. EWOULDBLOCK after half a
// minute, because the other process may hang.
int UnpackTarget::LockTarget() {
  constexpr timespec kPause{0, 50'000'000};
  lock_ = Descriptor(openat(Target(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock_) return errno;
  for (int left = 600; flock(lock_.Get(), LOCK_EX | LOCK_NB) < 0; --left) {
    if (errno == EOPNOTSUPP || errno == ENOSYS) return 0;  // no other process gets a lock there either
    if (errno != EWOULDBLOCK || left == 0) return errno;
    nanosleep(&kPause, nullptr);
  }
  return 0;
}

// The caller records the version next, and after a power failure that record must not exist without the files. So
// contents are flushed before the renames, and the renames before success is reported. Flushes the whole file system,
// because file systems store the renames of single folders in different orders; the second flush has little to write.
UnpackTarget::Outcome UnpackTarget::Place(std::span<const std::string> paths, bool replace) {
  Outcome outcome{ErrorOf(syncfs(staging_.Get())), paths.size()};
  if (outcome.error == 0) outcome.error = LockTarget();
  if (outcome.error == 0) outcome.error = PlaceAll(paths, replace, outcome.index);
  if (outcome.error == 0) outcome.error = ErrorOf(syncfs(staging_.Get()));
  is_done_ = outcome.error == 0;
  if (is_done_) {
    lock_ = Descriptor();
  } else {
    Undo(paths);  // keeps the lock until the new folders are removed
  }
  return outcome;
}

// `index`: the path of an error.
int UnpackTarget::PlaceAll(std::span<const std::string> paths, bool replace, std::size_t& index) {
  // In the order of the paths, to enter each folder only once.
  std::vector<std::size_t> order(paths.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, {}, [paths](std::size_t at) { return std::string_view(paths[at]); });
  for (const std::size_t at : order) {
    if (paths[at].empty()) continue;
    if (const int error = PlaceOne(missing_ + paths[at], at, replace)) return index = at, error;
  }
  return 0;
}

int UnpackTarget::PlaceOne(const std::string& path, std::size_t index, bool replace) {
  const auto [folder, name] = SplitPath(path);
  if (const int error = chain_->Enter(folder)) return error;
  if (name.empty()) return 0;

  const std::string staged = std::to_string(index);
  std::string present;
  if (const int error = chain_->Find(name, present)) return error;
  if (!present.empty() && !replace) return 0;
  struct stat file {};
  if (fstatat(staging_.Get(), staged.c_str(), &file, AT_SYMLINK_NOFOLLOW) < 0) return errno;
  Placed placed{index, file.st_ino, present.empty() ? name : present, ""};
  const int error = present.empty() ? ErrorOf(renameat(staging_.Get(), staged.c_str(), chain_->Present(), name.c_str()))
                                    : Swap(staged, chain_->Present(), present, placed.former);
  if (error == 0) placed_.push_back(std::move(placed));
  return error;
}

// Keeps the file's owner and rights; a pack from a system without them has none. If the file can't get its former
// owner, that owner keeps access.
int UnpackTarget::KeepRights(const std::string& staged, const struct stat& former) {
  struct stat ours {};
  if (fstatat(staging_.Get(), staged.c_str(), &ours, AT_SYMLINK_NOFOLLOW) < 0) return errno;
  const bool same_owner =
      (former.st_uid == ours.st_uid && former.st_gid == ours.st_gid) ||
      fchownat(staging_.Get(), staged.c_str(), former.st_uid, former.st_gid, AT_SYMLINK_NOFOLLOW) == 0 ||
      former.st_uid == ours.st_uid;
  mode_t mode = (same_owner ? former.st_mode : ours.st_mode | (former.st_mode & 0111)) & 0777;
  if ((ours.st_mode & 0100) != 0) mode |= (mode & 0444) >> 2;  // execute rights follow read rights
  if (mode == (ours.st_mode & 0777)) return 0;
  return ErrorOf(fchmodat(staging_.Get(), staged.c_str(), mode, 0));
}

// Exchanges the staged file and the one in the folder, which gets the name `former` in staging.
int UnpackTarget::Swap(const std::string& staged, int folder, const std::string& name, std::string& former) {
  struct stat status {};
  if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) < 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (S_ISREG(status.st_mode)) {
    if (const int error = KeepRights(staged, status)) return error;
  }
  former = staged;
  if (renameat2(staging_.Get(), staged.c_str(), folder, name.c_str(), RENAME_EXCHANGE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;

  // For a file system that can't exchange two names. Between the first two renames the user's file is only in staging;
  // its name protects it from removal if this process ends meanwhile.
  const std::string only_copy = staged + ".former";
  if (renameat(folder, name.c_str(), staging_.Get(), only_copy.c_str()) < 0) return errno;
  if (renameat(staging_.Get(), staged.c_str(), folder, name.c_str()) < 0) {
    const int error = errno;
    if (renameat(staging_.Get(), only_copy.c_str(), folder, name.c_str()) < 0) LeaveBehind();
    return error;
  }
  if (renameat(staging_.Get(), only_copy.c_str(), staging_.Get(), former.c_str()) < 0) former = only_copy;
  return 0;
}

void UnpackTarget::Undo(std::span<const std::string> paths) {
  bool is_lost = false;
  for (; !placed_.empty(); placed_.pop_back()) {
    const auto& [index, file, name, former] = placed_.back();
    struct stat now {};
    int error = chain_->Enter(missing_ + std::string(SplitPath(paths[index]).folder));
    if (error == 0 && fstatat(chain_->Present(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) < 0 && errno != ENOENT) {
      error = errno;
    }
    if (now.st_ino != 0 && now.st_ino != file) continue;  // replaced by another process, which may have recorded it
    if (former.empty()) {
      if (error == 0) unlinkat(chain_->Present(), name.c_str(), 0);
    } else if (error != 0 || renameat(staging_.Get(), former.c_str(), chain_->Present(), name.c_str()) < 0) {
      is_lost = true;
    }
  }
  if (is_lost) LeaveBehind();
}

// Staging has user files that couldn't be restored: keeps it under a new name.
void UnpackTarget::LeaveBehind() {
  if (!left_behind_.empty()) return;
  const std::string kept = kLeftBehind + staging_name_.substr(std::string_view(kStaging).size());
  if (renameat(Target(), staging_name_.c_str(), Target(), kept.c_str()) == 0) staging_name_ = kept;
  left_behind_ = root_path_ + '/' + missing_ + staging_name_;
}

}  // namespace tsly
