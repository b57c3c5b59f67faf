// Names and paths of the settings registry, as every backend and tool judges them.
#pragma once

#include <string>
#include <string_view>

namespace tsly {

// Parts joined by single backslashes, each neither empty nor too long; an empty path is one too.
bool IsKeyPath(std::string_view path);

bool IsValueName(std::string_view name);

// An empty side adds no backslash.
std::string JoinKeyPath(std::string_view parent, std::string_view child);

}  // namespace tsly
