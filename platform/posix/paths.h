// Between the core's paths (backslashes, "\opt\x\") and the system's.
#pragma once

#include <string>

namespace tsly {

// The native form of a core path: "\" becomes "/", and a part that isn't there by its exact name is looked for in other
// capitals. Parts that are not there at all stay as given. A drive letter names nothing: such a path gives one that
// does not exist; "C:\TEMP\" stands for the system's folder for temporary files.
std::string NativePath(const std::string& core_path);

// The core's form of a native path: "/" becomes "\".
std::string CorePath(const std::string& native_path);

}  // namespace tsly
