#include "services/MTempFiles.h"

#include <algorithm>
#include <memory>
#include <set>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "ports/files.h"
#include "ports/folders.h"
#include "ports/system_codes.h"

namespace tsly {
namespace {

constexpr int kCountedNames = 100000;
constexpr const char* kPrefix = "tsl";

// The list of the files handed out. Each line is a mark and a name. No document can take its name: theirs are trimmed.
constexpr const char* kListName = " tslFiles.lst";
constexpr char kHandedOut = '+';
constexpr char kLeft = '-';

std::string CountedName(int number, const std::string& extension) {
  std::string digits = std::to_string(number);
  digits.insert(0, 5 - digits.size(), '0');
  return kPrefix + digits + "." + extension;
}

}  // namespace

MTempFiles::MTempFiles(MGlobal& global, Folders& folders, Files& files)
    : global_(global), folders_(folders), files_(files) {}

MTempFiles::~MTempFiles() = default;

std::string MTempFiles::GetTempFile(const std::string& name, const std::string& extension) {
  const std::string folder = WithBackslash(Folder());
  JoinList(folder);
  std::string path;
  if (!name.empty()) {
    path = folder + name;
  } else if (LowerCase(extension) == "tmp") {
    path = PlatformTempFile(folder);
  } else {
    path = CountedFile(folder, extension);
  }
  Remember(path);
  return path;
}

// Added to the list before the file is created: a process that is killed in between leaves no unlisted file.
bool MTempFiles::Remember(const std::string& path) {
  const auto is_it = [&](const std::string& other) { return EqualIgnoringCase(other, path); };
  if (std::any_of(TempFiles.begin(), TempFiles.end(), is_it)) return false;
  TempFiles.push_back(path);
  AddToList(kHandedOut, path);
  return true;
}

void MTempFiles::AddToList(char mark, const std::string& path) {
  if (list_ && path.starts_with(list_folder_)) list_->Add(mark + path.substr(list_folder_.size()));
}

std::string MTempFiles::Folder() {
  const std::string folder = global_.GetSpecialFolder(kFolderAppData, "", kProductSubPath);
  if (folder != "\\") return folder;
  std::string temp;
  if (folders_.TemporaryFolder(temp) == kSuccess) return temp;
  files_.MakeFolder("C:\\TEMP\\", FolderUse::kUserAlone);
  return "C:\\TEMP\\";
}

std::string MTempFiles::PlatformTempFile(const std::string& folder) {
  std::string path;
  return folders_.MakeTempFile(folder, kPrefix, path) == kSuccess ? path : folder + CountedName(0, "tmp");
}

std::string MTempFiles::CountedFile(const std::string& folder, const std::string& extension) {
  for (int number = 0; number < kCountedNames; ++number) {
    std::string path = folder + CountedName(number, extension);
    if (global_.FileExists(path)) continue;
    const bool is_new = Remember(path);
    // Another process may take the name between the two calls.
    if (files_.MakeEmptyFile(path) != kAlreadyExists) return path;
    if (!is_new) continue;
    TempFiles.pop_back();
    AddToList(kLeft, path);
  }
  std::string path = folder + CountedName(0, extension);
  files_.MakeEmptyFile(path);
  return path;
}

void MTempFiles::DeleteTempFiles() {
  bool all_gone = true;
  for (const std::string& path : TempFiles) all_gone = Delete(path) && all_gone;
  TempFiles.clear();
  // A later process deletes a file that can't be deleted now, so the list stays.
  if (list_ && list_->BecomeAlone() && all_gone && DeleteLeftOver()) list_->Remove();
  list_.reset();
}

void MTempFiles::LeaveTempFiles() {
  for (const std::string& path : TempFiles) AddToList(kLeft, path);
}

void MTempFiles::JoinList(const std::string& folder) {
  bool alone = false;
  if (list_ || files_.JoinList(folder + kListName, list_, alone) != kSuccess) return;
  list_folder_ = folder;
  if (alone) list_->Share(DeleteLeftOver());
  for (const std::string& path : TempFiles) AddToList(kHandedOut, path);  // from before, when it could not be joined
}

// False if the file still exists.
bool MTempFiles::Delete(const std::string& path) {
  std::shared_ptr<OpenFile> file;
  return files_.Delete(path) == kSuccess || files_.OpenForReading(path, file) != kSuccess;
}

// Deletes the listed files. False if the list can't be read or a file still exists.
bool MTempFiles::DeleteLeftOver() {
  std::vector<std::string> lines;
  if (list_->Read(lines) != kSuccess) return false;
  std::set<std::string> names;
  for (const std::string& line : lines) {
    // Only plain names, no paths to other folders.
    if (line.find_first_of("\\/") != std::string::npos) continue;
    if (line.starts_with(kHandedOut)) names.insert(line.substr(1));
    if (line.starts_with(kLeft)) names.erase(line.substr(1));
  }
  bool all_gone = true;
  for (const std::string& name : names) all_gone = Delete(list_folder_ + name) && all_gone;
  return all_gone;
}

}  // namespace tsly
