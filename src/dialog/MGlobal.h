// The module MGlobal: globals and entry point of the process, the log, the launcher and small services for all other
// parts of the program. One object per process, on its only thread; tests build it on the memory platform.
//
// No routine here throws: it skips a step that fails and returns what it has.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ports/fault.h"

namespace tsly {

class Clock;
class EventLoop;
class Files;
class Folders;
class ProfileReader;
class Shell;
class Toolkit;
class frmVerify;

// The program's own folder codes for GetSpecialFolder.
inline constexpr std::int32_t kFolderAppData = 204;
inline constexpr std::int32_t kFolderCommonAppData = 205;
inline constexpr std::int32_t kFolderCommonDocuments = 206;
inline constexpr std::int32_t kFolderCommonPictures = 207;

// Below the user's and the common application data folders: log, temporary files, and what packs put there.
inline constexpr const char* kProductSubPath = "Quillon Systems\\Tessaly Studio";

class MGlobal {
 public:
  struct Needs {
    Folders& folders;
    Files& files;
    ProfileReader& profiles;
    Clock& clock;
    Shell& shell;
    Toolkit& toolkit;
    EventLoop& loop;
    std::int32_t start_mode;   // 0: started by a user; anything else: started for an automation client
    std::string command_line;  // without the program's own name
  };

  explicit MGlobal(Needs needs) : needs_(std::move(needs)) {}

  // The entry point of the process (Main.cpp): fills the globals, removes the log of the former run, reads the command
  // line and, unless started for a client, opens the dialog.
  void Main(frmVerify& dialog);

  std::string AppPath;        // folder of the program file, ending in a backslash
  std::string TargetAppPath;  // the value of the install macro {app}, ending in a backslash
  bool ShowUpdates = false;
  std::int32_t HostWindow = 0;  // 0: none
  bool StartupFailed = false;   // language or skin set-up failed

  std::int32_t StartMode() const { return needs_.start_mode; }

  // The log (log.cpp): one line per event; WriteLog returns after the line is written.
  void ResetLogFile();
  void WriteLog(std::int32_t enable, const std::string& text);  // writes only with enable 1

  // The folder of one of the program's own codes (special_folders.cpp; 201 to 207), ending in a backslash; creates the
  // folders of `sub_path`. Without such a folder on this system: `fallback`, or AppPath.
  std::string GetSpecialFolder(std::int32_t folder_code, const std::optional<std::string>& fallback = std::nullopt,
                               const std::optional<std::string>& sub_path = std::nullopt);

  // Starts a program with raised rights (launcher.cpp), then processes events for five seconds. Without `parameters`,
  // takes them from `command`. Returns the call's fault, if any.
  Fault RunElevated(std::string command, std::optional<std::string> parameters, std::int32_t show_command);

  // Common helpers (helpers.cpp).
  std::int32_t ShowMessage(const std::string& prompt, std::int32_t buttons,
                           const std::optional<std::string>& title = std::nullopt);
  bool FileExists(const std::string& filename);  // may contain wildcards
  std::string ExpandAppPath(const std::string& text) const;
  // A value of an INI file, of any length. `key` null: the section's key names, each followed by a zero character.
  std::string ReadProfileString(const std::string& section, const char* key, const char* fallback,
                                const std::string& filename);
  // Whether the key exists, even with an empty value.
  bool ProfileKeyExists(const std::string& section, const std::string& key, const std::string& filename);

 private:
  std::string LogFilePath();
  void ReadToken(const std::string& token);

  Needs needs_;
};

}  // namespace tsly
