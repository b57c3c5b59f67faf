#include "services/MTempFiles.h"

#include <algorithm>
#include <memory>

#include "base/text.h"
#include "ports/files.h"
#include "ports/folders.h"
#include "shell/MGlobal.h"

namespace tsly {
namespace {

constexpr std::size_t kPathBuffer = 2048;
constexpr int kCountedNames = 100000;
constexpr const char* kPrefix = "tsl";

std::string CountedName(int number, const std::string& extension) {
  std::string digits = std::to_string(number);
  digits.insert(0, 5 - digits.size(), '0');
  return kPrefix + digits + "." + extension;
}

}  // namespace

std::string MTempFiles::GetTempFile(const std::string& name, const std::string& extension) {
  const std::string folder = WithBackslash(Folder());
  std::string path;
  if (!name.empty()) {
    path = folder + name;
  } else if (LowerCase(extension) == "tmp") {
    path = PlatformTempFile(folder);
  } else {
    path = CountedFile(folder, extension);
  }
  const bool listed =
      std::any_of(TempFiles.begin(), TempFiles.end(), [&](const auto& p) { return EqualIgnoringCase(p, path); });
  if (!listed) TempFiles.push_back(path);
  return path;
}

std::string MTempFiles::Folder() {
  const std::string folder = global_.GetSpecialFolder(kFolderAppData, "", kProductSubPath);
  if (folder != "\\") return folder;
  std::vector<char> buffer(kPathBuffer, '\0');
  if (const std::uint32_t length = folders_.GetTempPath(buffer); length > 0) return std::string(buffer.data(), length);
  files_.MakeFolder("C:\\TEMP\\");
  return "C:\\TEMP\\";
}

std::string MTempFiles::PlatformTempFile(const std::string& folder) {
  std::vector<char> buffer(kPathBuffer, '\0');
  if (folders_.GetTempFileName(folder, kPrefix, buffer) == 0) return folder + CountedName(0, "tmp");
  return std::string(buffer.begin(), std::find(buffer.begin(), buffer.end(), '\0'));
}

std::string MTempFiles::CountedFile(const std::string& folder, const std::string& extension) {
  int number = 0;
  while (number < kCountedNames && global_.FileExists(folder + CountedName(number, extension))) ++number;
  const std::string path = folder + CountedName(number < kCountedNames ? number : 0, extension);
  std::unique_ptr<FileWriter> file;
  if (files_.OpenForWriting(path, file) == 0) file->Close();
  return path;
}

void MTempFiles::DeleteTempFiles() {
  for (const std::string& path : TempFiles) files_.Delete(path);
  TempFiles.clear();
}

}  // namespace tsly
