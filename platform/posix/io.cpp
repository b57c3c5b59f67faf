#include "posix/io.h"

#include <unistd.h>

#include <cerrno>

#include "ports/system_codes.h"
#include "posix/descriptor.h"
#include "posix/posix_codes.h"

namespace tsly {
namespace {

template <typename Read>
int ReadOnce(Read read, std::size_t& got) {
  ssize_t count = 0;
  do count = read();
  while (count < 0 && errno == EINTR);
  got = count > 0 ? static_cast<std::size_t>(count) : 0;
  return count < 0 ? CodeOf(errno, kReadFault) : kSuccess;
}

}  // namespace

int WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return ENOSPC;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int ReadPiece(int file, std::span<char> buffer, std::size_t& got) {
  return ReadOnce([&] { return read(file, buffer.data(), buffer.size()); }, got);
}

int ReadPieceAt(int file, std::int64_t offset, std::span<char> buffer, std::size_t& got) {
  return ReadOnce([&] { return pread(file, buffer.data(), buffer.size(), offset); }, got);
}

std::optional<int> SyncPath(const std::string& path, int flags) {
  const Descriptor file(open(path.c_str(), O_RDONLY | kNoWaiting | flags));
  if (!file) return std::nullopt;
  return fsync(file.Get()) == 0 || errno == EINVAL ? 0 : errno;
}

}  // namespace tsly
