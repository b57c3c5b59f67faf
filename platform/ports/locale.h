// The user's and the system's regional settings.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace tsly {

class Locale {
 public:
  virtual ~Locale() = default;

  // Fills `buffer` with the number of the system's default code page as decimal text and a zero. The result is the
  // number of characters with the zero, 0 on failure.
  virtual int DefaultCodePage(std::span<char> buffer) = 0;

  // The font character set (LOGFONT numbers, wingdi.h) that belongs to a code page; false when there is none.
  virtual bool TranslateCodePage(std::uint32_t code_page, std::int32_t& charset) = 0;

  virtual std::string DateSeparator() = 0;
  virtual std::string TimeSeparator() = 0;
};

}  // namespace tsly
