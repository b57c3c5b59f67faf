#include <gtest/gtest.h>

#include "base/text.h"
#include "start_arguments.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

constexpr const char* kLog = "AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log";

TEST(Main, ReadsTheCommandLine) {
  const std::tuple<const char*, bool, std::int32_t> rows[] = {
      {"",                                false, 0   },
      {"/showupdates",                    true,  0   },
      {"  /SHOWUPDATES   /Window:1A2B ",  true,  6699},
      {"/window:12zz",                    false, 18  },
      {"/window:ffffffff",                false, -1  },
      {"/window:1 /window:2",             false, 2   },
      {"/showupdates/window:5",           false, 0   },
      {"/window:5/showupdates",           false, 5   },
      {"\"/showupdates\" \"/window:5\"",  false, 0   },
      {"showupdates /windows:5 /unknown", false, 0   },
      {"/wrenk /window:a",                false, 10  },
  };
  for (const auto& [line, show_updates, window] : rows) {
    StartedApp app(line, 1);
    EXPECT_EQ(app.program->global.ShowUpdates, show_updates) << line;
    EXPECT_EQ(app.program->global.HostWindow, window) << line;
    EXPECT_FALSE(app.dialog().Loaded()) << "a process for clients waits for its client";
  }
}

TEST(Main, KnowsItsFolders) {
  StartedApp app("", 1);
  EXPECT_EQ(app.program->global.AppPath, app.AppFolder());
  EXPECT_EQ(app.program->global.TargetAppPath, app.AppFolder());

  StartedApp developer("/WRENK", 1);
  EXPECT_EQ(developer.program->global.AppPath, "f:\\Tessaly 7.0\\Sources\\");
  EXPECT_EQ(developer.program->global.TargetAppPath, "f:\\Tessaly 7.0\\Tests\\PF\\Tessaly Studio\\");
  EXPECT_TRUE(developer.folder.Has("AppData\\Quillon Systems\\Tessaly Studio")) << "the log stays";
}

TEST(Main, ShowsTheListTheMessageOrTheDialog) {
  const Answer none, newer = Received("[Versions]\r\nA=1\r\n"), nothing_new = Received("[Versions]\r\nA=0\r\n");
  const Answer refused = Failed(12029, "No connection."), bad_address = FaultAtOnce(12005, "The address is wrong.");
  // Whether a list is shown, and the style of the message; 0: none.
  const std::tuple<const char*, Answer, bool, std::int32_t> rows[] = {
      {"",             none,        false, 0               },
      {"/window:5",    none,        false, 0               },
      {"/showupdates", newer,       true,  0               },
      {"/showupdates", nothing_new, false, kIconInformation},
      {"/showupdates", refused,     false, kIconWarning    },
      {"/showupdates", bad_address, false, kIconWarning    },
  };
  for (const auto& [line, answer, list, style] : rows) {
    HeadlessApp app(line);
    app.toolkit.during_message = [&] { EXPECT_FALSE(app.dialog().Visible()) << "shown only after the check"; };
    app.StartWith({answer}, {kAnswerOk});
    EXPECT_TRUE(app.dialog().Visible());
    EXPECT_EQ(app.controls().picStep200.Visible(), list);
    EXPECT_EQ(app.controls().picStep100.Visible(), !list);
    EXPECT_EQ(app.toolkit.messages.empty() ? 0 : app.toolkit.messages[0].style, style);
    EXPECT_TRUE(app.toolkit.messages.size() < 2 && app.toolkit.topmost.empty());
    app.CloseWindow();
    EXPECT_FALSE(app.dialog().Loaded());
  }
}

TEST(Main, AFailedSetUpEndsTheRunWithoutAWindow) {
  HeadlessApp app("/showupdates");
  std::filesystem::remove(app.folder.NativePath("app\\Languages\\English.ini"));
  app.SetVersionValue(kValueCheckedEvery, 1);
  app.StartWith({}, {kAnswerOk});
  EXPECT_TRUE(app.program->global.StartupFailed);
  EXPECT_FALSE(app.dialog().Loaded());
  EXPECT_TRUE(app.toolkit.shown.empty());
  EXPECT_EQ(app.VersionValue(kValueCheckedEvery), "1") << "unloads anyway";
}

