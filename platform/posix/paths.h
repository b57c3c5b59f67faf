// Converts between the core's paths (backslashes, "\opt\x\") and the system's.
#pragma once

#include <string>
#include <string_view>

namespace tsly {

// The native form of a core path: "\" becomes "/", and a part that doesn't exist by its exact name is searched for
// ignoring letter case. Parts that don't exist stay unchanged. Drive letters don't exist: such a path becomes one that
// can't exist. The exception is "C:\TEMP\", the user's own folder below the system's temporary folder, which is
// created; if that fails, the path can't exist either.
std::string NativePath(const std::string& core_path);

// The native form of a single name, which needn't exist.
std::string NativeName(const std::string& core_name);

// The core's form of a native path: "/" becomes "\". A backslash, which is valid in a native name, becomes U+F05C,
// which NativePath converts back. All other bytes stay unchanged, even if they aren't text. Only a name that contains
// U+F05C has no form in the core.
std::string CorePath(const std::string& native_path);
bool HasCoreForm(std::string_view native_path);

}  // namespace tsly
