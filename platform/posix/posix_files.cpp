#include "posix/posix_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "base/text.h"
#include "common/name_pattern.h"
#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/io.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"
#include "posix/posix_new_file.h"

namespace tsly {
namespace {

constexpr std::size_t kCopyBuffer = 256 * 1024;

bool IsFolder(const std::string& native) {
  struct stat status {};
  return stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The code of errno for a call on `native`: the platform distinguishes a missing file from a missing folder.
int FailureOn(const std::string& native, int error, int otherwise) {
  if (error == ENOENT && !IsFolder(ParentOf(native))) return kPathNotFound;
  return CodeOf(error, otherwise);
}

// O_NONBLOCK only affects pipes and devices, which are refused afterwards.
int OpenRegular(const std::string& native, int flags, Descriptor& file, mode_t mode = 0666) {
  file = Descriptor(open(native.c_str(), flags | kNoWaiting, mode));
  if (!file && errno == ELOOP && (flags & O_NOFOLLOW) != 0) return kAccessDenied;
  if (!file) return FailureOn(native, errno, kAccessDenied);
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) return CodeOf(errno, kAccessDenied);
  return S_ISREG(status.st_mode) ? kSuccess : kAccessDenied;
}

// Otherwise a power cut could keep a rename and lose the contents of the file.
int Sync(const std::string& native, int flags = 0) { return CodeOf(SyncPath(native, flags).value_or(0), kWriteFault); }

// Follows links.
bool IsRegular(DIR* folder, const dirent* entry) {
  if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) return entry->d_type == DT_REG;
  struct stat status {};
  return fstatat(dirfd(folder), entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode);
}

int FindByPattern(const std::string& folder, const std::string& pattern, std::vector<std::string>& names) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (!entries) return errno == ENOENT ? kPathNotFound : CodeOf(errno, kPathNotFound);
  const std::string lower = LowerCase(pattern);
  errno = 0;
  while (const dirent* entry = readdir(entries.get())) {
    if (FitsNamePattern(LowerCase(entry->d_name), lower) && IsRegular(entries.get(), entry)) {
      names.push_back(CorePath(entry->d_name));
    }
    errno = 0;
  }
  if (errno != 0) return CodeOf(errno, kReadFault);
  std::sort(names.begin(), names.end());
  return names.empty() ? kFileNotFound : kSuccess;
}

int FindByName(const std::string& native, std::vector<std::string>& names) {
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return FailureOn(native, errno, kFileNotFound);
  if (!S_ISREG(status.st_mode)) return kFileNotFound;
  names.push_back(CorePath(native.substr(LastPart(native))));
  return kSuccess;
}

template <typename Write>
int CopyContents(const Descriptor& source, Write write_piece) {
  const auto buffer = std::make_unique<std::array<char, kCopyBuffer>>();
  for (;;) {
    std::size_t got = 0;
    if (const int code = ReadPiece(source.Get(), *buffer, got); code != kSuccess) return code;
    if (got == 0) return kSuccess;
    if (const int code = write_piece(std::string_view(buffer->data(), got)); code != kSuccess) return code;
  }
}

// For a writable file in a folder that isn't writable.
int CopyInPlace(const Descriptor& source, const std::string& native) {
  Descriptor target;
  if (const int code = OpenRegular(native, O_WRONLY | O_NOFOLLOW, target); code != kSuccess) return code;
  if (ftruncate(target.Get(), 0) != 0) return CodeOf(errno, kWriteFault);
  const auto write_piece = [&](std::string_view piece) { return CodeOf(WriteAll(target.Get(), piece), kWriteFault); };
  if (const int code = CopyContents(source, write_piece); code != kSuccess) return code;
  if (fsync(target.Get()) != 0) return CodeOf(errno, kWriteFault);
  return CloseWritten(target);
}

// Refuses files that other users could have placed there or given a second name.
bool IsOwnFile(const Descriptor& file, const std::string& native) {
  struct stat status {
  }, folder{};
  return fstat(file.Get(), &status) == 0 && status.st_nlink <= 1 &&
         (status.st_uid == geteuid() ||
          (stat(ParentOf(native).c_str(), &folder) == 0 && status.st_uid == folder.st_uid));
}

