// The class cCRC32: the CRC-32 of IEEE 802.3 as ZIP and PNG use it (reflected polynomial 0xEDB88320, start and final
// complement 0xFFFFFFFF). A checksum is a signed 32-bit integer of which only the bits count. An object lives for one
// verification.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tsly {

class EventLoop;
class Files;
class OpenFile;

class cCRC32 {
 public:
  cCRC32(Files& files, EventLoop& loop);

  // Of an array of bytes; 0 without elements. The bounds have to fit a signed 16-bit integer: more than 32,768 bytes
  // raise an overflow.
  std::int32_t GetByteArrayCrc32(std::span<const std::uint8_t> buffer) const;

  // Of a file's bytes; 0 for one that isn't there or is empty, and no file's checksum for one that can't be read whole.
  // Lets events run before each chunk of 8192 bytes, and while some come, before each byte. Raises nothing.
  std::int32_t GetFileCrc32(const std::string& filename);

  // The same of an open file. Nothing when it can't be read whole.
  std::optional<std::int32_t> Crc32Of(OpenFile& file);

 private:
  std::uint32_t Next(std::uint32_t crc, std::uint8_t byte) const {
    return (crc >> 8) ^ Crc32Table[(crc ^ byte) & 0xFF];
  }

  Files& files_;
  EventLoop& loop_;
  std::array<std::uint32_t, 256> Crc32Table;
};

}  // namespace tsly
