// The reader of INI files: one call, with the buffer rules of the system's own (GetPrivateProfileString), which its
// callers rely on and its contract suite pins.
//
// One thread. Names, values and paths are UTF-8, whatever the file's code page; lengths and buffer sizes count its
// bytes, and a cut may fall inside a letter. A file rewritten between two calls is seen at the second. A file that is
// missing, unreadable, a folder or above 256 MiB counts as one without sections.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tsly {

class OpenFile;

class ProfileReader {
 public:
  virtual ~ProfileReader() = default;

  // Copies into `buffer` the value of `key` in `section` of `file`, or `fallback` (null counts as empty) if there is no
  // such key, with a terminating zero; what doesn't fit is cut. The result is the number of characters copied without
  // the zero: size - 1 when the value was cut.
  //
  // With a null `key`, the names of the section's keys in file order, each ended by a zero, and one more zero behind
  // the last; with a null `section`, the same with the names of the sections. The result is then the number of
  // characters with the zero of each name and without the last one: size - 2 when the list was cut, and the buffer ends
  // in two zeros. Where there is nothing to list, `fallback` is copied as above.
  //
  // Names match without regard to letter case, blanks round them left out; values lose blanks and tabs at both ends and
  // then one pair of equal quotes round them. An empty text for `section` or `key` names nothing: `fallback` is copied.
  virtual std::uint32_t Read(const char* section, const char* key, const char* fallback, std::span<char> buffer,
                             const std::string& file) = 0;

  // Reads `document` once, whole. From now on look-ups in `file`, by this spelling of the path, are answered from that
  // reading, whatever happens to the file, until the path is pinned anew or unpinned. Null: a file without sections.
  // 0, or the code of a read that failed; the path then reads as a file without sections.
  virtual int Pin(const std::string& file, OpenFile* document) = 0;
  virtual void Unpin(const std::string& file) = 0;
};

}  // namespace tsly
