#include "base/runtime_error.h"
#include "base/text.h"
#include "dialog/MGlobal.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"

namespace tsly {
namespace {

constexpr std::size_t kHighestSection = 53;
constexpr std::size_t kErrorMessages = 2;

// Unlike a placeholder, a line break is case-sensitive: "C:\New" has none.
std::string WithLineBreaks(const std::string& text, std::string_view sign) {
  std::string broken;
  for (const std::string& part : Split(text, sign)) broken += part + "\r\n";
  if (!broken.empty()) broken.resize(broken.size() - 2);
  return broken;
}

}  // namespace

std::string MLocalization::TextOfValue(std::string text) {
  text = WithLineBreaks(text, "\\012");
  text = WithLineBreaks(text, "\\n");
  if (TrimStart(text).starts_with('"') && TrimEnd(text).ends_with('"')) {
    text = Trim(text);
    // A single quote is both the first and the last character.
    text = text.size() < 2 ? "" : text.substr(1, text.size() - 2);
  }
  std::erase(text, '\0');
  return text;
}

void MLocalization::BuildSectionTable() {
  StringSections.assign(kHighestSection + 1, "");
  for (const std::string& row : Split(kResourceSections, "|")) {
    const auto colon = row.find(':');
    if (colon == std::string::npos) continue;
    const auto number = static_cast<std::size_t>(LeadingInt32(row.substr(0, colon)));
    if (number >= StringSections.size()) StringSections.resize(number + 1);
    StringSections[number] = row.substr(colon + 1);
  }
}

std::pair<std::string, std::string> MLocalization::SectionAndName(std::string_view key) const {
  const auto colon = key.find(':');
  std::size_t number = kErrorMessages;
  if (colon != std::string_view::npos && colon > 0) {
    const std::int32_t given = LeadingInt32(key.substr(0, colon));
    if (given >= 0 && static_cast<std::size_t>(given) < StringSections.size()) number = static_cast<std::size_t>(given);
  }
  return {number < StringSections.size() ? StringSections[number] : "",
          std::string(colon == std::string_view::npos ? key : key.substr(colon + 1))};
}

std::optional<std::string> MLocalization::FindResString(std::string_view key) {
  const auto [section, name] = SectionAndName(key);
  std::string text;
  if (FindText(section, name, SelectedLanguageFile, text) || FindText(section, name, DefaultLanguageFile, text)) {
    return TextOfValue(text);
  }
  return std::nullopt;
}

std::string MLocalization::GetResString(std::string_view key) {
  if (auto text = FindResString(key)) return *text;
  const auto [section, name] = SectionAndName(key);
  const std::string missing =
      Replace(Replace(ResourceMissingText, "[RESOURCE_NUMBER]", name), "[RESOURCE_SECTION]", section);
  throw RuntimeError{-1, "GetResString", TextOfValue(missing)};
}

// A key with an empty value counts as found, with an empty text.
bool MLocalization::FindText(const std::string& section, const std::string& key, const std::string& file,
                             std::string& text) {
  text = global_.ReadProfileString(section, key.c_str(), "", file);
  return !text.empty() || global_.ProfileKeyExists(section, key, file);
}

std::string MLocalization::GetLanguageInfo(std::int32_t index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= LanguageInfo.size()) {
    throw RuntimeError{kErrorSubscript, "GetLanguageInfo", "Subscript out of range"};
  }
  return LanguageInfo[static_cast<std::size_t>(index)];
}

}  // namespace tsly
