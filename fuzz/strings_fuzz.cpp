// The texts of resource keys. Input: the key, then the selected and the default language file, separated by a character
// with code 1.
#include "base/runtime_error.h"
#include "base/text.h"
#include "fuzz_app.h"
#include "plain_ini.h"

namespace tsly {
namespace {

FuzzApp& App() {
  static FuzzApp app;
  return app;
}

std::string SelectedFile() {
  MRegistry& registry = App().program.registry;
  registry.SetRegValue(kCurrentUser, SettingsKey, kValueLanguage, std::string("Selected"));
  const std::string file = App().folder.Write("app\\Languages\\Selected.ini", kLanguageHead);
  App().files.LookAgain();
  HOLDS(App().program.localization.InitLocalization());
  return file;
}

std::string CleanPlainly(std::string text) {
  for (const std::string sign : {"\\012", "\\n"}) {
    std::string broken;
    for (std::size_t i = 0; i < text.size();) {
      const bool is_sign = text.compare(i, sign.size(), sign) == 0;
      if (is_sign) {
        broken += "\r\n";
      } else {
        broken += text[i];
      }
      i += is_sign ? sign.size() : 1;
    }
    text = broken;
  }
  const auto first = text.find_first_not_of(' '), last = text.find_last_not_of(' ');
  if (first != text.npos && text[first] == '"' && text[last] == '"') {
    text = first == last ? "" : text.substr(first + 1, last - first - 1);
  }
  std::erase(text, '\0');
  return text;
}

std::string SectionPlainly(const std::string& key) {
  const auto colon = key.find(':');
  const std::int32_t number = colon == key.npos || colon == 0 ? 2 : LeadingInt32(key.substr(0, colon));
  if (number == 0) return "General";
  if (number == 1) return "Miscellaneous";
  if (number == 49) return "Software updates";
  return number == 2 || number < 0 || number > 53 ? "Error messages" : "";
}

}  // namespace

void Try(std::string_view bytes) {
  Input input(bytes);
  const std::string key(input.Line('\1'));
  const std::string_view selected = input.Line('\1'), otherwise = input.Rest();
  const std::string name = key.substr(key.find(':') == key.npos ? 0 : key.find(':') + 1);
  if (Trim(name).empty() || key.find('\0') != key.npos) return;  // the program never uses such a key
  static const std::string selected_file = SelectedFile();
  static const std::string default_file = App().folder.CorePath("app\\Languages\\English.ini");
  MemoryDocument selected_document(selected), default_document(otherwise);
  App().profiles.Pin(selected_file, &selected_document);
  App().profiles.Pin(default_file, &default_document);

  const PlainIni plain_selected(selected), plain_default(otherwise);
  const std::string section = SectionPlainly(key), lower_name = LowerCase(name);
  const auto is_listed = [&](const PlainIni& file) {
    for (const std::string& listed : file.Keys(section)) {
      if (LowerCase(listed) == lower_name) return true;
    }
    return false;
  };
  // An empty value counts if its key is in the list of keys.
  auto expected = plain_selected.Value(section, name);
  if (expected == "" && !is_listed(plain_selected)) expected.reset();
  if (!expected) expected = plain_default.Value(section, name);
  if (expected == "" && !is_listed(plain_selected) && !is_listed(plain_default)) expected.reset();
  try {
    const std::string text = App().program.localization.GetResString(key);
    HOLDS(expected && text == CleanPlainly(*expected));
  } catch (const RuntimeError& error) {
    HOLDS(!expected && error.number == -1 && error.source == "GetResString");
  }
  const std::string raw(selected);
  HOLDS(MLocalization::TextOfValue(raw) == CleanPlainly(raw));
}

}  // namespace tsly
