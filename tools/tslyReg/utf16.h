// Converts between UTF-8 and the UTF-16 of registry editors' files. Strict: returns nothing for invalid text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// UTF-16 bytes, little-endian, without a byte order mark.
std::optional<std::string> Utf16BytesOf(std::string_view utf8);
std::optional<std::string> Utf8OfUtf16Bytes(std::string_view bytes);

}  // namespace tsly
