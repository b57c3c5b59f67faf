// The unzip component on libarchive: holds what the library finds against the archive's table (zip_table.h), judges the
// whole of it (archive_judge.h), unpacks everything into a staging folder, and only when every size and checksum held
// moves it into place (unpack_target.h).
//
// Regular files and folders only. Executable bits and times are kept; owners and all other bits of the mode are not.
#pragma once

#include <string>

#include "common/archive_judge.h"
#include "ports/unzip.h"

namespace tsly {

// One sentence for the user; "" without a failure.
std::string Describe(const UnzipFailure& failure);

class ArchiveUnzip : public UnzipComponent {
 public:
  Fault SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) override;
  Fault SetExtractFolder(const std::string& path) override;
  Fault SetExtractOptionA(bool keep_folders) override;
  Fault SetExtractOptionB(bool replace_files) override;
  Fault Extract(std::string& first, std::string& second, std::int32_t& result) override;
  std::string FailureText() override;

 private:
  UnzipFailure Run() const;

  std::string archive_file_;
  std::shared_ptr<OpenFile> file_;
  std::string extract_folder_;
  bool keep_folders_ = true;
  bool replace_files_ = true;
  UnzipFailure failure_;
};

class ArchiveUnzipFactory : public UnzipFactory {
 public:
  std::unique_ptr<UnzipComponent> Create() override { return std::make_unique<ArchiveUnzip>(); }
};

}  // namespace tsly
