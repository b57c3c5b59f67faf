// What tests, fuzz targets and tools take from the edition that they are built for: its files, special folders and
// reader of INI files. Each edition has such a header, with these names, in a folder of its own; CMake puts the one of
// the edition on the include path, so that nobody else names an edition.
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
