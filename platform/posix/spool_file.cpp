#include "posix/spool_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr std::size_t kReadBuffer = 64 * 1024;

int WriteCode(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return kDiskFull;
    case EACCES:
    case EPERM:
    case EROFS:
      return kAccessDenied;
    case ENOENT:
    case ENOTDIR:
      return kPathNotFound;
    default:
      return kWriteFault;
  }
}

}  // namespace

void SpoolFile::Clear() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  refilled_ = 0;
  buffer_.clear();
  taken_ = 0;
}

int SpoolFile::Open() {
  const std::filesystem::path folder = folder_();
  descriptor_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor_ >= 0) return kSuccess;
  // Not every file system supports files without a name.
  if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return WriteCode(errno);
  return OpenWithoutName(folder / "tsl-spool");
}

// Creates the file and removes its name at once. A killed process may leave the name; the next process removes it. A
// process whose name is removed by another keeps its file.
int SpoolFile::OpenWithoutName(const std::filesystem::path& name) {
  constexpr int kTries = 100;
  for (int i = 0; i < kTries && descriptor_ < 0; ++i) {
    descriptor_ = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor_ < 0 && errno != EEXIST) return WriteCode(errno);
    if (::unlink(name.c_str()) != 0 && errno != ENOENT) return WriteCode(errno);
  }
  return descriptor_ < 0 ? kWriteFault : kSuccess;
}

int SpoolFile::Append(std::span<const char> bytes) {
  if (descriptor_ < 0) {
    if (const int code = Open()) return code;
  }
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return WriteCode(errno);
    }
  }
  return kSuccess;
}

int SpoolFile::Refill() {
  buffer_.resize(kReadBuffer);
  taken_ = 0;
  ssize_t got = 0;
  do {
    got = ::pread(descriptor_, buffer_.data(), buffer_.size(), refilled_);
  } while (got < 0 && errno == EINTR);
  buffer_.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  refilled_ += std::max<ssize_t>(got, 0);
  return got < 0 ? kReadFault : kSuccess;
}

int SpoolFile::Read(std::size_t size, std::string& bytes) {
  bytes.clear();
  if (descriptor_ < 0) return kSuccess;
  while (bytes.size() < size) {
    if (taken_ == buffer_.size()) {
      if (const int code = Refill()) return code;
      if (buffer_.empty()) break;
    }
    const std::size_t part = std::min(size - bytes.size(), buffer_.size() - taken_);
    bytes.append(buffer_, taken_, part);
    taken_ += part;
  }
  return kSuccess;
}

}  // namespace tsly
