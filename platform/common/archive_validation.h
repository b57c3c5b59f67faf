// Validates the table of contents of an archive before a byte of it is unpacked: what leaves the target folder, what
// isn't a plain file or folder, which names exclude each other there, and what is too much. A pure function on values.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/unzip_failure.h"

namespace tsly {

struct ArchiveEntry {
  enum class Kind { kFile, kFolder, kLink, kOther };

  std::string name;  // as the archive spells it; "/" and "\" both separate
  Kind kind = Kind::kFile;
  std::int64_t size = 0;  // unpacked, as declared; negative: not stated
  bool encrypted = false;
};

struct ArchiveLimits {
  std::size_t entries = 200'000;
  std::int64_t archive_bytes = 0;  // length of the archive's file
  std::int64_t free_bytes = 0;     // on the target's file system
  bool deflated_only = true;       // no entry is packed by a method that packs better
};

struct ValidationResult {
  UnzipResult reason = UnzipResult::kDone;
  std::string name;  // the entry that was refused, "" when it is the archive as a whole

  // For each entry its path below the target, parts joined by "/"; a folder's ends in "/". "" for an entry that puts
  // nothing there. Only with kDone.
  std::vector<std::string> targets;
};

// `keep_folders` false: every file goes straight into the target, under the last part of its name.
ValidationResult ValidateArchive(std::span<const ArchiveEntry> entries, const ArchiveLimits& limits, bool keep_folders);

}  // namespace tsly
