// What can be said of a language file without drawing its texts.
#pragma once

#include <string>
#include <vector>

#include "tslyLanguage/language_file.h"

namespace tsly {

// Keys that a language file has besides the texts, because the program reads them before it looks up any.
inline constexpr const char* kKeyDescription = "00:Description";
inline constexpr const char* kKeyLanguage = "00:Language";
inline constexpr const char* kKeyAbbreviation = "00:Language, abbreviated";
inline constexpr const char* kKeyVersion = "00:Version";

// Bytes that are no UTF-8, or no text at all. While there are any, nothing else is worth telling.
std::vector<Finding> CheckEncoding(const std::string& contents);
std::vector<Finding> CheckLines(const LanguageFile& file);
std::vector<Finding> CheckGeneral(const LanguageFile& file);
std::vector<Finding> CheckTexts(const LanguageFile& file);

}  // namespace tsly