TEST(Main, AnotherProcessStartsANewLog) {
  StartedApp app("", 1);
  app.program->global.WriteLog(1, "first");
  Program second(Platform{app.registry, app.profiles, app.folders, app.files, app.clock, app.transfer, app.unzip,
                          app.shell, app.locale, app.toolkit, app.loop, app.automation},
                 1, "");
  second.global.Main(second.dialog);
  second.global.WriteLog(1, "second");
  app.program->global.WriteLog(1, "third");
  EXPECT_EQ(app.Log(), "second\nthird\n");
}

TEST(Log, OneLineForEachEvent) {
  HeadlessApp app("", 1);
  app.clock.now = 41708.7708333333;
  MGlobal& global = app.program->global;
  global.WriteLog(0, "not written");
  global.WriteLog(2, "not written");
  EXPECT_FALSE(app.folder.Has(kLog));
  global.WriteLog(1, "one");
  global.WriteLog(1, "two\r\nlines");
  EXPECT_EQ(app.folder.Read(kLog), "2014-03-10 18:30:00  one\r\n2014-03-10 18:30:00  two\r\nlines\r\n");
}

TEST(Log, AnUnwritableLogIsHarmless) {
  HeadlessApp app("", 1);
  for (const FileCall call : {FileCall::kAppend, FileCall::kDelete}) app.files.failures.push_back({call, 0, 5});
  app.Start();
  app.program->global.WriteLog(1, "lost");
}

TEST(SpecialFolder, TranslatesCodesAndCreatesEachFolder) {
  HeadlessApp app("", 1);
  const std::tuple<std::int32_t, std::optional<std::string>, const char*> rows[] = {
      {201, std::nullopt,        "Documents\\"          },
      {202, std::nullopt,        "Pictures\\"           },
      {203, std::nullopt,        "ProgramFiles\\"       },
      {204, "One\\Two",          "AppData\\One\\Two\\"  },
      {204, "Four\\\\ \\Five\\", "AppData\\Four\\Five\\"},
      {205, "",                  "CommonAppData\\"      },
      {206, std::nullopt,        "CommonDocuments\\"    },
      {207, std::nullopt,        "CommonPictures\\"     },
      {999, std::nullopt,        "Documents\\"          },
  };
  for (const auto& [code, sub_path, name] : rows) {
    EXPECT_EQ(app.program->global.GetSpecialFolder(code, std::nullopt, sub_path), app.folder.CorePath(name));
    EXPECT_TRUE(app.folder.Has(name));
  }
}

TEST(SpecialFolder, FallsBackWithoutCreatingFolders) {
  StartedApp app("", 1);
  app.folders.nowhere = true;
  MGlobal& global = app.program->global;
  app.files.calls.clear();
  EXPECT_EQ(global.GetSpecialFolder(204, "\\fall\\back", "Sub"), "\\fall\\back\\");
  EXPECT_EQ(global.GetSpecialFolder(204, "", "Sub"), "\\");
  EXPECT_EQ(global.GetSpecialFolder(204, std::nullopt, "Sub"), app.AppFolder());
  EXPECT_EQ(app.files.calls[FileCall::kMakeFolder], 0);
}

TEST(StartArguments, TheModeIsASeparateArgument) {
  const std::tuple<const char*, StartMode, const char*> rows[] = {
  // words separated by bars
      {"x",                                     StartMode::kOnItsOwn,   ""                       },
      {"x|/showupdates|/window:1A",             StartMode::kOnItsOwn,   "/showupdates /window:1A"},
      {"x|/window:5|--automation|/showupdates", StartMode::kForClients, "/window:5 /showupdates" },
      {"x|--Automation|a b|",                   StartMode::kOnItsOwn,   "--Automation a b "      },
      {"x|/regserver",                          StartMode::kRegister,   ""                       },
  };
  const StartSwitch switches[] = {
      {"--automation", StartMode::kForClients},
      {"/regserver",   StartMode::kRegister  },
  };
  for (const auto& [arguments, mode, line] : rows) {
    std::vector<std::string> texts = Split(arguments, "|");
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    const StartArguments start = ReadStartArguments(static_cast<int>(pointers.size()), pointers.data(), switches);
    EXPECT_EQ(start.mode, mode);
    EXPECT_EQ(start.command_line, line);
  }
}

}  // namespace
}  // namespace tsly
