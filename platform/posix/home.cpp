#include "posix/home.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace tsly {
namespace {

namespace fs = std::filesystem;

constexpr char kVendorFolder[] = "tessaly-studio";

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// A folder without a slash at its end. The base directory rules ignore relative paths.
fs::path FolderFromEnvironment(const char* name, const fs::path& otherwise) {
  const fs::path folder = Environment(name);
  if (!folder.is_absolute()) return otherwise;
  const fs::path plain = folder.lexically_normal();
  return plain.has_filename() ? plain : plain.parent_path();
}

fs::path UserFolder() {
  const passwd* user = getpwuid(geteuid());
  const fs::path listed = user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
  return FolderFromEnvironment("HOME", listed.is_absolute() ? listed : "/");
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

// The folder from user-dirs.dirs, which has lines NAME="$HOME/below" or NAME="/absolute"; the last one counts.
fs::path FolderFromUserDirs(const fs::path& list, std::string_view name, const fs::path& user, fs::path otherwise) {
  constexpr std::string_view kHomePrefix = "$HOME";
  std::ifstream lines(list);
  for (std::string line; std::getline(lines, line);) {
    std::string_view rest = line;
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    if (!rest.starts_with(name) || !rest.substr(name.size()).starts_with("=\"")) continue;
    rest.remove_prefix(name.size() + 2);
    rest = rest.substr(0, rest.rfind('"'));
    if (rest.starts_with("$HOME/") || rest == kHomePrefix) {
      const fs::path below = fs::path(Unescaped(rest.substr(kHomePrefix.size()))).relative_path();
      otherwise = below.empty() ? user : user / below;
    } else if (rest.starts_with('/')) {
      otherwise = Unescaped(rest);
    }
  }
  return otherwise;
}

Home Below(const fs::path& root) {
  Home home = Home::In(root / "folders");
  home.user_registry = root / "registry/user.sqlite";
  home.machine_registry = root / "registry/machine.sqlite";
  home.temp = root / "temp";
  return home;
}

Home InUsualPlaces() {
  const fs::path user = UserFolder();
  const fs::path config = FolderFromEnvironment("XDG_CONFIG_HOME", user / ".config");
  const fs::path machine = fs::path("/var/lib") / kVendorFolder;
  const fs::path user_dirs = config / "user-dirs.dirs";
  Home home;
  home.user_registry = config / kVendorFolder / "user.sqlite";
  home.machine_registry = machine / "machine.sqlite";
  home.documents = FolderFromUserDirs(user_dirs, "XDG_DOCUMENTS_DIR", user, user / "Documents");
  home.pictures = FolderFromUserDirs(user_dirs, "XDG_PICTURES_DIR", user, user / "Pictures");
  home.program_files = "/opt";
  home.app_data = FolderFromEnvironment("XDG_DATA_HOME", user / ".local/share");
  const fs::path own = home.app_data / kVendorFolder;
  home.common_app_data = machine / "CommonAppData";
  home.own_common_app_data = own / "CommonAppData";
  home.common_documents = machine / "CommonDocuments";
  home.own_common_documents = own / "CommonDocuments";
  home.common_pictures = machine / "CommonPictures";
  home.own_common_pictures = own / "CommonPictures";
  return home;
}

}  // namespace

Home Home::In(const fs::path& folder) {
  Home home;
  home.documents = folder / "Documents";
  home.pictures = folder / "Pictures";
  home.program_files = folder / "ProgramFiles";
  home.app_data = folder / "AppData";
  home.common_app_data = home.own_common_app_data = folder / "CommonAppData";
  home.common_documents = home.own_common_documents = folder / "CommonDocuments";
  home.common_pictures = home.own_common_pictures = folder / "CommonPictures";
  home.temp = folder / "temp";
  return home;
}

Home Home::FromEnvironment() {
  const std::string root = Environment("TSLY_HOME");
  if (root.empty()) return InUsualPlaces();
  std::error_code failure;
  const fs::path absolute = fs::absolute(root, failure).lexically_normal();
  return Below(absolute.has_filename() ? absolute : absolute.parent_path());
}

}  // namespace tsly
