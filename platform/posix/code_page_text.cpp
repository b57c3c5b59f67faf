#include "posix/code_page_text.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace tsly {
namespace {

constexpr std::uint32_t kUtf8CodePage = 65001;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

class Converter {
 public:
  explicit Converter(const std::string& codeset) : handle_(iconv_open("UTF-8", codeset.c_str())) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (*this) iconv_close(handle_);
  }
  explicit operator bool() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  std::string ToUtf8(std::string_view bytes, std::size_t unit) {
    std::string text;
    text.reserve(bytes.size());
    char* in = const_cast<char*>(bytes.data());  // iconv's signature; it doesn't write there
    std::size_t left = bytes.size();
    while (left > 0) {
      const int error = Convert(&in, &left, text);
      if (error == 0 || error == E2BIG) continue;
      Flush(text);
      text += kReplacement;
      const std::size_t skipped = std::min(unit, left);
      in += skipped;
      left -= skipped;
    }
    Flush(text);
    return text;
  }

 private:
  // In some code pages a letter is held back until it is clear that no accent follows it.
  void Flush(std::string& text) { Convert(nullptr, nullptr, text); }

  int Convert(char** in, std::size_t* left, std::string& text) {
    std::array<char, 16384> piece;
    char* out = piece.data();
    std::size_t room = piece.size();
    const int error = iconv(handle_, in, left, &out, &room) == static_cast<std::size_t>(-1) ? errno : 0;
    text.append(piece.data(), piece.size() - room);
    return error;
  }

  iconv_t handle_;
};

// What the converter calls a code page.
std::string CodesetOf(std::uint32_t code_page) {
  if (code_page == 20866) return "KOI8-R";
  if (code_page == 21866) return "KOI8-U";
  if (code_page >= 28591 && code_page <= 28605) return "ISO-8859-" + std::to_string(code_page - 28590);
  return "CP" + std::to_string(code_page);
}

std::string AsciiOnly(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    if (static_cast<unsigned char>(c) < 0x80) {
      text += c;
    } else {
      text += kReplacement;
    }
  }
  return text;
}

}  // namespace

std::string DecodeText(std::string bytes, std::optional<std::uint32_t> code_page) {
  if (bytes.starts_with(kUtf16Mark)) {
    return Converter("UTF-16LE").ToUtf8(std::string_view(bytes).substr(kUtf16Mark.size()), 2);
  }
  if (code_page && *code_page != kUtf8CodePage) {
    Converter converter(CodesetOf(*code_page));
    return converter ? converter.ToUtf8(bytes, 1) : AsciiOnly(bytes);
  }
  if (bytes.starts_with(kUtf8Mark)) bytes.erase(0, kUtf8Mark.size());
  return bytes;
}

}  // namespace tsly
