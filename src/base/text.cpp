#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tsly {
namespace {

struct CaseRun {
  char32_t first, last;
  char32_t step;
  std::int32_t distance;
};

constexpr CaseRun kCaseRuns[] = {
#include "base/case_table.inc"
};

char32_t LowerLetter(char32_t letter) {
  const auto* run = std::upper_bound(std::begin(kCaseRuns), std::end(kCaseRuns), letter,
                                     [](char32_t code, const CaseRun& row) { return code < row.first; });
  if (run == std::begin(kCaseRuns)) return letter;
  --run;
  if (letter > run->last || (letter - run->first) % run->step != 0) return letter;
  return static_cast<char32_t>(static_cast<std::int32_t>(letter) + run->distance);
}

// Into the `length` bytes at `out`.
void EncodeUtf8(char32_t letter, std::size_t length, char* out) {
  static constexpr std::array<unsigned, 5> kLead{0, 0, 0xC0, 0xE0, 0xF0};
  for (std::size_t i = 0; i < length; ++i) {
    const auto bits = static_cast<unsigned>(letter >> (6 * (length - 1 - i)));
    out[i] = static_cast<char>(i == 0 ? kLead[length] | bits : 0x80u | (bits & 0x3Fu));
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The number at the start of `text` after blanks; `length` is its length with the blanks, 0 if there is none.
double ReadDouble(std::string_view text, std::size_t& length) {
  length = 0;
  const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
  std::string_view digits = text.substr(start);
  if (digits.starts_with('+')) digits.remove_prefix(1);
  // from_chars also accepts "inf" and "nan"; a number begins with a digit or a point.
  const std::string_view unsigned_part = digits.substr(digits.starts_with('-') && digits.size() == text.size() - start);
  if (unsigned_part.empty() || !(IsDigit(unsigned_part[0]) || unsigned_part[0] == '.')) return 0;
  double number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc()) return 0;
  length = static_cast<std::size_t>(end - text.data());
  return number;
}

}  // namespace

std::size_t DecodeUtf8(std::string_view text, char32_t& letter) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length) return 0;
  letter = length == 1 ? lead : lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) return 0;
    letter = (letter << 6) | (next & 0x3F);
  }
  // Overlong, or a surrogate.
  static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_good = letter >= kLeast[length] && letter <= 0x10FFFF && (letter < 0xD800 || letter > 0xDFFF);
  return is_good ? length : 0;
}

void AppendUtf8(char32_t letter, std::string& text) {
  const std::size_t length = letter < 0x80 ? 1 : letter < 0x800 ? 2 : letter < 0x10000 ? 3 : 4;
  text.resize(text.size() + length);
  EncodeUtf8(letter, length, text.data() + text.size() - length);
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (std::size_t i = 0, length = 1; i < text.size(); i += length) {
    const char c = text[i];
    char32_t letter = 0;
    length = 1;
    if (static_cast<unsigned char>(c) < 0x80) {
      if (c >= 'A' && c <= 'Z') lower[i] = static_cast<char>(c + 32);
    } else if (const std::size_t bytes = DecodeUtf8(text.substr(i), letter); bytes != 0) {
      EncodeUtf8(LowerLetter(letter), bytes, &lower[i]);
      length = bytes;
    }
  }
  return lower;
}

bool IsUtf8(std::string_view text) {
  char32_t letter = 0;
  for (std::size_t length = 1; !text.empty(); text.remove_prefix(length)) {
    length = DecodeUtf8(text, letter);
    if (length == 0) return false;
  }
  return true;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && LowerCase(a) == LowerCase(b);
}

std::string TrimStart(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string TrimEnd(std::string_view text) { return std::string(text.substr(0, text.find_last_not_of(' ') + 1)); }

std::string Trim(std::string_view text) { return TrimStart(TrimEnd(text)); }

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  if (text.empty()) return parts;
  for (;;) {
    const auto end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + separator.size());
  }
}

std::string Replace(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  const std::string lower_text = LowerCase(text);
  const std::string lower_from = LowerCase(from);
  std::string result;
  std::size_t start = 0;
  for (auto at = lower_text.find(lower_from); at != std::string::npos; at = lower_text.find(lower_from, start)) {
    result.append(text.substr(start, at - start)).append(to);
    start = at + from.size();
  }
  return result.append(text.substr(start));
}

std::string WithBackslash(std::string folder) {
  if (folder.empty() || folder.back() != '\\') folder += '\\';
  return folder;
}

std::optional<std::int32_t> ToInt32(std::string_view text) {
  const std::string trimmed = Trim(text);
  std::string_view digits = trimmed;
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  if (digits.empty() || (trimmed.front() == '+' && digits.front() == '-')) return std::nullopt;
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

std::int32_t LeadingInt32(std::string_view text) {
  const double number = std::trunc(LeadingDouble(text));
  return number >= INT32_MIN && number <= INT32_MAX ? static_cast<std::int32_t>(number) : 0;
}

std::optional<double> ToDouble(std::string_view text) {
  const std::string trimmed = TrimEnd(text);
  std::size_t length = 0;
  const double number = ReadDouble(trimmed, length);
  if (length == 0 || length != trimmed.size()) return std::nullopt;
  return number;
}

double LeadingDouble(std::string_view text) {
  std::size_t length = 0;
  return ReadDouble(text, length);
}

std::int32_t LeadingHex(std::string_view text) {
  std::uint32_t number = 0;
  for (const char c : text) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    if (IsDigit(lower)) {
      number = (number << 4) | static_cast<std::uint32_t>(lower - '0');
    } else if (lower >= 'a' && lower <= 'f') {
      number = (number << 4) | static_cast<std::uint32_t>(lower - 'a' + 10);
    } else {
      break;
    }
  }
  return static_cast<std::int32_t>(number);
}

std::string Hex(std::int32_t number) {
  std::array<char, 9> digits{};
  const int length = std::snprintf(digits.data(), digits.size(), "%X", static_cast<unsigned>(number));
  return std::string(digits.data(), static_cast<std::size_t>(length));
}

std::string PlainDecimal(double number) {
  std::array<char, 400> digits{};
  const auto whole =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::scientific, 14);
  double rounded = 0;
  std::from_chars(digits.data(), whole.ptr, rounded);
  const auto plain = std::to_chars(digits.data(), digits.data() + digits.size(), rounded, std::chars_format::fixed);
  return std::string(digits.data(), plain.ptr);
}

}  // namespace tsly
