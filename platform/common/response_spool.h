// Stores a response until it has been read, in a file of the edition's that disappears with the process. Owned by the
// transfer control; one thread. Results are codes of ports/system_codes.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tsly {

class ResponseSpool {
 public:
  virtual ~ResponseSpool() = default;

  // Where the next response is kept (ports/folders.h); the folder must be there at its first byte.
  void SetFolder(const std::string& folder) { folder_ = folder; }
  // Frees the disk space.
  void Clear();
  // 112 if the disk is full.
  int Append(std::string_view bytes);
  // The next `size` unread bytes, fewer at the end.
  int Read(std::size_t size, std::string& bytes);

 protected:
  const std::string& Folder() const { return folder_; }

 private:
  virtual bool IsOpen() const = 0;
  virtual int Open() = 0;
  virtual void Close() = 0;
  // All of the bytes, at the end.
  virtual int Write(std::string_view bytes) = 0;
  // As OpenFile::ReadAt (ports/files.h).
  virtual int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) = 0;

  int Refill();

  std::string folder_;
  std::int64_t refilled_ = 0;  // how much of the file has been read into the buffer
  std::string buffer_;
  std::size_t taken_ = 0;  // of the buffer
};

}  // namespace tsly
