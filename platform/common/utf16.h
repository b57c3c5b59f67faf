// Between UTF-8 and UTF-16 with the least significant byte first, without a mark. Pure functions on values.
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

// Nothing for text that the other form can't hold.
std::optional<std::string> Utf16BytesOf(std::string_view utf8);
std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes);

}  // namespace tsly
