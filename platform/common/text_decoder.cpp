#include "common/text_decoder.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace tsly {
namespace {

constexpr std::uint32_t kUtf8CodePage = 65001;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The converter's name of a code page.
std::string CodesetOf(std::uint32_t code_page) {
  if (code_page == 20866) return "KOI8-R";
  if (code_page == 21866) return "KOI8-U";
  if (code_page >= 28591 && code_page <= 28605) return "ISO-8859-" + std::to_string(code_page - 28590);
  return "CP" + std::to_string(code_page);
}

void AddAsciiOnly(std::string_view bytes, std::string& text) {
  for (const char c : bytes) {
    if (static_cast<unsigned char>(c) < 0x80) {
      text += c;
    } else {
      text += kReplacement;
    }
  }
}

}  // namespace

TextDecoder::~TextDecoder() {
  if (form_ == Form::kConverted) iconv_close(handle_);
}

void TextDecoder::Add(std::string_view bytes, bool is_last, std::string& text) {
  if (form_ == Form::kUnknown) Begin(bytes, text);
  if (form_ == Form::kPlain) {
    text += bytes;
  } else if (form_ == Form::kAsciiOnly) {
    AddAsciiOnly(bytes, text);
  } else {
    Convert(bytes, is_last, text);
  }
}

// Two bytes of UTF-16, or one of a code page, become at most three.
void TextDecoder::Begin(std::string_view& bytes, std::string& text) {
  if (bytes.starts_with(kUtf16Mark)) {
    bytes.remove_prefix(kUtf16Mark.size());
    BeginConverted("UTF-16LE", 2);
    text.reserve(size_ / 2 * 3 + 3);
  } else if (code_page_ && *code_page_ != kUtf8CodePage) {
    BeginConverted(CodesetOf(*code_page_), 1);
    text.reserve(size_ * 3);
  } else {
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    form_ = Form::kPlain;
    text.reserve(size_);
  }
}

void TextDecoder::BeginConverted(const std::string& codeset, std::size_t unit) {
  handle_ = iconv_open("UTF-8", codeset.c_str());
  form_ = reinterpret_cast<std::intptr_t>(handle_) != -1 ? Form::kConverted : Form::kAsciiOnly;
  unit_ = unit;
}

void TextDecoder::Convert(std::string_view bytes, bool is_last, std::string& text) {
  rest_ += bytes;
  char* in = rest_.data();
  std::size_t left = rest_.size();
  while (left > 0) {
    const int error = ConvertPiece(&in, &left, text);
    if (error == 0 || error == E2BIG) continue;
    if (error == EINVAL && !is_last) break;
    // With some code pages the converter holds back a letter in case an accent follows.
    ConvertPiece(nullptr, nullptr, text);
    text += kReplacement;
    const std::size_t skipped = std::min(unit_, left);
    in += skipped;
    left -= skipped;
  }
  rest_.erase(0, rest_.size() - left);
  if (is_last) ConvertPiece(nullptr, nullptr, text);
}

int TextDecoder::ConvertPiece(char** in, std::size_t* left, std::string& text) {
  std::array<char, 16384> piece;
  char* out = piece.data();
  std::size_t room = piece.size();
  const int error = iconv(handle_, in, left, &out, &room) == static_cast<std::size_t>(-1) ? errno : 0;
  text.append(piece.data(), piece.size() - room);
  return error;
}

}  // namespace tsly
