#include "tslyReg/utf16.h"

#include <cstdint>

namespace tsly {
namespace {

constexpr char32_t kFirstSurrogate = 0xD800, kFirstLowSurrogate = 0xDC00, kAfterSurrogates = 0xE000;
constexpr char32_t kFirstBeyondUnit = 0x10000, kLastLetter = 0x10FFFF;

bool IsSurrogate(char32_t letter) { return letter >= kFirstSurrogate && letter < kAfterSurrogates; }

void AppendUnit(std::string& bytes, char32_t unit) {
  bytes += static_cast<char>(unit & 0xFF);
  bytes += static_cast<char>(unit >> 8);
}

void AppendUtf8(std::string& text, char32_t letter) {
  if (letter < 0x80) {
    text += static_cast<char>(letter);
    return;
  }
  const int following = letter < 0x800 ? 1 : letter < kFirstBeyondUnit ? 2 : 3;
  const char32_t lead = following == 1 ? 0xC0 : following == 2 ? 0xE0 : 0xF0;
  text += static_cast<char>(lead | (letter >> (6 * following)));
  for (int i = following - 1; i >= 0; --i) text += static_cast<char>(0x80 | ((letter >> (6 * i)) & 0x3F));
}

// Takes one character from the front of a non-empty text. Nothing if there is none in its shortest form.
std::optional<char32_t> TakeLetter(std::string_view& utf8) {
  const auto lead = static_cast<unsigned char>(utf8[0]);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || utf8.size() < length) return std::nullopt;
  char32_t letter = length == 1 ? lead : lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(utf8[i]);
    if ((next & 0xC0) != 0x80) return std::nullopt;
    letter = (letter << 6) | (next & 0x3F);
  }
  const char32_t least = length == 3 ? 0x800 : length == 4 ? kFirstBeyondUnit : 0;
  if (letter < least || letter > kLastLetter || IsSurrogate(letter)) return std::nullopt;
  utf8.remove_prefix(length);
  return letter;
}

}  // namespace

std::optional<std::string> Utf16BytesOf(std::string_view utf8) {
  std::string bytes;
  while (!utf8.empty()) {
    const auto letter = TakeLetter(utf8);
    if (!letter) return std::nullopt;
    if (*letter < kFirstBeyondUnit) {
      AppendUnit(bytes, *letter);
    } else {
      AppendUnit(bytes, kFirstSurrogate + ((*letter - kFirstBeyondUnit) >> 10));
      AppendUnit(bytes, kFirstLowSurrogate + ((*letter - kFirstBeyondUnit) & 0x3FF));
    }
  }
  return bytes;
}

std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  const auto unit_at = [bytes](std::size_t at) {
    return static_cast<char32_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1])
                                                                             << 8);
  };
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 2) {
    char32_t letter = unit_at(at);
    if (IsSurrogate(letter)) {
      at += 2;
      const char32_t low = at < bytes.size() ? unit_at(at) : 0;
      if (letter >= kFirstLowSurrogate || low < kFirstLowSurrogate || low >= kAfterSurrogates) return std::nullopt;
      letter = kFirstBeyondUnit + ((letter - kFirstSurrogate) << 10) + (low - kFirstLowSurrogate);
    }
    AppendUtf8(text, letter);
  }
  return text;
}

}  // namespace tsly
