// The module MLocalization: selects the user's language file and skin when the dialog loads, looks up the texts, and
// selects the dialog's font. One object per process, on its only thread.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tsly {

class Files;
class Form;
class Locale;
class MGlobal;
class MRegistry;
struct ResourceKey;

class MLocalization {
 public:
  MLocalization(MGlobal& global, MRegistry& registry, Files& files, Locale& locale)
      : global_(global), registry_(registry), files_(files), locale_(locale) {}

  // Sets everything up (language_selection.cpp, skins.cpp). False: a fatal message was shown; the program has to end.
  bool InitLocalization();

  // The path of a resource file: `kind` is "Lang" or "Skin", in any letter case; "" for any other.
  std::string ResourcePath(const std::string& kind, const std::string& name) const;

  // Whether a language or skin file has the right signature and a version that this program accepts. Always sets all
  // out-arguments.
  bool IsValidResourceFile(const std::string& file, const std::string& kind, std::string& language,
                           std::string& abbreviation, std::string& version, std::string& default_skin);

  static std::int32_t MaxOf(std::int32_t first, std::initializer_list<std::int32_t> others);

  // The text of a resource key (resource_strings.cpp). Throws error -1, source "GetResString", if neither language file
  // has the key.
  std::string GetResString(std::string_view key);
  // The same, none for such a key.
  std::optional<std::string> FindResString(std::string_view key);

  // The text of a value in a language file: replaces "\n" and "\012" by line breaks and removes outer quotes.
  static std::string TextOfValue(std::string text);

  // 0: the selected language's name from the settings; 1 to 4, from its file: name, abbreviation, version in lower
  // case, default skin. Any other index throws error 9. Without an index: all five.
  std::string GetLanguageInfo(std::int32_t index) const;
  const std::array<std::string, 5>& GetLanguageInfo() const { return LanguageInfo; }

  // Sets the character set and the font of the language for a dialog and its controls (fonts.cpp).
  void ApplyDialogFonts(Form& form);
  void ChooseDialogFont(std::string& font_name, std::int32_t& charset);
  std::int32_t GetLanguageCharset();
  std::int32_t GetSystemCharset();

  const std::string& SkinInForce() const { return SkinName; }
  const std::string& SkinFileInForce() const { return SkinFile; }
  const std::string& SkinFolderInForce() const { return SkinFolder; }

 private:
  enum class FileState { Missing = 0, Invalid = 1, Valid = 3 };

  void TakePendingLanguageFiles();
  void TakePendingLanguageFile(const std::string& folder, const std::string& name);
  std::string SelectLanguage();
  FileState TestLanguageFile(const std::string& file, std::array<std::string, 5>& info);
  bool ReportLanguageFiles(FileState selected, FileState fallback, bool english, const std::string& selected_file,
                           const std::string& default_file);
  void BuildSectionTable();
  void SettleDefaultSkin();
  bool SelectSkin();
  bool TakeSkin(const std::string& name);
  void ShowSkinMessage(const ResourceKey& key, const std::string& skin_name, std::int32_t icon);
  std::pair<std::string, std::string> SectionAndName(std::string_view key) const;
  bool FindText(const std::string& section, const std::string& key, const std::string& file, std::string& text);
  std::string GeneralValue(const std::string& file, const char* key);

  MGlobal& global_;
  MRegistry& registry_;
  Files& files_;
  Locale& locale_;

  std::string SelectedLanguageFile;
  std::string DefaultLanguageFile;
  std::array<std::string, 5> LanguageInfo;
  std::vector<std::string> StringSections;
  std::string ResourceMissingText;
  std::string DefaultSkin;
  std::string SkinName;
  std::string SkinFile;
  std::string SkinFolder;
};

}  // namespace tsly
