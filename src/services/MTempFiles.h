// The module MTempFiles: hands out paths for what the program downloads and remembers them, so that all can be deleted
// when the dialog goes away. One object per process, on its one thread. Nothing is raised: at worst a path names a file
// that can't be made, and the first write to it fails.
#pragma once

#include <string>
#include <vector>

namespace tsly {

class Files;
class Folders;
class MGlobal;

class MTempFiles {
 public:
  MTempFiles(MGlobal& global, Folders& folders, Files& files) : global_(global), folders_(folders), files_(files) {}

  // The full path of a file called `name`, which isn't made; with an empty name that of a new empty file with a
  // generated name and `extension`.
  std::string GetTempFile(const std::string& name, const std::string& extension);

  // Deletes the files handed out and forgets them all, also those that survive.
  void DeleteTempFiles();

  // Where they lie, for as long as the system names a place.
  std::string Folder();

 private:
  std::string PlatformTempFile(const std::string& folder);
  std::string CountedFile(const std::string& folder, const std::string& extension);

  MGlobal& global_;
  Folders& folders_;
  Files& files_;
  std::vector<std::string> TempFiles;  // each path once, without regard to letter case
};

}  // namespace tsly
