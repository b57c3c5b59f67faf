// Converts text of other code pages to UTF-8.
#pragma once

#include <iconv.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// Decodes one text file, piece by piece, to UTF-8 without a byte order mark. Bytes that are invalid in the code page
// become U+FFFD; if the system doesn't know the code page, all non-ASCII bytes do. Without a code page, or with 65001,
// bytes stay unchanged. UTF-16LE with a byte order mark is always recognised.
class TextDecoder {
 public:
  // `size`: of the whole file, so that the text is never reallocated.
  TextDecoder(std::optional<std::uint32_t> code_page, std::size_t size) : code_page_(code_page), size_(size) {}
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;
  ~TextDecoder();

  // The first piece has at least four bytes if the file does. `is_last`: a partial character at its end is invalid.
  void Add(std::string_view bytes, bool is_last, std::string& text);

 private:
  enum class Form { kUnknown, kPlain, kAsciiOnly, kConverted };

  void Begin(std::string_view& bytes, std::string& text);
  void BeginConverted(const std::string& codeset, std::size_t unit);
  void Convert(std::string_view bytes, bool is_last, std::string& text);
  int ConvertPiece(char** in, std::size_t* left, std::string& text);

  std::optional<std::uint32_t> code_page_;
  std::size_t size_;
  Form form_ = Form::kUnknown;
  iconv_t handle_ = {};   // kConverted
  std::size_t unit_ = 1;  // the least length of an invalid character
  std::string rest_;      // a partial character, continued in the next piece
};

}  // namespace tsly
