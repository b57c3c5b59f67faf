// The product's own language files, and invalid ones.
#include <gtest/gtest.h>
#include <iconv.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "base/text.h"
#include "localization/MLocalizationText.h"
#include "support/headless_app.h"

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

TEST(TextKeys, TheCodeAndItsListMatch) {
  const fs::path list = kSource / "src/localization/MLocalizationText.h";
  std::string code;
  for (const auto& entry : fs::recursive_directory_iterator(kSource / "src")) {
    if (entry.is_regular_file() && entry.path() != list) code += Contents(entry.path());
  }
  const std::string header = Contents(list);
  const std::set<std::string> declared = AllMatches(header, R"(ResourceKey (k\w+)\{)");
  EXPECT_EQ(declared, AllMatches(header, R"(&(k\w+))"));
  EXPECT_EQ(declared, AllMatches(code, R"(text_key::(k\w+))"));
  EXPECT_EQ(AllMatches(code, R"re(("\d\d:[A-Z][^"]*"))re"), std::set<std::string>()) << "a key that isn't in the list";

  std::set<std::string> keys, filled;
  for (const ResourceKey* key : text_key::kAll) {
    EXPECT_TRUE(keys.insert(key->key).second) << key->key;
    for (const std::string& word : Split(Replace(key->placeholders, "?", ""), " ")) filled.insert(word);
  }
  EXPECT_EQ(keys.size(), 70u);
  std::set<std::string> in_code = AllMatches(code, R"re("(\[[A-Z][A-Z/:_-]+\])")re");
  in_code.erase("[MODULE]");  // in the name of a registry value
  EXPECT_EQ(in_code, filled);
}

TEST(LanguageFiles, EveryLetterExistsInTheCodePageOfItsCountry) {
  std::istringstream pages(
      "English 1252 French 1252 German 1252 Spanish 1252 Japanese 932 Russian 1251 Arabic 1256 Turkish 1254");
  std::ptrdiff_t files = 0;
  for (std::string name, page; pages >> name >> page; ++files) {
    std::string text = Contents(kSource / "resources/Languages" / (name + ".ini")), bytes(text.size() * 2, '\0');
    const iconv_t converter = iconv_open(("CP" + page).c_str(), "UTF-8");
    char *in = text.data(), *out = bytes.data();
    std::size_t left = text.size(), room = bytes.size();
    EXPECT_EQ(iconv(converter, &in, &left, &out, &room), 0u)
        << name << ": " << std::string_view(in, std::min(left, 20ul));
    iconv_close(converter);
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(kSource / "resources/Languages"), {}), files);
}

// The language or skin file in use: the program reports what is wrong and continues if it can.
TEST(LanguageFiles, InvalidLanguageAndSkinFilesAreReported) {
  std::string again = kLanguageHead + "[Software updates]\r\n";
  for (int i = 0; i < 1000; ++i) again += "Title=" + std::to_string(i) + "\r\n";
  const std::string texts = kLanguageHead + "[Software updates]\r\nTitle=";
  // The file, whether it is valid, and the title of the dialog.
  const std::string elf = "\x7F\x45LF\x02\x01\xFF\xFE" + std::string(5000, '\xC3'), zeros(1000, '\0');
  const std::string long_line = kLanguageHead + std::string(1 << 20, 'x') + "\r\n[Software updates]\r\nTitle=t";
  const std::string head = kLanguageHead.substr(0, 30), cut = texts + "cut" + std::string(1, '\0') + "off";
  const std::tuple<std::string, bool, const char*> rows[] = {
      {"",                             false, ""      },
      {zeros,                          false, ""      },
      {elf,                            false, ""      },
      {"[General\r\nVersion=7.0.1576", false, ""      },
      {head,                           false, ""      },
      {long_line,                      true,  "t"     },
      {texts + "\"open\r\nOK=\"\r\n",  true,  "\"open"},
      {cut,                            true,  "cut"   },
      {again,                          true,  "0"     },
  };
  for (const auto& [contents, valid, title] : rows) {
    HeadlessApp app;
    app.folder.Write("app\\Languages\\English.ini", contents);
    app.StartWith({}, {kAnswerOk});
    EXPECT_EQ(app.toolkit.messages.size(), valid ? 0u : 1u) << contents.substr(0, 20);
    EXPECT_TRUE(app.dialog().Visible());
    EXPECT_EQ(app.controls().lblInfo200.Text(), title);
    EXPECT_EQ(app.controls().cmdOK.Text(), "OK");

    HeadlessApp skinned;
    skinned.folder.Write("app\\Skins\\Odd\\Skin.ini", contents);
    skinned.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueSkin, std::string("Odd"));
    skinned.StartWith({}, {kAnswerOk});
    ASSERT_EQ(skinned.toolkit.messages.size(), 1u) << "a language file is no skin either";
    EXPECT_EQ(skinned.toolkit.messages[0].style, kIconInformation);
    EXPECT_EQ(skinned.program->localization.SkinInForce(), "Default");
    EXPECT_TRUE(skinned.dialog().Visible());
  }
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
    EXPECT_EQ(app.controls().cmdClose.Text(), "Close") << "from the English file";
    EXPECT_EQ(app.toolkit.messages.size(), 1u);
  }
}

}  // namespace
}  // namespace tsly
