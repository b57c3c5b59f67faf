// Converts text of one code page to UTF-8, piece by piece. Each edition implements it with its system's tables. One
// thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tsly {

class CodePageConverter {
 public:
  enum class Stop { kAtEnd, kHalfLetter, kBadLetter };

  virtual ~CodePageConverter() = default;

  // Removes characters from the front of `bytes` and appends them to `text` as UTF-8. kHalfLetter: the remaining bytes
  // are a partial character; kBadLetter: they begin with an invalid one.
  virtual Stop Convert(std::string_view& bytes, std::string& text) = 0;
  // Appends a character that was held back: with some code pages an accent may follow it.
  virtual void Flush(std::string& text) = 0;
};

// Null for a code page that the system doesn't know.
using OpenCodePage = std::function<std::unique_ptr<CodePageConverter>(std::uint32_t code_page)>;

}  // namespace tsly
