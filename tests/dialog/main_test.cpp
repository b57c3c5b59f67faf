#include <gtest/gtest.h>

#include "base/text.h"
#include "start_arguments.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

constexpr const char* kLog = "AppData\\Quillon Systems\\Tessaly Studio\\tslyUpdater.log";

TEST(Main, ReadsTheCommandLine) {
  const struct {
    const char* line;
    bool show_updates;
    std::int32_t window;
  } kCases[] = {
      {"",                                false, 0         },
      {"/showupdates",                    true,  0         },
      {"  /SHOWUPDATES   /Window:1A2B ",  true,  6699      },
      {"/window:12zz",                    false, 18        },
      {"/window:ffffffff",                false, -1        },
      {"/window:123456789",               false, 0x23456789},
      {"/window:1 /window:2",             false, 2         },
      {"/showupdates/window:5",           false, 0         },
      {"/window:5/showupdates",           false, 5         },
      {"\"/showupdates\" \"/window:5\"",  false, 0         },
      {"showupdates /windows:5 /unknown", false, 0         },
      {"/wrenk /window:a",                false, 10        },
  };
  for (const auto& row : kCases) {
    StartedApp app(row.line, 1);
    EXPECT_EQ(app.program->global.ShowUpdates, row.show_updates) << row.line;
    EXPECT_EQ(app.program->global.HostWindow, row.window) << row.line;
    EXPECT_FALSE(app.dialog().Loaded()) << "a client's process waits for its client";
  }
}

TEST(Main, KnowsItsFolders) {
  StartedApp app("", 1);
  EXPECT_EQ(app.program->global.AppPath, app.AppFolder());
  EXPECT_EQ(app.program->global.TargetAppPath, app.AppFolder());

  StartedApp developer("/WRENK", 1);
  EXPECT_EQ(developer.program->global.AppPath, "f:\\Tessaly 7.0\\Sources\\");
  EXPECT_EQ(developer.program->global.TargetAppPath, "f:\\Tessaly 7.0\\Tests\\PF\\Tessaly Studio\\");
  EXPECT_TRUE(developer.folder.Has("AppData\\Quillon Systems\\Tessaly Studio")) << "the log doesn't move with it";
}

TEST(Main, RemovesTheLogOfTheFormerRun) {
  HeadlessApp app("", 1);
  app.folder.Write(kLog, "old lines");
  app.Start();
  EXPECT_FALSE(app.folder.Has(kLog));
}

TEST(Main, FirstThingThatTheUserSees) {
  const Answer none, newer = Received("[Versions]\r\nA=1\r\n"), nothing_new = Received("[Versions]\r\nA=0\r\n");
  const Answer refused = Failed(12029, "No connection."), bad_address = FaultAtOnce(12005, "The address is wrong.");
  const struct {
    const char* line;
    const Answer& answer;
    bool list;
    std::int32_t message_style;  // 0: no message
  } kCases[] = {
      {"",             none,        false, 0               },
      {"/window:5",    none,        false, 0               },
      {"/showupdates", newer,       true,  0               },
      {"/showupdates", nothing_new, false, kIconInformation},
      {"/showupdates", refused,     false, kIconWarning    },
      {"/showupdates", bad_address, false, kIconWarning    },
  };
  for (const auto& row : kCases) {
    HeadlessApp app(row.line);
    if (std::string(row.line) == "/showupdates") app.transfer.answers = {row.answer};
    if (row.message_style != 0) app.toolkit.answers = {kAnswerOk};
    app.toolkit.during_message = [&] { EXPECT_FALSE(app.dialog().Visible()) << "the check ends before it is shown"; };
    app.Start();
    EXPECT_TRUE(app.dialog().Visible());
    EXPECT_EQ(app.controls().picStep200.Visible(), row.list);
    EXPECT_EQ(app.controls().picStep100.Visible(), !row.list);
    ASSERT_EQ(app.toolkit.messages.size(), row.message_style != 0 ? 1u : 0u);
    for (const auto& message : app.toolkit.messages) EXPECT_EQ(message.style, row.message_style);
    EXPECT_TRUE(app.toolkit.topmost.empty());
    app.CloseWindow();
    EXPECT_FALSE(app.dialog().Loaded());
  }
}

TEST(Main, AFailedSetUpEndsTheRunWithoutAWindow) {
  HeadlessApp app("/showupdates");
  std::filesystem::remove(app.folder.NativePath("app\\Languages\\English.ini"));
  app.SetVersionValue(kValueCheckedEvery, 1);
  app.toolkit.answers = {kAnswerOk};
  app.Start();
  EXPECT_TRUE(app.program->global.StartupFailed);
  EXPECT_FALSE(app.dialog().Loaded());
  EXPECT_TRUE(app.toolkit.shown.empty());
  EXPECT_EQ(app.Prompts(), std::vector<std::string>{"The english language file (" + app.AppFolder() +
                                                    "Languages\\English.ini) can't be found. The program can't "
                                                    "continue. Please reinstall the software."});
  EXPECT_EQ(app.VersionValue(kValueCheckedEvery), "1") << "its unload step runs all the same";
}

TEST(Main, AnotherProcessTakesTheLogOver) {
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

TEST(Log, AFileThatCannotBeWrittenCostsNothing) {
  HeadlessApp app("", 1);
  for (const FileCall call : {FileCall::kAppend, FileCall::kDelete}) app.files.failures.push_back({call, 0, 5});
  app.Start();
  app.program->global.WriteLog(1, "lost");
  EXPECT_FALSE(app.folder.Has(kLog));
}

TEST(SpecialFolder, TranslatesCodesAndMakesTheChainPieceByPiece) {
  HeadlessApp app("", 1);
  const struct {
    std::int32_t code;
    std::optional<std::string> sub_path;
    const char* folder;
  } kCases[] = {
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
  for (const auto& row : kCases) {
    EXPECT_EQ(app.program->global.GetSpecialFolder(row.code, std::nullopt, row.sub_path),
              app.folder.CorePath(row.folder));
    EXPECT_TRUE(app.folder.Has(row.folder));
  }
}

TEST(SpecialFolder, FallsBackWithoutMakingAnything) {
  StartedApp app("", 1);
  app.folders.nowhere = true;
  MGlobal& global = app.program->global;
  app.files.calls.clear();
  EXPECT_EQ(global.GetSpecialFolder(204, "\\fall\\back", "Sub"), "\\fall\\back\\");
  EXPECT_EQ(global.GetSpecialFolder(204, "", "Sub"), "\\");
  EXPECT_EQ(global.GetSpecialFolder(204, std::nullopt, "Sub"), app.AppFolder());
  EXPECT_EQ(app.files.calls[FileCall::kMakeFolder], 0);
}

TEST(StartArguments, TheModeIsASwitchOfItsOwn) {
  const struct {
    const char* arguments;  // between bars
    std::int32_t mode;
    const char* line;
  } kCases[] = {
      {"",                                     0, ""                       },
      {"|/showupdates|/window:1A",             0, "/showupdates /window:1A"},
      {"|/window:5|--automation|/showupdates", 1, "/window:5 /showupdates" },
      {"|--Automation|a b|",                   0, "--Automation a b "      },
      {"|--automation",                        1, ""                       },
  };
  for (const auto& row : kCases) {
    std::vector<std::string> texts = Split(std::string("tslyCheckNew") + row.arguments, "|");
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    const StartArguments start = ReadStartArguments(static_cast<int>(pointers.size()), pointers.data());
    EXPECT_EQ(start.mode, row.mode);
    EXPECT_EQ(start.command_line, row.line);
  }
}

}  // namespace
}  // namespace tsly
