#include "tslyLanguage/text_checks.h"

#include <algorithm>
#include <map>
#include <set>

#include "base/text.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"
#include "localization/charsets.h"
#include "localization/version_pattern.h"

namespace tsly {
namespace {

using Kind = LanguageLine::Kind;

constexpr const char* kGeneralKeys[] = {kKeyDescription, kKeyLanguage, kKeyAbbreviation, kKeyVersion};

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// Every key of a language file, in lower case, with its section.
std::map<std::string, std::string> KnownKeys() {
  std::map<std::string, std::string> known;
  const auto add = [&](std::string_view key) {
    const KeyPlace place = PlaceOfKey(key);
    known.emplace(LowerCase(place.name), place.section);
  };
  for (const char* key : kGeneralKeys) add(key);
  for (const ResourceKey* key : text_key::kAll) add(*key);
  return known;
}

bool IsKnownSection(const std::string& name) {
  const std::vector<std::string> rows = Split(kResourceSections, "|");
  return std::any_of(rows.begin(), rows.end(), [&](const auto& row) { return EqualIgnoringCase(row.substr(3), name); });
}

// The words in brackets, "[NAME]", in their letter case.
std::set<std::string> PlaceholdersIn(const std::string& text) {
  std::set<std::string> found;
  for (auto open = text.find('['); open != std::string::npos; open = text.find('[', open + 1)) {
    const auto close = text.find_first_of("[]", open + 1);
    if (close != std::string::npos && text[close] == ']') found.insert(text.substr(open, close + 1 - open));
  }
  return found;
}

bool Holds(const std::set<std::string>& words, const std::string& word) {
  return std::any_of(words.begin(), words.end(), [&](const auto& other) { return EqualIgnoringCase(other, word); });
}

void CheckPlaceholders(const ResourceKey& key, const LanguageFile::Text& text, std::vector<Finding>& findings) {
  const std::set<std::string> found = PlaceholdersIn(text.text);
  std::set<std::string> filled;
  for (std::string word : Split(key.placeholders, " ")) {
    const bool may_be_left_out = word.starts_with('?');
    if (may_be_left_out) word.erase(0, 1);
    filled.insert(word);
    if (!may_be_left_out && !Holds(found, word)) findings.push_back({text.line, word + " is missing from the text"});
  }
  for (const std::string& word : found) {
    if (Holds(filled, word)) continue;
    findings.push_back({text.line, word + " is no placeholder of this text; " +
                                       (filled.empty() ? "it has none" : "it has ") +
                                       (filled.empty() ? "" : Replace(Replace(key.placeholders, "?", ""), " ", ", "))});
  }
}

}  // namespace

std::vector<Finding> CheckEncoding(const std::string& contents) {
  if (contents.find('\0') != std::string::npos) {
    return {
        {0, "not a UTF-8 text file; save it in that encoding"}
    };
  }
  std::vector<Finding> findings;
  const std::vector<std::string> lines = Split(contents, "\n");
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (IsUtf8(lines[i])) continue;
    findings.push_back({static_cast<int>(i) + 1, "this line isn't UTF-8; save the file in that encoding"});
  }
  return findings;
}

std::vector<Finding> CheckLines(const LanguageFile& file) {
  static const std::map<std::string, std::string> known = KnownKeys();
  std::vector<Finding> findings;
  std::map<std::string, int> sections, keys;  // first line of each; keys of the current section
  std::string section;
  bool counts = false;  // the current section
  for (std::size_t i = 0; i < file.Lines().size(); ++i) {
    const LanguageLine& line = file.Lines()[i];
    const int number = static_cast<int>(i) + 1;
    const auto report = [&](const std::string& advice) { findings.push_back({number, advice}); };
    if (line.kind == Kind::kOther) {
      report("neither a [section] nor a key with \"=\"; start comments with \";\"");
    } else if (line.kind == Kind::kSection) {
      section = line.name;
      keys.clear();
      const auto [first, is_new] = sections.emplace(LowerCase(section), number);
      counts = IsKnownSection(section) && is_new;
      if (!IsKnownSection(section)) report("unknown section " + Quoted(section));
      if (!is_new) report("duplicate section; the program reads the one in line " + std::to_string(first->second));
    } else if (line.kind == Kind::kEntry && section.empty()) {
      report(Quoted(line.name) + " is before the first [section]");
    } else if (line.kind == Kind::kEntry && counts) {
      const auto [first, is_new] = keys.emplace(LowerCase(line.name), number);
      const auto place = known.find(LowerCase(line.name));
      if (!is_new) report("duplicate key; the program reads the one in line " + std::to_string(first->second));
      if (place == known.end()) {
        report("unknown key " + Quoted(line.name));
      } else if (!EqualIgnoringCase(place->second, section)) {
        report(Quoted(line.name) + " belongs in the section [" + place->second + "]");
      } else if (std::count(line.value.begin(), line.value.end(), '"') % 2 != 0) {
        report("unmatched double quote");
      }
    }
  }
  return findings;
}

std::vector<Finding> CheckGeneral(const LanguageFile& file) {
  std::vector<Finding> findings;
  const auto check = [&](const char* key, const auto& is_right, const std::string& advice) {
    const auto text = file.Find(key);
    if (text && is_right(text->text)) return;
    findings.push_back({text ? text->line : file.HeadingOf("General"), Quoted(PlaceOfKey(key).name) + " " + advice});
  };
  const auto is_filled = [](const std::string& text) { return !Trim(text).empty(); };
  check(
      kKeyDescription, [](const auto& text) { return LowerCase(text) == LowerCase(kLanguageSignature); },
      "has to be " + Quoted(kLanguageSignature));
  check(
      kKeyVersion, [](const auto& text) { return IsAcceptedVersion(LowerCase(text)); },
      "has to be one that the program accepts, such as that of the English file");
  check(kKeyLanguage, is_filled, "has to be the language's own name");
  check(kKeyAbbreviation, is_filled, "has to be the language's short name");
  check(
      text_key::kCharset.key, [](const auto& text) { return CharsetNamed(LowerCase(Trim(text))).has_value(); },
      "has to be a known character set, for example \"western european\"");
  return findings;
}

std::vector<Finding> CheckTexts(const LanguageFile& file) {
  std::vector<Finding> findings;
  for (const ResourceKey* key : text_key::kAll) {
    if (key == &text_key::kCharset) continue;  // not shown
    const auto text = file.Find(*key);
    const KeyPlace place = PlaceOfKey(*key);
    if (!text) {
      findings.push_back({file.HeadingOf(place.section), Quoted(place.name) + " is missing from [" + place.section +
                                                             "]; the program will show the English text"});
    } else if (Trim(text->text).empty()) {
      findings.push_back({text->line, Quoted(place.name) + " is empty"});
    } else {
      CheckPlaceholders(*key, *text, findings);
    }
  }
  return findings;
}

}  // namespace tsly
