// Files and folders.
//
// One thread. Every call returns a result code (system_codes.h), 0 for success. Paths and names are UTF-8 (other bytes
// pass unchanged), in the core's form (folders.h); contents are bytes, never converted. If no name matches exactly,
// letter case in a path is ignored. Wildcards ("*", "?") have a meaning only in Find: in other calls they are ordinary
// characters. Names that begin with a dot aren't hidden.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// A file that is open for reading. It stays the same file as long as the object exists, whatever happens to its name.
class OpenFile {
 public:
  virtual ~OpenFile() = default;
  virtual int Length(std::int64_t& length) = 0;  // in bytes
  // Reads at `offset`, up to the buffer's size; `got` is 0 at and after the end of the file. Several readers can use
  // one object.
  virtual int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) = 0;
  // Whether `path` refers to this file now. False also on errors.
  virtual bool IsAt(const std::string& path) = 0;
};

// A new file that gets its name when it is complete. Not flushed to the disk: after a power cut it may be empty.
class NewFile {
 public:
  virtual ~NewFile() = default;
  // May buffer. After a failed write, further writes and Commit fail.
  virtual int Write(std::string_view bytes) = 0;
  // Gives the file its name, replacing a former file, and returns it open. At any time the path refers to the former
  // file, none, or the complete new one. After a failure, and without Commit, nothing of the file is left.
  virtual int Commit(std::shared_ptr<OpenFile>& file) = 0;
};

// A list of lines in a file shared by several processes. A process participates as long as it has such an object, and
// at most until it ends, in whatever way.
class SharedList {
 public:
  virtual ~SharedList() = default;
  // Adds a line without a line end in one write and flushes it to the disk.
  virtual int Add(std::string_view line) = 0;
  // All complete lines in order, including those of ended processes.
  virtual int Read(std::vector<std::string>& lines) = 0;
  // True if no other process participates; then none can join until Share, Remove or the end of this object. False ends
  // the participation and makes the object useless.
  virtual bool BecomeAlone() = 0;
  // After BecomeAlone: lets others join, with an empty list if `cleared`.
  virtual void Share(bool cleared) = 0;
  // After BecomeAlone: removes the file.
  virtual void Remove() = 0;
};

// Who may use a folder that the program creates. Ignored on systems where folders inherit their rights.
enum class FolderUse { kUserAlone, kEveryone };

class Files {
 public:
  virtual ~Files() = default;

  // The sorted names, without their folder, of the normal files that match the last part of `pattern`, ignoring case.
  // 2: none; 3: no such folder.
  virtual int Find(const std::string& pattern, std::vector<std::string>& names) = 0;

  // 2: no such file; 5: a folder, or no permission.
  virtual int Delete(const std::string& path) = 0;
  // 183: the target exists. After a power cut the file has its old or its new name and is complete.
  virtual int Rename(const std::string& from, const std::string& to) = 0;
  // Replaces an existing target and keeps its owner and rights. Never leaves a partial file: the target is the old one,
  // the new one or, briefly, missing. Exception: if only the target is writable and not its folder, the contents are
  // replaced in place, and a failure or a power cut leaves part of them.
  virtual int Copy(const std::string& from, const std::string& to) = 0;
  // Creates one folder, whose parent must exist. 183: it exists already.
  virtual int MakeFolder(const std::string& path, FolderUse use) = 0;

  // Appends all of `text` or nothing (a part only if another process appends at the same time). Creates the file,
  // private to the user, if necessary, and closes it. 5: also links, and files that another user could have created.
  virtual int Append(const std::string& path, std::string_view text) = 0;

  // Creates an empty file. 183: the name exists already.
  virtual int MakeEmptyFile(const std::string& path) = 0;
  // A new file, private to the user, in the folder of `path`, which becomes its name at NewFile::Commit.
  virtual int Create(const std::string& path, std::unique_ptr<NewFile>& file) = 0;
  // 5: a folder, or no permission.
  virtual int OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) = 0;
  // Joins the list in the file `path`; creates it if necessary. `alone`: no other process participates, as after
  // BecomeAlone. 32: another process is alone at the moment.
  virtual int JoinList(const std::string& path, std::unique_ptr<SharedList>& list, bool& alone) = 0;
};

}  // namespace tsly
