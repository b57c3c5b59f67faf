#include "base/key_path.h"

#include <algorithm>

#include "base/text.h"
#include "ports/registry.h"

namespace tsly {

bool IsKeyPath(std::string_view path) {
  const auto parts = Split(path, "\\");
  return std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
    return !part.empty() && part.size() <= kRegMaxPartLength && part.find('\0') == std::string::npos;
  });
}

bool IsValueName(std::string_view name) {
  return name.size() <= kRegMaxNameLength && name.find('\0') == std::string_view::npos;
}

std::string JoinKeyPath(std::string_view parent, std::string_view child) {
  std::string path(parent);
  if (!parent.empty() && !child.empty()) path += '\\';
  return path.append(child);
}

}  // namespace tsly
