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
  const std::string name = FindResString(text_key::kCharset).value_or("");
  return CharsetNamed(LowerCase(Trim(name))).value_or(kDefaultCharset);
}

std::int32_t MLocalization::GetSystemCharset() {
  const std::optional<std::uint32_t> code_page = locale_.DefaultCodePage();
  return code_page ? locale_.CharsetOf(*code_page).value_or(0) : 0;
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
