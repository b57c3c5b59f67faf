// Where the system keeps things: special folders, the program's own folder, temporary names.
//
// One thread. Every call gives one of the platform's result codes (system_codes.h), 0 for success, and leaves its out
// argument alone on failure. Paths are UTF-8 (bytes that are none pass as they are), in the core's form: backslashes,
// and on the Linux edition rooted at one ("\home\ann").
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

  // The folder's path, without a backslash at its end; makes the folder if it is missing. Not 0: there is no such
  // folder. A folder that can't be made or looked at only now (a full disk, too many open files) is named all the same:
  // nothing goes to another place for that. A folder for everyone is always named.
  virtual int SpecialFolder(int csidl, std::string& path) = 0;

  // The folder of the program file, links resolved. May end in a backslash or not.
  virtual std::string ProgramFolder() = 0;

  // The folder for temporary files, with a backslash at its end.
  virtual int TemporaryFolder(std::string& path) = 0;

  // Makes an empty file of a new name, `prefix`, some digits and ".tmp", in `folder`; `path` is the whole path.
  virtual int MakeTempFile(const std::string& folder, const std::string& prefix, std::string& path) = 0;
};

}  // namespace tsly
