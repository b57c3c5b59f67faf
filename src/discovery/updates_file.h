// The names in an updates file, and rules for its values. Pure.
#pragma once

#include <cstdint>
#include <string>

#include "base/text.h"
#include "discovery/document_run.h"

namespace tsly {

// The maker's addresses that are built into the program: the home page, and the updates file's.
inline constexpr const char* kHomePage = "http://www.quillonsystems.example/";
inline constexpr const char* kUpdatesFileAddress = "http://updates.quillonsystems.example/download/app-updates.txt";

inline constexpr const char* kSectionVersions = "Versions";
inline constexpr const char* kSectionExcludes = "Excludes";
inline constexpr const char* kSectionLocalization = "Localization - ";  // followed by the language's name
inline constexpr const char* kFallbackLanguage = "English";

inline constexpr const char* kKeyInstallPack = "Install pack";
inline constexpr const char* kKeyDownloadUrl = "Download URL";
inline constexpr const char* kKeySize = "Size";
inline constexpr const char* kKeyCrc32 = "CRC32";
inline constexpr const char* kKeyStopApplication = "Stop application";
inline constexpr const char* kKeyReleased = "Released";
inline constexpr const char* kKeyAction = "Action ";  // followed by a number from 1

inline std::uint8_t DocumentKindOf(const std::string& install_pack) {
  return LowerCase(install_pack) == "no" ? kDataFile : kInstallationPack;
}

// "Stop application" has two rules: at installation everything but "no" stops the host product, but only "yes" ends a
// background search.
inline bool StopsAtInstallation(const std::string& stop_application) {
  return Trim(LowerCase(stop_application)) != "no";
}
inline bool EndsSilentSearch(const std::string& stop_application) { return LowerCase(stop_application) == "yes"; }

// The last part of an address, which is the name of the downloaded file; "" if there is none. Backslashes count as
// slashes.
inline std::string FilenameOfUrl(const std::string& url) {
  const std::string slashed = Replace(url, "\\", "/");
  const auto slash = slashed.rfind('/');
  return slash == std::string::npos ? "" : Trim(slashed.substr(slash + 1));
}

}  // namespace tsly
