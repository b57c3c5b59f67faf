#include <gtest/gtest.h>

#include <filesystem>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

// A pack whose length is 9 and whose CRC-32 is the published check value of the algorithm.
constexpr const char* kPack = "123456789";

struct Module {
  std::string name;
  std::string lines;  // after those that every module has
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
// A second one does nothing.
Modules Two(const std::string& lines = "") {
  return {
      Module{"A", lines},
      Module{"B", ""   }
  };
}

// The program with its list of updates on the screen.
struct Offer : HeadlessApp {
  explicit Offer(const std::vector<Module>& modules, std::string command_line = "/showupdates")
      : HeadlessApp(std::move(command_line)) {
    StartWith({Received(Sections(modules))});
    EXPECT_TRUE(controls().picStep200.Visible());
  }
  void Install(std::deque<Answer> packs = {Received(kPack), Received(kPack)}) {
    packs.resize(std::min<std::size_t>(packs.size(), static_cast<std::size_t>(controls().UpdateItem.Count()) - 1));
    transfer.answers = std::move(packs);
    Click(controls().cmdInstall);
  }
  std::string Recorded() {
    std::string names;
    for (const char* name : {"A", "B", "C"}) {
      if (HasVersionValue(std::string("Version: ") + name)) names += name;
    }
    return names;
  }
  std::string Transcript() {
    std::string text = controls().txtProcessing.Text();
    std::erase(text, '\r');
    return text;
  }
};

TEST(Driver, OneUpdateFromTheOfferToTheRecordedVersion) {
  Offer app(One("Action 1=unzip:{app}\r\nAction 2=run:\"{current}setup.sh\" /q\r\n"));
  app.unzip.results = {0};
  app.dialog().CheckedOn = 41000;
  app.Install();
  EXPECT_EQ(app.Transcript(),
            "The installation is running. Please wait.\n"
            "Downloading A (9 bytes)\n"
            "Checking the download: passed.\n"
            "Unpacking the files\n"
            "Running a program that belongs to the update\n"
            "The update was installed.");
  EXPECT_EQ(app.VersionValue("Version: A"), "7.1");
  const std::string pack = app.ProductFolder() + "A.zip";
  const std::vector<std::string> calls{"ArchiveFile=" + pack, "ExtractFolder=" + app.AppFolder(), "ExtractOptionA=True",
                                       "ExtractOptionB=True", "Extract"};
  EXPECT_EQ(app.unzip.objects, std::vector(1, calls));
  const RecordingShell::Launch launch{app.ProductFolder() + "setup.sh", "/q", 1};
  EXPECT_EQ(app.shell.launched, std::vector{launch});
  EXPECT_EQ(app.dialog().CheckedOn, 41000) << "an installation doesn't change it";

  EXPECT_FALSE(app.controls().cmdLater.Visible() || app.controls().cmdInstall.Visible());
  EXPECT_TRUE(app.controls().txtProcessing.Visible() && !app.controls().picUpdates.Visible());
  EXPECT_TRUE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\A.zip"));
  app.Click(app.controls().cmdClose);
  EXPECT_FALSE(app.dialog().Loaded());
  for (const char* file : {"A.zip", "updates.ini"}) EXPECT_FALSE(app.files.Delete(app.ProductFolder() + file) == 0);
  // An open deleted file still uses disk space.
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // for the directory listing's own descriptor
    const std::string file = std::filesystem::read_symlink(entry, gone);
    EXPECT_FALSE(file.starts_with(app.folder.NativePath().string())) << file;
  }
}

