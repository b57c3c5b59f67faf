#include "install/cCRC32.h"

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

bool cCRC32::IsFileWithContents(const std::string& filename) {
  std::vector<std::string> names;
  std::int64_t length = 0;
  return files_.Find(filename, names) == 0 && files_.Length(filename, length) == 0 && length > 0;
}

std::int32_t cCRC32::GetFileCrc32(const std::string& filename) {
  std::uint32_t crc = kStart;
  std::unique_ptr<FileReader> file;
  if (IsFileWithContents(filename) && files_.OpenForReading(filename, file) == 0) {
    std::vector<char> chunk(kChunk);
    loop_.BeginBusy();
    for (;;) {
      loop_.LetEventsRun();
      std::size_t got = 0;
      if (file->Read(chunk, got) != 0 || got == 0) break;
      for (std::size_t i = 0; i < got; ++i) {
        loop_.LetEventsRun();
        crc = Next(crc, static_cast<std::uint8_t>(chunk[i]));
      }
    }
    loop_.EndBusy();
  }
  return static_cast<std::int32_t>(~crc);
}

}  // namespace tsly
