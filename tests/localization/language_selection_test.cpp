#include <gtest/gtest.h>

#include "base/text.h"
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

TEST(LanguageSelection, EachPairOfFilesHasItsResult) {
  enum File { kNone, kBad, kGood };
  const std::string verify = "Please verify or reinstall the software.";
  const std::string repair = "It would be a great idea to repair the installation.";
  const std::string stop = "The program can't continue. Please reinstall the software.";
  // The selected and the English file; the message's icon, beginning and end. "": none.
  const std::tuple<const char*, File, File, int, const char*, std::string> rows[] = {
      {"English", kNone, kNone, 16, "The english language file (EN) can't be found. The program",            stop  },
      {"French",  kNone, kNone, 16,
       "The selected language file (FR) can't be found, and the default language file (EN) can't",           stop  },
      {"French",  kBad,  kNone, 16,
       "The selected language file (FR) isn't valid, and the default language file (EN) can't",              stop  },
      {"French",  kGood, kNone, 64, "Warning: the english language file (EN) can't be found. ",              verify},
      {"French",  kNone, kBad,  16,
       "The selected language file (FR) can't be found, and the default language file (EN) is not",          stop  },
      {"ENGLISH", kBad,  kBad,  64, "Warning: the english language file (EN) isn't valid. ",                 repair},
      {"French",  kBad,  kBad,  64,
       "Warning: the selected language file (FR) isn't valid, and the default language file (EN) isn't",     repair},
      {"French",  kGood, kBad,  64, "Warning: the english language file (EN) isn't valid. ",                 repair},
      {"French",  kNone, kGood, 64, "Warning: the selected language file (FR) can't be found. The default ", repair},
      {"French",  kBad,  kGood, 64, "Warning: the selected language file (FR) isn't valid. As the default ", repair},
      {"French",  kGood, kGood, 0,  "",                                                                      ""    },
      {"English", kGood, kGood, 0,  "",                                                                      ""    },
  };
  for (const auto& [language, selected, english, icon, beginning, end] : rows) {
    HeadlessApp app;
    const auto put = [&app](const std::string& name, File state) {
      const std::string file = "app\\Languages\\" + name + ".ini";
      std::filesystem::remove(app.folder.NativePath(file));
      if (state != kNone) app.folder.Write(file, state == kGood ? kValid : kInvalid);
      return "(" + app.folder.CorePath(file) + ")";
    };
    const std::string french_file = put("French", selected), english_file = put("English", english);
    app.program->registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string(language));
    app.StartWith({}, {kAnswerOk});
    SCOPED_TRACE(beginning);
    EXPECT_EQ(app.program->global.StartupFailed, icon == 16);
    EXPECT_EQ(app.dialog().Visible(), icon != 16);
    ASSERT_EQ(app.toolkit.messages.size(), icon != 0 ? 1u : 0u);
    if (icon == 0) continue;
    const auto& [prompt, style] = app.toolkit.messages[0];
    EXPECT_EQ(style, icon);
    EXPECT_TRUE(prompt.starts_with(Replace(Replace(beginning, "(FR)", french_file), "(EN)", english_file)) &&
                prompt.ends_with(end))
        << prompt;
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

TEST(LanguageSelection, PendingFilesAreInstalledOnce) {
  const std::string folder = "app\\Languages\\", pending = kValid + "Language=New\r\n";
  for (const bool rename_fails : {false, true}) {  // then it copies instead
    HeadlessApp app;
    app.folder.Write(folder + "English.NEW.ini", pending);
    app.folder.Write(folder + "German.new.ini", kValid);
    // A file that can't be installed is left for the next start; the others are installed.
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
