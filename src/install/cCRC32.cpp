#include "install/cCRC32.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "base/runtime_error.h"
#include "ports/event_loop.h"
#include "ports/files.h"

namespace tsly {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::uint32_t kStart = 0xFFFFFFFF;
// A chunk takes about 20 microseconds, so an event waits no longer than that.
constexpr std::int64_t kChunk = 8192;
// The result for a file that can't be read; it matches no expected checksum.
constexpr std::int32_t kUnreadable = static_cast<std::int32_t>(kStart);
constexpr std::size_t kHighestBound = 32767;

// False on a read error.
bool FillChunk(OpenFile& file, std::int64_t offset, std::span<char> chunk) {
  std::size_t got = 0;
  while (!chunk.empty() && file.ReadAt(offset, chunk, got) == 0 && got > 0) {
    chunk = chunk.subspan(got);
    offset += static_cast<std::int64_t>(got);
  }
  return chunk.empty();
}

}  // namespace

cCRC32::cCRC32(Files& files, EventLoop& loop) : files_(files), loop_(loop) {
  for (std::uint32_t i = 0; i < Crc32Table.size(); ++i) {
    std::uint32_t c = i;
    for (int bit = 0; bit < 8; ++bit) c = (c & 1) != 0 ? (c >> 1) ^ kPolynomial : c >> 1;
    Crc32Table[i] = c;
  }
}

std::int32_t cCRC32::GetByteArrayCrc32(std::span<const std::uint8_t> buffer) const {
  if (buffer.size() > kHighestBound + 1) throw RuntimeError{kErrorOverflow, "cCRC32", "Overflow"};
  std::uint32_t crc = kStart;
  for (const std::uint8_t byte : buffer) crc = Next(crc, byte);
  return static_cast<std::int32_t>(~crc);
}

std::int32_t cCRC32::GetFileCrc32(const std::string& filename) {
  std::vector<std::string> names;
  std::shared_ptr<OpenFile> file;
  if (files_.Find(filename, names) != 0) return 0;
  // An existing file that can't be opened must not count as an empty one.
  return files_.OpenForReading(filename, file) == 0 ? Crc32Of(*file).value_or(kUnreadable) : kUnreadable;
}

std::optional<std::int32_t> cCRC32::Crc32Of(OpenFile& file) {
  std::int64_t length = 0;
  if (file.Length(length) != 0) return std::nullopt;
  std::uint32_t crc = kStart;
  std::vector<char> chunk(kChunk);
  for (std::int64_t offset = 0; offset < length; offset += kChunk) {
    bool events = loop_.ProcessPendingEvents();
    chunk.resize(static_cast<std::size_t>(std::min<std::int64_t>(length - offset, kChunk)));
    if (!FillChunk(file, offset, chunk)) return std::nullopt;
    for (const char byte : chunk) {
      if (events) events = loop_.ProcessPendingEvents();
      crc = Next(crc, static_cast<std::uint8_t>(byte));
    }
  }
  return static_cast<std::int32_t>(~crc);
}

}  // namespace tsly
