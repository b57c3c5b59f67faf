#include <gtest/gtest.h>

#include "base/text.h"
#include "dialog/launcher.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

class HelpersTest : public testing::Test {
 protected:
  HelpersTest() { app.Start(); }
  HeadlessApp app{"", 1};
  MGlobal& global = app.program->global;
};

TEST_F(HelpersTest, OnlyNormalFilesExist) {
  app.folder.Write("data\\One.txt", "1");
  app.folder.Write("data\\.hidden", "1");
  for (const char* name : {"data\\One.txt", "data\\ONE.TXT", "data\\*.txt", "data\\on?.*", "data\\.hidden"}) {
    EXPECT_TRUE(global.FileExists(app.folder.CorePath(name))) << name;
  }
  for (const char* name : {"data\\*.zip", "data", "data\\", "nowhere\\x.txt"}) {
    EXPECT_FALSE(global.FileExists(app.folder.CorePath(name))) << name;
  }
  EXPECT_FALSE(global.FileExists("f:\\x.txt"));
  EXPECT_FALSE(global.FileExists(""));
  app.files.failures.push_back({FileCall::kFind, 0, 5});
  EXPECT_FALSE(global.FileExists(app.folder.CorePath("data\\One.txt")));
}

TEST_F(HelpersTest, ExpandsTheProgramsFolder) {
  EXPECT_EQ(global.ExpandAppPath("[apppath]\\x\\[AppPath]\\y"), app.AppFolder() + "x\\" + app.AppFolder() + "y");
  EXPECT_EQ(global.ExpandAppPath("[AppPath]x"), "[AppPath]x");
}

TEST_F(HelpersTest, NoValueIsTruncated) {
  for (const std::size_t length : {0u, 1u, 253u, 254u, 255u, 256u, 510u, 511u, 512u, 70000u}) {
    const std::string value(length, 'x');
    const std::string file = app.folder.Write("long.ini", "[s]\r\nk=" + value + "\r\n");
    EXPECT_EQ(global.ReadProfileString("s", "k", "default", file), value) << length;
    EXPECT_EQ(global.ReadProfileString("s", "missing", value.c_str(), file), value) << length;
  }
}

TEST_F(HelpersTest, ListsOfNamesComeBackComplete) {
  // Lengths near the buffer sizes, where a truncated list looks like a complete one.
  for (const std::size_t length : {10u, 237u, 238u, 239u, 240u, 241u, 250u, 251u, 252u, 253u, 254u, 255u, 256u, 509u}) {
    const std::string last(length, 'k');
    const std::string file = app.folder.Write("names.ini", "[s]\r\na=1\r\n" + last + "=2\r\n[empty]\r\n");
    EXPECT_EQ(global.ReadProfileString("s", nullptr, "", file), std::string("a\0", 2) + last + '\0') << length;
    EXPECT_TRUE(global.ProfileKeyExists("S", std::string(length, 'K'), file)) << length;
    EXPECT_TRUE(global.ProfileKeyExists("s", "A", file));
    for (const char* section : {"empty", "missing"}) EXPECT_FALSE(global.ProfileKeyExists(section, "a", file));
  }
}

TEST_F(HelpersTest, DistinguishesAnEmptyValueFromAMissingKey) {
  const std::string file = app.folder.Write("empty.ini", "[s]\r\nempty=\r\n");
  EXPECT_EQ(global.ReadProfileString("s", "empty", "default", file), "");
  EXPECT_EQ(global.ReadProfileString("s", "missing", nullptr, file), "");
  EXPECT_EQ(global.ReadProfileString("s", "k", "default", app.folder.CorePath("missing.ini")), "default");
  EXPECT_EQ(global.ReadProfileString("", "k", "default", file), "default");
  EXPECT_TRUE(global.ProfileKeyExists("s", "EMPTY", file));
}

TEST(Launcher, OnlyQuotesProtectABlank) {
  // The line, its command and its parameters.
  for (const char* row : {"||", "   ||", "  setup.exe  |setup.exe|", "setup.exe /q  /n |setup.exe|/q  /n",
                          "\\a b\\setup.exe|\\a|b\\setup.exe", "\"\\a b\\x.exe\" /q \"y\"|\\a b\\x.exe|/q \"y\"",
                          "\"x\"|x|", "\"x\"y z|x|y z", "\"\" x|\"\" x|", "\"open x|\"open x|", "\"|\"|"}) {
    const std::vector<std::string> texts = Split(row, "|");
    const CommandParts parts = SplitCommand(texts[0]);
    EXPECT_EQ(parts.command, texts[1]) << row;
    EXPECT_EQ(parts.parameters, texts[2]) << row;
  }
}

TEST(Launcher, LogsTheStartAndWaitsFiveSeconds) {
  StartedApp app("", 1);
  int events = 0;
  app.loop.After(std::chrono::milliseconds(4999), [&] { ++events; });
  app.shell.next_error = 1223;
  const SteadyTime start = app.clock.Steady();
  EXPECT_FALSE(app.program->global.RunElevated("\"\\a b\\x.exe\" /q", std::nullopt, 1));
  EXPECT_GT(app.clock.Steady() - start, std::chrono::seconds(5));
  EXPECT_LT(app.clock.Steady() - start, std::chrono::milliseconds(5001));
  EXPECT_EQ(events, 1);
  const RecordingShell::Launch launch{"\\a b\\x.exe", "/q", 1};
  EXPECT_EQ(app.shell.launched, std::vector{launch});
  EXPECT_EQ(app.Log(), "Command line: \\a b\\x.exe\nParameters: /q\nReturn code: 1223\n");
}

TEST(Launcher, GivenParametersLeaveTheCommandUnsplit) {
  StartedApp app("", 1);
  app.shell.next_fault = {5, "shell", "No process can be made."};
  app.shell.next_error = 8;
  const Fault fault = app.program->global.RunElevated("\\a b\\x.exe", "", 1);
  EXPECT_EQ(fault.number, 5);
  EXPECT_EQ(fault.description, "No process can be made.");
  EXPECT_EQ(app.Log(),
            "Command line: \\a b\\x.exe\nParameters: \nError occured: 5: No process can be made.\nReturn code: 8\n");
}

}  // namespace
}  // namespace tsly
