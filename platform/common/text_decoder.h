// Converts text of files in UTF-8, UTF-16 or another code page to UTF-8.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "common/code_page_converter.h"

namespace tsly {

// Decodes one text file, piece by piece, to UTF-8 without a byte order mark. Bytes that are invalid in the code page
// become U+FFFD; if the system doesn't know the code page, all non-ASCII bytes do. Without a code page, or with 65001,
// bytes stay unchanged. UTF-16LE with a byte order mark is always recognised.
class TextDecoder {
 public:
  // `size`: of the whole file, so that the text is never reallocated.
  TextDecoder(std::optional<std::uint32_t> code_page, std::size_t size, OpenCodePage open)
      : code_page_(code_page), size_(size), open_(std::move(open)) {}

  // The first piece has at least four bytes if the file does. `is_last`: a partial character at its end is invalid.
  void Add(std::string_view bytes, bool is_last, std::string& text);

 private:
  enum class Form { kUnknown, kPlain, kAsciiOnly, kConverted };

  void Begin(std::string_view& bytes, std::string& text);
  void Convert(std::string_view bytes, bool is_last, std::string& text);

  std::optional<std::uint32_t> code_page_;
  std::size_t size_;
  OpenCodePage open_;
  Form form_ = Form::kUnknown;
  std::unique_ptr<CodePageConverter> converter_;  // kConverted
  std::size_t unit_ = 1;                          // the least length of an invalid character
  std::string rest_;                              // a partial character, continued in the next piece
};

}  // namespace tsly
