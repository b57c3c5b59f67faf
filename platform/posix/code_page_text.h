// Text of other code pages as UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tsly {

// The bytes of a text file as UTF-8, without a mark at the start. Bytes that the code page doesn't know become U+FFFD,
// and with a code page that the system doesn't know all that aren't ASCII. Without a code page, or with 65001, the
// bytes are taken as they are.
std::string DecodeText(std::string bytes, std::optional<std::uint32_t> code_page);

}  // namespace tsly
