// Files and folders.
//
// One thread. Every call gives one of the platform's result codes (system_codes.h), 0 for success. Paths and names are
// UTF-8 (bytes that are none pass as they are), in the core's form (folders.h); what files hold is bytes, never
// converted. Letter case in a path doesn't matter where no name fits exactly. Wildcards ("*", "?") mean something to
// Find alone: in every other call they are plain characters of a name. Folders are never hidden files, nor are names
// that begin with a dot.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// A file that is open for reading. It stays the same file for as long as it is held, whatever happens to its name.
class OpenFile {
 public:
  virtual ~OpenFile() = default;
  virtual int Length(std::int64_t& length) = 0;  // in bytes
  // Reads at `offset` up to the buffer's size; `got` is 0 at the end of the file and after it. Two readers of one
  // object don't disturb each other.
  virtual int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) = 0;
  // Whether `path` names this very file now. False also when that can't be found out.
  virtual bool IsAt(const std::string& path) = 0;
};

// A file on its way to its name: whole under that name, or not there at all, as long as the system runs. It is not
// flushed to the disk: after a loss of power it may be empty.
class NewFile {
 public:
  virtual ~NewFile() = default;
  // Writes may be held back. After a failed one nothing more is taken, and Commit fails.
  virtual int Write(std::string_view bytes) = 0;
  // Gives the file its name, in the place of what had it, and hands it out, open. Whoever opens the path finds the
  // former file, none, or all of the new one. After a failure nothing of it is left. Without Commit it is dropped.
  virtual int Commit(std::shared_ptr<OpenFile>& file) = 0;
};

// A list of lines in a file that several processes share. Each takes part for as long as it holds an object of this
// kind, and no longer than it lives, however it ends.
class SharedList {
 public:
  virtual ~SharedList() = default;
  // Adds a line, which holds no line end, in one write, and flushes it to the disk.
  virtual int Add(std::string_view line) = 0;
  // All whole lines in order, those of ended processes included.
  virtual int Read(std::vector<std::string>& lines) = 0;
  // True when no other process takes part; then nobody can join until Share, Remove or the end of this object. False
  // ends the taking part: the object is of no further use.
  virtual bool BecomeAlone() = 0;
  // Of the one that is alone: lets others join, with an empty list if `cleared`.
  virtual void Share(bool cleared) = 0;
  // Of the one that is alone: removes the file.
  virtual void Remove() = 0;
};

// Whom a folder that the program makes is for. Systems whose folders inherit their rights take no notice.
enum class FolderUse { kUserAlone, kEveryone };

class Files {
 public:
  virtual ~Files() = default;

  // The names, without their folder, of the normal files that fit the last part of `pattern`, sorted. Letter case
  // doesn't matter. 2: none; 3: the folder isn't there.
  virtual int Find(const std::string& pattern, std::vector<std::string>& names) = 0;

  // 2: not there; 5: it is a folder, or there is no right.
  virtual int Delete(const std::string& path) = 0;
  // 183: the target is there already. After a power cut the file has its old name or its new one, and is whole.
  virtual int Rename(const std::string& from, const std::string& to) = 0;
  // Replaces the target if it is there, and keeps its owner and rights then. Never half a file: the target is the old
  // one, the new one or, for an instant, missing. Only where the folder can't be written to and the target can, its
  // contents are replaced in place, and a failure or a power cut leaves part of them.
  virtual int Copy(const std::string& from, const std::string& to) = 0;
  // One folder, whose parent must be there. 183: it is there already.
  virtual int MakeFolder(const std::string& path, FolderUse use) = 0;

  // Adds all of `text` at the end or, unless another process adds to the file at the same time, nothing of it, creating
  // the file, for the user alone, if need be; it is closed again on return. 5 also: links, and files that somebody else
  // could have put there.
  virtual int Append(const std::string& path, std::string_view text) = 0;

  // Makes an empty file. 183: something is there already.
  virtual int MakeEmptyFile(const std::string& path) = 0;
  // A new file for the user alone, beside `path`, which NewFile::Commit then names so.
  virtual int Create(const std::string& path, std::unique_ptr<NewFile>& file) = 0;
  // 5: it is a folder, or there is no right.
  virtual int OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) = 0;
  // Takes part in the list in the file `path`, which is made if need be. `alone`: nobody else does, as after
  // BecomeAlone. 32: another process is alone with it just now.
  virtual int JoinList(const std::string& path, std::unique_ptr<SharedList>& list, bool& alone) = 0;
};

}  // namespace tsly
