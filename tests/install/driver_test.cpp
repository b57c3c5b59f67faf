#include <gtest/gtest.h>

#include <filesystem>

#include "ports/system_codes.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

// A pack whose length is 9 and whose CRC-32 is the published check value of the algorithm.
constexpr const char* kPack = "123456789";

struct Module {
  std::string name;
  std::string lines;  // below those that every module has
};

using Modules = std::vector<Module>;

std::string Sections(const std::vector<Module>& modules) {
  std::string versions = "[Versions]\r\n";
  std::string sections;
  for (const Module& module : modules) {
    versions += module.name + "=7.1\r\n";
    sections += "[" + module.name + "]\r\nInstall pack=yes\r\nDownload URL=http://maker/" + module.name +
                ".zip\r\nSize=9\r\nCRC32=cbf43926\r\n" + module.lines;
  }
  return versions + sections;
}

Modules One(const std::string& lines) { return Modules(1, {"A", lines}); }

// Modules of these names of one letter that do nothing.
Modules Plain(const std::string& names) {
  Modules modules;
  for (const char name : names) modules.push_back({std::string(1, name), ""});
  return modules;
}

// The program with its offer on the screen.
class Offer : public HeadlessApp {
 public:
  explicit Offer(const std::vector<Module>& modules, std::string command_line = "/showupdates")
      : HeadlessApp(std::move(command_line)) {
    StartWith({Received(Sections(modules))});
    EXPECT_TRUE(controls().picStep200.Visible());
  }
  void Install(std::deque<Answer> packs = {Received(kPack)}) {
    transfer.answers = std::move(packs);
    Click(controls().cmdInstall);
  }
  std::string Transcript() {
    std::string text = controls().txtProcessing.Text();
    std::erase(text, '\r');
    return text;
  }
};

TEST(Driver, OneUpdateFromTheOfferToTheRecordedVersion) {
  Offer app(Modules{
      {"Designer", "Action 1=unzip:{app}\r\nAction 2=run:\"{current}setup.sh\" /q\r\n"}
  });
  app.unzip.results = {0};
  app.Install();
  EXPECT_EQ(app.Transcript(),
            "The installation is running. Please wait.\n"
            "Downloading Designer (9 bytes)\n"
            "Checking the download: passed.\n"
            "Unpacking the files\n"
            "Running a program that belongs to the update\n"
            "The update was installed.");
  EXPECT_EQ(app.VersionValue("Version: Designer"), "7.1");
  const std::string pack = app.ProductFolder() + "Designer.zip";
  const std::vector<std::string> calls{"ArchiveFile=" + pack, "ExtractFolder=" + app.AppFolder(), "ExtractOptionA=True",
                                       "ExtractOptionB=True", "Extract"};
  ASSERT_EQ(app.unzip.objects.size(), 1u);
  EXPECT_EQ(app.unzip.objects[0], calls);
  const RecordingShell::Launch launch{app.ProductFolder() + "setup.sh", "/q", 1};
  EXPECT_EQ(app.shell.launched, std::vector{launch});
  EXPECT_EQ(app.dialog().CheckedOn, 0) << "a run of one update leaves it alone";

  EXPECT_FALSE(app.controls().cmdLater.Visible() || app.controls().cmdInstall.Visible());
  EXPECT_TRUE(app.controls().txtProcessing.Visible() && !app.controls().picUpdates.Visible());
  EXPECT_TRUE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\Designer.zip"));
  app.Click(app.controls().cmdClose);
  EXPECT_FALSE(app.dialog().Loaded());
  EXPECT_FALSE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\Designer.zip"));
  EXPECT_FALSE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\updates.ini"));
  // A deleted file that is held keeps its room on the disk.
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the listing's own
    const std::string file = std::filesystem::read_symlink(entry, gone);
    EXPECT_FALSE(file.starts_with(app.folder.NativePath().string())) << file;
  }
}

