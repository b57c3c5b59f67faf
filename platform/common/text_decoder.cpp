#include "common/text_decoder.h"

#include <algorithm>

#include "common/utf16.h"

namespace tsly {
namespace {

constexpr std::uint32_t kUtf8CodePage = 65001;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

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
    converter_ = std::make_unique<Utf16Converter>();
    form_ = Form::kConverted;
    unit_ = 2;
    text.reserve(size_ / 2 * 3 + 3);
  } else if (code_page_ && *code_page_ != kUtf8CodePage) {
    converter_ = open_(*code_page_);
    form_ = converter_ ? Form::kConverted : Form::kAsciiOnly;
    text.reserve(size_ * 3);
  } else {
    if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
    form_ = Form::kPlain;
    text.reserve(size_);
  }
}

void TextDecoder::Convert(std::string_view bytes, bool is_last, std::string& text) {
  rest_ += bytes;
  std::string_view left = rest_;
  for (;;) {
    const auto stop = converter_->Convert(left, text);
    if (left.empty() || (stop == CodePageConverter::Stop::kHalfLetter && !is_last)) break;
    converter_->Flush(text);
    text += kReplacement;
    left.remove_prefix(std::min(unit_, left.size()));
  }
  rest_.erase(0, rest_.size() - left.size());
  if (is_last) converter_->Flush(text);
}

}  // namespace tsly
