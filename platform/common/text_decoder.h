// Text of other code pages as UTF-8.
#pragma once

#include <iconv.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tsly {

// Decodes the bytes of one text file, handed over piece by piece, as UTF-8 without a mark at the start. Bytes that the
// code page doesn't know become U+FFFD, and with a code page that the system doesn't know all that aren't ASCII.
// Without a code page, or with 65001, the bytes are taken as they are. UTF-16LE with its mark is read in either case.
class TextDecoder {
 public:
  // `size`: of the whole file, so that its text never has to move to a larger place.
  TextDecoder(std::optional<std::uint32_t> code_page, std::size_t size) : code_page_(code_page), size_(size) {}
  TextDecoder(const TextDecoder&) = delete;
  TextDecoder& operator=(const TextDecoder&) = delete;
  ~TextDecoder();

  // The first piece holds at least four bytes if the file does. `is_last`: half a letter at its end is none.
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
  std::size_t unit_ = 1;  // how much a bad letter takes up at least
  std::string rest_;      // half a letter, whose other half is still to come
};

}  // namespace tsly
