#include <gtest/gtest.h>

#include "localization/version_pattern.h"
#include "support/headless_app.h"

namespace tsly {
namespace {

const std::string kSignature = "[General]\r\nDescription=TESSALY Studio Resources file\r\n";
const std::string kValid = kSignature + "Version=7.0.1350.0\r\n";
const std::string kInvalid = kSignature + "Version=6.0\r\n";

TEST(LanguageVersions, Accepted) {
  for (const char* version : {"7.0.1209.5", "7.0.1350.0", "7.0.13.1", "7.0.1576.0", "7.0.1576", "7.0.14xyz."}) {
    EXPECT_TRUE(IsAcceptedVersion(version)) << version;
  }
  for (const char* version : {"7.0.1209", "7.0.1577", "7.0.1600.0", "7.0.12.5", "7.0.1350.0.1", ""}) {
    EXPECT_FALSE(IsAcceptedVersion(version)) << version;
  }
  EXPECT_TRUE(FitsVersionPart("abcd", "a*c*"));
  EXPECT_TRUE(FitsVersionPart("", "*"));
  EXPECT_FALSE(FitsVersionPart("aba", "ab*ba"));
  EXPECT_FALSE(FitsVersionPart("abc", "a*bc*c"));
  EXPECT_FALSE(FitsVersionPart("abc", "a*d*c"));
}

TEST(LanguageSelection, EachPairOfFilesHasItsOutcome) {
  enum File { kMissingFile, kInvalidFile, kValidFile };
  const struct {
    const char* language;
    File selected, english;
    const char* message;  // its beginning; null: none
    std::int32_t icon;
  } kCases[] = {
      {"English", kMissingFile, kMissingFile, "The english language file (EN) can't be found. The program can't",       16},
      {"French",  kMissingFile, kMissingFile,
       "The selected language file (FR) can't be found, and the default language file (EN) can't be found, too.",       16},
      {"French",  kInvalidFile, kMissingFile,
       "The selected language file (FR) isn't valid, and the default language file (EN) can't be found.",               16},
      {"French",  kValidFile,   kMissingFile,
       "Warning: the english language file (EN) can't be found. Please verify or reinstall the software.",              64},
      {"French",  kMissingFile, kInvalidFile,
       "The selected language file (FR) can't be found, and the default language file (EN) is not valid.",              16},
      {"ENGLISH", kInvalidFile, kInvalidFile,
       "Warning: the english language file (EN) isn't valid. The program will continue",                                64},
      {"French",  kInvalidFile, kInvalidFile,
       "Warning: the selected language file (FR) isn't valid, and the default language file (EN) isn't valid, too.",    64},
      {"French",  kValidFile,   kInvalidFile,
       "Warning: the english language file (EN) isn't valid. The program will continue",                                64},
      {"French",  kMissingFile, kValidFile,
       "Warning: the selected language file (FR) can't be found. The default language file (EN) will be used instead.", 64},
      {"French",  kInvalidFile, kValidFile,
       "Warning: the selected language file (FR) isn't valid. As the default language file (EN) seems to be valid,",    64},
      {"French",  kValidFile,   kValidFile,   nullptr,                                                                  0 },
      {"English", kValidFile,   kValidFile,   nullptr,                                                                  0 },
  };
  for (const auto& row : kCases) {
    HeadlessApp app;
    std::filesystem::remove_all(app.folder.NativePath("app\\Languages"));
    const auto put = [&](const char* name, File state) {
      if (state != kMissingFile) app.folder.Write(name, state == kValidFile ? kValid : kInvalid);
    };
    put("app\\Languages\\English.ini", row.english);
    if (std::string(row.language) == "French") put("app\\Languages\\French.ini", row.selected);
    app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string(row.language));
    if (row.message != nullptr) app.toolkit.answers = {kAnswerOk};
    app.Start();
    EXPECT_EQ(app.program->global.StartupFailed, row.icon == 16) << row.message;
    EXPECT_EQ(app.dialog().Visible(), row.icon != 16);
    ASSERT_EQ(app.toolkit.messages.size(), row.message != nullptr ? 1u : 0u);
    if (row.message == nullptr) continue;
    std::string expected = row.message;
    for (const auto& [sign, file] : {
             std::pair{"(FR)", "French" },
             std::pair{"(EN)", "English"}
    }) {
      const auto at = expected.find(sign);
      if (at != std::string::npos) expected.replace(at, 4, "(" + app.AppFolder() + "Languages\\" + file + ".ini)");
    }
    EXPECT_TRUE(app.toolkit.messages[0].prompt.starts_with(expected)) << app.toolkit.messages[0].prompt;
    EXPECT_EQ(app.toolkit.messages[0].style, row.icon);
    const bool verify = row.selected == kValidFile && row.english == kMissingFile;
    EXPECT_TRUE(app.toolkit.messages[0].prompt.ends_with(
        row.icon == 16 ? "The program can't continue. Please reinstall the software."
        : verify       ? "Please verify or reinstall the software."
                       : "It would be a great idea to repair the installation."));
  }
}

TEST(LanguageSelection, AFirstRunCopiesTheMachinesLanguage) {
  const struct {
    RegData users, machines;
    const char* selected;
  } kCases[] = {
      {RegData(),             RegData(),             "English"},
      {RegData(),             std::string("French"), "French" },
      {std::string(),         std::string("French"), "French" },
      {std::string("German"), std::string("French"), "German" },
  };
  for (const auto& row : kCases) {
    HeadlessApp app;
    for (const char* name : {"French", "German"}) {
      app.folder.Write("app\\Languages\\" + std::string(name) + ".ini", kValid);
    }
    MRegistry& registry = app.program->registry;
    if (row.users.index() != 0) registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, row.users);
    if (row.machines.index() != 0) {
      registry.SetRegValue(kLocalMachine, SettingsKey, kValueDefaultLanguage, row.machines);
    }
    app.Start();
    EXPECT_EQ(app.program->localization.GetLanguageInfo(0), row.selected);
    EXPECT_EQ(registry.GetRegValue(kCurrentUser, SettingsKey, kValueLanguage, 0), RegData(std::string(row.selected)));
  }
}

