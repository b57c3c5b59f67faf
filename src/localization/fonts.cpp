#include <array>

#include "base/step.h"
#include "base/text.h"
#include "controls/form.h"
#include "localization/MLocalization.h"
#include "localization/MLocalizationText.h"
#include "localization/charsets.h"
#include "ports/locale.h"

namespace tsly {
namespace {

constexpr std::int32_t kDefaultCharset = 1;

// Stands for the system's character set.
bool IsSystemCharset(std::int32_t charset) { return charset == 0 || charset == 1 || charset == -1; }

}  // namespace

std::int32_t MLocalization::GetLanguageCharset() {
  std::string name;
  Step([&] { name = LowerCase(Trim(GetResString(text_key::kCharset))); });
  return CharsetNamed(name).value_or(kDefaultCharset);
}

std::int32_t MLocalization::GetSystemCharset() {
  std::array<char, 10> buffer{};
  const int count = locale_.DefaultCodePage(buffer);
  if (count <= 0 || static_cast<std::size_t>(count) > buffer.size()) return 0;
  const std::int32_t code_page = LeadingInt32(std::string(buffer.data(), static_cast<std::size_t>(count) - 1));
  std::int32_t charset = 0;
  return locale_.TranslateCodePage(static_cast<std::uint32_t>(code_page), charset) ? charset : 0;
}

void MLocalization::ChooseDialogFont(std::string& font_name, std::int32_t& charset) {
  const std::int32_t system = GetSystemCharset();
  charset = GetLanguageCharset();
  if (IsSystemCharset(charset)) charset = system;
  font_name = FontOfCharset(charset);
}

void MLocalization::ApplyDialogFonts(Form& form) {
  std::string name;
  std::int32_t charset = 0;
  ChooseDialogFont(name, charset);
  const auto adapted = [&](Font font) {
    font.charset = charset;
    if (!name.empty()) font.name = name;
    return font;
  };
  form.SetFont(adapted(form.GetFont()));
  for (Control* control : form.Controls()) {
    if (control->HasFont()) control->SetFont(adapted(control->GetFont()));
  }
}

}  // namespace tsly
