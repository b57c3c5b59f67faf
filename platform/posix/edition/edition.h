// The parts of the edition for tests, fuzz targets and tools: files, special folders and INI reader. Each edition has
// such a header, with these names, in its own folder; CMake adds the folder of the edition to the include path, so that
// no other code names an edition.
#pragma once

#include "posix/home.h"
#include "posix/ini_reader.h"
#include "posix/paths.h"
#include "posix/posix_files.h"
#include "posix/posix_folders.h"

namespace tsly {

using SystemFiles = PosixFiles;      // Files
using SystemFolders = PosixFolders;  // Folders; made from a Home
// Home         where the special folders are: FromEnvironment(), the user's; In(folder), all of them in one
// IniReader    CachedIniReader; made from a code page or without
// NativePath   the system's form of a core path

}  // namespace tsly
