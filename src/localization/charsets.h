// The character sets of languages and the fonts that four of them bring.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// The number of a font character set (LOGFONT, wingdi.h) by the name that language files use, in small letters; -1
// means the system's.
std::optional<std::int32_t> CharsetNamed(std::string_view name);

// "": the fonts of the dialog's design stay.
std::string FontOfCharset(std::int32_t charset);

}  // namespace tsly
