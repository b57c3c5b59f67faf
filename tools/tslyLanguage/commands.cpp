#include "tslyLanguage/commands.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>

#include "base/text.h"
#include "localization/MLocalizationText.h"
#include "tslyLanguage/fit_checks.h"
#include "tslyLanguage/text_checks.h"

namespace tsly {
namespace {

constexpr char kUsage[] =
    "usage: tslyLanguage check FILE...\n"
    "       tslyLanguage new NAME\n"
    "\n"
    "check reports what is wrong in language files, one line per fault: FILE:LINE: advice. No output: no faults.\n"
    "new writes NAME.ini into the current folder, with the English texts to translate.\n"
    "Exit status: 0 no faults, 1 faults found, 2 wrong arguments, 3 the file couldn't be created.\n";

constexpr char kHowTo[] =
    "; Translate the text after each \"=\" and remove the semicolon at the start of the line. Keep words in "
    "[BRACKETS]:\n"
    "; the program replaces them. \\n is a line break. Lines that still start with a semicolon are shown in English.\n"
    "; Save the file in UTF-8.\n\n";

constexpr std::uintmax_t kMostBytes = 1 << 20;  // a language file has a few thousand

std::optional<std::string> Contents(const std::string& path) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(path, failure) || std::filesystem::file_size(path, failure) > kMostBytes) {
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::vector<Finding> CheckContents(const std::string& contents, Toolkit& toolkit) {
  std::vector<Finding> findings = CheckEncoding(contents);
  if (!findings.empty()) return findings;
  const LanguageFile file(contents);
  for (const auto& found : {CheckLines(file), CheckGeneral(file), CheckTexts(file), CheckFit(file, toolkit)}) {
    findings.insert(findings.end(), found.begin(), found.end());
  }
  std::stable_sort(findings.begin(), findings.end(), [](const auto& a, const auto& b) { return a.line < b.line; });
  return findings;
}

}  // namespace

LanguageToolStatus LanguageTool::Run(const std::vector<std::string>& words) const {
  if (words.size() >= 2 && words[0] == "check") return Check({words.begin() + 1, words.end()});
  if (words.size() == 2 && words[0] == "new") return MakeNew(words[1]);
  error << kUsage;
  return LanguageToolStatus::kUsage;
}

LanguageToolStatus LanguageTool::Check(const std::vector<std::string>& files) const {
  bool all_is_well = true;
  for (const std::string& path : files) {
    const auto contents = Contents(path);
    const std::vector<Finding> findings =
        contents ? CheckContents(*contents, toolkit)
                 : std::vector<Finding>{
                       {0, "not readable as a language file (a text file of at most 1 MiB)"}
    };
    for (const Finding& finding : findings) out << path << ":" << finding.line << ": " << finding.advice << "\n";
    all_is_well = all_is_well && findings.empty();
  }
  return all_is_well ? LanguageToolStatus::kDone : LanguageToolStatus::kFound;
}

LanguageToolStatus LanguageTool::MakeNew(const std::string& name) const {
  const std::string path = name + ".ini";
  const auto refused = [&](const std::string& reason) {
    error << "tslyLanguage: " << reason << "\n";
    return LanguageToolStatus::kRefused;
  };
  if (name.empty() || name.find_first_of("/\\:[]") != std::string::npos) return refused("not a language name: " + name);
  const auto contents = Contents(english);
  if (!contents) return refused("can't read the English file: " + english);
  if (std::filesystem::exists(path)) return refused(path + " already exists");

  const std::string own[] = {PlaceOfKey(kKeyLanguage).name, PlaceOfKey(kKeyAbbreviation).name,
                             PlaceOfKey(text_key::kCharset).name};
  const std::string kept[] = {PlaceOfKey(kKeyDescription).name, PlaceOfKey(kKeyVersion).name,
                              PlaceOfKey(text_key::kDefaultSkin).name};
  std::string skeleton = kHowTo;
  for (const std::string& line : Split(Replace(*contents, "\r\n", "\n"), "\n")) {
    const std::string key = line.substr(0, line.find('='));
    const bool is_text = line.find('=') != std::string::npos && std::find(kept, std::end(kept), key) == std::end(kept);
    if (std::find(own, std::end(own), key) != std::end(own)) {
      skeleton += key + "=" + (key == own[0] ? name : "") + "\n";
    } else {
      skeleton += (is_text ? ";" : "") + line + "\n";
    }
  }
  while (skeleton.ends_with("\n\n")) skeleton.pop_back();
  std::ofstream file(path, std::ios::binary);
  file << Replace(skeleton, "\n", "\r\n");
  if (!file.flush()) return refused("can't write " + path);
  out << path << "\n";
  return LanguageToolStatus::kDone;
}

}  // namespace tsly
