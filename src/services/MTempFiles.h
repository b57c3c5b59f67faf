// The module MTempFiles: provides paths for downloads and remembers them, so that the dialog can delete all files when
// it unloads. One object per process, on its only thread. Nothing throws: at worst a path names a file that can't be
// created, and the first write to it fails.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace tsly {

class Files;
class Folders;
class MGlobal;
class SharedList;

class MTempFiles {
 public:
  MTempFiles(MGlobal& global, Folders& folders, Files& files);
  ~MTempFiles();

  // The full path for a file `name`, which isn't created; with an empty name the path of a new empty file with a
  // generated name and `extension`.
  std::string GetTempFile(const std::string& name, const std::string& extension);

  // Deletes the files and forgets their paths. A later process deletes those that can't be deleted now.
  void DeleteTempFiles();

  // For an end of the process that leaves the files to a program it has started: no later process deletes them either.
  void LeaveTempFiles();

  // Their folder, if the system has one.
  std::string Folder();

 private:
  std::string PlatformTempFile(const std::string& folder);
  std::string CountedFile(const std::string& folder, const std::string& extension);
  void JoinList(const std::string& folder);
  bool Delete(const std::string& path);
  bool DeleteLeftOver();
  bool Remember(const std::string& path);  // false: already known
  void AddToList(char mark, const std::string& path);

  MGlobal& global_;
  Folders& folders_;
  Files& files_;
  std::vector<std::string> TempFiles;  // each path once, without regard to letter case
  // The file names of this process and of others, so that the next process that runs alone can delete the files of a
  // killed one. Joined with the first path, left when the files are deleted.
  std::unique_ptr<SharedList> list_;
  std::string list_folder_;
};

}  // namespace tsly
