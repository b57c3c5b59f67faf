// The table of contents of a ZIP archive, read strictly and apart from the library that unpacks: one end record at the
// very end of the file, counts and lengths that add up, for each entry a local header that says the same, and between
// the entries nothing that the table doesn't name. What this table lists can be compared with what the library gave.
//
// In front of the first entry there may be anything, so that archives that unpack themselves are fine; but no entry at
// the very beginning of the file, and none that ends where the first one begins, as far as the last MiB shows. Nothing
// may follow the end record and its comment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/archive_judge.h"

namespace tsly {

class OpenFile;

struct ZipEntry {
  std::string name;       // the bytes that the archive holds
  std::string unicode;    // the contents of the field for the name in UTF-8, with its checksum; "" without one
  std::string utf8_name;  // the name in that field, where it belongs to `name` and is the one to use; else ""
  unsigned flags = 0, method = 0;
  std::uint32_t crc = 0;
  std::uint64_t packed_size = 0, size = 0;
  std::uint64_t place = 0;  // of the local header
};

// The entries in the order of their places in the file. `name_bytes` is the most that their names may need together.
UnzipFailure ReadZipTable(OpenFile& file, std::size_t most_entries, std::size_t name_bytes,
                          std::vector<ZipEntry>& entries);

}  // namespace tsly
