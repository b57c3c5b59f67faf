// System calls on descriptors, repeated where a signal or a part of the work ended them early. Errors are errno values,
// 0 for none, except where a result code is named.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tsly {

inline constexpr mode_t kUserFile = 0600;

// What opening a file for reading or writing needs besides: no call waits for a pipe's other end or a device.
inline constexpr int kNoWaiting = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

int WriteAll(int file, std::string_view bytes);

// One piece, as much as there is up to the buffer's size; `got` is 0 at the end. Result codes, 30 for an unknown error.
int ReadPiece(int file, std::span<char> buffer, std::size_t& got);
int ReadPieceAt(int file, std::int64_t offset, std::span<char> buffer, std::size_t& got);

// Puts on the disk what the path names; a file system without that counts as done. Nothing when the path can't be
// opened, with the reason in errno. `flags`: for open, besides those for reading.
std::optional<int> SyncPath(const std::string& path, int flags = 0);

inline bool IsSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace tsly