TEST(LanguageSelection, PendingFilesAreTakenIntoUseOnce) {
  const std::string folder = "app\\Languages\\", pending = kValid + "Language=New\r\n";
  for (const bool rename_fails : {false, true}) {  // a copy does the same work
    HeadlessApp app;
    app.folder.Write(folder + "English.NEW.ini", pending);
    app.folder.Write(folder + "German.new.ini", kValid);
    // One that can't be taken is left for the next start, and the others are taken all the same.
    std::filesystem::create_directory(app.folder.NativePath(folder + "Danish.ini"));
    app.folder.Write(folder + "Danish.new.ini", kValid);
    if (rename_fails) app.files.failures.push_back({FileCall::kRename, 0, 5});
    app.Start();
    EXPECT_EQ(app.program->localization.GetLanguageInfo(1), "New");
    EXPECT_TRUE(app.folder.Has(folder + "German.ini") && app.folder.Has(folder + "Danish.new.ini"));
    EXPECT_FALSE(app.folder.Has(folder + "English.NEW.ini") || app.folder.Has(folder + "German.new.ini"));
  }
  HeadlessApp stuck;
  stuck.folder.Write(folder + "English.new.ini", pending);
  for (const FileCall call : {FileCall::kRename, FileCall::kCopy, FileCall::kDelete}) {
    stuck.files.failures.push_back({call, 0, 5});
  }
  stuck.Start();
  EXPECT_EQ(stuck.files.calls[FileCall::kRename], 1) << "the pass ends";
  EXPECT_TRUE(stuck.folder.Has(folder + "English.new.ini"));
  EXPECT_EQ(stuck.program->localization.GetLanguageInfo(1), "English");
}

}  // namespace
}  // namespace tsly
