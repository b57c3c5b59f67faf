// Between UTF-8 and the UTF-16 of registry editors' files. Strict both ways: nothing is for text that the other form
// can't hold.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// Bytes of UTF-16, least significant first, without a mark.
std::optional<std::string> Utf16BytesOf(std::string_view utf8);
std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes);

}  // namespace tsly
