#include "posix/durable_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/io.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

int LastCode() { return CodeOf(errno, kWriteFault); }

// A folder that is writable but not readable can't be flushed.
int SyncFolder(const fs::path& folder) {
  const std::optional<int> error = SyncPath(folder, O_DIRECTORY);
  if (!error && errno == EACCES) return kSuccess;
  return CodeOf(error.value_or(errno), kWriteFault);
}

int WriteNewFile(const fs::path& file, std::string_view content, const struct stat& old, mode_t mode) {
  const Descriptor descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kUserFile));
  if (!descriptor) return LastCode();
  struct stat made {};
  if (fstat(descriptor.Get(), &made) != 0) return LastCode();
  // Only root can change the owner; otherwise the writer becomes the owner. Group rights are for the former group:
  // without it they are removed.
  if (made.st_gid != old.st_gid && fchown(descriptor.Get(), static_cast<uid_t>(-1), old.st_gid) != 0) {
    if (errno != EPERM) return LastCode();
    mode &= ~static_cast<mode_t>(S_IWGRP);
  }
  if (made.st_uid != old.st_uid && fchown(descriptor.Get(), old.st_uid, static_cast<gid_t>(-1)) != 0 &&
      errno != EPERM) {
    return LastCode();
  }
  if (fchmod(descriptor.Get(), mode) != 0) return LastCode();
  if (const int error = WriteAll(descriptor.Get(), content)) return CodeOf(error, kWriteFault);
  return fsync(descriptor.Get()) == 0 ? kSuccess : LastCode();
}

}  // namespace

int MakeFolders(const fs::path& folder, mode_t mode) {
  if (mkdir(folder.c_str(), mode) != 0) {
    if (errno == EEXIST) return kSuccess;
    if (errno != ENOENT || !folder.has_relative_path()) return LastCode();
    const int code = MakeFolders(folder.parent_path(), mode);
    if (code != kSuccess) return code;
    if (mkdir(folder.c_str(), mode) != 0) return errno == EEXIST ? kSuccess : LastCode();
  }
  if (chmod(folder.c_str(), mode) != 0) return LastCode();
  // A killed process may have just created the parent folder.
  const int code = SyncFolder(folder.parent_path());
  return code == kSuccess ? SyncFolder(folder.parent_path().parent_path()) : code;
}

int EnsureFile(const fs::path& file, mode_t mode) {
  // An existing file implies a durable folder, but another process may have just created that folder.
  const fs::path folder = file.parent_path();
  if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) return LastCode();
  if (const int code = SyncFolder(folder.parent_path()); code != kSuccess) return code;
  const Descriptor descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!descriptor) return errno == EEXIST ? kSuccess : LastCode();
  return fchmod(descriptor.Get(), mode) == 0 ? kSuccess : LastCode();
}

int ReplaceFile(const fs::path& file, std::string_view content, mode_t least_mode) {
  std::error_code failure;
  const fs::path target = fs::canonical(file, failure);  // keeps a link
  struct stat old {};
  if (!failure && stat(target.c_str(), &old) != 0) failure.assign(errno, std::generic_category());
  if (failure == std::errc::no_such_file_or_directory) return kSharingViolation;  // removed by another process
  if (failure) return CodeOf(failure.value(), kWriteFault);
  const fs::path fresh = target.native() + "-new";
  unlink(fresh.c_str());  // left by a killed writer
  int code = WriteNewFile(fresh, content, old, (old.st_mode & 0777) | least_mode);
  if (code == kSuccess && rename(fresh.c_str(), target.c_str()) != 0) code = LastCode();
  if (code != kSuccess) {
    unlink(fresh.c_str());
    return code;
  }
  return SyncFolder(target.parent_path());
}

}  // namespace tsly
