// Key names in files and command lines: "HKLM\Software\Acme", "HKEY_CURRENT_USER\Acme".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ports/registry.h"

namespace tsly {

struct KeyName {
  RegKey root = 0;
  std::string path;
};

// The root's short or long name, in any letter case. Nothing for another root or an invalid path.
std::optional<KeyName> ParseKeyName(std::string_view name);

// With the root's long name.
std::string FullKeyName(const KeyName& key);

}  // namespace tsly
