#include "localization/version_pattern.h"

#include <algorithm>

#include "base/text.h"
#include "base/version.h"
#include "localization/MLocalization.h"

namespace tsly {
namespace {

constexpr const char* kAcceptedVersions = "7.0.1209.*;7.0.13*.*;7.0.14*.*;7.0.15*.*";

bool FitsVersionPattern(const std::vector<std::string>& version, const std::vector<std::string>& pattern) {
  const auto parts = static_cast<std::size_t>(
      MLocalization::MaxOf(static_cast<std::int32_t>(version.size()), {static_cast<std::int32_t>(pattern.size())}));
  for (std::size_t i = 0; i < parts; ++i) {
    if (i >= version.size() || i >= pattern.size() || !FitsVersionPart(version[i], pattern[i])) return false;
  }
  return true;
}

}  // namespace

bool FitsVersionPart(const std::string& text, const std::string& pattern) {
  const std::vector<std::string> pieces = Split(pattern, "*");
  if (pieces.size() < 2) return text == pattern;
  const std::string& first = pieces.front();
  const std::string& last = pieces.back();
  if (text.size() < first.size() + last.size() || !text.starts_with(first) || !text.ends_with(last)) return false;
  std::size_t at = first.size();
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    at = text.find(pieces[i], at);
    if (at == std::string::npos) return false;
    at += pieces[i].size();
  }
  return at + last.size() <= text.size();
}

bool IsAcceptedVersion(const std::string& version) {
  std::vector<std::string> patterns = Split(kAcceptedVersions, ";");
  patterns.push_back(std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
                     std::to_string(kVersionRevision));
  const std::vector<std::string> parts = Split(version, ".");
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](const std::string& pattern) { return FitsVersionPattern(parts, Split(pattern, ".")); });
}

}  // namespace tsly