TEST(Driver, WhatWasVerifiedIsWhatIsUsed) {
  for (const bool at_unzip : {true, false}) {  // or while the user is asked for his consent to a start
    Offer app(One("Action 1=unzip:{app}\r\nAction 2=run:{current}A.zip /q\r\n"));
    const auto replace = [&] {  // by another process, whose pack has the same name
      app.real_files.Delete(app.ProductFolder() + "A.zip");
      app.folder.Write("AppData\\Quillon Systems\\Tessaly Studio\\A.zip", "another pack");
    };
    app.unzip.results = {0};
    app.unzip.on_extract = [&](OpenFile* archive) {
      if (at_unzip) replace();
      std::string bytes(100, '\0');
      std::size_t got = 0;
      ASSERT_TRUE(archive != nullptr && archive->ReadAt(0, bytes, got) == 0);
      EXPECT_EQ(bytes.substr(0, got), kPack);
    };
    app.shell.during_call = replace;
    app.Install();
    EXPECT_EQ(app.shell.launched.size(), at_unzip ? 0u : 1u);
    EXPECT_NE(app.Transcript().find("replaced since it was checked"), std::string::npos) << app.Transcript();
    EXPECT_FALSE(app.HasVersionValue("Version: A"));
  }
}

TEST(Driver, AProgramThatDeletesItselfIsInstalled) {
  Offer app(One("Action 1=run:{current}A.zip\r\n"));
  app.shell.during_call = [&] { app.real_files.Delete(app.ProductFolder() + "A.zip"); };
  app.Install();
  EXPECT_TRUE(app.HasVersionValue("Version: A")) << app.Transcript();
}

TEST(Driver, AFailedUpdateStopsItselfAlone) {
  const Answer good = Received(kPack);
  const Answer wrong = Received("12345678X");
  const Answer none = Silent(1);
  const struct {
    Answer first, second, third;
    const char* last_line;
    const char* recorded;  // by the names of the modules
    bool checked;
  } kCases[] = {
      {good,  good, good,  "Finished. Updates installed: 3.",                                          "ABC", true },
      {none,  good, wrong, "Finished. Installed: 1, failed: 2. Failed updates will be offered again.", "B",   false},
      {wrong, none, wrong, "Finished: no update was installed, 3 failed. They will be offered again.", "",    false},
  };
  for (const auto& row : kCases) {
    Modules modules = Plain("ABC");
    for (Module& module : modules) module.lines = "Action 1=unzip:{app}\r\n";
    Offer app(modules);
    app.dialog().CheckedOn = 41000;
    app.unzip.results.assign(std::string(row.recorded).size(), 0);
    app.Install({row.first, row.second, row.third});
    EXPECT_TRUE(app.Transcript().ends_with(row.last_line)) << app.Transcript();
    if (std::string(row.recorded) == "B") {
      EXPECT_EQ(app.Transcript(),
                "The installation is running. Please wait.\n"
                "Downloading A (9 bytes)\n"
                "The update couldn't be downloaded. It will be offered again.\n"
                "Downloading B (9 bytes)\n"
                "Checking the download: passed.\n"
                "Unpacking the files\n"
                "The update was installed.\n"
                "Downloading C (9 bytes)\n"
                "Checking the download: failed.\n"
                "The downloaded file is incomplete or damaged. The update will be offered again.\n"
                "Finished. Installed: 1, failed: 2. Failed updates will be offered again.");
    }
    std::string recorded;
    for (const char* name : {"A", "B", "C"}) {
      if (app.HasVersionValue(std::string("Version: ") + name)) recorded += name;
    }
    EXPECT_EQ(recorded, row.recorded);
    EXPECT_EQ(app.unzip.objects.size(), recorded.size()) << "a bad pack runs none of its lines";
    EXPECT_EQ(app.dialog().CheckedOn > 41000, row.checked);
    app.Click(app.controls().cmdClose);
    EXPECT_EQ(app.HasVersionValue(kValueCheckedOn), row.checked);
  }
}

