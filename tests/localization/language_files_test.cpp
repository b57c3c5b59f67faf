// The product's own language files, and files that are none.
#include <gtest/gtest.h>
#include <iconv.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "base/text.h"
#include "localization/MLocalizationText.h"
#include "support/headless_app.h"
#include "support/ordinary_user.h"

namespace tsly {
namespace {

namespace fs = std::filesystem;

const fs::path kSource = TSLY_SOURCE_DIR;

std::string Contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::set<std::string> AllMatches(const std::string& text, const char* pattern) {
  std::set<std::string> found;
  const std::regex regex(pattern);
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) found.insert((*it)[1]);
  return found;
}

TEST(TextKeys, TheCodeAndItsListHoldTheSame) {
  const fs::path list = kSource / "src/localization/MLocalizationText.h";
  std::string code;
  for (const auto& entry : fs::recursive_directory_iterator(kSource / "src")) {
    if (entry.is_regular_file() && entry.path() != list) code += Contents(entry.path());
  }
  const std::string header = Contents(list);
  const std::set<std::string> declared = AllMatches(header, R"(ResourceKey (k\w+)\{)");
  EXPECT_EQ(declared, AllMatches(header, R"(&(k\w+))"));
  EXPECT_EQ(declared, AllMatches(code, R"(text_key::(k\w+))"));
  EXPECT_EQ(AllMatches(code, R"re(("\d\d:[A-Z][^"]*"))re"), std::set<std::string>())
      << "a key that the list doesn't know";

  std::set<std::string> keys, filled;
  for (const ResourceKey* key : text_key::kAll) {
    EXPECT_TRUE(keys.insert(key->key).second) << key->key;
    for (const std::string& word : Split(Replace(key->placeholders, "?", ""), " ")) filled.insert(word);
  }
  EXPECT_EQ(keys.size(), 70u);
  std::set<std::string> in_code = AllMatches(code, R"re("(\[[A-Z][A-Z/:_-]+\])")re");
  in_code.erase("[MODULE]");  // of a registry value's name
  EXPECT_EQ(in_code, filled);
}

std::string Converted(const std::string& text, const std::string& codeset) {
  const iconv_t converter = iconv_open(codeset.c_str(), "UTF-8");
  std::string bytes(text.size() * 2, '\0');
  char *in = const_cast<char*>(text.data()), *out = bytes.data();
  std::size_t left = text.size(), room = bytes.size();
  EXPECT_EQ(iconv(converter, &in, &left, &out, &room), 0u) << codeset << ": " << std::string_view(in, 20);
  iconv_close(converter);
  bytes.resize(bytes.size() - room);
  return bytes;
}

TEST(LanguageFiles, ReadTheSameInTheCodePageOfTheirCountry) {
  // clang-format off
  const std::pair<const char*, std::uint32_t> kCases[] = {
      {"English", 1252}, {"French", 1252}, {"German", 1252}, {"Spanish", 1252},
      {"Japanese", 932}, {"Russian", 1251}, {"Arabic", 1256}, {"Turkish", 1254},
  };
  // clang-format on
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& file : fs::directory_iterator(kSource / "resources/Languages")) ++files;
  EXPECT_EQ(files, std::size(kCases));
  for (const auto& [name, page] : kCases) {
    HeadlessApp app, copy;
    const std::string file = "app\\Languages\\" + std::string(name) + ".ini";
    const std::string contents = Contents(kSource / "resources/Languages" / (std::string(name) + ".ini"));
    app.folder.Write(file, contents);
    copy.folder.Write(file, Converted(contents, "CP" + std::to_string(page)));
    copy.profiles = IniReader(page);
    for (HeadlessApp* one : {&app, &copy}) {
      one->program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string(name));
      one->Start();
    }
    for (const ResourceKey* key : text_key::kAll) {
      EXPECT_EQ(copy.program->localization.GetResString(*key), app.program->localization.GetResString(*key));
    }
    EXPECT_EQ(copy.program->localization.GetLanguageInfo(), app.program->localization.GetLanguageInfo());
    EXPECT_NE(app.program->localization.GetLanguageInfo(2), "");
  }
}

