// The class cCRC32: the CRC-32 of IEEE 802.3, as in ZIP and PNG (reflected polynomial 0xEDB88320, start and final
// complement 0xFFFFFFFF). The checksum's 32 bits are in a signed integer. One object for each verification.
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

  // Of an array of bytes; 0 if it is empty. The bounds have to fit a signed 16-bit integer: more than 32,768 bytes
  // throw an overflow.
  std::int32_t GetByteArrayCrc32(std::span<const std::uint8_t> buffer) const;

  // Of a file; 0 if it doesn't exist or is empty, and a value that matches no file if it can't be read completely.
  // Processes events before each chunk of 8192 bytes and, while events arrive, before each byte. Doesn't throw.
  std::int32_t GetFileCrc32(const std::string& filename);

  // The same for an open file. Nothing if it can't be read completely.
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
