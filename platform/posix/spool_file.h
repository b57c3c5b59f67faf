// A spool in a file without a name, which disappears with its last descriptor however the process ends.
#pragma once

#include <filesystem>
#include <functional>

#include "common/response_spool.h"
#include "posix/descriptor.h"

namespace tsly {

class SpoolFile : public ResponseSpool {
 public:
  // Calls `folder` for the first byte; the returned folder must exist.
  explicit SpoolFile(std::function<std::filesystem::path()> folder) : folder_(std::move(folder)) {}

 private:
  bool IsOpen() const override { return static_cast<bool>(file_); }
  int Open() override;
  void Close() override { file_ = Descriptor(); }
  int Write(std::string_view bytes) override;
  int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override;

  int OpenWithoutName(const std::filesystem::path& name);

  std::function<std::filesystem::path()> folder_;
  Descriptor file_;
};

}  // namespace tsly
