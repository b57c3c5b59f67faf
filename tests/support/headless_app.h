// The whole program on the memory platform: real files and INI files in a temporary folder; everything else is scripted
// and recorded. A test prepares the state, starts the program, acts like a user and checks the result.
//
// Every test fails on unhandled errors, on a wait that nothing can end, and on a write after the end of the process.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "edition.h"
#include "ports/locale.h"
#include "program.h"
#include "services/MRegistryConstants.h"
#include "support/failing_files.h"
#include "support/headless_toolkit.h"
#include "support/local_automation.h"
#include "support/memory_registry.h"
#include "support/recording_shell.h"
#include "support/recording_unzip.h"
#include "support/scripted_transfer.h"
#include "support/temp_folder.h"
#include "support/virtual_loop.h"

namespace tsly {

class FixedLocale : public Locale {
 public:
  std::uint32_t code_page = 1252;  // 0: the system has none
  std::string date_separator = "/";
  std::string time_separator = ":";
  std::optional<std::uint32_t> DefaultCodePage() override {
    return code_page == 0 ? std::nullopt : std::optional(code_page);
  }
  std::optional<std::int32_t> CharsetOf(std::uint32_t page) override {
    if (page == 932) return 128;
    return page == 1252 ? std::optional(0) : std::nullopt;
  }
  std::string DateSeparator() override { return date_separator; }
  std::string TimeSeparator() override { return time_separator; }
};

// The test's folders: a separate home, and the program file in "app".
class TestFolders : public SystemFolders {
 public:
  explicit TestFolders(const TempFolder& root)
      : SystemFolders(Home::In(root.NativePath())), program_(root.CorePath("app")) {}
  bool nowhere = false;  // the system has no special folders
  bool no_temp = false;  // nor a temporary folder
  int SpecialFolder(int csidl, std::string& path) override {
    return nowhere ? 1 : SystemFolders::SpecialFolder(csidl, path);
  }
  int TemporaryFolder(std::string& path) override { return no_temp ? 1 : SystemFolders::TemporaryFolder(path); }
  int MakeTempFile(const std::string& in, const std::string& prefix, std::string& path) override {
    return no_temp ? 1 : SystemFolders::MakeTempFile(in, prefix, path);
  }
  std::string ProgramFolder() override { return program_; }

 private:
  std::string program_;
};

// Copies the product's language files and skins next to a program in "app".
void CopyResources(const TempFolder& folder);
// The beginning of a valid language file.
inline const std::string kLanguageHead =
    "[General]\r\nDescription=Tessaly Studio Resources file\r\nVersion=7.0.1576\r\n";
// The lines of a log file without their stamps, each ended by LF.
std::string LogLines(const std::string& file);

class HeadlessApp {
 public:
  // With the product's own language file and skin next to the program.
  explicit HeadlessApp(std::string command_line = "", std::int32_t start_mode = 0);
  ~HeadlessApp();

  // Runs Main and all pending events. Nothing else happens until time passes.
  void Start();
  // The same, with scripted responses of the server and answers of the user.
  void StartWith(std::deque<Answer> from_server, std::deque<std::int32_t> from_user = {});
  // Runs `deed` as an event of the program, until the end of the process.
  void Run(const std::function<void()>& deed);
  void Pass(std::chrono::milliseconds time);
  // Actions of the user. A control that the user can't reach fails the test.
  void Click(Control& control);
  void CloseWindow();

  // Settings below SettingsKey\Version.
  void SetVersionValue(const std::string& name, const RegData& data);
  std::string VersionValue(const std::string& name);  // "" if missing
  bool HasVersionValue(const std::string& name);

  std::string AppFolder() const { return folder.CorePath("app\\"); }
  std::string ProductFolder() const;  // log and temporary files
  std::string Log() const;            // the lines without their stamps, each ended by LF
  std::vector<std::string> Prompts() const;
  frmVerify& dialog() { return program->dialog; }
  VerifyControls& controls() { return program->dialog.controls; }

  TempFolder folder;
  TestFolders folders;
  SystemFiles real_files;
  FailingFiles files;
  IniReader profiles;
  MemoryRegistry registry;
  ManualClock clock;
  VirtualLoop loop;
  ScriptedTransfer transfer;
  RecordingUnzipFactory unzip;
  RecordingShell shell;
  FixedLocale locale;
  HeadlessToolkit toolkit;
  LocalAutomation automation;
  std::unique_ptr<Program> program;
  bool ended = false;  // the process has ended

 private:
  void Send(UiEvent::Kind kind, ControlId control);
  int WaitsAndWrites() const;
  int at_end_ = 0;
};

// The program after its start.
class StartedApp : public HeadlessApp {
 public:
  explicit StartedApp(std::string line = "", std::deque<Answer> from_server = {},
                      std::deque<std::int32_t> from_user = {})
      : HeadlessApp(std::move(line)) {
    StartWith(std::move(from_server), std::move(from_user));
  }
  StartedApp(std::string line, std::int32_t start_mode) : HeadlessApp(std::move(line), start_mode) { Start(); }
};

}  // namespace tsly
