// Names and paths of the settings registry: the rules for all backends and tools.
#pragma once

#include <string>
#include <string_view>

namespace tsly {

// Whether `path` is empty or has parts joined by single backslashes, each neither empty nor too long.
bool IsKeyPath(std::string_view path);

bool IsValueName(std::string_view name);

// Joins two paths; an empty one adds no backslash.
std::string JoinKeyPath(std::string_view parent, std::string_view child);

}  // namespace tsly