TEST(Driver, EachVersionIsRecordedAtOnceAndASingleRunKeepsTheMoment) {
  Offer app(Plain("AB"));
  Answer slow = Received(kPack);
  slow.step = std::chrono::seconds(1);
  bool recorded = false;
  app.loop.After(std::chrono::seconds(2), [&] { recorded = app.HasVersionValue("Version: A"); });
  app.Install({Received(kPack), slow});
  EXPECT_TRUE(recorded);

  Offer single(One(""));
  single.dialog().CheckedOn = 41000;
  single.Install();
  EXPECT_EQ(single.dialog().CheckedOn, 41000);
}

TEST(Driver, ASilentCheckLeavesOfferInstallationAndTranscriptAlone) {
  Offer app(One("Action 1=run:x\r\n"));
  app.dialog().PrepareVerifyVersion();
  app.Pass(std::chrono::seconds(40));
  EXPECT_EQ(app.transfer.requests.size(), 1u) << "no search under an offer";
  Answer slow = Received(kPack);
  slow.step = std::chrono::seconds(10);
  app.Install({slow});
  app.Pass(std::chrono::seconds(40));
  EXPECT_EQ(app.transfer.requests.size(), 2u);
  EXPECT_TRUE(app.Transcript().ends_with("The update was installed.")) << app.Transcript();
  EXPECT_TRUE(app.controls().cmdClose.Visible());
}

TEST(Driver, ClosingTheWindowMeansWhatTheStateSays) {
  Offer app(Plain("AB"));
  Answer slow = Received(kPack);
  slow.step = std::chrono::seconds(1);
  app.loop.After(std::chrono::seconds(3), [&] {
    app.dialog().Unload(Form::kUnloadByUser);
    EXPECT_TRUE(app.dialog().Loaded()) << "an installation is running";
    EXPECT_FALSE(app.controls().cmdInstall.Enabled());
  });
  app.Install({slow, Received(kPack)});
  EXPECT_NE(app.dialog().CheckedOn, 0);
  app.CloseWindow();
  EXPECT_FALSE(app.dialog().Loaded());
  EXPECT_FALSE(app.HasVersionValue(kValueCheckedOn)) << "only the button keeps the moment";
}

TEST(Driver, AsksBeforeTheHostProductIsStopped) {
  using Styles = std::vector<std::int32_t>;
  const Styles none, question{36}, warning{48}, question_and_warning{36, 48};
  const struct {
    const char* line;
    const char* stop;
    std::int32_t answer;
    std::uint32_t window_error;
    const Styles& styles;
    std::string prompt;  // the beginning of the last message
    std::size_t closed;
    bool installed;
  } kCases[] = {
      {"/showupdates /window:5", "no",   0,          0,    none,                 "",                                  0, true },
      {"/showupdates /window:5", " NO ", 0,          0,    none,                 "",                                  0, true },
      {"/showupdates",           "yes",  0,          0,    warning,              "Some files of Tessaly Studio will", 0, true },
      {"/showupdates /window:5", "ja",   kAnswerYes, 0,    question,             "Tessaly Studio has to be closed",   1, true },
      {"/showupdates /window:5", "yes",  kAnswerYes, 5,    question,             "Tessaly Studio has to be closed",   1, true },
      {"/showupdates /window:5", "yes",  kAnswerYes, 1400, question_and_warning, "Tessaly Studio couldn't be closed", 1,
       true                                                                                                                   },
      {"/showupdates /window:5", "yes",  kAnswerNo,  0,    question,             "Tessaly Studio has to be closed",   0, false},
  };
  for (const auto& row : kCases) {
    Modules modules = Plain("AB");
    modules[1].lines = std::string("Stop application=") + row.stop + "\r\n";
    Offer app(modules, row.line);
    app.toolkit.answers = {row.answer, kAnswerOk};
    app.shell.next_error = row.window_error;
    app.Install({Received(kPack), Received(kPack)});
    std::vector<std::int32_t> styles;
    for (const auto& message : app.toolkit.messages) styles.push_back(message.style);
    EXPECT_EQ(styles, row.styles);
    if (!row.prompt.empty()) {
      EXPECT_TRUE(app.Prompts().back().starts_with(row.prompt)) << app.Prompts().back();
    }
    EXPECT_EQ(app.shell.closed_windows, std::vector<std::int32_t>(row.closed, 5));
    EXPECT_EQ(app.transfer.requests.size(), row.installed ? 3u : 1u);
    EXPECT_EQ(app.HasVersionValue("Version: B"), row.installed);
    EXPECT_EQ(app.dialog().Loaded(), row.installed) << "No takes the road of the later button";
  }
}

