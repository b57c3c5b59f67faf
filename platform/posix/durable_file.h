// Creates and replaces files durably: a reported success survives a power failure. Results are codes of
// ports/system_codes.h. Modes are independent of the umask.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>

namespace tsly {

// Creates the folder and missing parents. 0 also if it exists; existing folders keep their rights.
int MakeFolders(const std::filesystem::path& folder, mode_t mode);

// Creates an empty file. 0 also if one exists, which stays unchanged.
int EnsureFile(const std::filesystem::path& file, mode_t mode);

// Replaces the contents of an existing file atomically: readers find the old or the new content. Keeps owner and rights
// and adds `least_mode`. The caller must ensure that no other process replaces the file meanwhile.
int ReplaceFile(const std::filesystem::path& file, std::string_view content, mode_t least_mode);

}  // namespace tsly
