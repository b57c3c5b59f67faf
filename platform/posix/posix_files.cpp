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
#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"
#include "posix/wildcards.h"

namespace tsly {
namespace {

constexpr std::size_t kWriteBuffer = 64 * 1024;
constexpr std::size_t kCopyBuffer = 256 * 1024;

std::size_t LastPart(const std::string& native) { return native.rfind('/') + 1; }

std::string ParentOf(const std::string& native) {
  const std::size_t last = LastPart(native);
  return last == 0 ? "." : native.substr(0, last);
}

bool IsFolder(const std::string& native) {
  struct stat status {};
  return stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// errno's code for a call on `native`: a missing file and a missing folder are two things on the platform.
int FailureOn(const std::string& native, int error, int otherwise) {
  if (error == ENOENT && !IsFolder(ParentOf(native))) return kPathNotFound;
  return CodeOf(error, otherwise);
}

// O_NONBLOCK matters to pipes and devices only, which are then refused.
int OpenFile(const std::string& native, int flags, Descriptor& file, mode_t mode = 0666) {
  file = Descriptor(open(native.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode));
  if (!file) return FailureOn(native, errno, kAccessDenied);
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) return CodeOf(errno, kAccessDenied);
  return S_ISREG(status.st_mode) ? kSuccess : kAccessDenied;
}

int ReadSome(const Descriptor& file, std::span<char> buffer, std::size_t& got) {
  ssize_t count = 0;
  do count = read(file.Get(), buffer.data(), buffer.size());
  while (count < 0 && errno == EINTR);
  got = count > 0 ? static_cast<std::size_t>(count) : 0;
  return count < 0 ? CodeOf(errno, kReadFault) : kSuccess;
}

int WriteAll(const Descriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file.Get(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return CodeOf(errno, kWriteFault);
    if (count == 0) return kDiskFull;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return kSuccess;
}

int CloseWritten(Descriptor& file) {
  return file.Close() == 0 || errno == EINTR ? kSuccess : CodeOf(errno, kWriteFault);
}

class PosixFileReader : public FileReader {
 public:
  explicit PosixFileReader(Descriptor file) : file_(std::move(file)) {}
  int Read(std::span<char> buffer, std::size_t& got) override { return ReadSome(file_, buffer, got); }

 private:
  Descriptor file_;
};

// After a failed write nothing more reaches the file: a gap in it would be worse than its being short.
class PosixFileWriter : public FileWriter {
 public:
  explicit PosixFileWriter(Descriptor file) : file_(std::move(file)) { held_.reserve(kWriteBuffer); }

  int Write(std::string_view bytes) override {
    if (!file_) return kInvalidHandle;
    if (held_.size() + bytes.size() > kWriteBuffer) Flush();
    if (bytes.size() >= kWriteBuffer) {
      if (failure_ == kSuccess) failure_ = WriteAll(file_, bytes);
    } else if (failure_ == kSuccess) {
      held_ += bytes;
    }
    return failure_;
  }

  int Close() override {
    if (!file_) return kInvalidHandle;
    Flush();
    const int closing = CloseWritten(file_);
    return failure_ != kSuccess ? failure_ : closing;
  }

 private:
  void Flush() {
    if (failure_ == kSuccess) failure_ = WriteAll(file_, held_);
    held_.clear();
  }

  Descriptor file_;
  std::string held_;
  int failure_ = kSuccess;
};

// A link counts as what it leads to.
bool IsRegular(DIR* folder, const dirent* entry) {
  if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) return entry->d_type == DT_REG;
  struct stat status {};
  return fstatat(dirfd(folder), entry->d_name, &status, 0) == 0 && S_ISREG(status.st_mode);
}

int FindByPattern(const std::string& folder, const std::string& pattern, std::vector<std::string>& names) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (!entries) return errno == ENOENT ? kPathNotFound : CodeOf(errno, kPathNotFound);
  const std::string lower = LowerCase(pattern);
  while (const dirent* entry = readdir(entries.get())) {
    if (FitsPattern(LowerCase(entry->d_name), lower) && IsRegular(entries.get(), entry)) {
      names.emplace_back(entry->d_name);
    }
  }
  std::sort(names.begin(), names.end());
  return names.empty() ? kFileNotFound : kSuccess;
}

int FindByName(const std::string& native, std::vector<std::string>& names) {
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return FailureOn(native, errno, kFileNotFound);
  if (!S_ISREG(status.st_mode)) return kFileNotFound;
  names.push_back(native.substr(LastPart(native)));
  return kSuccess;
}

// Opens the target of a copy, and tells whether it is new.
int OpenTarget(const std::string& native, mode_t mode, Descriptor& target, bool& is_new) {
  const int code = OpenFile(native, O_WRONLY | O_CREAT | O_EXCL, target, mode);
  is_new = code == kSuccess;
  return code == kAlreadyExists ? OpenFile(native, O_WRONLY, target) : code;
}

int CopyContents(const Descriptor& source, Descriptor& target) {
  if (ftruncate(target.Get(), 0) != 0) return CodeOf(errno, kWriteFault);
  const auto buffer = std::make_unique<std::array<char, kCopyBuffer>>();
  for (;;) {
    std::size_t got = 0;
    if (const int code = ReadSome(source, *buffer, got); code != kSuccess) return code;
    if (got == 0) return CloseWritten(target);
    if (const int code = WriteAll(target, {buffer->data(), got}); code != kSuccess) return code;
  }
}

// Never replaces a file, not even one that another process makes at this moment; where the file system can't promise
// that, it is looked for first.
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
  // A change of nothing but capitals finds the file itself as its target.
  if (target == source) target.replace(LastPart(target), std::string::npos, to, to.find_last_of("\\/") + 1);
  if (RenameToNewName(source, target) == 0) return kSuccess;
  const int error = errno;
  return error == ENOENT && !IsFolder(ParentOf(target)) ? kPathNotFound : FailureOn(source, error, kAccessDenied);
}

