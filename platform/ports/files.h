// Files and folders.
//
// One thread. Every call gives one of the platform's result codes (system_codes.h), 0 for success. Paths are in the
// core's form (folders.h); letter case in a path doesn't matter where no name fits exactly. Wildcards ("*", "?") mean
// something to Find alone: in every other call they are plain characters of a name. Folders are never hidden files, nor
// are names that begin with a dot.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

class FileReader {
 public:
  virtual ~FileReader() = default;
  // Reads up to the buffer's size; `got` is 0 at the end of the file.
  virtual int Read(std::span<char> buffer, std::size_t& got) = 0;
};

// Writes may be held back until Close. An object that goes without Close drops what it holds back.
class FileWriter {
 public:
  virtual ~FileWriter() = default;
  virtual int Write(std::string_view bytes) = 0;
  virtual int Close() = 0;
};

class Files {
 public:
  virtual ~Files() = default;

  // The names, without their folder, of the normal files that fit the last part of `pattern`, sorted. Letter case
  // doesn't matter. 2: none; 3: the folder isn't there.
  virtual int Find(const std::string& pattern, std::vector<std::string>& names) = 0;

  // 2: not there; 5: it is a folder, or there is no right.
  virtual int Delete(const std::string& path) = 0;
  // 183: the target is there already.
  virtual int Rename(const std::string& from, const std::string& to) = 0;
  // Replaces the target's contents if it is there.
  virtual int Copy(const std::string& from, const std::string& to) = 0;
  // One folder, whose parent must be there. 183: it is there already.
  virtual int MakeFolder(const std::string& path) = 0;

  // Adds `text` at the end in one write, creating the file if need be; it is closed again on return.
  virtual int Append(const std::string& path, std::string_view text) = 0;

  // 5: it is a folder.
  virtual int Length(const std::string& path, std::int64_t& length) = 0;
  virtual int OpenForReading(const std::string& path, std::unique_ptr<FileReader>& reader) = 0;
  // Creates the file if need be; existing contents stay, and writing begins at the first byte.
  virtual int OpenForWriting(const std::string& path, std::unique_ptr<FileWriter>& writer) = 0;
};

}  // namespace tsly
