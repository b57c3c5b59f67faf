// Skins, character sets and fonts.
#include <gtest/gtest.h>

#include "support/headless_app.h"

namespace tsly {
namespace {

const std::string kValidSkin =
    "[General]\r\nDescription=Tessaly Studio Skin description file\r\nVersion=7.0.1400.1\r\n";
const std::string kInvalidSkin = "[General]\r\nDescription=Tessaly Studio Resources file\r\nVersion=7.0.1400.1\r\n";

TEST(Skins, SelectionAndItsOutcomes) {
  const struct {
    const char *users, *machines;  // the settings; "": none
    const char* present;           // skins that are there: capitals valid, small letters invalid
    const char* in_force;
    std::vector<std::int32_t> icons;
    const char* named;  // the skin that the messages name
  } kCases[] = {
      {"",    "",  "D",   "Default", {},       ""       },
      {"",    "B", "BD",  "B",       {},       ""       },
      {"A\\", "B", "AD",  "A",       {},       ""       },
      {"A",   "B", "BD",  "Default", {},       ""       },
      {"A",   "B", "aBD", "Default", {64},     "A"      },
      {"A",   "",  "ad",  "",        {16},     "A"      },
      {"A",   "",  "d",   "",        {16},     "Default"},
      {"A",   "",  "",    "",        {16, 16}, "Default"},
  };
  for (const auto& row : kCases) {
    HeadlessApp app;
    std::filesystem::remove_all(app.folder.NativePath("app\\Skins"));
    for (const char c : std::string(row.present)) {
      const bool valid = c < 'a';
      std::string name(1, valid ? c : static_cast<char>(c - 32));
      if (name == "D") name = "Default";
      app.folder.Write("app\\Skins\\" + name + "\\Skin.ini", valid ? kValidSkin : kInvalidSkin);
    }
    MRegistry& registry = app.program->registry;
    if (*row.users != '\0') registry.SetRegValue(kCurrentUser, SettingsKey, kValueSkin, std::string(row.users));
    if (*row.machines != '\0') registry.SetRegValue(kLocalMachine, SettingsKey, kValueSkin, std::string(row.machines));
    app.toolkit.answers.assign(row.icons.size(), kAnswerOk);
    app.Start();
    const MLocalization& look = app.program->localization;
    EXPECT_EQ(look.SkinInForce(), row.in_force);
    if (*row.in_force != '\0') {
      EXPECT_EQ(look.SkinFolderInForce(), app.AppFolder() + "Skins\\" + row.in_force);
      EXPECT_EQ(look.SkinFileInForce(), look.SkinFolderInForce() + "\\Skin.ini");
    }
    std::vector<std::int32_t> icons;
    for (const auto& message : app.toolkit.messages) {
      icons.push_back(message.style);
      EXPECT_NE(message.prompt.find("\"" + std::string(row.named) + "\""), std::string::npos) << message.prompt;
    }
    EXPECT_EQ(icons, row.icons);
    EXPECT_EQ(app.program->global.StartupFailed, *row.in_force == '\0');
  }
}

TEST(Fonts, FollowTheLanguagesCharacterSetOrTheSystems) {
  const struct {
    const char* charset;  // null: the key is missing
    std::uint32_t code_page;
    std::int32_t chosen;
    const char* font;
  } kCases[] = {
      {"western european",    1252, 0,   "Tahoma"            },
      {"western european",    932,  128, "MS UI Gothic"      },
      {nullptr,               1252, 0,   "Tahoma"            },
      {nullptr,               0,    0,   "Tahoma"            },
      {"unknown",             9999, 0,   "Tahoma"            },
      {"  JapanESE ",         1252, 128, "MS UI Gothic"      },
      {"korean",              1252, 129, "Tahoma"            },
      {"simplified chinese",  1252, 134, "SimSun"            },
      {"traditional chinese", 1252, 136, "Microsoft JhengHei"},
      {"arabic",              1252, 178, "Arial"             },
      {"eastern european",    1252, 238, "Tahoma"            },
  };
  for (const auto& row : kCases) {
    HeadlessApp app;
    app.locale.code_page = row.code_page;
    const std::string line = row.charset == nullptr ? "" : "Charset=\"" + std::string(row.charset) + "\"\r\n";
    app.folder.Write("app\\Languages\\English.ini", kLanguageHead + line);
    app.Start();
    for (const Font& font : {app.dialog().GetFont(), app.controls().cmdOK.GetFont(),
                             app.controls().lblInfo100.GetFont(), app.controls().txtProcessing.GetFont()}) {
      EXPECT_EQ(font.charset, row.chosen) << line;
      EXPECT_EQ(font.name, row.font) << line;
    }
    EXPECT_TRUE(app.controls().lblInfo100.GetFont().bold) << "size and weight stay";
    EXPECT_EQ(app.controls().UpdateItem(0).lblItem.GetFont().name, "Tahoma") << "the list keeps its design";
  }
}

TEST(DialogTexts, AMissingKeyAbandonsItsStatementAlone) {
  HeadlessApp app;
  app.folder.Write(
      "app\\Languages\\English.ini",
      kLanguageHead +
          "[Software updates]\r\nTitle=The title\r\nInstall now=Go\r\nCheck Now=Look\r\n"
          "Check frequency never=never\r\nCheck frequency always=always\r\nCheck frequency weekly=weekly\r\n");
  app.Start();
  EXPECT_EQ(app.controls().lblInfo100.Text(), "The title");
  EXPECT_EQ(app.controls().cmdInstall.Text(), "Go");
  EXPECT_EQ(app.controls().cmdOK.Text(), "OK") << "the design's caption stays";
  EXPECT_TRUE(app.dialog().FrequencyTexts.empty()) << "one lookup failed, so the whole list is abandoned";
  EXPECT_TRUE(app.dialog().CheckLinkTexts.empty());
  EXPECT_EQ(app.controls().lblInfo105.Text(), "");
  EXPECT_EQ(app.controls().lblInfo103.Tag(), "3");
  app.Click(app.controls().lblInfo103);
  EXPECT_EQ(app.controls().lblInfo103.Tag(), "0");
}

}  // namespace
}  // namespace tsly
