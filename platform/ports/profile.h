// The reader of INI files: one call, with the buffer rules of GetPrivateProfileString, on which its callers rely; the
// contract suite tests them.
//
// One thread. Names, values and paths are UTF-8 for any code page of the file; lengths and buffer sizes are in bytes,
// and truncation may split a character. A call after a change of the file uses the new contents. A file that is
// missing, unreadable, a folder or larger than 256 MiB counts as empty.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tsly {

class OpenFile;

class ProfileReader {
 public:
  virtual ~ProfileReader() = default;

  // Copies the value of `key` in `section` of `file` to `buffer`, or `fallback` (null counts as empty) if there is no
  // such key, with a terminating zero. Truncates what doesn't fit. Returns the number of bytes without the zero: size -
  // 1 if truncated.
  //
  // With a null `key`: the names of the section's keys in file order, each followed by a zero, and one more zero at the
  // end. With a null `section`: the same for the names of the sections. The result then includes the zero of each name
  // but not the last one: size - 2 if truncated, and the buffer ends in two zeros. Copies `fallback`, as above, if
  // there are no names.
  //
  // Names are not case-sensitive, and blanks around them are ignored. Blanks and tabs around values are removed, then
  // one pair of equal quotes. Empty text for `section` or `key` matches nothing: copies `fallback`.
  virtual std::uint32_t Read(const char* section, const char* key, const char* fallback, std::span<char> buffer,
                             const std::string& file) = 0;

  // Reads all of `document` once. From then on look-ups in `file`, with this spelling of the path, use that contents,
  // whatever happens to the file, until the path is pinned again or unpinned. Null: an empty file. Returns 0, or the
  // code of a failed read; the path then counts as an empty file.
  virtual int Pin(const std::string& file, OpenFile* document) = 0;
  virtual void Unpin(const std::string& file) = 0;
};

}  // namespace tsly
