// Making and replacing files so that what is reported done stays done after a power failure. Results are codes of
// ports/system_codes.h. The modes hold whatever the process's umask is.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>

namespace tsly {

// Makes the folder and what is missing above it. 0 also when it is there; folders that are there keep their rights.
int MakeFolders(const std::filesystem::path& folder, mode_t mode);

// Makes an empty file. 0 also when one is there, which stays as it is.
int MakeEmptyFile(const std::filesystem::path& file, mode_t mode);

// Puts `content` in the place of the existing file, in one move: whoever opens it finds the old content or the new one.
// Owner and rights stay, `least_mode` added. The caller must be the only one that replaces the file at this moment.
int ReplaceFile(const std::filesystem::path& file, std::string_view content, mode_t least_mode);

}  // namespace tsly
