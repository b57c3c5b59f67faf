// Sets up the program with language and skin files. Input: the selected and the default language file, the selected and
// the default skin, separated by a character with code 1.
#include "base/text.h"
#include "fuzz_app.h"
#include "plain_ini.h"

namespace tsly {
namespace {

struct ResourceApp : FuzzApp {
  ResourceApp() {
    for (const char* file : {"Languages\\Selected.ini", "Skins\\Selected\\Skin.ini"}) {
      folder.Write(std::string("app\\") + file, "");
    }
    files.LookAgain();
    program.registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("Selected"));
    program.registry.SetRegValue(kCurrentUser, SettingsKey, kValueSkin, std::string("Selected"));
  }
};

bool Fits(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] != '*') return !text.empty() && text[0] == pattern[0] && Fits(text.substr(1), pattern.substr(1));
  return Fits(text, pattern.substr(1)) || (!text.empty() && Fits(text.substr(1), pattern));
}

bool IsAccepted(const std::string& version) {
  const std::vector<std::string> parts = Split(version, ".");
  for (const char* accepted : {"7.0.1209.*", "7.0.13*.*", "7.0.14*.*", "7.0.15*.*", "7.0.1576"}) {
    const std::vector<std::string> pattern = Split(accepted, ".");
    bool fits = parts.size() == pattern.size();
    for (std::size_t i = 0; fits && i < parts.size(); ++i) fits = Fits(parts[i], pattern[i]);
    if (fits) return true;
  }
  return false;
}

struct ResourceFile {
  explicit ResourceFile(std::string_view bytes) : document(bytes), plain(bytes) {}
  std::string General(const char* key) const { return plain.Value("General", key).value_or(""); }
  bool IsValid(const std::string& signature) const {
    return LowerCase(General("Description")) == LowerCase(signature) && IsAccepted(LowerCase(General("Version")));
  }

  MemoryDocument document;
  PlainIni plain;
};

}  // namespace

void Try(std::string_view bytes) {
  static ResourceApp app;
  Input input(bytes);
  app.Reset();
  app.toolkit.answers.assign(4, kAnswerOk);
  ResourceFile selected(input.Line('\1')), otherwise(input.Line('\1'));
  ResourceFile skin(input.Line('\1')), default_skin(input.Rest());
  const auto path = [&](const std::string& name) { return app.folder.CorePath("app\\" + name); };
  app.profiles.Pin(path("Languages\\Selected.ini"), &selected.document);
  app.profiles.Pin(path("Languages\\English.ini"), &otherwise.document);
  app.profiles.Pin(path("Skins\\Selected\\Skin.ini"), &skin.document);
  app.profiles.Pin(path("Skins\\Default\\Skin.ini"), &default_skin.document);

  MLocalization& localization = app.program.localization;
  const bool is_usable = localization.InitLocalization();
  const bool language_valid = selected.IsValid("Tessaly Studio Resources file");
  const bool default_valid = otherwise.IsValid("Tessaly Studio Resources file");
  if (!language_valid || !default_valid) HOLDS(!app.toolkit.messages.empty());

  const std::string signature = "Tessaly Studio Skin description file";
  if (skin.IsValid(signature)) {
    HOLDS(is_usable && localization.SkinInForce() == "Selected");
    HOLDS(app.toolkit.messages.size() == (language_valid && default_valid ? 0 : 1));
  } else if (localization.SkinInForce().empty()) {
    HOLDS(!is_usable);
  } else {
    // The default skin, or the one in a language file; with another spelling it isn't the skin of the input.
    const std::string& name = localization.SkinInForce();
    HOLDS(is_usable && name != "Selected" && (name != "Default" || default_skin.IsValid(signature)));
  }
  HOLDS(localization.GetLanguageInfo(0) == "Selected");
  HOLDS(localization.GetLanguageInfo(1) == selected.General("Language"));
  HOLDS(localization.GetLanguageInfo(2) == selected.General("Language, abbreviated"));
  HOLDS(localization.GetLanguageInfo(3) == LowerCase(selected.General("Version")));
  HOLDS(localization.GetLanguageInfo(4) == selected.General("Default skin"));
  std::string font;
  std::int32_t charset = 0;
  localization.ChooseDialogFont(font, charset);
}

}  // namespace tsly
