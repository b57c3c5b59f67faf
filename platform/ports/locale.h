// The user's and the system's regional settings. One thread. Texts are UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tsly {

class Locale {
 public:
  virtual ~Locale() = default;

  // The number of the system's default code page; none if unknown.
  virtual std::optional<std::uint32_t> DefaultCodePage() = 0;

  // The font character set (LOGFONT numbers, wingdi.h) of a code page, if any.
  virtual std::optional<std::int32_t> CharsetOf(std::uint32_t code_page) = 0;

  virtual std::string DateSeparator() = 0;
  virtual std::string TimeSeparator() = 0;
};

}  // namespace tsly
