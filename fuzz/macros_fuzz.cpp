// The macros in install paths. Input: the downloaded file, the host product's folder, the common folder, the path.
#include "fuzz.h"
#include "install/path_macros.h"

namespace tsly {
namespace {

bool BeginsWithMacro(std::string_view text, std::string_view macro) {
  if (text.size() < macro.size()) return false;
  for (std::size_t i = 0; i < macro.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] + 32) : text[i];
    if (c != macro[i]) return false;
  }
  return true;
}

std::string Expanded(std::string_view path, std::string_view macro, std::string folder) {
  if (folder.empty() || folder.back() != '\\') folder += '\\';
  std::string text;
  while (!path.empty()) {
    if (!BeginsWithMacro(path, macro)) {
      text += path[0];
      path.remove_prefix(1);
      continue;
    }
    text += folder;
    path.remove_prefix(macro.size());
    if (path.starts_with('\\')) path.remove_prefix(1);
  }
  return text;
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  const MacroFolders folders{.document_file = std::string(input.Line()),
                             .app = std::string(input.Line()),
                             .common_appdata = std::string(input.Line())};
  const std::string path(input.Rest());
  std::string expanded;
  const bool is_good = ExpandMacros(path, folders, expanded);
  HOLDS(is_good == (expanded.find('{') == expanded.npos && expanded.find('}') == expanded.npos));

  // Braces in the folders would be expanded as macros too.
  const std::string all = folders.document_file + folders.app + folders.common_appdata;
  if (all.find_first_of("{}") != all.npos) return;
  const auto slash = folders.document_file.rfind('\\');
  const bool has_folder = slash != std::string::npos && slash > 0;
  const std::string current = has_folder ? folders.document_file.substr(0, slash) : folders.document_file;
  std::string plain = Expanded(path, "{current}", current);
  plain = Expanded(plain, "{app}", folders.app);
  plain = Expanded(plain, "{commonappdata}", folders.common_appdata);
  HOLDS(expanded == plain);
}

}  // namespace tsly
