// The interface of an edition for the INI reader: files with change stamps, and code pages. One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "common/code_page_converter.h"

namespace tsly {

// Differs between two contents of one path, unless they were written within one tick of the file system's clock.
struct IniStamp {
  std::uint64_t volume = 0, file = 0;
  std::int64_t size = 0;                   // bytes
  std::int64_t modified = 0, changed = 0;  // nanoseconds, of the clock that std::chrono::system_clock reads
  bool operator==(const IniStamp&) const = default;
};

class IniFile {
 public:
  virtual ~IniFile() = default;
  // Nothing if it isn't a regular file.
  virtual std::optional<IniStamp> Stamp() = 0;
  // As OpenFile::ReadAt (ports/files.h).
  virtual int ReadAt(std::int64_t offset, std::span<char> buffer, std::size_t& got) = 0;
};

class IniFiles {
 public:
  virtual ~IniFiles() = default;
  // The system's form of a core path.
  virtual std::string NativePath(const std::string& path) = 0;
  // The native path matches exactly, so no file created later can take precedence.
  virtual bool IsExact(const std::string& path, const std::string& native) = 0;
  // Without opening it; nothing as above, and if there is none.
  virtual std::optional<IniStamp> Stamp(const std::string& native) = 0;
  // Null if it can't be opened.
  virtual std::unique_ptr<IniFile> Open(const std::string& native) = 0;
  virtual std::unique_ptr<CodePageConverter> OpenCodePage(std::uint32_t code_page) = 0;
};

}  // namespace tsly
