#include "common/utf16.h"

#include "base/text.h"

namespace tsly {
namespace {

constexpr char32_t kFirstSurrogate = 0xD800, kFirstLowSurrogate = 0xDC00, kLastSurrogate = 0xDFFF;
constexpr char32_t kFirstBeyondUnit = 0x10000;

char32_t UnitAt(std::string_view bytes, std::size_t at) {
  return static_cast<char32_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8);
}

void AppendUnit(std::string& bytes, char32_t unit) {
  bytes += static_cast<char>(unit & 0xFF);
  bytes += static_cast<char>(unit >> 8);
}

}  // namespace

CodePageConverter::Stop Utf16Converter::Convert(std::string_view& bytes, std::string& text) {
  for (; !bytes.empty(); bytes.remove_prefix(2)) {
    if (bytes.size() < 2) return Stop::kHalfLetter;
    char32_t letter = UnitAt(bytes, 0);
    if (letter >= kFirstSurrogate && letter <= kLastSurrogate) {
      if (letter >= kFirstLowSurrogate) return Stop::kBadLetter;
      if (bytes.size() < 4) return Stop::kHalfLetter;
      const char32_t low = UnitAt(bytes, 2);
      if (low < kFirstLowSurrogate || low > kLastSurrogate) return Stop::kBadLetter;
      letter = kFirstBeyondUnit + ((letter - kFirstSurrogate) << 10) + (low - kFirstLowSurrogate);
      bytes.remove_prefix(2);
    }
    AppendUtf8(letter, text);
  }
  return Stop::kAtEnd;
}

std::optional<std::string> Utf16BytesOf(std::string_view utf8) {
  std::string bytes;
  while (!utf8.empty()) {
    char32_t letter = 0;
    const std::size_t length = DecodeUtf8(utf8, letter);
    if (length == 0) return std::nullopt;
    if (letter < kFirstBeyondUnit) {
      AppendUnit(bytes, letter);
    } else {
      AppendUnit(bytes, kFirstSurrogate + ((letter - kFirstBeyondUnit) >> 10));
      AppendUnit(bytes, kFirstLowSurrogate + ((letter - kFirstBeyondUnit) & 0x3FF));
    }
    utf8.remove_prefix(length);
  }
  return bytes;
}

std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes) {
  std::string text;
  if (Utf16Converter().Convert(bytes, text) != CodePageConverter::Stop::kAtEnd) return std::nullopt;
  return text;
}

}  // namespace tsly
