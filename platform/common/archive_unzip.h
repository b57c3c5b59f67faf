// The unzip component on libarchive: holds what the library finds against the archive's table (zip_table.h), validates
// the whole of it (archive_validation.h), unpacks everything into a staging folder, and only when every size and
// checksum held lets the edition move it into place (unpacking.h). Each edition has its own on its folders.
//
// Regular files and folders only. Keeps executable bits and times, but neither owners nor other mode bits.
#pragma once

#include <memory>
#include <string>

#include "common/unpacking.h"
#include "ports/unzip.h"

namespace tsly {

class ArchiveUnzip : public UnzipComponent {
 public:
  Fault SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) override;
  Fault SetExtractFolder(const std::string& path) override;
  Fault SetExtractOptionA(bool keep_folders) override;
  Fault SetExtractOptionB(bool replace_files) override;
  Fault Extract(std::string& first, std::string& second, std::int32_t& result) override;
  std::string FailureText() override;

 private:
  virtual std::unique_ptr<Unpacking> MakeUnpacking() const = 0;
  // While the result is held, libarchive gives names in UTF-8 on this thread.
  virtual std::shared_ptr<void> NamesInUtf8() const = 0;

  UnzipFailure Run() const;

  std::string archive_file_;
  std::shared_ptr<OpenFile> file_;
  std::string extract_folder_;
  bool keep_folders_ = true;
  bool replace_files_ = true;
  UnzipFailure failure_;
};

}  // namespace tsly
