#include "install/path_macros.h"

#include "base/text.h"

namespace tsly {
namespace {

std::string FolderOf(const std::string& file) {
  const auto backslash = file.rfind('\\');
  return backslash == std::string::npos || backslash == 0 ? file : file.substr(0, backslash);
}

// First the macro with a backslash: both a macro before a backslash and one before a name result in exactly one.
std::string Expand(const std::string& text, const std::string& macro, const std::string& folder) {
  const std::string replacement = WithBackslash(folder);
  return Replace(Replace(text, macro + "\\", replacement), macro, replacement);
}

}  // namespace

bool ExpandMacros(const std::string& path, const MacroFolders& folders, std::string& expanded) {
  expanded = Expand(path, "{current}", FolderOf(folders.document_file));
  expanded = Expand(expanded, "{app}", folders.app);
  expanded = Expand(expanded, "{commonappdata}", folders.common_appdata);
  return expanded.find_first_of("{}") == std::string::npos;
}

}  // namespace tsly
