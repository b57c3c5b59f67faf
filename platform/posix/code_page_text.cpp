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
    std::array<char, 16384> piece;
    while (left > 0) {
      char* out = piece.data();
      std::size_t room = piece.size();
      const bool failed = iconv(handle_, &in, &left, &out, &room) == static_cast<std::size_t>(-1);
      const int error = errno;
      text.append(piece.data(), piece.size() - room);
      if (!failed || error == E2BIG) continue;
      text += kReplacement;
      const std::size_t skipped = std::min(unit, left);
      in += skipped;
      left -= skipped;
    }
    return text;
  }

 private:
  iconv_t handle_;
};

}  // namespace

std::string DecodeText(std::string bytes, std::optional<std::uint32_t> code_page) {
  if (bytes.starts_with(kUtf16Mark)) {
    return Converter("UTF-16LE").ToUtf8(std::string_view(bytes).substr(kUtf16Mark.size()), 2);
  }
  if (code_page && *code_page != kUtf8CodePage) {
    if (Converter converter("CP" + std::to_string(*code_page)); converter) return converter.ToUtf8(bytes, 1);
    return bytes;
  }
  if (bytes.starts_with(kUtf8Mark)) bytes.erase(0, kUtf8Mark.size());
  return bytes;
}

}  // namespace tsly
