// The module MTempFiles: hands out paths for what the program downloads and remembers them, so that all can be deleted
// when the dialog goes away. One object per process, on its one thread. Nothing is raised: at worst a path names a file
// that can't be made, and the first write to it fails.
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

  // The full path of a file called `name`, which isn't made; with an empty name that of a new empty file with a
  // generated name and `extension`.
  std::string GetTempFile(const std::string& name, const std::string& extension);

  // Deletes the files handed out and forgets them all. One that survives is left to a later process.
  void DeleteTempFiles();

  // For an end of the process that leaves the files to a program it has started: no later process deletes them either.
  void LeaveTempFiles();

  // Where they lie, for as long as the system names a place.
  std::string Folder();

 private:
  std::string PlatformTempFile(const std::string& folder);
  std::string CountedFile(const std::string& folder, const std::string& extension);
  void JoinList(const std::string& folder);
  bool Delete(const std::string& path);
  bool DeleteLeftOver();
  bool Remember(const std::string& path);  // false: known already
  void AddToList(char mark, const std::string& path);

  MGlobal& global_;
  Folders& folders_;
  Files& files_;
  std::vector<std::string> TempFiles;  // each path once, without regard to letter case
  // What this process and others have handed out, by file name, so that the files of a process that was killed are
  // deleted by the next one that is alone. Joined with the first path, left when the files are deleted.
  std::unique_ptr<SharedList> list_;
  std::string list_folder_;
};

}  // namespace tsly
