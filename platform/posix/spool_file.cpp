#include "posix/spool_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "ports/system_codes.h"
#include "posix/io.h"
#include "posix/paths.h"

namespace tsly {
namespace {

int WriteCode(int error) {
  switch (error) {
    case 0:
      return kSuccess;
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

int SpoolFile::Open() {
  const std::filesystem::path folder = NativePath(Folder());
  file_ = Descriptor(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kUserFile));
  if (file_) return kSuccess;
  // Not every file system supports files without a name.
  if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return WriteCode(errno);
  return OpenWithoutName(folder / "tsl-spool");
}

// Creates the file and removes its name at once. A killed process may leave the name; the next process removes it. A
// process whose name is removed by another keeps its file.
int SpoolFile::OpenWithoutName(const std::filesystem::path& name) {
  constexpr int kTries = 100;
  for (int i = 0; i < kTries && !file_; ++i) {
    file_ = Descriptor(open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kUserFile));
    if (!file_ && errno != EEXIST) return WriteCode(errno);
    if (unlink(name.c_str()) != 0 && errno != ENOENT) return WriteCode(errno);
  }
  return file_ ? kSuccess : kWriteFault;
}

int SpoolFile::Write(std::string_view bytes) { return WriteCode(WriteAll(file_.Get(), bytes)); }

int SpoolFile::ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) {
  return ReadPieceAt(file_.Get(), offset, buffer, got) == kSuccess ? kSuccess : kReadFault;
}

}  // namespace tsly
