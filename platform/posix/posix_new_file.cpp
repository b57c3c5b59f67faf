#include "posix/posix_new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "posix/io.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

constexpr std::size_t kWriteBuffer = 64 * 1024;

}  // namespace

std::size_t LastPart(const std::string& native) { return native.rfind('/') + 1; }

std::string ParentOf(const std::string& native) {
  const std::size_t last = LastPart(native);
  return last == 0 ? "." : native.substr(0, last);
}

int CloseWritten(Descriptor& file) {
  return file.Close() == 0 || errno == EINTR ? kSuccess : CodeOf(errno, kWriteFault);
}

int PosixOpenFile::Length(std::int64_t& length) {
  struct stat status {};
  if (fstat(file_.Get(), &status) != 0) return CodeOf(errno, kReadFault);
  length = status.st_size;
  return kSuccess;
}

int PosixOpenFile::ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) {
  return ReadPieceAt(file_.Get(), offset, buffer, got);
}

bool PosixOpenFile::IsAt(const std::string& path) {
  struct stat ours {
  }, there{};
  return fstat(file_.Get(), &ours) == 0 && stat(NativePath(path).c_str(), &there) == 0 && IsSameFile(ours, there);
}

PosixNewFile::PosixNewFile(std::string native) : native_(std::move(native)) { held_.reserve(kWriteBuffer); }

PosixNewFile::~PosixNewFile() {
  if (!aside_.empty()) unlink(aside_.c_str());
}

int PosixNewFile::Open() {
  const std::string folder = ParentOf(native_);
  file_ = Descriptor(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kUserFile));
  if (!file_ && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) return OpenAside(folder);
  return file_ ? kSuccess : CodeOf(errno == ENOENT || errno == ENOTDIR ? ENOTDIR : errno, kAccessDenied);
}

int PosixNewFile::OpenAside(const std::string& folder) {
  aside_ = folder + "/.tsl-XXXXXX";
  file_ = Descriptor(mkostemp(aside_.data(), O_CLOEXEC));
  if (file_) return kSuccess;
  aside_.clear();
  return CodeOf(errno, kAccessDenied);
}

int PosixNewFile::Write(std::string_view bytes) {
  if (!file_) return kInvalidHandle;
  if (held_.size() + bytes.size() > kWriteBuffer) Flush();
  if (bytes.size() >= kWriteBuffer) {
    if (failure_ == kSuccess) failure_ = CodeOf(WriteAll(file_.Get(), bytes), kWriteFault);
  } else if (failure_ == kSuccess) {
    held_ += bytes;
  }
  return failure_;
}

void PosixNewFile::Flush() {
  if (failure_ == kSuccess) failure_ = CodeOf(WriteAll(file_.Get(), held_), kWriteFault);
  held_.clear();
}

int PosixNewFile::Settle(const struct stat* former, const struct stat& model) {
  Flush();
  mode_t mode = (former != nullptr ? former : &model)->st_mode & (former != nullptr ? 0777 : 0755);
  // Group rights are for the former group only.
  if (former != nullptr && fchown(file_.Get(), former->st_uid, former->st_gid) != 0) mode &= 0755;
  const bool done = fchmod(file_.Get(), mode) == 0 && fsync(file_.Get()) == 0;
  if (failure_ == kSuccess && !done) failure_ = CodeOf(errno, kWriteFault);
  return failure_;
}

int PosixNewFile::Commit(std::shared_ptr<OpenFile>& file) {
  if (!file_) return kInvalidHandle;
  Flush();
  // Some file systems report a full disk only on close.
  Descriptor copy(fcntl(file_.Get(), F_DUPFD_CLOEXEC, 0));
  if (failure_ == kSuccess) failure_ = copy ? CloseWritten(copy) : CodeOf(errno, kWriteFault);
  if (failure_ == kSuccess) failure_ = TakeName();
  if (failure_ != kSuccess) {
    file_ = Descriptor();
    return failure_;
  }
  file = std::make_shared<PosixOpenFile>(std::move(file_));
  return kSuccess;
}

int PosixNewFile::TakeName() {
  if (!aside_.empty()) {
    if (rename(aside_.c_str(), native_.c_str()) != 0) return CodeOf(errno, kAccessDenied);
    aside_.clear();
    return kSuccess;
  }
  constexpr int kTries = 100;  // in case another process takes the name each time
  const std::string nameless = "/proc/self/fd/" + std::to_string(file_.Get());
  for (int i = 0; i < kTries; ++i) {
    if (linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, native_.c_str(), AT_SYMLINK_FOLLOW) == 0) return kSuccess;
    if (errno != EEXIST) return CodeOf(errno, kAccessDenied);
    if (unlink(native_.c_str()) != 0 && errno != ENOENT) return CodeOf(errno, kAccessDenied);
  }
  return kSharingViolation;
}

}  // namespace tsly
