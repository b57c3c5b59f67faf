#include "dialog/launcher.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

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

TEST(Launcher, WritesWhatItDoesAndLetsFiveSecondsPass) {
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

TEST(Launcher, AGivenParameterLeavesTheCommandWhole) {
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
