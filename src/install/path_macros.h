// The macros in the paths of action lines. Pure rule.
#pragma once

#include <string>

namespace tsly {

struct MacroFolders {
  std::string document_file;   // {current} is the part before its last backslash
  std::string app;             // {app}
  std::string common_appdata;  // {commonappdata}
};

// Replaces the macros in `path`. False if a brace is left, from an unknown macro or a stray one.
bool ExpandMacros(const std::string& path, const MacroFolders& folders, std::string& expanded);

}  // namespace tsly
