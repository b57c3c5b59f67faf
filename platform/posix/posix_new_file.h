// Open files of the Linux edition, for PosixFiles alone: one that is read, and one on its way to its name.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "ports/files.h"
#include "ports/system_codes.h"
#include "posix/descriptor.h"

struct stat;

namespace tsly {

class PosixOpenFile : public OpenFile {
 public:
  explicit PosixOpenFile(Descriptor file) : file_(std::move(file)) {}

  int Length(std::int64_t& length) override;
  int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override;
  bool IsAt(const std::string& path) override;

 private:
  Descriptor file_;
};

// The file has no name until Commit, so that a killed process leaves nothing. If the file system doesn't support that,
// it has a hidden name in the same folder.
class PosixNewFile : public NewFile {
 public:
  explicit PosixNewFile(std::string native);
  ~PosixNewFile() override;

  int Open();
  int Write(std::string_view bytes) override;
  // For a permanent file: takes owner and rights from `former`, the file it replaces; otherwise the rights of `model`,
  // writable only for its owner. Flushes the file before it gets its name.
  int Settle(const struct stat* former, const struct stat& model);
  int Commit(std::shared_ptr<OpenFile>& file) override;

 private:
  int OpenAside(const std::string& folder);
  int TakeName();
  void Flush();

  std::string native_;
  std::string aside_;  // the file's name until Commit, if any
  Descriptor file_;
  std::string held_;
  int failure_ = kSuccess;
};

int CloseWritten(Descriptor& file);

// The parts of a native path: where its last name begins, and the folder with a slash ("." without one).
std::size_t LastPart(const std::string& native);
std::string ParentOf(const std::string& native);

}  // namespace tsly
