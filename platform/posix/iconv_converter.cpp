#include "posix/iconv_converter.h"

#include <iconv.h>

#include <array>
#include <cerrno>

namespace tsly {
namespace {

// The converter's name of a code page.
std::string CodesetOf(std::uint32_t code_page) {
  if (code_page == 20866) return "KOI8-R";
  if (code_page == 21866) return "KOI8-U";
  if (code_page >= 28591 && code_page <= 28605) return "ISO-8859-" + std::to_string(code_page - 28590);
  return "CP" + std::to_string(code_page);
}

class IconvConverter : public CodePageConverter {
 public:
  explicit IconvConverter(iconv_t handle) : handle_(handle) {}
  IconvConverter(const IconvConverter&) = delete;
  IconvConverter& operator=(const IconvConverter&) = delete;
  ~IconvConverter() override { iconv_close(handle_); }

  Stop Convert(std::string_view& bytes, std::string& text) override {
    char* in = const_cast<char*>(bytes.data());  // it is only read
    std::size_t left = bytes.size();
    int error = 0;
    do error = ConvertPiece(&in, &left, text);
    while (left > 0 && (error == 0 || error == E2BIG));
    bytes.remove_prefix(bytes.size() - left);
    return left == 0 ? Stop::kAtEnd : error == EINVAL ? Stop::kHalfLetter : Stop::kBadLetter;
  }

  void Flush(std::string& text) override { ConvertPiece(nullptr, nullptr, text); }

 private:
  int ConvertPiece(char** in, std::size_t* left, std::string& text) {
    std::array<char, 16384> piece;
    char* out = piece.data();
    std::size_t room = piece.size();
    const int error = iconv(handle_, in, left, &out, &room) == static_cast<std::size_t>(-1) ? errno : 0;
    text.append(piece.data(), piece.size() - room);
    return error;
  }

  iconv_t handle_;
};

}  // namespace

std::unique_ptr<CodePageConverter> OpenIconv(std::uint32_t code_page) {
  const iconv_t handle = iconv_open("UTF-8", CodesetOf(code_page).c_str());
  if (reinterpret_cast<std::intptr_t>(handle) == -1) return nullptr;
  return std::make_unique<IconvConverter>(handle);
}

}  // namespace tsly
