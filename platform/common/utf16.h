// Converts between UTF-8 and little-endian UTF-16, without a byte order mark. Pure functions on values.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "common/code_page_converter.h"

namespace tsly {

// Never knows whether more bytes follow: a lone first half of a pair at the end is half a letter.
class Utf16Converter : public CodePageConverter {
 public:
  Stop Convert(std::string_view& bytes, std::string& text) override;
  void Flush(std::string&) override {}
};

// Nothing for invalid text.
std::optional<std::string> Utf16BytesOf(std::string_view utf8);
std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes);

}  // namespace tsly