// The file of the language (1) or the skin in use (0): the program tells what is wrong, and goes on if it can.
TEST(LanguageFiles, WhatIsNoLanguageOrSkinFileIsToldAndHarmless) {
  std::string again = kLanguageHead + "[Software updates]\r\n";
  for (int i = 0; i < 1000; ++i) again += "Title=" + std::to_string(i) + "\r\n";
  // clang-format off
  const struct {
    std::string contents;
    bool valid;
    const char* title;  // what the dialog shows
  } kCases[] = {
      {"", false, ""},
      {std::string(1000, '\0'), false, ""},
      {"\x7F" "ELF\x02\x01\xFF\xFE" + std::string(5000, '\xC3'), false, ""},
      {"[General\r\nVersion=7.0.1576", false, ""},
      {kLanguageHead.substr(0, 30), false, ""},
      {kLanguageHead + std::string(50 << 20, 'x') + "\r\n[Software updates]\r\nTitle=t", true, "t"},
      {kLanguageHead + "[Software updates]\r\nTitle=\"open\r\nOK=\"\r\n", true, "\"open"},
      {kLanguageHead + "[Software updates]\r\nTitle=cut" + std::string(1, '\0') + "off", true, "cut"},
      {again, true, "0"},
  };
  // clang-format on
  for (const auto& row : kCases) {
    HeadlessApp app;
    app.folder.Write("app\\Languages\\English.ini", row.contents);
    app.toolkit.answers = {kAnswerOk};
    app.Start();
    EXPECT_EQ(app.toolkit.messages.size(), row.valid ? 0u : 1u) << row.contents.substr(0, 20);
    EXPECT_TRUE(app.dialog().Visible());
    EXPECT_EQ(app.controls().lblInfo200.Text(), row.title);
    EXPECT_EQ(app.controls().cmdOK.Text(), "OK");

    HeadlessApp skinned;
    skinned.folder.Write("app\\Skins\\Odd\\Skin.ini", row.contents);
    skinned.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueSkin, std::string("Odd"));
    skinned.toolkit.answers = {kAnswerOk};
    skinned.Start();
    ASSERT_EQ(skinned.toolkit.messages.size(), 1u) << "a language file is no skin either";
    EXPECT_EQ(skinned.toolkit.messages[0].style, kIconInformation);
    EXPECT_EQ(skinned.program->localization.SkinInForce(), "Default");
    EXPECT_TRUE(skinned.dialog().Visible());
  }
}

TEST(LanguageFiles, AFolderInPlaceOfAFileIsNoFile) {
  HeadlessApp app;
  const fs::path english = app.folder.NativePath("app\\Languages\\English.ini");
  fs::remove(english);
  fs::create_directory(english);
  app.StartWith({}, {kAnswerOk});
  EXPECT_EQ(app.Prompts()[0].substr(0, 26), "The english language file ");
}

TEST(LanguageFiles, SettingsOfAWrongTypeAreReadAsText) {
  for (const RegData& odd : {RegData(7), RegData(2.5), RegData(std::string("..\\x"))}) {
    HeadlessApp app;
    MRegistry& registry = app.program->registry;
    for (const char* name : {kValueLanguage, kValueSkin}) registry.SetRegValue(kCurrentUser, SettingsKey, name, odd);
    registry.SetRegValue(kLocalMachine, SettingsKey, kValueDefaultLanguage, odd);
    app.toolkit.answers = {kAnswerOk};
    app.Start();
    EXPECT_TRUE(app.dialog().Visible());
    EXPECT_EQ(app.controls().cmdClose.Text(), "Close") << "the English file serves";
    EXPECT_EQ(app.toolkit.messages.size(), 1u);
  }
}

// Without the right to write there, nothing pending is taken into use and nothing is lost; without the right to read,
// a file is one that is not valid.
TEST(LanguageFiles, AnOrdinaryUserReadsWhatHeMay) {
  EXPECT_EQ(AsOrdinaryUser([] {
              HeadlessApp app;
              const std::string folder = "app\\Languages\\";
              app.folder.Write(folder + "English.new.ini", kLanguageHead + "[Software updates]\r\nTitle=New\r\n");
              app.folder.Write(folder + "French.ini", kLanguageHead);
              fs::permissions(app.folder.NativePath(folder + "French.ini"), fs::perms::none);
              fs::permissions(app.folder.NativePath(folder + "English.ini"), fs::perms::owner_read);
              fs::permissions(app.folder.NativePath(folder), fs::perms::owner_read | fs::perms::owner_exec);
              app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("French"));
              app.toolkit.answers = {kAnswerOk};
              app.Start();
              const bool told =
                  app.Prompts().size() == 1 && app.Prompts()[0].find("isn't valid. As the") != std::string::npos;
              const bool whole = app.controls().lblInfo100.Text() == "Tessaly Studio updates" &&
                                 app.folder.Has(folder + "English.new.ini");
              fs::permissions(app.folder.NativePath(folder), fs::perms::owner_all);
              return told && whole ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace tsly