// Appends all of `text` or nothing, because a partial line would break the next one. Keeps what other processes append
// meanwhile.
int AppendWhole(const Descriptor& file, std::string_view text) {
  off_t begin = 0, written = 0;
  int code = kSuccess;
  while (code == kSuccess && !text.empty()) {
    const ssize_t count = write(file.Get(), text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) code = count < 0 ? CodeOf(errno, kWriteFault) : kDiskFull;
    if (count <= 0) continue;
    if (written == 0) begin = lseek(file.Get(), 0, SEEK_CUR) - count;
    written += count;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  if (code == kSuccess || written == 0) return code;
  struct stat status {};
  const off_t end = lseek(file.Get(), 0, SEEK_CUR);
  const bool is_last = fstat(file.Get(), &status) == 0 && status.st_size == end && end - begin == written;
  if (is_last && ftruncate(file.Get(), begin) != 0) return CodeOf(errno, code);
  return code;
}

// Never replaces a file, not even one that another process creates at the same time; if the file system can't guarantee
// that, checks first.
int RenameToNewName(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  struct stat status {};
  if (lstat(to.c_str(), &status) != 0) return rename(from.c_str(), to.c_str());
  errno = EEXIST;
  return -1;
}

}  // namespace

int PosixFiles::Find(const std::string& pattern, std::vector<std::string>& names) {
  names.clear();
  const std::string native = NativePath(pattern);
  const std::string last = native.substr(LastPart(native));
  return HasWildcards(last) ? FindByPattern(ParentOf(native), last, names) : FindByName(native, names);
}

int PosixFiles::Delete(const std::string& path) {
  const std::string native = NativePath(path);
  return unlink(native.c_str()) == 0 ? kSuccess : FailureOn(native, errno, kAccessDenied);
}

int PosixFiles::Rename(const std::string& from, const std::string& to) {
  const std::string source = NativePath(from);
  std::string target = NativePath(to);
  // A change of letter case only finds the file itself as its target.
  if (target == source) target = ParentOf(source) + NativeName(to.substr(to.find_last_of("\\/") + 1));
  if (const int code = Sync(source); code != kSuccess) return code;
  if (RenameToNewName(source, target) == 0) return Sync(ParentOf(target), O_DIRECTORY);
  const int error = errno;
  return error == ENOENT && !IsFolder(ParentOf(target)) ? kPathNotFound : FailureOn(source, error, kAccessDenied);
}

int PosixFiles::Copy(const std::string& from, const std::string& to) {
  const std::string source_path = NativePath(from), target_path = NativePath(to);
  Descriptor source;
  struct stat model {
  }, target{};
  if (const int code = OpenRegular(source_path, O_RDONLY, source); code != kSuccess) return code;
  if (fstat(source.Get(), &model) != 0) return CodeOf(errno, kReadFault);
  if (stat(target_path.c_str(), &target) == 0 && IsSameFile(model, target)) return kSharingViolation;
  const bool replaces = lstat(target_path.c_str(), &target) == 0 && S_ISREG(target.st_mode);

  PosixNewFile copy(target_path);
  const int code = copy.Open();
  if (code == kAccessDenied && replaces) return CopyInPlace(source, target_path);
  if (code != kSuccess) return code;
  std::shared_ptr<OpenFile> stored;
  if (const int failure = CopyContents(source, [&](std::string_view piece) { return copy.Write(piece); })) {
    return failure;
  }
  if (const int failure = copy.Settle(replaces ? &target : nullptr, model)) return failure;
  if (const int failure = copy.Commit(stored)) return failure;
  return Sync(ParentOf(target_path), O_DIRECTORY);
}

int PosixFiles::MakeFolder(const std::string& path, FolderUse use) {
  const std::string native = NativePath(path);
  if (mkdir(native.c_str(), use == FolderUse::kUserAlone ? 0700 : 0755) != 0) {
    return errno == ENOENT ? kPathNotFound : CodeOf(errno, kAccessDenied);
  }
  if (use == FolderUse::kUserAlone) return kSuccess;
  // Restores the rights that the umask removed.
  const Descriptor folder(open(native.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  return folder && fchmod(folder.Get(), 0755) == 0 ? kSuccess : CodeOf(errno, kAccessDenied);
}

int PosixFiles::Append(const std::string& path, std::string_view text) {
  const std::string native = NativePath(path);
  Descriptor file;
  const int code = OpenRegular(native, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW, file, kUserFile);
  if (code != kSuccess) return code;
  if (!IsOwnFile(file, native)) return kAccessDenied;
  const int written = AppendWhole(file, text), closed = CloseWritten(file);
  return written != kSuccess ? written : closed;
}

int PosixFiles::MakeEmptyFile(const std::string& path) {
  Descriptor file;
  return OpenRegular(NativePath(path), O_WRONLY | O_CREAT | O_EXCL, file, kUserFile);
}

int PosixFiles::Create(const std::string& path, std::unique_ptr<NewFile>& file) {
  auto created = std::make_unique<PosixNewFile>(NativePath(path));
  const int code = created->Open();
  if (code == kSuccess) file = std::move(created);
  return code;
}

int PosixFiles::OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) {
  Descriptor opened;
  if (const int code = OpenRegular(NativePath(path), O_RDONLY, opened); code != kSuccess) return code;
  file = std::make_shared<PosixOpenFile>(std::move(opened));
  return kSuccess;
}

}  // namespace tsly
