// The ZIP extraction component.
//
// One thread, which Extract blocks. One object for each archive. Paths and texts are UTF-8 (in paths, other bytes pass
// unchanged).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ports/fault.h"

namespace tsly {

class OpenFile;

class UnzipComponent {
 public:
  virtual ~UnzipComponent() = default;

  // Extract reads only `file`, because the path may refer to another file by now. Null: the archive can't be opened.
  // `path` is for messages.
  virtual Fault SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) = 0;
  virtual Fault SetExtractFolder(const std::string& path) = 0;  // created if missing
  virtual Fault SetExtractOptionA(bool keep_folders) = 0;       // keep the folders of the archive
  virtual Fault SetExtractOptionB(bool replace_files) = 0;      // replace existing files

  // Extracts everything. `result` 0: success; otherwise the folder is unchanged, and FailureText has the reason. The
  // two texts are for the caller and stay unchanged.
  virtual Fault Extract(std::string& first, std::string& second, std::int32_t& result) = 0;

  // The error of the last Extract for the user, with the entry's name. "" after success.
  virtual std::string FailureText() = 0;
};

class UnzipFactory {
 public:
  virtual ~UnzipFactory() = default;
  // A new object; null if the component can't be created.
  virtual std::unique_ptr<UnzipComponent> Create() = 0;
};

}  // namespace tsly
