// The interface of an edition for the extraction: a folder that is changed completely or not at all. For one archive,
// on one thread. A failure that isn't about an entry of the archive has no name.
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
  // Since 1970. A file with the wrong time is acceptable.
  virtual void KeepTime(std::int64_t seconds, long nanoseconds) = 0;
  virtual UnzipFailure Close() = 0;
};

class Unpacking {
 public:
  virtual ~Unpacking() = default;

  // The folder, a core path, needn't exist yet: MakeStaging creates it.
  virtual UnzipFailure Open(const std::string& folder) = 0;
  virtual std::int64_t FreeBytes() const = 0;
  virtual UnzipFailure MakeStaging() = 0;
  // A new file in staging, for paths[index]; null after a failure.
  virtual std::unique_ptr<UnpackedFile> Create(std::size_t index, bool is_executable, UnzipFailure& failure) = 0;
  // Places the staged files, by index, at `paths` (parts joined by "/", a folder's path ends in one, "" is skipped).
  // After success everything is on the disk; after a failure everything is as before. `index`: the path of a failure,
  // or the number of paths if it isn't about one.
  virtual UnzipFailure Place(std::span<const std::string> paths, bool replace, std::size_t& index) = 0;
};

}  // namespace tsly
