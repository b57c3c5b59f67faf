// The whole program on the memory platform: real files and INI files in a folder of the test's own, everything else
// scripted and written down. A test sets the scene, starts, acts as a person would, and looks at what came of it.
//
// What every test gets for nothing: a fault that some routine forgot to skip, a wait that nothing can end, and a write
// after the end of the process all fail it.
#pragma once

#include <cstdint>
#include <cstdio>
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
  std::uint32_t code_page = 1252;  // 0: the system doesn't tell
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

// The test's folders: a home of its own, and the program file in "app".
class TestFolders : public SystemFolders {
 public:
  explicit TestFolders(const TempFolder& root)
      : SystemFolders(Home::In(root.NativePath())), program_(root.CorePath("app")) {}
  bool nowhere = false;  // the system names no special folder
  bool no_temp = false;  // nor one for temporary files
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

// The product's own language files and skins, for a program that stands in "app".
void CopyResources(const TempFolder& folder);
// How a valid language file begins.
inline const std::string kLanguageHead =
    "[General]\r\nDescription=Tessaly Studio Resources file\r\nVersion=7.0.1576\r\n";
// The lines of a log file without their stamps, each ended by LF.
std::string LogLines(const std::string& file);

class HeadlessApp {
 public:
  // The product's own language file and skin stand beside the program.
  explicit HeadlessApp(std::string command_line = "", std::int32_t start_mode = 0);
  ~HeadlessApp();

  // Main, and everything that waits behind it. Does nothing else until time passes.
  void Start();
  // The same with scripts of what the server and the user answer.
  void StartWith(std::deque<Answer> from_server, std::deque<std::int32_t> from_user = {});
  // Runs `deed` as an event of the program; the end of the process stops it.
  void Run(const std::function<void()>& deed);
  void Pass(std::chrono::milliseconds time);
  // What a person does to the window. A control that can't be reached fails the test.
  void Click(Control& control);
  void CloseWindow();

  // Settings below SettingsKey\Version.
  void SetVersionValue(const std::string& name, const RegData& data);
  std::string VersionValue(const std::string& name);  // "" when it isn't there
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
  bool ended = false;  // the process has ended itself

 private:
  void Send(UiEvent::Kind kind, ControlId control);
  int WaitsAndWrites() const;
  int at_end_ = 0;
};

// One that has started.
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