int PosixFiles::Copy(const std::string& from, const std::string& to) {
  const std::string source_path = NativePath(from), target_path = NativePath(to);
  Descriptor source, target;
  bool is_new = false;
  struct stat source_status {
  }, target_status{};
  if (const int code = OpenFile(source_path, O_RDONLY, source); code != kSuccess) return code;
  if (fstat(source.Get(), &source_status) != 0) return CodeOf(errno, kReadFault);
  const mode_t mode = source_status.st_mode & 0777;
  if (const int code = OpenTarget(target_path, mode, target, is_new); code != kSuccess) return code;
  if (fstat(target.Get(), &target_status) != 0) return CodeOf(errno, kWriteFault);
  if (source_status.st_dev == target_status.st_dev && source_status.st_ino == target_status.st_ino) {
    return kSharingViolation;  // onto itself: truncating the target would lose the contents
  }
  const int code = CopyContents(source, target);
  if (code != kSuccess && is_new) unlink(target_path.c_str());
  return code;
}

int PosixFiles::MakeFolder(const std::string& path) {
  const std::string native = NativePath(path);
  if (mkdir(native.c_str(), 0777) == 0) return kSuccess;
  return errno == ENOENT ? kPathNotFound : CodeOf(errno, kAccessDenied);
}

int PosixFiles::Append(const std::string& path, std::string_view text) {
  Descriptor file;
  if (const int code = OpenFile(NativePath(path), O_WRONLY | O_APPEND | O_CREAT, file); code != kSuccess) return code;
  const ssize_t count = write(file.Get(), text.data(), text.size());
  if (count < 0) return CodeOf(errno, kWriteFault);
  if (static_cast<std::size_t>(count) != text.size()) return kDiskFull;
  return CloseWritten(file);
}

int PosixFiles::Length(const std::string& path, std::int64_t& length) {
  const std::string native = NativePath(path);
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return FailureOn(native, errno, kAccessDenied);
  if (!S_ISREG(status.st_mode)) return kAccessDenied;
  length = status.st_size;
  return kSuccess;
}

int PosixFiles::OpenForReading(const std::string& path, std::unique_ptr<FileReader>& reader) {
  Descriptor file;
  if (const int code = OpenFile(NativePath(path), O_RDONLY, file); code != kSuccess) return code;
  reader = std::make_unique<PosixFileReader>(std::move(file));
  return kSuccess;
}

int PosixFiles::OpenForWriting(const std::string& path, std::unique_ptr<FileWriter>& writer) {
  Descriptor file;
  if (const int code = OpenFile(NativePath(path), O_WRONLY | O_CREAT, file); code != kSuccess) return code;
  writer = std::make_unique<PosixFileWriter>(std::move(file));
  return kSuccess;
}

}  // namespace tsly
