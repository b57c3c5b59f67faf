#include <algorithm>
#include <set>

#include "base/text.h"
#include "dialog/MGlobal.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"
#include "localization/version_pattern.h"
#include "ports/files.h"
#include "ports/toolkit.h"
#include "services/MRegistry.h"
#include "services/MRegistryConstants.h"

namespace tsly {
namespace {

constexpr const char* kEnglish = "English";
constexpr const char* kLanguagePattern = "[AppPath]\\Languages\\[Language].ini";
constexpr const char* kSkinPattern = "[AppPath]\\Skins\\[SkinName]\\Skin.ini";
constexpr const char* kSkinSignature = "Tessaly Studio Skin description file";
constexpr std::string_view kPending = ".new";
constexpr std::string_view kEnding = ".ini";

// The result of checking the two language files. These texts have to work without any language file.
struct LanguageOutcome {
  int selected, fallback;  // 0 missing, 1 invalid, 3 valid
  bool english;            // the language
  std::int32_t icon;       // the stop icon: the program can't continue
  const char* message;     // %1: selected file, %2: default file
};

constexpr LanguageOutcome kLanguageOutcomes[] = {
    {0, 0, true,  kIconStop,
     "The english language file (%2) can't be found. The program can't continue. Please reinstall the software."     },
    {0, 0, false, kIconStop,
     "The selected language file (%1) can't be found, and the default language file (%2) can't be found, too. The "
     "program can't continue. Please reinstall the software."                                                        },
    {1, 0, false, kIconStop,
     "The selected language file (%1) isn't valid, and the default language file (%2) can't be found. The program "
     "can't continue. Please reinstall the software."                                                                },
    {3, 0, false, kIconInformation,
     "Warning: the english language file (%2) can't be found. Please verify or reinstall the software."              },
    {0, 1, false, kIconStop,
     "The selected language file (%1) can't be found, and the default language file (%2) is not valid. The program "
     "can't continue. Please reinstall the software."                                                                },
    {1, 1, true,  kIconInformation,
     "Warning: the english language file (%2) isn't valid. The program will continue but unexpected messages may "
     "appear. It would be a great idea to repair the installation."                                                  },
    {1, 1, false, kIconInformation,
     "Warning: the selected language file (%1) isn't valid, and the default language file (%2) isn't valid, too. The "
     "program will continue but unexpected messages may appear. It would be a great idea to repair the installation."},
    {3, 1, false, kIconInformation,
     "Warning: the english language file (%2) isn't valid. The program will continue but unexpected messages may "
     "appear. It would be a great idea to repair the installation."                                                  },
    {0, 3, false, kIconInformation,
     "Warning: the selected language file (%1) can't be found. The default language file (%2) will be used instead. It "
     "would be a great idea to repair the installation."                                                             },
    {1, 3, false, kIconInformation,
     "Warning: the selected language file (%1) isn't valid. As the default language file (%2) seems to be valid, it "
     "will be used for missing messages. The program will continue but unexpected messages may appear. It would be a "
     "great idea to repair the installation."                                                                        },
};

}  // namespace

bool MLocalization::InitLocalization() {
  TakePendingLanguageFiles();
  const std::string name = SelectLanguage();
  const bool english = LowerCase(name) == LowerCase(kEnglish);
  const std::string selected_file = ResourcePath("Lang", name);
  const std::string default_file = ResourcePath("Lang", kEnglish);

  std::array<std::string, 5> info;
  info[0] = name;
  const FileState selected = TestLanguageFile(selected_file, info);
  std::array<std::string, 5> unused;
  const FileState fallback = english ? selected : TestLanguageFile(default_file, unused);
  const bool usable = ReportLanguageFiles(selected, fallback, english, selected_file, default_file);

  LanguageInfo = info;
  SelectedLanguageFile = selected_file;
  DefaultLanguageFile = default_file;
  BuildSectionTable();
  SettleDefaultSkin();
  ResourceMissingText.clear();
  const std::string pattern = FindResString(text_key::kResourceMissing).value_or("");
  ResourceMissingText = !Trim(pattern).empty()
                            ? pattern
                            : "Resource string not found: \"[RESOURCE_NUMBER]\" in section \"[RESOURCE_SECTION]\"";
  const bool skin_usable = SelectSkin();
  return usable && skin_usable;
}

// A pass handles each pending file once and restarts its search after each.
void MLocalization::TakePendingLanguageFiles() {
  const std::string pattern = ResourcePath("Lang", "*.new");
  const std::string folder = pattern.substr(0, pattern.rfind('\\') + 1);
  std::set<std::string> taken;
  for (bool found = true; found;) {
    std::vector<std::string> names;
    files_.Find(pattern, names);
    const auto next = std::find_if(names.begin(), names.end(), [&](const auto& n) { return !taken.contains(n); });
    found = next != names.end();
    if (!found) break;
    taken.insert(*next);
    TakePendingLanguageFile(folder, *next);
  }
}

void MLocalization::TakePendingLanguageFile(const std::string& folder, const std::string& name) {
  const std::string pending = folder + name;
  std::string final_name = name;
  final_name.erase(name.size() - kEnding.size() - kPending.size(), kPending.size());
  const std::string final_file = folder + final_name;
  if (global_.FileExists(final_file)) files_.Delete(final_file);
  if (files_.Rename(pending, final_file) == 0) return;
  // Deletes the copied file: it would undo a later repair of the target at every start.
  if (files_.Copy(pending, final_file) == 0) files_.Delete(pending);
}

std::string MLocalization::SelectLanguage() {
  std::string name;
  const bool stored = registry_.RegValueExists(kCurrentUser, SettingsKey, kValueLanguage, "");
  bool certain = registry_.WasCertain();
  if (stored) name = registry_.TextOf(registry_.GetRegValue(kCurrentUser, SettingsKey, kValueLanguage, kEnglish));
  if (name.empty()) {
    name = registry_.TextOf(registry_.GetRegValue(kLocalMachine, SettingsKey, kValueDefaultLanguage, kEnglish));
    certain = certain && registry_.WasCertain();
    // The user's choice may exist and be unreadable at the moment.
    if (certain) registry_.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, name);
  }
  return name;
}

