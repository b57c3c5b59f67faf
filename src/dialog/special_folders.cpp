#include "base/text.h"
#include "dialog/MGlobal.h"
#include "ports/files.h"
#include "ports/folders.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

int PlatformFolder(std::int32_t folder_code) {
  switch (folder_code) {
    case 202:
      return kCsidlMyPictures;
    case 203:
      return kCsidlProgramFiles;
    case kFolderAppData:
      return kCsidlAppData;
    case kFolderCommonAppData:
      return kCsidlCommonAppData;
    case kFolderCommonDocuments:
      return kCsidlCommonDocuments;
    case kFolderCommonPictures:
      return kCsidlCommonPictures;
    default:
      return kCsidlPersonal;
  }
}

FolderUse UseOf(std::int32_t folder_code) {
  const bool everyone = folder_code >= kFolderCommonAppData && folder_code <= kFolderCommonPictures;
  return everyone ? FolderUse::kEveryone : FolderUse::kUserAlone;
}

}  // namespace

std::string MGlobal::GetSpecialFolder(std::int32_t folder_code, const std::optional<std::string>& fallback,
                                      const std::optional<std::string>& sub_path) {
  std::string path;
  if (needs_.folders.SpecialFolder(PlatformFolder(folder_code), path) != kSuccess) {
    return WithBackslash(fallback.value_or(AppPath));
  }
  for (const std::string& piece : Split(sub_path.value_or(""), "\\")) {
    if (Trim(piece).empty()) continue;
    path = WithBackslash(path).append(piece);
    needs_.files.MakeFolder(path, UseOf(folder_code));  // an existing folder is no failure
  }
  return WithBackslash(path);
}

}  // namespace tsly
