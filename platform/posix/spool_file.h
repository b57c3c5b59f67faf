// A spool in a file without a name, which disappears with its last descriptor however the process ends.
#pragma once

#include <filesystem>

#include "common/response_spool.h"
#include "posix/descriptor.h"

namespace tsly {

class SpoolFile : public ResponseSpool {
 private:
  bool IsOpen() const override { return static_cast<bool>(file_); }
  int Open() override;
  void Close() override { file_ = Descriptor(); }
  int Write(std::string_view bytes) override;
  int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) override;

  int OpenWithoutName(const std::filesystem::path& name);

  Descriptor file_;
};

}  // namespace tsly
