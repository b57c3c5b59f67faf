#include "common/name_pattern.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"

namespace tsly {
namespace {

// An invalid byte counts as a character.
std::size_t LetterLength(std::string_view text) {
  char32_t letter = 0;
  return std::max<std::size_t>(DecodeUtf8(text, letter), 1);
}

// Backtracks only to the last star: it can match everything that an earlier one could.
bool Fits(std::string_view name, std::string_view pattern) {
  std::size_t n = 0, p = 0, retry_name = 0, retry_pattern = std::string_view::npos;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      retry_pattern = ++p;
      retry_name = n;
    } else if (p < pattern.size() && pattern[p] == '?') {
      n += LetterLength(name.substr(n));
      ++p;
    } else if (p < pattern.size() && pattern[p] == name[n]) {
      ++n;
      ++p;
    } else if (retry_pattern != std::string_view::npos) {
      retry_name += LetterLength(name.substr(retry_name));
      n = retry_name;
      p = retry_pattern;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

}  // namespace

bool HasWildcards(std::string_view pattern) { return pattern.find_first_of("*?") != std::string_view::npos; }

bool FitsNamePattern(std::string_view name, std::string_view pattern) {
  if (Fits(name, pattern)) return true;
  return pattern.ends_with(".*") && name.find('.') == std::string_view::npos &&
         Fits(name, pattern.substr(0, pattern.size() - 2));
}

}  // namespace tsly
