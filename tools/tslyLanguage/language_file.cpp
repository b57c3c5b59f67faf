#include "tslyLanguage/language_file.h"

#include "base/text.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"

namespace tsly {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";

std::string WithoutMark(std::string contents) {
  if (contents.starts_with(kMark)) contents.erase(0, kMark.size());
  return contents;
}

// Tabs count as blanks.
std::string Trimmed(std::string_view text) { return Trim(Replace(text, "\t", " ")); }

LanguageLine ReadLine(std::string_view line) {
  using Kind = LanguageLine::Kind;
  const std::string text = Trimmed(line);
  if (text.empty() || text[0] == ';') return {};
  if (text[0] == '[' && text.rfind(']') != std::string::npos) {
    return {Kind::kSection, Trimmed(text.substr(1, text.rfind(']') - 1)), ""};
  }
  const auto equals = text.find('=');
  if (equals == std::string::npos || equals == 0) return {Kind::kOther, text, ""};
  return {Kind::kEntry, Trimmed(text.substr(0, equals)), Trimmed(text.substr(equals + 1))};
}

std::vector<LanguageLine> LinesOf(const std::string& contents) {
  std::vector<LanguageLine> lines;
  for (const std::string& line : Split(Replace(Replace(contents, "\r\n", "\n"), "\r", "\n"), "\n"))
    lines.push_back(ReadLine(line));
  return lines;
}

}  // namespace

LanguageFile::LanguageFile(std::string contents)
    : lines_(LinesOf(WithoutMark(contents))), index_(WithoutMark(std::move(contents))) {}

std::optional<LanguageFile::Text> LanguageFile::Find(std::string_view resource_key) const {
  const KeyPlace place = PlaceOfKey(resource_key);
  const auto value = index_.Value(place.section, place.name);
  if (!value) return std::nullopt;
  auto line = static_cast<std::size_t>(HeadingOf(place.section));
  while (line < lines_.size() && !EqualIgnoringCase(lines_[line].name, place.name)) ++line;
  return Text{static_cast<int>(line) + 1, MLocalization::TextOfValue(std::string(*value))};
}

int LanguageFile::HeadingOf(std::string_view section) const {
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (lines_[i].kind != LanguageLine::Kind::kSection) continue;
    if (EqualIgnoringCase(lines_[i].name, section)) return static_cast<int>(i) + 1;
  }
  return 0;
}

KeyPlace PlaceOfKey(std::string_view resource_key) {
  const auto colon = resource_key.find(':');
  const std::string number(resource_key.substr(0, colon + 1));
  for (const std::string& row : Split(kResourceSections, "|")) {
    if (row.starts_with(number)) return {row.substr(number.size()), std::string(resource_key.substr(colon + 1))};
  }
  return {};
}

}  // namespace tsly
