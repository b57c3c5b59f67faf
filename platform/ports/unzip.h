// The ZIP extraction component, with the members that its caller sets and calls.
//
// One thread; Extract blocks it. An object serves one archive. Paths and texts are UTF-8 (in paths, bytes that are none
// pass as they are).
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

  // `file` is what Extract reads, and nothing else: the path may name another file by now. Null: the archive can't be
  // opened. `path` is for messages.
  virtual Fault SetArchiveFile(const std::string& path, std::shared_ptr<OpenFile> file) = 0;
  virtual Fault SetExtractFolder(const std::string& path) = 0;  // made if it is missing
  virtual Fault SetExtractOptionA(bool keep_folders) = 0;       // keep the folders of the archive
  virtual Fault SetExtractOptionB(bool replace_files) = 0;      // replace existing files

  // Extracts all. `result` 0: done; anything else: nothing was changed in the folder, and FailureText tells why. The
  // two texts are for a caller's own use and come back as they are.
  virtual Fault Extract(std::string& first, std::string& second, std::int32_t& result) = 0;

  // What went wrong in the last Extract, for the user; names the entry. "" without a failure.
  virtual std::string FailureText() = 0;
};

class UnzipFactory {
 public:
  virtual ~UnzipFactory() = default;
  // A new object, or null when the component can't be created.
  virtual std::unique_ptr<UnzipComponent> Create() = 0;
};

}  // namespace tsly
