// Stores a response until it has been read, in a file without a name, which disappears with its last descriptor however
// the process ends. Owned by the transfer control; one thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

namespace tsly {

class SpoolFile {
 public:
  // Calls `folder` for the first byte; the returned folder must exist.
  explicit SpoolFile(std::function<std::filesystem::path()> folder) : folder_(std::move(folder)) {}
  ~SpoolFile() { Clear(); }
  SpoolFile(const SpoolFile&) = delete;
  SpoolFile& operator=(const SpoolFile&) = delete;

  void Clear();

  // 0, or a result code: 112 if the disk is full.
  int Append(std::span<const char> bytes);

  // The next `size` unread bytes, fewer at the end. The same result codes.
  int Read(std::size_t size, std::string& bytes);

 private:
  int Open();
  int OpenWithoutName(const std::filesystem::path& name);
  int Refill();

  std::function<std::filesystem::path()> folder_;
  int descriptor_ = -1;
  std::int64_t refilled_ = 0;  // how much of the file has been read into the buffer
  std::string buffer_;
  std::size_t taken_ = 0;  // of the buffer
};

}  // namespace tsly
