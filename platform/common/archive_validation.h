// Validates the table of contents of an archive before unpacking: names outside the target folder, entries other than
// files and folders, names that exclude each other, and too much data. A pure function on values.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/unzip_failure.h"

namespace tsly {

struct ArchiveEntry {
  enum class Kind { kFile, kFolder, kLink, kOther };

  std::string name;  // as in the archive; "/" and "\" are both separators
  Kind kind = Kind::kFile;
  std::int64_t size = 0;  // declared unpacked size; negative: unknown
  bool encrypted = false;
};

struct ArchiveLimits {
  std::size_t entries = 200'000;
  std::int64_t archive_bytes = 0;  // size of the archive file
  std::int64_t free_bytes = 0;     // on the target's file system
  bool deflated_only = true;       // no entry uses a method with a better ratio
};

struct ValidationResult {
  UnzipResult reason = UnzipResult::kDone;
  std::string name;  // the refused entry; "": the archive as a whole

  // The path of each entry below the target, parts joined by "/"; a folder's ends in "/". "" for an entry that creates
  // nothing. Only with kDone.
  std::vector<std::string> targets;
};

// `keep_folders` false: every file goes directly into the target, under the last part of its name.
ValidationResult ValidateArchive(std::span<const ArchiveEntry> entries, const ArchiveLimits& limits, bool keep_folders);

}  // namespace tsly
