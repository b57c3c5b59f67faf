#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/io.h"
#include "posix/paths.h"
#include "posix/posix_codes.h"
#include "posix/posix_files.h"

namespace tsly {
namespace {

constexpr off_t kLongest = off_t{1} << 20;  // a longer list isn't ours
constexpr int kTries = 100;
constexpr useconds_t kPause = 1000;

// Every participant has a shared lock; the one that is alone has an exclusive one. The system releases both when the
// process ends.
class PosixSharedList : public SharedList {
 public:
  PosixSharedList(Descriptor file, std::string native) : file_(std::move(file)), native_(std::move(native)) {}

  int Add(std::string_view line) override {
    const std::string bytes = std::string(line) + '\n';
    ssize_t count = 0;
    do count = write(file_.Get(), bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    if (count < 0) return CodeOf(errno, kWriteFault);
    if (static_cast<std::size_t>(count) != bytes.size()) return kDiskFull;
    return fsync(file_.Get()) == 0 ? kSuccess : CodeOf(errno, kWriteFault);
  }

  int Read(std::vector<std::string>& lines) override {
    lines.clear();
    struct stat status {};
    if (fstat(file_.Get(), &status) != 0) return CodeOf(errno, kReadFault);
    if (status.st_size > kLongest) return kInvalidData;
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    if (pread(file_.Get(), bytes.data(), bytes.size(), 0) != status.st_size) return kReadFault;
    // A full disk may have truncated the last line.
    for (std::size_t begin = 0, end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n', begin)) {
      lines.push_back(bytes.substr(begin, end - begin));
      begin = end + 1;
    }
    return kSuccess;
  }

  bool BecomeAlone() override { return flock(file_.Get(), LOCK_EX | LOCK_NB) == 0; }

  void Share(bool cleared) override {
    while (cleared && ftruncate(file_.Get(), 0) != 0 && errno == EINTR) continue;
    // Between the two locks another process may be alone, for the time it takes to delete a few files.
    for (int i = 0; i < kTries && flock(file_.Get(), LOCK_SH | LOCK_NB) != 0; ++i) usleep(kPause);
  }

  void Remove() override { unlink(native_.c_str()); }

 private:
  Descriptor file_;
  std::string native_;
};

bool IsAt(const Descriptor& file, const std::string& native) {
  struct stat ours {
  }, there{};
  return fstat(file.Get(), &ours) == 0 && lstat(native.c_str(), &there) == 0 && IsSameFile(ours, there);
}

}  // namespace

int PosixFiles::JoinList(const std::string& path, std::unique_ptr<SharedList>& list, bool& alone) {
  const std::string native = NativePath(path);
  for (int i = 0; i < kTries; ++i) {
    constexpr int kFlags = O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor file(open(native.c_str(), kFlags, kUserFile));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) return CodeOf(errno, kAccessDenied);
    if (!S_ISREG(status.st_mode)) return kAccessDenied;
    // The exclusive lock first: a failed upgrade from a shared lock would lose the lock.
    alone = flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
    if (!alone && flock(file.Get(), LOCK_SH | LOCK_NB) != 0) return CodeOf(errno, kSharingViolation);
    // Another process may have removed the file between the two calls.
    if (!IsAt(file, native)) continue;
    list = std::make_unique<PosixSharedList>(std::move(file), native);
    return kSuccess;
  }
  return kSharingViolation;
}

}  // namespace tsly
