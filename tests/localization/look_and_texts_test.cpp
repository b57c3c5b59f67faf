// Skins, character sets and fonts.
#include <gtest/gtest.h>

#include "base/text.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

const std::string kValidSkin =
    "[General]\r\nDescription=Tessaly Studio Skin description file\r\nVersion=7.0.1400.1\r\n";
const std::string kInvalidSkin = "[General]\r\nDescription=Tessaly Studio Resources file\r\nVersion=7.0.1400.1\r\n";

TEST(Skins, SelectionAndItsResults) {
  using Icons = std::vector<std::int32_t>;
  // The settings of the user and the machine; the existing skins, in lower case if invalid; the selected one; the
  // messages, and the skin that they name.
  const std::tuple<std::string, std::string, std::string, std::string, Icons, std::string> rows[] = {
      {"",    "",  "D",   "Default", {},       ""       },
      {"",    "B", "BD",  "B",       {},       ""       },
      {"A\\", "B", "AD",  "A",       {},       ""       },
      {"A",   "B", "BD",  "Default", {},       ""       },
      {"A",   "B", "aBD", "Default", {64},     "A"      },
      {"A",   "",  "ad",  "",        {16},     "A"      },
      {"A",   "",  "d",   "",        {16},     "Default"},
      {"A",   "",  "",    "",        {16, 16}, "Default"},
  };
  for (const auto& [users, machines, present, in_force, icons, named] : rows) {
    HeadlessApp app;
    std::filesystem::remove_all(app.folder.NativePath("app\\Skins"));
    for (const char c : present) {
      const std::string name =
          c == 'D' || c == 'd' ? "Default" : std::string(1, c < 'a' ? c : static_cast<char>(c - 32));
      app.folder.Write("app\\Skins\\" + name + "\\Skin.ini", c < 'a' ? kValidSkin : kInvalidSkin);
    }
    MRegistry& registry = app.program->registry;
    if (!users.empty()) registry.SetRegValue(kCurrentUser, SettingsKey, kValueSkin, users);
    if (!machines.empty()) registry.SetRegValue(kLocalMachine, SettingsKey, kValueSkin, machines);
    app.StartWith({}, std::deque<std::int32_t>(icons.size(), kAnswerOk));
    const MLocalization& look = app.program->localization;
    EXPECT_EQ(look.SkinInForce(), in_force);
    if (!in_force.empty()) {
      EXPECT_EQ(look.SkinFolderInForce(), app.AppFolder() + "Skins\\" + in_force);
      EXPECT_EQ(look.SkinFileInForce(), look.SkinFolderInForce() + "\\Skin.ini");
    }
    Icons shown;
    for (const auto& message : app.toolkit.messages) {
      shown.push_back(message.style);
      EXPECT_NE(message.prompt.find("\"" + named + "\""), std::string::npos) << message.prompt;
    }
    EXPECT_EQ(shown, icons);
    EXPECT_EQ(app.program->global.StartupFailed, in_force.empty());
  }
}

TEST(Fonts, FollowTheLanguagesCharacterSetOrTheSystems) {
  // The line of the language file, the system's code page, the character set and the font.
  const std::tuple<std::string, std::uint32_t, std::int32_t, const char*> rows[] = {
      {"Charset=western european",    1252, 0,   "Tahoma"            },
      {"Charset=western european",    932,  128, "MS UI Gothic"      },
      {"",                            1252, 0,   "Tahoma"            },
      {"",                            0,    0,   "Tahoma"            },
      {"Charset=unknown",             9999, 0,   "Tahoma"            },
      {"Charset=\"  JapanESE \"",     1252, 128, "MS UI Gothic"      },
      {"Charset=korean",              1252, 129, "Tahoma"            },
      {"Charset=simplified chinese",  1252, 134, "SimSun"            },
      {"Charset=traditional chinese", 1252, 136, "Microsoft JhengHei"},
      {"Charset=arabic",              1252, 178, "Arial"             },
      {"Charset=eastern european",    1252, 238, "Tahoma"            },
  };
  for (const auto& [line, code_page, chosen, name] : rows) {
    HeadlessApp app;
    app.locale.code_page = code_page;
    app.folder.Write("app\\Languages\\English.ini", kLanguageHead + line + "\r\n");
    app.Start();
    for (const Font& font : {app.dialog().GetFont(), app.controls().cmdOK.GetFont(),
                             app.controls().lblInfo100.GetFont(), app.controls().txtProcessing.GetFont()}) {
      EXPECT_EQ(font.charset, chosen) << line;
      EXPECT_EQ(font.name, name) << line;
    }
    EXPECT_TRUE(app.controls().lblInfo100.GetFont().bold) << "size and weight are kept";
    EXPECT_EQ(app.controls().UpdateItem(0).lblItem.GetFont().name, "Tahoma") << "the list keeps its design";
  }
}

