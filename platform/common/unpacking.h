// What the extraction asks of an edition: a folder that is changed as a whole or not at all. Serves one archive, on one
// thread. A failure that isn't about an entry of the archive has no name.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "common/unzip_failure.h"

namespace tsly {

// A file in staging, open for writing.
class UnpackedFile {
 public:
  virtual ~UnpackedFile() = default;
  virtual UnzipFailure Write(std::string_view bytes) = 0;
  // Since 1970. A file without its time is still the file.
  virtual void KeepTime(std::int64_t seconds, long nanoseconds) = 0;
  virtual UnzipFailure Close() = 0;
};

class Unpacking {
 public:
  virtual ~Unpacking() = default;

  // The folder, a core path, need not be there yet: MakeStaging makes it.
  virtual UnzipFailure Open(const std::string& folder) = 0;
  virtual std::int64_t FreeBytes() const = 0;
  virtual UnzipFailure MakeStaging() = 0;
  // A new file in staging, to be placed as paths[index]; null after a failure.
  virtual std::unique_ptr<UnpackedFile> Create(std::size_t index, bool is_executable, UnzipFailure& failure) = 0;
  // Puts the staged files, by index, where `paths` say (parts joined by "/", a folder's path ends in one, "" is
  // skipped). After success all of it is on the disk; after a failure everything is as it was before. `index`: the path
  // that a failure is about, the number of paths when it is about none.
  virtual UnzipFailure Place(std::span<const std::string> paths, bool replace, std::size_t& index) = 0;
};

}  // namespace tsly