MLocalization::FileState MLocalization::TestLanguageFile(const std::string& file, std::array<std::string, 5>& info) {
  if (!global_.FileExists(file)) return FileState::Missing;
  const bool valid = IsValidResourceFile(file, "Lang", info[1], info[2], info[3], info[4]);
  return valid ? FileState::Valid : FileState::Invalid;
}

bool MLocalization::ReportLanguageFiles(FileState selected, FileState fallback, bool english,
                                        const std::string& selected_file, const std::string& default_file) {
  for (const LanguageOutcome& row : kLanguageOutcomes) {
    if (row.selected != static_cast<int>(selected) || row.fallback != static_cast<int>(fallback)) continue;
    if (row.english != english) continue;
    global_.ShowMessage(Replace(Replace(row.message, "%1", selected_file), "%2", default_file), row.icon);
    return row.icon != kIconStop;
  }
  return true;
}

std::string MLocalization::ResourcePath(const std::string& kind, const std::string& name) const {
  const std::string lower_kind = LowerCase(kind);
  if (lower_kind == "lang") return global_.ExpandAppPath(Replace(kLanguagePattern, "[Language]", name));
  if (lower_kind == "skin") return global_.ExpandAppPath(Replace(kSkinPattern, "[SkinName]", name));
  return "";
}

std::string MLocalization::GeneralValue(const std::string& file, const char* key) {
  return global_.ReadProfileString("General", key, "", file);
}

bool MLocalization::IsValidResourceFile(const std::string& file, const std::string& kind, std::string& language,
                                        std::string& abbreviation, std::string& version, std::string& default_skin) {
  const bool language_kind = LowerCase(kind) == "lang";
  const char* signature = language_kind ? kLanguageSignature : kSkinSignature;
  const bool right_signature = LowerCase(GeneralValue(file, "Description")) == LowerCase(signature);
  if (language_kind) language = GeneralValue(file, "Language");
  abbreviation = GeneralValue(file, "Language, abbreviated");
  version = LowerCase(GeneralValue(file, "Version"));
  const bool right_version = IsAcceptedVersion(version);
  default_skin = GeneralValue(file, "Default skin");
  return right_signature && right_version;
}

std::int32_t MLocalization::MaxOf(std::int32_t first, std::initializer_list<std::int32_t> others) {
  return std::max(first, others.size() == 0 ? first : std::max(others));
}

}  // namespace tsly
