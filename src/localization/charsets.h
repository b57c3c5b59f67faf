// The character sets of languages, and the fonts for four of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// The number of a font character set (LOGFONT, wingdi.h) by its name in language files, in lower case; -1 means the
// system's.
std::optional<std::int32_t> CharsetNamed(std::string_view name);

// "": keep the fonts of the design.
std::string FontOfCharset(std::int32_t charset);

}  // namespace tsly
