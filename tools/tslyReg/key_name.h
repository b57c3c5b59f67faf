// Keys as people and files name them: "HKLM\Software\Acme", "HKEY_CURRENT_USER\Acme".
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

// Short or long name of the root, in any letter case; nothing for another root or a path that can't be.
std::optional<KeyName> ParseKeyName(std::string_view name);

// With the root's long name.
std::string FullKeyName(const KeyName& key);

}  // namespace tsly
