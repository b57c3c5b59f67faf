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
constexpr std::size_t kChunk = 8192;
constexpr std::size_t kHighestBound = 32767;

// False when some of it couldn't be read.
bool FillChunk(FileReader* file, std::span<char> chunk) {
  std::size_t got = 0;
  while (file != nullptr && !chunk.empty() && file->Read(chunk, got) == 0 && got > 0) chunk = chunk.subspan(got);
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

// 0 for a file that a search doesn't find.
std::int64_t cCRC32::LengthOf(const std::string& filename) {
  std::vector<std::string> names;
  std::int64_t length = 0;
  const bool found = files_.Find(filename, names) == 0 && files_.Length(filename, length) == 0;
  return found ? length : 0;
}

std::int32_t cCRC32::GetFileCrc32(const std::string& filename) {
  std::uint32_t crc = kStart;
  std::int64_t left = LengthOf(filename);
  if (left <= 0) return static_cast<std::int32_t>(~crc);
  std::unique_ptr<FileReader> file;
  files_.OpenForReading(filename, file);
  std::vector<char> chunk(kChunk);
  bool whole = true;
  loop_.BeginBusy();
  while (left > 0) {
    loop_.LetEventsRun();
    chunk.assign(static_cast<std::size_t>(std::min<std::int64_t>(left, kChunk)), '\0');
    whole = FillChunk(file.get(), chunk) && whole;
    for (const char byte : chunk) {
      loop_.LetEventsRun();
      crc = Next(crc, static_cast<std::uint8_t>(byte));
    }
    left -= static_cast<std::int64_t>(chunk.size());
  }
  loop_.EndBusy();
  // A file that was not read whole must not pass for one that was, whatever the missing bytes are.
  return static_cast<std::int32_t>(whole ? ~crc : crc);
}

}  // namespace tsly
