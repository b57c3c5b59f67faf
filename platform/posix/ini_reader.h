// The profile reader of the Linux edition: the common one on the system's files and the C library's code pages.
#pragma once

#include "common/cached_ini_reader.h"

namespace tsly {

class IniReader : public CachedIniReader {
 public:
  explicit IniReader(std::optional<std::uint32_t> code_page = std::nullopt);
};

}  // namespace tsly
