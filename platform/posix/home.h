// The folders of the Linux edition: below $TSLY_HOME if it is set, otherwise the usual ones of the user and the system
// (XDG base directories, user-dirs, /var/lib, /opt). Read once, at the start of the process.
#pragma once

#include <filesystem>

namespace tsly {

struct Home {
  std::filesystem::path user_registry;     // file of the user's settings
  std::filesystem::path machine_registry;  // file of the machine's settings
  std::filesystem::path documents;
  std::filesystem::path pictures;
  std::filesystem::path program_files;
  std::filesystem::path app_data;
  // The machine's folders, each with the user's folder that replaces it if the user can't write to it.
  std::filesystem::path common_app_data, own_common_app_data;
  std::filesystem::path common_documents, own_common_documents;
  std::filesystem::path common_pictures, own_common_pictures;
  std::filesystem::path temp;  // empty: a private folder below the system's temporary folder

  static Home FromEnvironment();
  // All special folders, and the one for temporary files, as folders of one; no registry.
  static Home In(const std::filesystem::path& folder);
};

}  // namespace tsly
