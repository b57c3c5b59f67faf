// The program on the tests' memory platform, started once for all inputs; documents stay in memory.
#pragma once

#include <map>

#include "fuzz.h"
#include "support/headless_app.h"

namespace tsly {

// Keeps written files in memory. Also finds the files of the test's folder, and caches them. Other operations fail.
class MemoryFiles : public Files {
 public:
  std::map<std::string, std::string> contents;  // by path

  int Find(const std::string& pattern, std::vector<std::string>& names) override {
    if (contents.contains(pattern)) {
      names = {pattern.substr(pattern.rfind('\\') + 1)};
      return 0;
    }
    if (found_.size() > kMostKept) found_.clear();
    const auto [found, is_new] = found_.try_emplace(pattern);
    if (is_new) found->second.code = real_.Find(pattern, found->second.names);
    names = found->second.names;
    return found->second.code;
  }
  // Call after a change of the test's folder.
  void LookAgain() { found_.clear(); }
  int Delete(const std::string& path) override { return contents.erase(path) > 0 ? 0 : 2; }
  int Rename(const std::string&, const std::string&) override { return 2; }
  int Copy(const std::string&, const std::string&) override { return 2; }
  int MakeFolder(const std::string&, FolderUse) override { return 183; }
  int Append(const std::string&, std::string_view) override { return 0; }
  int MakeEmptyFile(const std::string& path) override { return contents.try_emplace(path).second ? 0 : 183; }
  int Create(const std::string& path, std::unique_ptr<NewFile>& file) override {
    file = std::make_unique<Created>(contents[path]);
    return 0;
  }
  int OpenForReading(const std::string& path, std::shared_ptr<OpenFile>& file) override {
    if (!contents.contains(path)) return 2;
    file = std::make_shared<MemoryDocument>(contents[path]);
    return 0;
  }
  int JoinList(const std::string&, std::unique_ptr<SharedList>&, bool&) override { return 5; }

 private:
  class Created : public NewFile {
   public:
    explicit Created(std::string& contents) : contents_(contents) { contents_.clear(); }
    int Write(std::string_view bytes) override {
      contents_ += bytes;
      return 0;
    }
    int Commit(std::shared_ptr<OpenFile>& file) override {
      file = std::make_shared<MemoryDocument>(contents_);
      return 0;
    }

   private:
    std::string& contents_;
  };

  struct Found {
    int code = 0;
    std::vector<std::string> names;
  };
  static constexpr std::size_t kMostKept = 10000;

  SystemFiles real_;
  std::map<std::string, Found> found_;
};

// Creates and checks each folder only once, because every log line needs one.
class KnownFolders : public TestFolders {
 public:
  using TestFolders::TestFolders;
  int SpecialFolder(int csidl, std::string& path) override {
    std::string& known = paths_[csidl];
    const int code = known.empty() ? TestFolders::SpecialFolder(csidl, known) : 0;
    if (code == 0) path = known;
    return code;
  }

 private:
  std::map<int, std::string> paths_;
};

class FuzzApp {
 public:
  FuzzApp() {
    CopyResources(folder);
    program.global.Main(program.dialog);
    loop.RunFor(std::chrono::milliseconds(0));
    for (const char* file : {"Languages\\English.ini", "Skins\\Default\\Skin.ini"}) {
      const std::string text = folder.Read(std::string("app\\") + file);
      MemoryDocument document(text);
      profiles.Pin(folder.CorePath(std::string("app\\") + file), &document);
    }
  }

  // Clears the state that an input left.
  void Reset() {
    files.contents.clear();
    toolkit.messages.clear();
    toolkit.answers.clear();
    toolkit.screen_pointers.clear();
    transfer.requests.clear();
    transfer.answers.clear();
    registry.DeleteTree(kLocalMachine, std::string(SettingsKey) + "\\" + VersionSubkey);
  }

  TempFolder folder;
  KnownFolders folders{folder};
  MemoryFiles files;
  IniReader profiles;
  MemoryRegistry registry;
  ManualClock clock;
  VirtualLoop loop{clock};
  ScriptedTransfer transfer{loop};
  RecordingUnzipFactory unzip;
  RecordingShell shell;
  FixedLocale locale;
  HeadlessToolkit toolkit;
  LocalAutomation automation;
  Program program{
      {registry, profiles, folders, files, clock, transfer, unzip, shell, locale, toolkit, loop, automation},
      0, ""
  };
};

}  // namespace tsly
