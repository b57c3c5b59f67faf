// Where the system keeps things: special folders, the program's own folder, temporary names.
//
// One thread. Paths are in the core's form: backslashes, and on the Linux edition rooted at one ("\home\ann").
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tsly {

// The numbers of the special folders (CSIDL values, shlobj.h).
inline constexpr int kCsidlPersonal = 5;
inline constexpr int kCsidlAppData = 26;
inline constexpr int kCsidlCommonAppData = 35;
inline constexpr int kCsidlProgramFiles = 38;
inline constexpr int kCsidlMyPictures = 39;
inline constexpr int kCsidlCommonDocuments = 46;
inline constexpr int kCsidlCommonPictures = 54;

class Folders {
 public:
  virtual ~Folders() = default;

  // Fills `buffer` with the folder's path, without a backslash at its end, and a zero; makes the folder if it is
  // missing. 0, or another number when there is no such folder or it doesn't fit the buffer. A folder that can't be
  // made or looked at only now (a full disk, too many open files) is named all the same: nothing goes to another place
  // for that. A folder for everyone is always named.
  virtual int GetFolderPath(int csidl, std::span<char> buffer) = 0;

  // The folder of the program file, links resolved. May end in a backslash or not.
  virtual std::string ProgramFolder() = 0;

  // Fills `buffer` with the folder for temporary files, with a backslash at its end, and a zero. The result is the
  // number of characters without the zero, 0 on failure.
  virtual std::uint32_t GetTempPath(std::span<char> buffer) = 0;

  // Makes an empty file of a new name, `prefix`, some digits and ".tmp", in `folder` and fills `buffer` with its path
  // and a zero. The result is not 0 on success, and 0 when the file can't be made or the path doesn't fit.
  virtual std::uint32_t GetTempFileName(const std::string& folder, const std::string& prefix,
                                        std::span<char> buffer) = 0;
};

}  // namespace tsly