TEST(DialogTexts, AMissingKeyAffectsOnlyItsStatement) {
  HeadlessApp app;
  app.folder.Write(
      "app\\Languages\\English.ini",
      kLanguageHead +
          "[Software updates]\r\nTitle=The title\r\nInstall now=Go\r\nCheck Now=Look\r\n"
          "Check frequency never=never\r\nCheck frequency always=always\r\nCheck frequency weekly=weekly\r\n");
  app.Start();
  EXPECT_EQ(app.controls().lblInfo100.Text(), "The title");
  EXPECT_EQ(app.controls().cmdInstall.Text(), "Go");
  EXPECT_EQ(app.controls().cmdOK.Text(), "OK") << "keeps the design's caption";
  EXPECT_TRUE(app.dialog().FrequencyTexts.empty()) << "one look-up failed, so the list stays empty";
  EXPECT_TRUE(app.dialog().CheckLinkTexts.empty());
  EXPECT_EQ(app.controls().lblInfo105.Text(), "");
  EXPECT_EQ(app.controls().lblInfo103.Tag(), "3");
  app.Click(app.controls().lblInfo103);
  EXPECT_EQ(app.controls().lblInfo103.Tag(), "0");
}

class ResourceStringsTest : public testing::Test {
 protected:
  // Writes the language files and runs the set-up; answers messages about invalid files.
  void SetUp(const std::string& french, const std::string& english) {
    app.folder.Write("app\\Languages\\French.ini", french);
    app.folder.Write("app\\Languages\\English.ini", english);
    app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("French"));
    app.toolkit.answers.assign(4, kAnswerOk);
    app.Start();
  }
  using testing::Test::SetUp;
  // The text, or the description of the failure in angle brackets.
  std::string Text(const std::string& key) {
    try {
      return app.program->localization.GetResString(key);
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number, -1);
      EXPECT_EQ(error.source, "GetResString");
      return "<" + error.description + ">";
    }
  }
  HeadlessApp app;
};

TEST_F(ResourceStringsTest, TheSelectedFileComesFirstKeyByKey) {
  SetUp(kLanguageHead + "[Software updates]\r\nBoth=un\r\nEmpty=\r\nFirst=seul\r\n[Error messages]\r\nOops=ici\r\n",
        kLanguageHead + "[Software updates]\r\nBoth=one\r\nEmpty=one\r\nSecond=only\r\nSecond empty=\r\n");
  for (const char* row : {"49:Both|un", "49:Empty|", "49:First|seul", "49:Second|only", "49:Second empty|",
                          "99:Oops|ici", "Oops|ici", ":Oops|ici", "54:Oops|ici",
                          "49:Nowhere|<Resource string not found: \"Nowhere\" in section \"Software updates\">",
                          "53:Oops|<Resource string not found: \"Oops\" in section \"\">"}) {
    EXPECT_EQ(Text(Split(row, "|")[0]), Split(row, "|")[1]) << row;
  }
}

TEST_F(ResourceStringsTest, TextsAreCleanedUp) {
  // In the last one the reader removes the outer pair.
  const std::string cases[] = {
      "a\\nb\\nc|a\r\nb\r\nc", "a\\012b|a\r\nb",  "\"\"  quoted  \"\"|  quoted  ", "\"\"|",       "\"|",
      "\"open|\"open",         "C:\\New|C:\\New", "say \"x\"|say \"x\"",           "\"   \"|   ", "' \"  x \" '|  x "};
  std::string file = kLanguageHead + "[Software updates]\r\n";
  for (std::size_t i = 0; i < std::size(cases); ++i) file += std::to_string(i) + "=" + Split(cases[i], "|")[0] + "\r\n";
  SetUp(file, kLanguageHead);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(Text("49:" + std::to_string(i)), Split(cases[i], "|")[1]) << cases[i];
  }
}

TEST_F(ResourceStringsTest, TheNotFoundTextIsAResourceToo) {
  SetUp(kLanguageHead + "Resource missing=no [resource_number]\\n[RESOURCE_SECTION]\r\n", kLanguageHead);
  EXPECT_EQ(Text("49:Key"), "<no Key\r\nSoftware updates>");
}

TEST_F(ResourceStringsTest, LanguageInfoComesFromTheSelectedFile) {
  SetUp(kLanguageHead + "Language=Fran\u00E7ais\r\nLanguage, abbreviated=FR\r\nDefault skin=Blue\r\n", kLanguageHead);
  const char* kExpected[] = {"French", "Fran\u00E7ais", "FR", "7.0.1576", "Blue"};
  for (std::int32_t i = 0; i < 5; ++i) EXPECT_EQ(app.program->localization.GetLanguageInfo(i), kExpected[i]);
  EXPECT_THROW(app.program->localization.GetLanguageInfo(5), RuntimeError);
  EXPECT_THROW(app.program->localization.GetLanguageInfo(-2), RuntimeError);
}

}  // namespace
}  // namespace tsly
