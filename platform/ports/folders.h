// The system's special folders, the program's own folder, and temporary files.
//
// One thread. Every call returns a result code (system_codes.h), 0 for success, and doesn't change its out argument on
// failure. Paths are UTF-8 (other bytes pass unchanged), in the core's form: with backslashes and, in the Linux
// edition, one at the beginning ("\home\ann").
#pragma once

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

  // The folder's path, without a backslash at its end; creates the folder if it is missing. Not 0: there is no such
  // folder. After a temporary failure (a full disk, too many open files) the path is returned anyway, so that nothing
  // moves to another folder. A folder for everyone is always returned.
  virtual int SpecialFolder(int csidl, std::string& path) = 0;

  // The folder of the program file, with links resolved. May end in a backslash.
  virtual std::string ProgramFolder() = 0;

  // The temporary folder, with a backslash at its end.
  virtual int TemporaryFolder(std::string& path) = 0;

  // Creates an empty file with a new name in `folder`: `prefix`, some digits and ".tmp". `path` is the full path.
  virtual int MakeTempFile(const std::string& folder, const std::string& prefix, std::string& path) = 0;
};

}  // namespace tsly