TEST(Driver, OnlyTheVerifiedFileIsUsed) {
  for (const bool at_unzip : {true, false}) {  // or while the user is asked for permission to start the program
    Offer app(One("Action 1=unzip:{app}\r\nAction 2=run:{current}A.zip /q\r\n"));
    const auto replace = [&] {  // by another process with a pack of the same name
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
    EXPECT_EQ(app.Recorded(), "");
  }
}

TEST(Driver, AProgramThatDeletesItselfIsInstalled) {
  Offer app(One("Action 1=run:{current}A.zip\r\n"));
  app.shell.during_call = [&] { app.real_files.Delete(app.ProductFolder() + "A.zip"); };
  app.Install();
  EXPECT_EQ(app.Recorded(), "A") << app.Transcript();
}

TEST(Driver, AFailedUpdateDoesNotStopOthers) {
  const Answer good = Received(kPack), wrong = Received("12345678X"), none = Silent(1);
  const std::tuple<std::deque<Answer>, const char*, std::string, bool> rows[] = {
      {{good, good, good},   "Finished. Updates installed: 3.",                                          "ABC", true },
      {{wrong, none, wrong}, "Finished: no update was installed, 3 failed. They will be offered again.", "",    false},
      {{none, good, wrong},
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
       "Finished. Installed: 1, failed: 2. Failed updates will be offered again.",                       "B",
       false                                                                                                         },
  };
  for (const auto& [packs, transcript, recorded, checked] : rows) {
    const std::string lines = "Action 1=unzip:{app}\r\n";
    Offer app({
        Module{"A", lines},
        Module{"B", lines},
        Module{"C", lines}
    });
    app.dialog().CheckedOn = 41000;
    app.unzip.results.assign(recorded.size(), 0);
    app.Install(packs);
    EXPECT_TRUE(app.Transcript().ends_with(transcript)) << app.Transcript();
    EXPECT_EQ(app.Recorded(), recorded);
    EXPECT_EQ(app.unzip.objects.size(), recorded.size()) << "no action line of a bad pack runs";
    EXPECT_EQ(app.dialog().CheckedOn > 41000, checked);
    app.Click(app.controls().cmdClose);
    EXPECT_EQ(app.HasVersionValue(kValueCheckedOn), checked);
  }
}

TEST(Driver, ABackgroundCheckWaitsDuringOfferAndInstallation) {
  Offer app(One("Action 1=run:x\r\n"));
  app.dialog().PrepareVerifyVersion();
  app.Pass(std::chrono::seconds(40));
  EXPECT_EQ(app.transfer.requests.size(), 1u) << "no search during an offer";
  Answer slow = Received(kPack);
  slow.step = std::chrono::seconds(10);
  app.Install({slow});
  app.Pass(std::chrono::seconds(40));
  EXPECT_EQ(app.transfer.requests.size(), 2u);
  EXPECT_TRUE(app.Transcript().ends_with("The update was installed.")) << app.Transcript();
  EXPECT_TRUE(app.controls().cmdClose.Visible());
}

TEST(Driver, ClosingTheWindowDependsOnTheState) {
  Offer app(Two());
  Answer slow = Received(kPack);
  slow.step = std::chrono::seconds(1);
  app.loop.After(std::chrono::seconds(13), [&] {
    EXPECT_EQ(app.Recorded(), "A") << "at once";
    app.dialog().Unload(Form::kUnloadByUser);
    EXPECT_TRUE(app.dialog().Loaded()) << "an installation is running";
    EXPECT_FALSE(app.controls().cmdInstall.Enabled());
  });
  app.Install({slow, slow});
  EXPECT_NE(app.dialog().CheckedOn, 0);
  app.CloseWindow();
  EXPECT_FALSE(app.dialog().Loaded());
  EXPECT_FALSE(app.HasVersionValue(kValueCheckedOn)) << "only the button stores the time";
}

TEST(Driver, AsksBeforeItStopsTheHostProduct) {
  using Styles = std::vector<std::int32_t>;
  const Styles none, question{36}, warning{48}, both{36, 48};
  const char *host = "/showupdates /window:5", *asked = "Tessaly Studio has to be closed";
  const std::tuple<const char*, const char*, std::int32_t, std::uint32_t, Styles, const char*, int, bool> rows[] = {
      {host,           "no",   0,          0,    none,     "",                                  0, true },
      {host,           " NO ", 0,          0,    none,     "",                                  0, true },
      {"/showupdates", "yes",  0,          0,    warning,  "Some files of Tessaly Studio will", 0, true },
      {host,           "ja",   kAnswerYes, 0,    question, asked,                               1, true },
      {host,           "yes",  kAnswerYes, 5,    question, asked,                               1, true },
      {host,           "yes",  kAnswerYes, 1400, both,     "Tessaly Studio couldn't be closed", 1, true },
      {host,           "yes",  kAnswerNo,  0,    question, asked,                               0, false},
  };
  for (const auto& [line, stop, answer, window_error, styles, prompt, closed, installed] : rows) {
    Modules modules = Two();
    modules[1].lines = std::string("Stop application=") + stop + "\r\n";
    Offer app(modules, line);
    app.toolkit.answers = {answer, kAnswerOk};
    app.shell.next_error = window_error;
    app.Install();
    Styles shown;
    for (const auto& message : app.toolkit.messages) shown.push_back(message.style);
    EXPECT_EQ(shown, styles);
    EXPECT_TRUE(styles.empty() || app.Prompts().back().starts_with(prompt)) << app.Prompts().back();
    EXPECT_EQ(app.shell.closed_windows, Styles(static_cast<std::size_t>(closed), 5));
    EXPECT_EQ(app.transfer.requests.size(), installed ? 3u : 1u);
    EXPECT_EQ(app.Recorded(), installed ? "AB" : "");
    EXPECT_EQ(app.dialog().Loaded(), installed) << "No acts like the later button";
  }
}

TEST(Driver, AFailedActionEndsItsUpdate) {
  const Fault no_memory{8, "", "No memory."};
  // clang-format off
  const std::tuple<const char*, std::int32_t, Fault, const char*, std::size_t> rows[] = {
      {"Action 1=unzip:{app}\r\nAction 2=run:x\r\n", 3, {},
       "The files couldn't be unpacked. Reason: The pack is damaged.", 0},
      {"Action 1=unzip:{windows}\\x\r\n", 0, {},
       "The files couldn't be unpacked. The path {windows}\\x isn't valid on this computer.", 0},
      {"Action 1=RUN:a.exe b\r\nAction 2=run:x\r\n", 0, no_memory,
       "The program couldn't be started. Error 8 with a.exe b: No memory.", 1},
      {"Action 1=execute:x\r\n", 0, no_memory, "The program couldn't be started. Error 8 with x: No memory.", 1},
      {"Action 1=register dll:{app}a b.dll\r\n", 0, no_memory,
       "The component couldn't be registered. Error 8 with APP/a b.dll: No memory.", 1},
      {"Action 1=unregister exe\r\n", 0, {},
       "The registration couldn't be removed. Error 9 with : Subscript out of range", 0},
      {"Action 1=unzip\r\n", 0, {}, "The files couldn't be unpacked. Reason: Subscript out of range", 0},
  };
  // clang-format on
  for (const auto& [lines, result, launch, last_line, launches] : rows) {
    Offer app(One(lines));
    app.unzip.results = {result};
    app.unzip.failure_text = "The pack is damaged.";
    app.shell.next_fault = launch;
    app.Install();
    EXPECT_TRUE(app.Transcript().ends_with("\n" + Replace(last_line, "APP/", app.AppFolder()))) << app.Transcript();
    EXPECT_EQ(app.shell.launched.size(), launches);
    EXPECT_EQ(app.unzip.objects.size(), result != 0 ? 1u : 0u);
    EXPECT_EQ(app.Recorded(), "");
    EXPECT_FALSE(app.dialog().tmrPrintDots.Enabled() || app.ended);
    EXPECT_TRUE(app.controls().cmdClose.Visible());
  }
}

TEST(Driver, AComponentThatCannotBeCreatedOrCalledFailsTheUpdate) {
  for (const char* call : {"", "ArchiveFile", "ExtractFolder", "ExtractOptionA", "ExtractOptionB", "Extract"}) {
    Offer app(One("Action 1=unzip:{app}\r\n"));
    app.unzip.fail_create = *call == '\0';
    app.unzip.fail_call = call;
    app.Install();
    EXPECT_EQ(app.Recorded(), "") << call;
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

TEST(Driver, ExecuteEndsTheProcess) {
  Offer app(Two("Action 1=execute:{app}setup.sh\r\nAction 2=run:x\r\n"));
  const SteadyTime begun = app.clock.Steady();
  app.Install();
  EXPECT_TRUE(app.ended);
  EXPECT_GT(app.clock.Steady() - begun, std::chrono::seconds(5)) << "not before the launcher's wait";
  EXPECT_EQ(app.shell.launched.size(), 1u);
  EXPECT_EQ(app.Recorded(), "");
  EXPECT_FALSE(app.HasVersionValue(kValueCheckedEvery)) << "the dialog isn't unloaded";
  EXPECT_TRUE(app.folder.Has("AppData\\Quillon Systems\\Tessaly Studio\\A.zip"));
  EXPECT_EQ(app.folder.Read("AppData\\Quillon Systems\\Tessaly Studio\\ tslFiles.lst"),
            "+updates.ini\n+A.zip\n-updates.ini\n-A.zip\n")
      << "left to the started program";
}

TEST(Driver, AVersionThatCannotBeWrittenStillCountsAsInstalled) {
  Offer app(One(""));
  app.registry.denied = true;
  app.Install();
  EXPECT_TRUE(app.Transcript().ends_with("The update was installed."));
  app.Click(app.controls().cmdClose);
  EXPECT_EQ(app.Recorded(), "");
}

TEST(Driver, VerificationComparesLengthAndChecksum) {
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {kPack, "9",    "CBF43926",   true },
      {kPack, " 9 ",  "0xcbf43926", true },
      {kPack, "9",    "CBF43927",   false},
      {kPack, "10",   "CBF43926",   false},
      {kPack, "nine", "CBF43926",   false},
      {kPack, "9",    "",           false},
      {"",    "0",    "0",          true },
  };
  for (const auto& [pack, size, crc, good] : rows) {
    Offer app(One(""));
    app.controls().UpdateItem(1).UpdateElementSize = size;
    app.controls().UpdateItem(1).UpdateElementCRC = crc;
    app.Install({Received(pack)});
    EXPECT_EQ(app.Recorded(), good ? "A" : "") << size << " " << crc;
  }
}

}  // namespace
}  // namespace tsly
