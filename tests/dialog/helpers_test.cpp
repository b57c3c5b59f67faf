#include <gtest/gtest.h>

#include "support/headless_app.h"

namespace tsly {
namespace {

class HelpersTest : public testing::Test {
 protected:
  HelpersTest() { app.Start(); }
  HeadlessApp app{"", 1};
  MGlobal& global = app.program->global;
};

TEST_F(HelpersTest, FilesExistOnlyAsNormalFiles) {
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

TEST_F(HelpersTest, NoValueIsEverCut) {
  for (const std::size_t length : {0u, 1u, 253u, 254u, 255u, 256u, 510u, 511u, 512u, 70000u}) {
    const std::string value(length, 'x');
    const std::string file = app.folder.Write("long.ini", "[s]\r\nk=" + value + "\r\n");
    EXPECT_EQ(global.ReadProfileString("s", "k", "default", file), value) << length;
    EXPECT_EQ(global.ReadProfileString("s", "missing", value.c_str(), file), value) << length;
  }
}

TEST_F(HelpersTest, ListsOfNamesComeBackComplete) {
  // Lists whose length lies round the sizes of the buffer, where one that is cut looks like one that fits.
  for (const std::size_t length : {10u, 237u, 238u, 239u, 240u, 241u, 250u, 251u, 252u, 253u, 254u, 255u, 256u, 509u}) {
    const std::string last(length, 'k');
    const std::string file = app.folder.Write("names.ini", "[s]\r\na=1\r\n" + last + "=2\r\n[empty]\r\n");
    EXPECT_EQ(global.ReadProfileString("s", nullptr, "", file), std::string("a\0", 2) + last + '\0') << length;
    EXPECT_TRUE(global.ProfileKeyExists("S", std::string(length, 'K'), file)) << length;
    EXPECT_TRUE(global.ProfileKeyExists("s", "A", file));
    for (const char* section : {"empty", "missing"}) EXPECT_FALSE(global.ProfileKeyExists(section, "a", file));
  }
}

TEST_F(HelpersTest, TellsAnEmptyValueFromAMissingKey) {
  const std::string file = app.folder.Write("empty.ini", "[s]\r\nempty=\r\n");
  EXPECT_EQ(global.ReadProfileString("s", "empty", "default", file), "");
  EXPECT_EQ(global.ReadProfileString("s", "missing", "default", file), "default");
  EXPECT_EQ(global.ReadProfileString("s", "missing", nullptr, file), "");
  EXPECT_EQ(global.ReadProfileString("s", "k", "default", app.folder.CorePath("missing.ini")), "default");
  EXPECT_EQ(global.ReadProfileString("", "k", "default", file), "default");
  EXPECT_TRUE(global.ProfileKeyExists("s", "EMPTY", file));
  EXPECT_FALSE(global.ProfileKeyExists("s", "missing", file));
}

TEST_F(HelpersTest, MessagesGoToTheToolkit) {
  app.toolkit.answers = {kAnswerNo};
  EXPECT_EQ(global.ShowMessage("Really?", 36), 7);
  EXPECT_EQ(app.toolkit.messages, (std::vector<HeadlessToolkit::Message>{
                                      {"Really?", 36}
  }));
}

}  // namespace
}  // namespace tsly
