// Between the core's paths (backslashes, "\opt\x\") and the system's.
#pragma once

#include <string>
#include <string_view>

namespace tsly {

// The native form of a core path: "\" becomes "/", and a part that isn't there by its exact name is looked for in other
// capitals. Parts that are not there at all stay as given. A drive letter names nothing: such a path gives one that
// does not exist; "C:\TEMP\" stands for the user's own folder below the system's one for temporary files, which is made
// for that; where it can't be made, for nothing.
std::string NativePath(const std::string& core_path);

// The native form of a single name, which need not be there.
std::string NativeName(const std::string& core_name);

// The core's form of a native path: "/" becomes "\", and a backslash, which is a letter of a name to the system,
// becomes U+F05C, which NativePath turns back. All other bytes stay, whether they are text or not. Only a name that
// holds U+F05C itself has no form in the core.
std::string CorePath(const std::string& native_path);
bool HasCoreForm(std::string_view native_path);

}  // namespace tsly
