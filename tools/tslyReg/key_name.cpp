#include "tslyReg/key_name.h"

#include "base/key_path.h"
#include "base/text.h"

namespace tsly {
namespace {

struct RootName {
  RegKey root;
  const char *brief, *full;
};

constexpr RootName kRoots[] = {
    {kClassesRoot,  "HKCR", "HKEY_CLASSES_ROOT" },
    {kCurrentUser,  "HKCU", "HKEY_CURRENT_USER" },
    {kLocalMachine, "HKLM", "HKEY_LOCAL_MACHINE"},
};

}  // namespace

std::optional<KeyName> ParseKeyName(std::string_view name) {
  const auto cut = name.find('\\');
  const std::string_view root = name.substr(0, cut);
  for (const auto& row : kRoots) {
    if (!EqualIgnoringCase(root, row.brief) && !EqualIgnoringCase(root, row.full)) continue;
    if (cut == std::string_view::npos) return KeyName{row.root, ""};
    const std::string_view path = name.substr(cut + 1);
    if (path.empty() || !IsKeyPath(path)) return std::nullopt;
    return KeyName{row.root, std::string(path)};
  }
  return std::nullopt;
}

std::string FullKeyName(const KeyName& key) {
  for (const auto& row : kRoots) {
    if (row.root == key.root) return JoinKeyPath(row.full, key.path);
  }
  return key.path;
}

}  // namespace tsly