TEST(Driver, ActionsThatFailEndTheirUpdate) {
  // clang-format off
  const struct {
    const char* lines;
    std::int32_t result;  // of the extraction
    Fault launch;
    const char* last_line;
    std::size_t launches;
  } kCases[] = {
      {"Action 1=unzip:{app}\r\nAction 2=run:x\r\n", 3, {},
       "The files couldn't be unpacked. Reason: The pack is damaged.", 0},
      {"Action 1=unzip:{windows}\\x\r\n", 0, {},
       "The files couldn't be unpacked. The path {windows}\\x isn't valid on this computer.", 0},
      {"Action 1=RUN:a.exe b\r\nAction 2=run:x\r\n", 0, {8, "", "No memory."},
       "The program couldn't be started. Error 8 with a.exe b: No memory.", 1},
      {"Action 1=register dll:{app}a b.dll\r\n", 0, {8, "", "No memory."},
       "The component couldn't be registered. Error 8 with APP/a b.dll: No memory.", 1},
      {"Action 1=unregister exe\r\n", 0, {},
       "The registration couldn't be removed. Error 9 with : Subscript out of range", 0},
      {"Action 1=unzip\r\n", 0, {}, "The files couldn't be unpacked. Reason: Subscript out of range", 0},
  };
  // clang-format on
  for (const auto& row : kCases) {
    Offer app(One(row.lines));
    app.unzip.results = {row.result};
    app.unzip.failure_text = "The pack is damaged.";
    app.shell.next_fault = row.launch;
    app.Install();
    std::string expected = row.last_line;
    if (const auto at = expected.find("APP/"); at != std::string::npos) expected.replace(at, 4, app.AppFolder());
    EXPECT_TRUE(app.Transcript().ends_with("\n" + expected)) << app.Transcript();
    EXPECT_EQ(app.shell.launched.size(), row.launches);
    EXPECT_EQ(app.unzip.objects.size(), row.result != 0 ? 1u : 0u);
    EXPECT_FALSE(app.HasVersionValue("Version: A"));
    EXPECT_FALSE(app.dialog().tmrPrintDots.Enabled());
    EXPECT_TRUE(app.controls().cmdClose.Visible());
  }
}

TEST(Driver, AComponentThatCannotBeCreatedOrCalledFailsTheUpdate) {
  for (const char* call : {"", "ArchiveFile", "ExtractFolder", "ExtractOptionA", "ExtractOptionB", "Extract"}) {
    Offer app(One("Action 1=unzip:{app}\r\n"));
    app.unzip.fail_create = *call == '\0';
    app.unzip.fail_call = call;
    app.Install();
    EXPECT_FALSE(app.HasVersionValue("Version: A")) << call;
    EXPECT_TRUE(app.Transcript().find("The files couldn't be unpacked.") != std::string::npos);
    EXPECT_FALSE(app.dialog().tmrPrintDots.Enabled()) << "the dots stop";
  }
}

