// Reads the table of contents of a ZIP archive strictly and independently of the library that unpacks it: one end
// record at the very end of the file, consistent counts and lengths, a matching local header for each entry, and
// nothing between the entries that isn't in the table. The result is compared with what the library finds.
//
// Any data may precede the first entry, so self-extracting archives are valid, but no entry at the very beginning of
// the file, and none in the last MiB before the first entry that ends where it begins. Nothing may follow the end
// record and its comment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/archive_validation.h"

namespace tsly {

class OpenFile;

struct ZipEntry {
  std::string name;       // the bytes in the archive
  std::string unicode;    // the field with the UTF-8 name, including its checksum; "" without one
  std::string utf8_name;  // the name in that field if it is valid for `name`; otherwise ""
  unsigned flags = 0, method = 0;
  std::uint32_t crc = 0;
  std::uint64_t packed_size = 0, size = 0;
  std::uint64_t place = 0;  // position of the local header
};

// Reads the entries in the order of their positions in the file. `name_bytes`: the maximum total size of their names.
UnzipFailure ReadZipTable(OpenFile& file, std::size_t most_entries, std::size_t name_bytes,
                          std::vector<ZipEntry>& entries);

}  // namespace tsly
