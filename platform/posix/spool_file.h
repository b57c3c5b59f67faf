// Where a response is kept until it has been read: a file without a name, which goes with its last descriptor, so that
// nothing is left behind however the process ends. Belongs to the transfer control; one thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

namespace tsly {

class SpoolFile {
 public:
  // `folder` is asked when there is a first byte to keep; the folder it gives must be there.
  explicit SpoolFile(std::function<std::filesystem::path()> folder) : folder_(std::move(folder)) {}
  ~SpoolFile() { Clear(); }
  SpoolFile(const SpoolFile&) = delete;
  SpoolFile& operator=(const SpoolFile&) = delete;

  void Clear();

  // 0, or one of the platform's result codes: 112 when there is no room for the bytes.
  int Append(std::span<const char> bytes);

  // The next `size` bytes that have not been read yet, fewer at the end. The same result codes.
  int Read(std::size_t size, std::string& bytes);

 private:
  int Open();
  int OpenWithoutName(const std::filesystem::path& name);
  int Refill();

  std::function<std::filesystem::path()> folder_;
  int descriptor_ = -1;
  std::int64_t refilled_ = 0;  // how much of the file has been taken into the buffer so far
  std::string buffer_;
  std::size_t taken_ = 0;  // of the buffer
};

}  // namespace tsly