TEST(Driver, EachVerbStartsItsProgram) {
  Offer app(
      One("Action 1=unregister exe:{app}a b.exe\r\nAction 2=register exe:{app}a b.exe\r\n"
          "Action 3=unregister dll:{app}\\a b.dll\r\nAction 4=Register DLL:{app}a b.dll:ignored\r\n"
          "Action 5=\" run:skipped\"\r\nAction 6=unknown\r\nAction 7=run:\"{commonappdata}x\" y:ignored\r\n"
          "Action 9=run:gap\r\n"));
  app.Install();
  const std::string folder = app.AppFolder();
  const std::string common = app.folder.CorePath("CommonAppData\\Quillon Systems\\Tessaly Studio\\");
  const std::vector<RecordingShell::Launch> kExpected{
      {folder + "a b.exe", "/unregserver",                    1},
      {folder + "a b.exe", "/regserver",                      1},
      {"REGSVR32.EXE",     "/u /s \"" + folder + "a b.dll\"", 1},
      {"REGSVR32.EXE",     "/s \"" + folder + "a b.dll\"",    1},
      {common + "x",       "y",                               1},
  };
  EXPECT_EQ(app.shell.launched, kExpected);
  EXPECT_TRUE(app.folder.Has("CommonAppData\\Quillon Systems\\Tessaly Studio"));
}

TEST(Driver, ExecuteEndsTheProcessInTheMiddle) {
  Modules modules = Plain("AB");
  modules[0].lines = "Action 1=execute:{app}setup.sh\r\nAction 2=run:x\r\n";
  Offer app(modules);
  const SteadyTime begun = app.clock.Steady();
  app.Install({Received(kPack), Received(kPack)});
  EXPECT_TRUE(app.ended);
  EXPECT_GT(app.clock.Steady() - begun, std::chrono::seconds(5)) << "not before the launcher's wait";
  EXPECT_EQ(app.shell.launched.size(), 1u);
  EXPECT_FALSE(app.HasVersionValue("Version: A"));
  EXPECT_FALSE(app.HasVersionValue(kValueCheckedEvery)) << "the dialog isn't unloaded";
  EXPECT_TRUE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\A.zip"));
  EXPECT_EQ(app.folder.Read("AppData\\Quillon Systems\\Tessaly Studio\\ tslFiles.lst"),
            "+updates.ini\n+A.zip\n-updates.ini\n-A.zip\n")
      << "left to the started program";
}

TEST(Driver, AnExecuteThatCannotBeStartedFailsItsUpdateAlone) {
  Modules modules = Plain("AB");
  modules[0].lines = "Action 1=execute:{app}setup.sh\r\n";
  Offer app(modules);
  app.shell.next_fault = {8, "", "No memory."};
  app.Install({Received(kPack), Received(kPack)});
  EXPECT_FALSE(app.ended);
  EXPECT_FALSE(app.HasVersionValue("Version: A"));
  EXPECT_TRUE(app.HasVersionValue("Version: B"));
}

TEST(Driver, AVersionThatCannotBeWrittenStillCountsAsInstalled) {
  Offer app(One(""));
  app.registry.denied = true;
  app.Install();
  EXPECT_TRUE(app.Transcript().ends_with("The update was installed."));
  app.Click(app.controls().cmdClose);
  EXPECT_FALSE(app.HasVersionValue("Version: A"));
}

TEST(Driver, VerificationComparesLengthAndChecksum) {
  const struct {
    const char *pack, *size, *crc;
    bool good;
  } kCases[] = {
      {kPack, "9",    "CBF43926",   true },
      {kPack, " 9 ",  "0xcbf43926", true },
      {kPack, "9",    "CBF43927",   false},
      {kPack, "10",   "CBF43926",   false},
      {kPack, "nine", "CBF43926",   false},
      {kPack, "9",    "",           false},
      {"",    "0",    "0",          true },
  };
  for (const auto& row : kCases) {
    Offer app(One(""));
    app.controls().UpdateItem(1).UpdateElementSize = row.size;
    app.controls().UpdateItem(1).UpdateElementCRC = row.crc;
    app.Install({Received(row.pack)});
    EXPECT_EQ(app.HasVersionValue("Version: A"), row.good) << row.size << " " << row.crc;
  }
}

}  // namespace
}  // namespace tsly
