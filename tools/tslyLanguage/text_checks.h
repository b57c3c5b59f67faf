// Checks of a language file that need no text measurement.
#pragma once

#include <string>
#include <vector>

#include "tslyLanguage/language_file.h"

namespace tsly {

// Keys of a language file besides the texts; the program reads them before any text.
inline constexpr const char* kKeyDescription = "00:Description";
inline constexpr const char* kKeyLanguage = "00:Language";
inline constexpr const char* kKeyAbbreviation = "00:Language, abbreviated";
inline constexpr const char* kKeyVersion = "00:Version";

// Bytes that aren't UTF-8 or aren't text. If there are any, the other checks are meaningless.
std::vector<Finding> CheckEncoding(const std::string& contents);
std::vector<Finding> CheckLines(const LanguageFile& file);
std::vector<Finding> CheckGeneral(const LanguageFile& file);
std::vector<Finding> CheckTexts(const LanguageFile& file);

}  // namespace tsly
